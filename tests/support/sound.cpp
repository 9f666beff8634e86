#include "support/sound.h"

#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <vector>

namespace ostrel::testing {
namespace {

int containerOf(const QString& path) {
    const QString extension = QFileInfo(path).suffix().toLower();
    if (extension == QLatin1String("aif") || extension == QLatin1String("aiff")) return SF_FORMAT_AIFF;
    if (extension == QLatin1String("caf")) return SF_FORMAT_CAF;
    if (extension == QLatin1String("flac")) return SF_FORMAT_FLAC;
    if (extension == QLatin1String("rf64")) return SF_FORMAT_RF64;
    if (extension == QLatin1String("w64")) return SF_FORMAT_W64;
    return SF_FORMAT_WAV;
}

int encodingOf(SampleFormat format) {
    if (format == SampleFormat::pcm16) return SF_FORMAT_PCM_16;
    return format == SampleFormat::pcm24 ? SF_FORMAT_PCM_24 : SF_FORMAT_FLOAT;
}

} // namespace

float markedSample(int channel, qint64 frame) {
    // 15 bits of the frame below 5 bits of the channel, hashed so that neighbours differ; 21 bits are exact everywhere.
    const quint32 mixed =
        (static_cast<quint32>(frame) * 2654435761u + static_cast<quint32>(channel) * 40503u * 977u) >> 11;
    return static_cast<float>(static_cast<qint32>(mixed) - (1 << 20)) / static_cast<float>(1 << 21);
}

QString writeSound(const QString& path, int channels, qint64 frames, const Signal& signal, int sampleRate,
                   SampleFormat format) {
    SF_INFO info{};
    info.samplerate = sampleRate;
    info.channels = channels;
    info.format = containerOf(path) | encodingOf(format);
    SNDFILE* file = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    EXPECT_NE(file, nullptr) << path.toStdString() << ": " << sf_strerror(nullptr);
    if (!file) return path;
    constexpr qint64 block = 4096;
    std::vector<float> samples;
    for (qint64 start = 0; start < frames; start += block) {
        const qint64 count = std::min(block, frames - start);
        samples.resize(static_cast<std::size_t>(count * channels));
        std::size_t at = 0;
        for (qint64 frame = start; frame < start + count; ++frame) {
            for (int channel = 0; channel < channels; ++channel) samples[at++] = signal(channel, frame);
        }
        EXPECT_EQ(sf_writef_float(file, samples.data(), count), count);
    }
    EXPECT_EQ(sf_close(file), 0);
    return path;
}

QString writeLossy(const QString& path, qint64 frames) {
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = 1;
    info.format = SF_FORMAT_OGG | SF_FORMAT_VORBIS;
    SNDFILE* file = sf_format_check(&info) ? sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info) : nullptr;
    if (!file) return QString();
    std::vector<float> samples;
    for (qint64 frame = 0; frame < frames; ++frame) samples.push_back(markedSample(0, frame));
    EXPECT_EQ(sf_writef_float(file, samples.data(), frames), frames);
    EXPECT_EQ(sf_close(file), 0);
    return path;
}

} // namespace ostrel::testing
