// Measures a stereo file that is handed over block by block, in constant memory but for three numbers a half second.
//
// Windows are one second long and start every half second (in frames: W = the sample rate, hop = W / 2 truncated). Each
// hop is summed once, a window is the sum of its two hops, and the whole file the sum of all. Where W is odd, a window
// also takes the first frame of the hop that follows, which is therefore summed apart from its rest.
#pragma once

#include "stereovalidator/measures/channel_analysis.h"
#include "stereovalidator/measures/stereo_sums.h"

#include <cstddef>
#include <span>
#include <vector>

namespace ostrel {

// Sees what is measured half second by half second, from the same pass.
class HopObserver {
public:
    virtual ~HopObserver() = default;
    virtual void takeSamples(std::span<const float>) {} // of one half second, left and right in turn
    virtual void endHop(const StereoSums& sums) = 0;    // that half second has ended
};

class StereoAccumulator {
public:
    // Hz. Below 2 Hz there are no windows.
    explicit StereoAccumulator(int sampleRate, HopObserver* observer = nullptr);

    // Whole frames as left, right, left, right. Any block size.
    void addInterleaved(std::span<const float> samples);

    // Of equal length; where not, the frames that both have.
    void addChannels(std::span<const float> left, std::span<const float> right);

    // False as soon as a sample was infinite or not a number; the measures are of no use then.
    bool isFinite() const { return finite_; }

    // Of the half second that has not ended.
    const StereoSums& unfinished() const { return current_; }

    // What came so far. The lag is not measured here.
    ChannelAnalysis measures() const;

private:
    std::size_t framesToNextEdge() const;
    void finishHop();
    void closeWindow();

    HopObserver* observer_;
    std::size_t hopFrames_;
    std::size_t headFrames_; // of a hop, that belong to the window before as well: 0 or 1
    std::size_t filled_ = 0; // frames of the hop in progress
    int finishedHops_ = 0;   // counted up to two
    StereoSums older_, newer_, current_;
    StereoSums finished_; // all finished hops
    bool finite_ = true;
    std::vector<double> correlations_, differences_, ratios_;
};

// The middle of the sorted values, or the mean of the two in the middle. 0 for none.
double median(std::vector<double> values);

} // namespace ostrel
