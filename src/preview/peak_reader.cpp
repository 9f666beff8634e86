#include "preview/peak_reader.h"

#include <algorithm>

namespace ostrel {
namespace {

float greatestOf(const WaveformPeaks& file) {
    float greatest = 0;
    for (int channel = 0; channel < file.channels(); ++channel) greatest = std::max(greatest, file.greatest(channel));
    return greatest;
}

void raise(std::vector<float>& values, const std::vector<float>& lane) {
    for (std::size_t at = 0; at < lane.size(); ++at) values[at] = std::max(values[at], lane[at]);
}

std::vector<float> scaled(std::vector<float> lane, float greatest) {
    if (greatest <= 0) return lane;
    for (float& value : lane) value /= greatest;
    return lane;
}

} // namespace

PeakReader::~PeakReader() {
    opening_.cancel();
    refining_.cancel();
}

void PeakReader::setFiles(const QStringList& files, Lanes lanes) {
    opening_.cancel();
    refining_.cancel();
    opening_ = TaskHandle();
    paths_ = files;
    kind_ = lanes;
    files_.reset();
    wish_.reset();
    answered_.reset();
    result_.clear();
    whole_.clear();
    isReading_ = false;
    Q_EMIT changed();
}

void PeakReader::setReading(bool isReading) {
    if (std::exchange(isReading_, isReading) != isReading) Q_EMIT changed();
}

void PeakReader::want(const Wish& wish) {
    if (wish == wish_ || wish.points < 1 || !(wish.to > wish.from)) return;
    const bool isFirst = !wish_;
    wish_ = wish;
    if (files_) {
        showFromMemory(wish);
    } else if (isFirst && !paths_.isEmpty()) {
        open(opening_);
    }
}

QCoro::Task<> PeakReader::open(TaskHandle task) {
    setReading(true);
    Files files;
    const QStringList paths = paths_;
    for (const QString& path : paths) {
        const auto work = [path, ffmpeg = ffmpegPath_, task]() -> std::shared_ptr<WaveformPeaks> {
            try {
                return WaveformPeaks::of(path, ffmpeg, task);
            } catch (const AudioFileError&) {
                return nullptr; // a lane of silence
            }
        };
        std::shared_ptr<WaveformPeaks> file = co_await inBackground(this, work);
        if (task.isCancelled()) co_return;
        files.push_back(std::move(file));
    }
    files_ = std::move(files);
    setReading(false);
    if (wish_) showFromMemory(*wish_);
}

void PeakReader::showFromMemory(const Wish& wish) {
    refining_.cancel();
    refining_ = TaskHandle();
    std::vector<PeakLanes> peaks;
    bool isFine = true;
    for (const auto& file : *files_) {
        peaks.push_back(file ? file->overview(wish.from, wish.to, wish.points) : PeakLanes());
        isFine = isFine && (!file || file->isFineEnough(wish.from, wish.to, wish.points));
    }
    answer(wish, peaks);
    if (!isFine) refine(wish, refining_);
}

QCoro::Task<> PeakReader::refine(Wish wish, TaskHandle task) {
    const auto work = [files = *files_, wish, task] {
        std::vector<PeakLanes> peaks;
        for (const auto& file : files) {
            try {
                peaks.push_back(file ? file->read(wish.from, wish.to, wish.points, task) : PeakLanes());
            } catch (const AudioFileError&) {
                peaks.push_back(file->overview(wish.from, wish.to, wish.points)); // no better one can be had
            }
        }
        return peaks;
    };
    const std::vector<PeakLanes> peaks = co_await inBackground(this, work);
    if (!task.isCancelled()) answer(wish, peaks);
}

void PeakReader::answer(const Wish& wish, const std::vector<PeakLanes>& peaks) {
    float loudestOfAll = 0;
    for (const auto& file : *files_) loudestOfAll = std::max(loudestOfAll, file ? greatestOf(*file) : 0.0F);
    const std::vector<float> silence(static_cast<std::size_t>(wish.points), 0.0F);
    result_.clear();
    whole_ = silence;
    for (std::size_t at = 0; at < peaks.size(); ++at) {
        const auto& file = (*files_)[at];
        std::vector<float> ofFile = silence;
        for (std::size_t channel = 0; channel < peaks[at].size(); ++channel) {
            raise(ofFile, peaks[at][channel]);
            if (kind_ == Lanes::channels)
                result_.push_back(scaled(peaks[at][channel], file->greatest(static_cast<int>(channel))));
        }
        raise(whole_, ofFile);
        if (kind_ == Lanes::files) result_.push_back(scaled(std::move(ofFile), loudestOfAll));
    }
    whole_ = scaled(std::move(whole_), loudestOfAll);
    answered_ = wish;
    Q_EMIT changed();
}

} // namespace ostrel
