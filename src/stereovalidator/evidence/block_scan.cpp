#include "stereovalidator/evidence/block_scan.h"

#include <algorithm>
#include <array>
#include <cmath>

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
#define OSTREL_WIDE_BLOCKS __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define OSTREL_WIDE_BLOCKS
#endif

namespace ostrel {
namespace {

constexpr double kBlocksPerSecond = 1536.0; // at most
constexpr std::size_t kLanes = 16;          // eight frames
constexpr float kFullScale = 0.9999F;
constexpr std::int64_t kLeastClip = 4; // samples
constexpr double kLeastDropoutSeconds = 0.001;
constexpr float kNearZero = 0.02F;
constexpr float kJump = 0.003F; // -50 dBFS

OSTREL_WIDE_BLOCKS
BlockSummary summaryOf(const float* samples, std::size_t values) {
    std::array<float, kLanes> sums{};
    std::array<float, kLanes> peaks{};
    float* sum = sums.data();
    float* peak = peaks.data();
    for (std::size_t i = 0; i < values; i += kLanes) {
#pragma omp simd
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            const float sample = samples[i + lane];
            const float magnitude = std::fabs(sample);
            sum[lane] += sample;
            peak[lane] = peak[lane] < magnitude ? magnitude : peak[lane];
        }
    }
    BlockSummary result;
    for (std::size_t lane = 0; lane < kLanes; lane += 2) {
        result.leftSum += sums[lane];
        result.rightSum += sums[lane + 1];
        result.leftPeak = std::max(result.leftPeak, peaks[lane]);
        result.rightPeak = std::max(result.rightPeak, peaks[lane + 1]);
    }
    return result;
}

} // namespace

std::size_t blockFramesAt(int sampleRate) {
    return std::max<std::size_t>(1, static_cast<std::size_t>(std::ceil(sampleRate / kBlocksPerSecond / 8))) * 8;
}

void summarizeBlocks(std::span<const float> samples, std::size_t blockFrames, std::vector<BlockSummary>& into) {
    const std::size_t values = 2 * blockFrames;
    into.clear();
    for (std::size_t i = 0; i + values <= samples.size(); i += values) into.push_back(summaryOf(&samples[i], values));
}

FaultScan::FaultScan(int sampleRate)
    : sampleRate_(sampleRate),
      leastDropout_(std::max<std::int64_t>(static_cast<std::int64_t>(std::ceil(sampleRate * kLeastDropoutSeconds)),
                                           static_cast<std::int64_t>(blockFramesAt(sampleRate)))) {}

// A run that is shorter than a block may go unseen within it; a longer one reaches an edge.
void FaultScan::add(const float* samples, std::size_t frames, float peak) {
    if (frames == 0) return;
    const auto at = [samples](std::size_t i) { return samples[2 * i]; };
    if (frame_ == 0) runValue_ = last_ = at(0);
    std::size_t head = 0;
    while (head < frames && at(head) == runValue_) ++head;
    if (head < frames) {
        endRun(frame_ + static_cast<std::int64_t>(head), at(head));
        std::size_t tail = frames - 1;
        while (tail > head && at(tail - 1) == at(frames - 1)) --tail;
        runStart_ = frame_ + static_cast<std::int64_t>(tail);
        runValue_ = at(tail);
        runBefore_ = tail > 0 ? at(tail - 1) : last_;
    }
    peak_ = std::max(peak_, peak);
    if (peak >= kFullScale || clipLength_ > 0) scanClipping(samples, frames);
    last_ = at(frames - 1);
    frame_ += static_cast<std::int64_t>(frames);
}

void FaultScan::endRun(std::int64_t end, float next) {
    const std::int64_t length = end - runStart_;
    if (runStart_ == 0 || length < leastDropout_ || std::fabs(runValue_) >= kNearZero) return;
    if (std::max(std::fabs(runBefore_ - runValue_), std::fabs(next - runValue_)) < kJump) return;
    ++dropouts_;
    if (length <= longest_) return;
    longest_ = length;
    longestStart_ = runStart_;
}

void FaultScan::scanClipping(const float* samples, std::size_t frames) {
    for (std::size_t i = 0; i < frames; ++i) {
        const float sample = samples[2 * i];
        if (clipLength_ > 0 && sample == clipValue_) {
            if (++clipLength_ != kLeastClip) continue;
            if (clips_++ == 0) firstClip_ = clipStart_;
        } else if (std::fabs(sample) >= kFullScale) {
            clipLength_ = 1;
            clipStart_ = frame_ + static_cast<std::int64_t>(i);
            clipValue_ = sample;
        } else {
            clipLength_ = 0;
        }
    }
}

void FaultScan::fill(ChannelEvidence& channel) const {
    channel.peak = peak_;
    channel.clippedRuns = clips_;
    channel.firstClip = static_cast<double>(firstClip_) / sampleRate_;
    channel.dropouts = dropouts_;
    channel.longestDropout = {static_cast<double>(longestStart_) / sampleRate_,
                              static_cast<double>(longest_) / sampleRate_};
}

} // namespace ostrel
