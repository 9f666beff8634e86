// Gathers the evidence of a file while it is read: one pass, and a second one where a lag was found.
//
// Fixed memory, whatever the length. The sums of the half seconds are the accumulator's, which measures the same pass.
#pragma once

#include "stereovalidator/evidence/block_scan.h"
#include "stereovalidator/evidence/evidence_strip.h"
#include "stereovalidator/evidence/lag_probe.h"
#include "stereovalidator/evidence/low_band.h"
#include "stereovalidator/evidence/window_statistics.h"
#include "stereovalidator/measures/stereo_accumulator.h"

#include <span>
#include <vector>

namespace ostrel {

// Half-second sums as windows: a file's last piece counts from a tenth of a second on, and a file of less than a second
// is one window.
class WindowRow : public HopObserver {
public:
    explicit WindowRow(int sampleRate) : sampleRate_(sampleRate) {}

    void endHop(const StereoSums& hop) override;
    void end(const StereoSums& rest);

    const WindowStatistics& statistics() const { return statistics_; }
    const EvidenceStrip& strip() const { return strip_; }
    const StereoSums& whole() const { return whole_; }
    bool isShort() const { return whole_.frames < sampleRate_; }

private:
    void take(const StereoSums& sums);

    int sampleRate_;
    StereoSums pending_; // the first half second, until there is a second one
    StereoSums whole_;
    double seconds_ = 0;
    WindowStatistics statistics_;
    EvidenceStrip strip_;
};

class EvidenceGatherer : public HopObserver {
public:
    explicit EvidenceGatherer(int sampleRate);

    void takeSamples(std::span<const float> samples) override;
    void endHop(const StereoSums& hop) override;

    // The end of the first pass. A lag other than 0 wants a second one.
    void end(const StereoSums& rest);
    long lagFrames() const { return lag_; }

    // The second pass, of the whole file, aligned by the lag. Where that does not bring the channels together, it was
    // none.
    void takeAligned(const WindowRow& aligned);

    StereoEvidence evidence() const { return evidence_; }

private:
    void scan(std::span<const float> blocks);
    void fillWorst();

    int sampleRate_;
    std::size_t blockFrames_;
    std::vector<float> carried_; // less than a block
    std::vector<BlockSummary> summaries_;
    FaultScan left_, right_;
    LowBand lowBand_;
    LagProbe probe_;
    WindowRow row_;
    bool beginsHop_ = true;
    long lag_ = 0;
    StereoEvidence evidence_;
};

// Hands on interleaved blocks with one of the channels delayed, so that the right channel's frame n + lag stands beside
// the left one's frame n. Frames without a partner are left out.
class ChannelAligner {
public:
    explicit ChannelAligner(long lag);

    // What can be paired of all that came so far, valid until the next call.
    std::span<const float> align(std::span<const float> samples);

private:
    std::size_t delay_;
    std::size_t early_; // 0: the left channel waits; 1: the right one
    std::vector<float> waiting_;
    std::vector<float> paired_;
};

} // namespace ostrel
