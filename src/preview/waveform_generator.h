// Turns an audio file into a short list of peak values for drawing.
//
// An engine: it blocks, and one instance does one job at a time, whoever calls. Files of up to `kDirectLimit` frames
// are reduced in one go and always normalised to a greatest value of 1. Longer ones give `kPeaksPerChunk` peaks for
// every `kChunkFrames`; these are reduced and normalised if there are more of them than asked for, and otherwise come
// as they are. Memory stays flat in both.
#pragma once

#include "platform/background.h"

#include <QString>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace ostrel {

class WaveformError : public std::runtime_error {
public:
    enum class Kind { bufferCreationFailed, noFloatData };
    explicit WaveformError(Kind kind);
    Kind kind() const { return kind_; }
    QString errorDescription() const;

private:
    Kind kind_;
};

class WaveformGenerator {
public:
    static constexpr qint64 kDirectLimit = 13'230'000; // frames: 300 seconds at 44.1 kHz
    static constexpr qint64 kChunkFrames = 1'323'000;
    static constexpr int kPeaksPerChunk = 50;

    // `ffmpegPath`: see AudioFile.
    explicit WaveformGenerator(const QString& ffmpegPath = QString()) : ffmpegPath_(ffmpegPath) {}

    // The greatest absolute samples over all channels, first to last. Empty for a file without audio, and when `task`
    // is cancelled. Throws AudioFileError or WaveformError.
    std::vector<float> generateWaveform(const QString& url, int targetSamples, const TaskHandle& task = TaskHandle());

    // One list a channel, each normalised by its own greatest value: lanes can't be compared in level.
    std::vector<std::vector<float>> generateMultiChannelWaveform(const QString& url, int targetSamples,
                                                                 const TaskHandle& task = TaskHandle());

private:
    QString ffmpegPath_;
    std::mutex oneJob_;
};

// The reduction of the chunks' peaks. Not more values than `target` come back as they are, neither reduced nor
// normalised; an empty span gives 0.
std::vector<float> downsamplePeaks(const std::vector<float>& peaks, int target);

} // namespace ostrel
