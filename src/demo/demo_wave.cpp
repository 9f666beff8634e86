#include "demo/demo_wave.h"

#include "platform/files/files.h"
#include "platform/paths.h"

#include <QtEndian>
#include <cmath>
#include <numbers>

namespace ostrel {
namespace {

template <class Number>
QByteArray littleEndian(Number value) {
    const Number bytes = qToLittleEndian(value);
    return QByteArray(reinterpret_cast<const char*>(&bytes), sizeof bytes);
}

QByteArray chunk(const QByteArray& id, const QByteArray& payload) {
    QByteArray result = id + littleEndian(static_cast<quint32>(payload.size())) + payload;
    if (payload.size() & 1) result += '\0';
    return result;
}

QByteArray padded(const QByteArray& text, qsizetype length) { return text.left(length).leftJustified(length, '\0'); }

QByteArray format(const DemoWave& wave) {
    const int channels = static_cast<int>(wave.channels.size());
    const int frameBytes = channels * wave.bitDepth / 8;
    return littleEndian<quint16>(1) + littleEndian(static_cast<quint16>(channels)) +
           littleEndian(static_cast<quint32>(wave.sampleRate)) +
           littleEndian(static_cast<quint32>(wave.sampleRate * frameBytes)) +
           littleEndian(static_cast<quint16>(frameBytes)) + littleEndian(static_cast<quint16>(wave.bitDepth));
}

QByteArray audio(const DemoWave& wave) {
    QByteArray result;
    const double fullScale = std::exp2(wave.bitDepth - 1) - 1;
    const auto frames = static_cast<qint64>(wave.seconds * wave.sampleRate);
    for (qint64 frame = 0; frame < frames; ++frame) {
        const double time = static_cast<double>(frame) / wave.sampleRate;
        const double fade = std::min({1.0, time / 0.01, (wave.seconds - time) / 0.01});
        for (const auto& channel : wave.channels) {
            const auto sample =
                static_cast<qint32>(std::lround(std::clamp(channel(time) * fade, -1.0, 1.0) * fullScale));
            result += littleEndian(sample).left(wave.bitDepth / 8);
        }
    }
    return result;
}

} // namespace

std::function<double(double)> tone(double hertz) {
    return [hertz](double seconds) { return 0.126 * std::sin(2 * std::numbers::pi * hertz * seconds); };
}

void writeDemoWave(const QString& path, const DemoWave& wave) {
    QByteArray body = "WAVE";
    for (const auto& [id, payload] : wave.before) body += chunk(id, payload);
    body += chunk("fmt ", format(wave)) + chunk("data", audio(wave));
    for (const auto& [id, payload] : wave.after) body += chunk(id, payload);
    files::createFolder(paths::parent(path));
    files::writeAtomically(path, "RIFF" + littleEndian(static_cast<quint32>(body.size())) + body);
}

QByteArray demoBext(const QByteArray& description, const QByteArray& originator, quint64 timeReference) {
    return padded(description, 256) + padded(originator, 32) + padded("OSTRELDEMO0001", 32) + "2026-03-14" +
           "09:26:53" + littleEndian(timeReference) + littleEndian<quint16>(1) + QByteArray(254, '\0') +
           "A=PCM,F=48000,W=24,M=mono,T=Ostrel demo\r\n";
}

} // namespace ostrel
