// Recordings made for a test. Every channel carries its own signal, so that a swap or a mix is seen.
#pragma once

#include "platform/audio/audio_buffer.h"

#include <QString>
#include <functional>

namespace ostrel::testing {

// The value of a channel at a frame.
using Signal = std::function<float(int channel, qint64 frame)>;

// A value in -0.5..0.5 that tells channel and frame apart: exact in 24 bits and in 32-bit float.
float markedSample(int channel, qint64 frame);

enum class SampleFormat { pcm16, pcm24, float32 };

// A file of any kind that libsndfile writes, chosen by the extension. Written through libsndfile alone.
QString writeSound(const QString& path, int channels, qint64 frames, const Signal& signal = markedSample,
                   int sampleRate = 48000, SampleFormat format = SampleFormat::pcm24);

// A mono file of a codec that keeps no samples (Ogg Vorbis), by libsndfile alone. Empty where it has no such encoder.
QString writeLossy(const QString& path, qint64 frames);

} // namespace ostrel::testing
