#include "preview/waveform_peaks.h"

#include "preview/raise_peaks.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ostrel {
namespace {

constexpr int kReadSamples = 1 << 15; // a block of all channels together

// Where the stretch `at` of `count` equal ones begins.
qint64 boundary(qint64 first, qint64 last, qint64 at, qint64 count) { return first + (last - first) * at / count; }

PeakLanes silence(int channels, int points) {
    return PeakLanes(static_cast<std::size_t>(channels), std::vector<float>(static_cast<std::size_t>(points), 0.0F));
}

struct Stretch {
    double from; // seconds
    double to;
};

// The peaks of one stretch as `points` of another, silent where that lies outside. A point of several peaks is the
// greatest of them; of less than one, that one.
PeakLanes spread(const PeakLanes& peaks, const Stretch& of, const Stretch& onto, int points) {
    constexpr double tolerance = 1e-6; // of a peak: what divisions leave over is no peak more
    PeakLanes lanes = silence(static_cast<int>(peaks.size()), points);
    if (!(of.to > of.from)) return lanes;
    const auto count = static_cast<double>(peaks.front().size());
    const double scale = count / (of.to - of.from);
    const double step = (onto.to - onto.from) / points;
    for (int point = 0; point < points; ++point) {
        const double begin = (onto.from + step * point - of.from) * scale + tolerance;
        const double end = (onto.from + step * (point + 1) - of.from) * scale - tolerance;
        if (end <= 0 || begin >= count) continue;
        const auto first = static_cast<std::ptrdiff_t>(std::max(0.0, begin));
        const auto last = std::max(first + 1, static_cast<std::ptrdiff_t>(std::min(std::ceil(end), count)));
        for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
            const auto begun = peaks[lane].begin();
            lanes[lane][static_cast<std::size_t>(point)] = *std::max_element(begun + first, begun + last);
        }
    }
    return lanes;
}

} // namespace

std::shared_ptr<WaveformPeaks> WaveformPeaks::of(const QString& path, const QString& ffmpegPath,
                                                 const TaskHandle& task) {
    if (task.isCancelled()) return nullptr;
    std::shared_ptr<WaveformPeaks> peaks(new WaveformPeaks(AudioFile(path, ffmpegPath)));
    const int channels = peaks->file_.channelCount();
    const qint64 frames = peaks->file_.lengthInFrames();
    const auto buckets = std::clamp<qint64>(frames, 1, std::min(kMostBuckets, kMostValues / channels));
    PeakLanes lanes = silence(channels, static_cast<int>(buckets));
    if (!peaks->fill(lanes, 0, frames, task)) return nullptr;
    for (const std::vector<float>& lane : lanes) peaks->greatest_.push_back(std::ranges::max(lane));
    peaks->overview_ = std::move(lanes);
    return peaks;
}

qint64 WaveformPeaks::frameAt(double seconds) const {
    return std::clamp<qint64>(std::llround(seconds * file_.sampleRate()), 0, file_.lengthInFrames());
}

// The frames from first to last, as equal stretches in all of the lanes' values. False if it was cancelled.
bool WaveformPeaks::fill(PeakLanes& lanes, qint64 first, qint64 last, const TaskHandle& task) {
    const auto channels = static_cast<int>(lanes.size());
    const auto count = static_cast<qint64>(lanes.front().size());
    const int most = std::max(1, kReadSamples / channels);
    std::vector<float> block(static_cast<std::size_t>(most) * lanes.size());
    std::vector<float> peaks(lanes.size());
    if (first < last) file_.seek(first);
    qint64 bucket = 0;
    for (qint64 frame = first; frame < last;) {
        if (task.isCancelled()) return false;
        const qint64 wanted = std::min<qint64>(most, last - frame);
        const int got = file_.readInterleaved(std::span(block).first(static_cast<std::size_t>(wanted * channels)));
        if (got == 0) break;
        const float* samples = block.data();
        for (const qint64 end = frame + got; frame < end;) {
            while (boundary(first, last, bucket + 1, count) <= frame) ++bucket;
            const qint64 stop = std::min(end, boundary(first, last, bucket + 1, count));
            std::ranges::fill(peaks, 0.0F);
            raisePeaks(samples, stop - frame, channels, peaks.data());
            for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
                float& value = lanes[lane][static_cast<std::size_t>(bucket)];
                value = std::max(value, std::min(peaks[lane], std::numeric_limits<float>::max()));
            }
            samples += (stop - frame) * channels;
            frame = stop;
        }
    }
    return true;
}

bool WaveformPeaks::isFineEnough(double from, double to, int points) const {
    const double perPoint = (to - from) * file_.sampleRate() / points;
    const double perBucket =
        static_cast<double>(file_.lengthInFrames()) / static_cast<double>(overview_.front().size());
    return perBucket <= std::max(1.0, perPoint);
}

PeakLanes WaveformPeaks::overview(double from, double to, int points) const {
    return spread(overview_, {0, duration()}, {from, to}, points);
}

PeakLanes WaveformPeaks::read(double from, double to, int points, const TaskHandle& task) {
    const std::lock_guard lock(reading_);
    const qint64 first = frameAt(from);
    const qint64 last = frameAt(to);
    PeakLanes exact = silence(channels(), static_cast<int>(std::clamp<qint64>(last - first, 1, points)));
    if (!fill(exact, first, last, task)) return {};
    const double rate = file_.sampleRate();
    return spread(exact, {static_cast<double>(first) / rate, static_cast<double>(last) / rate}, {from, to}, points);
}

} // namespace ostrel
