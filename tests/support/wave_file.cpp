#include "support/wave_file.h"

#include <QProcess>
#include <QtEndian>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

template <class Number>
QByteArray littleEndian(Number value) {
    const Number bytes = qToLittleEndian(value);
    return QByteArray(reinterpret_cast<const char*>(&bytes), sizeof bytes);
}

QByteArray padded(const QByteArray& text, qsizetype length) { return text.left(length).leftJustified(length, '\0'); }

std::int32_t sampleAt(const WaveSpec& spec, int channel, int frame) {
    return spec.signal ? spec.signal(channel, frame) : noise(spec.firstSignal + channel, frame, spec.bitDepth);
}

int sampleBytes(const WaveSpec& spec) { return spec.sampleBytes ? spec.sampleBytes : spec.bitDepth / 8; }

QByteArray formatPayload(const WaveSpec& spec) {
    const int align = spec.channels * sampleBytes(spec);
    return littleEndian<quint16>(1) + littleEndian(static_cast<quint16>(spec.channels)) +
           littleEndian(static_cast<quint32>(spec.sampleRate)) +
           littleEndian(static_cast<quint32>(spec.sampleRate * align)) + littleEndian(static_cast<quint16>(align)) +
           littleEndian(static_cast<quint16>(spec.bitDepth));
}

QByteArray audioPayload(const WaveSpec& spec) {
    QByteArray audio;
    const int bytes = sampleBytes(spec);
    const int shift = 8 * bytes - spec.bitDepth;
    audio.reserve(static_cast<qsizetype>(spec.frames) * spec.channels * bytes);
    for (int frame = 0; frame < spec.frames; ++frame) {
        for (int channel = 0; channel < spec.channels; ++channel) {
            const auto sample = static_cast<quint32>(sampleAt(spec, channel, frame));
            audio += littleEndian(sample << shift).left(bytes);
        }
    }
    return audio;
}

} // namespace

std::int32_t noise(int channel, int frame, int bitDepth) {
    // A mixing function over channel and frame (constants of splitmix64): no two channels are alike anywhere.
    quint64 x = (static_cast<quint64>(channel) << 40) + static_cast<quint64>(frame) + 0x9E3779B97F4A7C15ULL;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
    x ^= x >> 31;
    return static_cast<std::int32_t>(static_cast<quint32>(x)) >> (32 - bitDepth);
}

Samples samplesOf(const WaveSpec& spec) {
    Samples result(static_cast<std::size_t>(spec.channels));
    for (int channel = 0; channel < spec.channels; ++channel) {
        for (int frame = 0; frame < spec.frames; ++frame) {
            result[static_cast<std::size_t>(channel)].push_back(sampleAt(spec, channel, frame));
        }
    }
    return result;
}

QByteArray littleEndian32(quint32 value) { return littleEndian(value); }
QByteArray littleEndian16(quint16 value) { return littleEndian(value); }

QByteArray chunkBytes(const QByteArray& id, const QByteArray& payload) {
    QByteArray result = id + littleEndian(static_cast<quint32>(payload.size())) + payload;
    if (payload.size() & 1) result += '\0';
    return result;
}

QByteArray waveBytes(const WaveSpec& spec) {
    QByteArray body = "WAVE";
    for (const auto& [id, payload] : spec.before) body += chunkBytes(id, payload);
    body += chunkBytes("fmt ", formatPayload(spec));
    body += chunkBytes("data", audioPayload(spec));
    for (const auto& [id, payload] : spec.after) body += chunkBytes(id, payload);
    return "RIFF" + littleEndian(static_cast<quint32>(body.size())) + body;
}

QByteArray withDataSize(QByteArray file, quint32 size) {
    for (qsizetype at = 12; at + 8 <= file.size();) {
        const auto here = qFromLittleEndian<quint32>(file.constData() + at + 4);
        if (file.mid(at, 4) == "data") return file.replace(at + 4, 4, littleEndian(size));
        at += 8 + static_cast<qsizetype>(here) + (here & 1);
    }
    return file;
}

QByteArray bextPayload(const BextSpec& spec) {
    return padded(spec.description, 256) + padded(spec.originator, 32) + padded(spec.originatorReference, 32) +
           padded(spec.originationDate, 10) + padded(spec.originationTime, 8) + littleEndian(spec.timeReference) +
           littleEndian<quint16>(1) + padded(spec.umid, 64) + QByteArray(190, '\0') + spec.codingHistory;
}

std::vector<std::pair<QByteArray, QByteArray>> chunksOf(const QByteArray& file) {
    std::vector<std::pair<QByteArray, QByteArray>> result;
    for (qsizetype at = 12; at + 8 <= file.size();) {
        const qsizetype size = qFromLittleEndian<quint32>(file.constData() + at + 4);
        result.emplace_back(file.mid(at, 4), file.mid(at + 8, size));
        at += 8 + size + (size & 1);
    }
    return result;
}

QByteArray chunkOf(const QByteArray& file, const QByteArray& id) {
    for (const auto& [name, payload] : chunksOf(file)) {
        if (name == id) return payload;
    }
    return QByteArray();
}

// By way of an AU file on standard output, whose header tells the channels: asking ffprobe for them would double the
// time.
Samples decodedByFfmpeg(const QString& path) {
    QProcess process;
    process.start(QStringLiteral("ffmpeg"),
                  {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), path, QStringLiteral("-c:a"),
                   QStringLiteral("pcm_s32be"), QStringLiteral("-f"), QStringLiteral("au"), QStringLiteral("-")});
    EXPECT_TRUE(process.waitForFinished(120'000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    const QByteArray au = process.readAllStandardOutput();
    constexpr qsizetype kHeader = 24;
    if (au.size() < kHeader) return Samples(1);
    const auto word = [&](qsizetype at) { return qFromBigEndian<qint32>(au.constData() + at); };
    const auto channels = static_cast<std::size_t>(std::max(1, word(20)));
    Samples result(channels);
    std::size_t count = 0;
    for (qsizetype at = word(4); at + 4 <= au.size(); at += 4) result[count++ % channels].push_back(word(at));
    return result;
}

Samples scaledTo32(Samples samples, int bitDepth) {
    for (auto& channel : samples) {
        for (std::int32_t& sample : channel)
            sample = static_cast<std::int32_t>(static_cast<quint32>(sample) << (32 - bitDepth));
    }
    return samples;
}

} // namespace ostrel::testing
