// The one look at every sample that the evidence takes beyond the sums: per block of some frames the sum and the peak
// of either channel, and from those what is clipped and what dropped out.
#pragma once

#include "stereovalidator/evidence/stereo_evidence.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ostrel {

struct BlockSummary {
    float leftSum = 0;
    float rightSum = 0;
    float leftPeak = 0; // magnitude
    float rightPeak = 0;
};

// Frames of a block: a multiple of eight, about 1.5 kHz of blocks a second.
std::size_t blockFramesAt(int sampleRate);

// Of `samples`, left and right in turn, a whole number of blocks of a multiple of eight frames.
void summarizeBlocks(std::span<const float> samples, std::size_t blockFrames, std::vector<BlockSummary>& into);

// Clipping and dropouts of one channel, block by block.
//
// Clipped: four or more equal samples in a row within 0.0001 of full scale or beyond. Dropped out: one millisecond or
// more of one value near zero, with sound before and behind and a jump of -50 dBFS at either end: a pause that fades
// is none.
class FaultScan {
public:
    explicit FaultScan(int sampleRate);

    // Every second sample from `samples` on belongs to the channel.
    void add(const float* samples, std::size_t frames, float peak);

    void fill(ChannelEvidence& channel) const;

private:
    void scanClipping(const float* samples, std::size_t frames);
    void endRun(std::int64_t end, float next);

    double sampleRate_;
    std::int64_t leastDropout_;
    std::int64_t frame_ = 0; // of the block's begin
    float last_ = 0;
    float peak_ = 0;
    // The run of equal samples that ends the blocks so far.
    std::int64_t runStart_ = 0;
    float runValue_ = 0;
    float runBefore_ = 0; // the sample ahead of it
    std::int64_t clipLength_ = 0;
    std::int64_t clipStart_ = 0;
    float clipValue_ = 0;
    int clips_ = 0;
    std::int64_t firstClip_ = 0;
    int dropouts_ = 0;
    std::int64_t longestStart_ = 0;
    std::int64_t longest_ = 0;
};

} // namespace ostrel
