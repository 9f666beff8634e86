// Makes WAV files of known samples and reads samples back, byte by byte and without the code under test.
#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace ostrel::testing {

// Samples as integers of the file's depth, by channel and frame.
using Samples = std::vector<std::vector<std::int32_t>>;

struct WaveSpec {
    int channels = 1;
    int sampleRate = 48000; // Hz
    int bitDepth = 24;      // 16, 24 or 32, integer PCM
    int frames = 4800;
    int sampleBytes = 0; // that one sample takes, in whose upper bits it stands; 0: as many as its bits need
    // Chunks ahead of and behind `data`, as (four characters, payload); pads are added.
    std::vector<std::pair<QByteArray, QByteArray>> before;
    std::vector<std::pair<QByteArray, QByteArray>> after;
    // 0-based channel and frame to sample; by default every channel carries noise of its own.
    std::function<std::int32_t(int channel, int frame)> signal;
    // 0-based seed of the default noise's first channel: mono files of a set get 0, 1, 2 ...
    int firstSignal = 0;
};

// The default signal: full-range noise that differs in every channel and frame, of the given depth.
std::int32_t noise(int channel, int frame, int bitDepth);

Samples samplesOf(const WaveSpec& spec);
QByteArray waveBytes(const WaveSpec& spec);
// The same file by a writer that never came back to its header, or came back too early: this is its `data` size.
QByteArray withDataSize(QByteArray file, quint32 size);
QByteArray chunkBytes(const QByteArray& id, const QByteArray& payload);
QByteArray littleEndian32(quint32 value);
QByteArray littleEndian16(quint16 value);

// The payload of a bext chunk (EBU Tech 3285), version 1.
struct BextSpec {
    QByteArray description;
    QByteArray originator;
    QByteArray originatorReference;
    QByteArray originationDate = "2026-03-14";
    QByteArray originationTime = "09:26:53";
    quint64 timeReference = 0;
    QByteArray umid; // up to 64 bytes
    QByteArray codingHistory;
};
QByteArray bextPayload(const BextSpec& spec);

// The chunks of a RIFF file in file order, ids and payloads, walked here; an overrunning chunk is cut.
std::vector<std::pair<QByteArray, QByteArray>> chunksOf(const QByteArray& file);
QByteArray chunkOf(const QByteArray& file, const QByteArray& id);

// Samples of any audio file, decoded by ffmpeg to 32-bit integers (16- and 24-bit samples stand in the upper bits).
Samples decodedByFfmpeg(const QString& path);

// The same scale for samples of a depth.
Samples scaledTo32(Samples samples, int bitDepth);

} // namespace ostrel::testing
