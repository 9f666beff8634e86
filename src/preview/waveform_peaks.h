// The peaks of one file at whatever resolution a view asks for, in fixed memory however long the file is.
//
// One pass makes an overview of at most `kMostValues` peaks, all channels together. Where a view shows so little that
// the overview is too coarse, the stretch in sight is read from the file. The file stays open: one that ffmpeg had to
// decode is decoded once.
//
// An engine: reading blocks. The overview may be asked on any thread, `read` is one at a time.
#pragma once

#include "platform/audio/audio_file.h"
#include "platform/background.h"

#include <memory>
#include <mutex>
#include <vector>

namespace ostrel {

// One list a channel, equally long: the greatest magnitude in each of so many equal stretches.
using PeakLanes = std::vector<std::vector<float>>;

class WaveformPeaks {
public:
    static constexpr int kMostBuckets = 1 << 16;
    static constexpr int kMostValues = 1 << 20; // 4 MiB

    // Reads the whole file once. Null where `task` is cancelled meanwhile. Throws AudioFileError; for `ffmpegPath` see
    // AudioFile.
    static std::shared_ptr<WaveformPeaks> of(const QString& path, const QString& ffmpegPath, const TaskHandle& task);

    double duration() const { return file_.duration(); } // seconds
    int channels() const { return static_cast<int>(overview_.size()); }
    // Of the whole file: what a lane is drawn in proportion to.
    float greatest(int channel) const { return greatest_[static_cast<std::size_t>(channel)]; }

    // Whether the overview has a value for each of so many stretches of that time.
    bool isFineEnough(double from, double to, int points) const;
    // Of that time in seconds, at once. Behind the file's end there is silence.
    PeakLanes overview(double from, double to, int points) const;
    // The same to the sample, from the file. Empty where `task` is cancelled. Throws AudioFileError.
    PeakLanes read(double from, double to, int points, const TaskHandle& task);

private:
    explicit WaveformPeaks(AudioFile file) : file_(std::move(file)) {}
    bool fill(PeakLanes& lanes, qint64 first, qint64 last, const TaskHandle& task);
    qint64 frameAt(double seconds) const;

    AudioFile file_;
    std::mutex reading_;
    PeakLanes overview_;
    std::vector<float> greatest_;
};

} // namespace ostrel
