#include "preview/waveform_generator.h"

#include "platform/audio/audio_file.h"
#include "preview/raise_peaks.h"

#include <algorithm>
#include <limits>
#include <new>

namespace ostrel {
namespace {

constexpr int kBlockSamples = 8192; // few enough to stay in the processor's cache

using Lanes = std::vector<std::vector<float>>;

void normalise(std::vector<float>& values) {
    const float greatest = values.empty() ? 0.0F : *std::max_element(values.begin(), values.end());
    if (greatest <= 0.0F) return;
    for (float& value : values) value /= greatest;
}

// Peaks of one stretch of frames in equal buckets. Frames behind the last whole bucket are left out.
class Buckets {
public:
    Buckets(Lanes& lanes, qint64 frames, int count)
        : lanes_(lanes), first_(lanes.front().size()), perBucket_(std::max<qint64>(1, frames / count)),
          covered_(std::min(frames, perBucket_ * count)) {
        for (std::vector<float>& lane : lanes_) lane.resize(first_ + static_cast<std::size_t>(count), 0.0F);
    }

    // The next frames of the stretch, interleaved: a channel in each lane, or all channels in the one lane.
    void add(const float* samples, int frames, int channels) {
        const qint64 end = std::min<qint64>(covered_, seen_ + frames);
        for (qint64 frame = seen_; frame < end;) {
            const qint64 bucket = frame / perBucket_;
            const qint64 stop = std::min(end, (bucket + 1) * perBucket_);
            addRun(samples + (frame - seen_) * channels, stop - frame, channels,
                   first_ + static_cast<std::size_t>(bucket));
            frame = stop;
        }
        seen_ += frames;
    }

private:
    void addRun(const float* samples, qint64 frames, int channels, std::size_t bucket) {
        const auto width = static_cast<int>(lanes_.size());
        peaks_.assign(lanes_.size(), 0.0F);
        raisePeaks(samples, frames * channels / width, width, peaks_.data());
        for (std::size_t lane = 0; lane < lanes_.size(); ++lane) {
            // Infinities of a float file count as the largest number.
            const float peak = std::min(peaks_[lane], std::numeric_limits<float>::max());
            lanes_[lane][bucket] = std::max(lanes_[lane][bucket], peak);
        }
    }

    Lanes& lanes_;
    std::size_t first_;
    qint64 perBucket_;
    qint64 covered_;
    qint64 seen_ = 0;
    std::vector<float> peaks_; // of one run, a lane each
};

// False if the job was cancelled.
bool addPeaks(AudioFile& file, qint64 frames, int count, Lanes& lanes, const TaskHandle& task) {
    const int channels = file.channelCount();
    const int most = std::max(1, kBlockSamples / channels);
    Buckets buckets(lanes, frames, count);
    std::vector<float> block(static_cast<std::size_t>(most * channels));
    for (qint64 left = frames; left > 0;) {
        if (task.isCancelled()) return false;
        const auto wanted = static_cast<std::size_t>(std::min<qint64>(left, most) * channels);
        const int got = file.readInterleaved(std::span(block).first(wanted));
        buckets.add(block.data(), got, channels);
        if (got == 0) throw WaveformError(WaveformError::Kind::noFloatData);
        left -= got;
    }
    return true;
}

Lanes directLanes(AudioFile& file, std::size_t laneCount, int target, const TaskHandle& task) {
    Lanes lanes(laneCount);
    if (!addPeaks(file, file.lengthInFrames(), target, lanes, task)) return {};
    for (std::vector<float>& lane : lanes) normalise(lane);
    return lanes;
}

Lanes chunkedLanes(AudioFile& file, std::size_t laneCount, int target, const TaskHandle& task) {
    Lanes lanes(laneCount);
    for (qint64 left = file.lengthInFrames(); left > 0;) {
        const qint64 chunk = std::min(left, WaveformGenerator::kChunkFrames);
        if (!addPeaks(file, chunk, WaveformGenerator::kPeaksPerChunk, lanes, task)) return {};
        left -= chunk;
    }
    for (std::vector<float>& lane : lanes) lane = downsamplePeaks(lane, target);
    return lanes;
}

// `laneCount` 0 asks for one a channel.
Lanes lanesOf(const QString& url, const QString& ffmpegPath, std::size_t laneCount, int target,
              const TaskHandle& task) {
    if (task.isCancelled()) return {};
    AudioFile file(url, ffmpegPath);
    if (file.lengthInFrames() == 0 || target < 1) return {};
    if (file.lengthInFrames() > std::numeric_limits<quint32>::max()) {
        throw AudioFileError(QStringLiteral("The file is too long for a waveform"));
    }
    if (laneCount == 0) laneCount = static_cast<std::size_t>(file.channelCount());
    try {
        return file.lengthInFrames() <= WaveformGenerator::kDirectLimit ? directLanes(file, laneCount, target, task)
                                                                        : chunkedLanes(file, laneCount, target, task);
    } catch (const std::bad_alloc&) {
        throw WaveformError(WaveformError::Kind::bufferCreationFailed);
    }
}

QString describe(WaveformError::Kind kind) {
    return kind == WaveformError::Kind::bufferCreationFailed
               ? QStringLiteral("Failed to create audio buffer")
               : QStringLiteral("No float data available in audio buffer");
}

} // namespace

WaveformError::WaveformError(Kind kind) : std::runtime_error(describe(kind).toStdString()), kind_(kind) {}

QString WaveformError::errorDescription() const { return describe(kind_); }

std::vector<float> WaveformGenerator::generateWaveform(const QString& url, int targetSamples, const TaskHandle& task) {
    const std::lock_guard lock(oneJob_);
    Lanes lanes = lanesOf(url, ffmpegPath_, 1, targetSamples, task);
    return lanes.empty() ? std::vector<float>() : std::move(lanes.front());
}

std::vector<std::vector<float>> WaveformGenerator::generateMultiChannelWaveform(const QString& url, int targetSamples,
                                                                                const TaskHandle& task) {
    const std::lock_guard lock(oneJob_);
    return lanesOf(url, ffmpegPath_, 0, targetSamples, task);
}

std::vector<float> downsamplePeaks(const std::vector<float>& peaks, int target) {
    if (peaks.size() <= static_cast<std::size_t>(std::max(0, target))) return peaks;
    const float ratio = static_cast<float>(peaks.size()) / static_cast<float>(target);
    std::vector<float> result;
    for (int at = 0; at < target; ++at) {
        const auto first = static_cast<std::size_t>(ratio * static_cast<float>(at));
        const auto last = std::min(peaks.size(), static_cast<std::size_t>(ratio * static_cast<float>(at + 1)));
        float greatest = 0.0F;
        for (std::size_t index = first; index < last; ++index) greatest = std::max(greatest, peaks[index]);
        result.push_back(greatest);
    }
    normalise(result);
    return result;
}

} // namespace ostrel
