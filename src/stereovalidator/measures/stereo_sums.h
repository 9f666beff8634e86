// The sums over a stretch of stereo frames from which every measure follows. Two stretches add up, so that windows that
// overlap, and the whole file, come out of one pass over the samples.
//
// Samples are single precision, sums double. Each stretch is summed relative to its own first frame and kept as mean
// and deviations from it: a constant offset of the signal costs no digits, and a constant signal deviates by exactly
// zero.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

namespace ostrel {

struct StereoSums {
    double frames = 0;
    double leftMean = 0;
    double rightMean = 0;
    double leftDeviation = 0;     // sum of (left - leftMean) squared
    double rightDeviation = 0;    // sum of (right - rightMean) squared
    double coDeviation = 0;       // sum of (left - leftMean) * (right - rightMean)
    double differenceSquares = 0; // sum of (left - right) squared

    // Frames as left, right, left, right.
    static StereoSums ofInterleaved(std::span<const float> samples);

    void add(const StereoSums& other);

    // False if a sample was infinite or not a number: nothing can be said about such a stretch.
    bool isFinite() const;

    // All are 0 for a stretch without frames.
    double leftRms() const;
    double rightRms() const;
    double differenceRms() const;

    // Pearson's, -1 to 1. 0 below two frames and where a channel hardly deviates from its mean.
    double correlation() const;

    // Power of (left - right) / 2 over power of (left + right) / 2, the latter raised by 1e-10: no division by zero,
    // and a very large number for channels of opposite polarity.
    double midSideRatio() const;
};

// Hands two channels of equal length (where not, the frames that both have) to `take` as interleaved blocks.
template <class Take>
void forInterleavedBlocks(std::span<const float> left, std::span<const float> right, Take take) {
    constexpr std::size_t kBlockFrames = 2048;
    std::array<float, 2 * kBlockFrames> block;
    const std::size_t frames = std::min(left.size(), right.size());
    for (std::size_t done = 0; done < frames; done += kBlockFrames) {
        const std::size_t count = std::min(kBlockFrames, frames - done);
        for (std::size_t i = 0; i < count; ++i) {
            block[2 * i] = left[done + i];
            block[2 * i + 1] = right[done + i];
        }
        take(std::span<const float>(block.data(), 2 * count));
    }
}

} // namespace ostrel
