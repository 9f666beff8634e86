#include "stereovalidator/measures/stereo_accumulator.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace ostrel {
namespace {

constexpr double kDigitalSilence = 1e-12; // RMS
constexpr double kSilentWindowDbfs = -100.0;
constexpr double kSilentFileDbfs = -120.0;

// A mere difference of gain is looked for between these, and only where the windows agree nearly perfectly.
constexpr double kGainTestCorrelation = 0.9995;
constexpr double kLeastGainDb = 1.5;
constexpr double kMostGainDb = 30.0;

bool holdsSound(double rms) { return rms > kDigitalSilence && 20 * std::log10(rms) > kSilentWindowDbfs; }

double dbfs(double rms) { return rms > kDigitalSilence ? 20 * std::log10(rms) : kSilentFileDbfs; }

} // namespace

StereoAccumulator::StereoAccumulator(int sampleRate, HopObserver* observer) : observer_(observer) {
    const bool windowed = sampleRate >= 2;
    hopFrames_ = windowed ? static_cast<std::size_t>(sampleRate) / 2 : std::numeric_limits<std::size_t>::max();
    headFrames_ = windowed ? static_cast<std::size_t>(sampleRate) % 2 : 0;
}

std::size_t StereoAccumulator::framesToNextEdge() const {
    return (filled_ < headFrames_ ? headFrames_ : hopFrames_) - filled_;
}

void StereoAccumulator::addInterleaved(std::span<const float> samples) {
    while (samples.size() >= 2) {
        const std::size_t frames = std::min(framesToNextEdge(), samples.size() / 2);
        const StereoSums stretch = StereoSums::ofInterleaved(samples.first(2 * frames));
        finite_ = finite_ && stretch.isFinite();
        if (observer_) observer_->takeSamples(samples.first(2 * frames));
        current_.add(stretch);
        filled_ += frames;
        samples = samples.subspan(2 * frames);
        if (headFrames_ > 0 && filled_ == headFrames_) closeWindow();
        if (filled_ == hopFrames_) finishHop();
    }
}

void StereoAccumulator::addChannels(std::span<const float> left, std::span<const float> right) {
    forInterleavedBlocks(left, right, [this](std::span<const float> block) { addInterleaved(block); });
}

void StereoAccumulator::finishHop() {
    finished_.add(current_);
    older_ = newer_;
    newer_ = std::exchange(current_, {});
    filled_ = 0;
    if (observer_) observer_->endHop(newer_);
    finishedHops_ = std::min(finishedHops_ + 1, 2);
    if (headFrames_ == 0) closeWindow();
}

void StereoAccumulator::closeWindow() {
    if (finishedHops_ < 2) return;
    StereoSums window = older_;
    window.add(newer_);
    window.add(current_);
    if (!holdsSound(window.leftRms()) && !holdsSound(window.rightRms())) return;
    correlations_.push_back(window.correlation());
    differences_.push_back(window.differenceRms());
    ratios_.push_back(window.midSideRatio());
}

ChannelAnalysis StereoAccumulator::measures() const {
    StereoSums file = finished_;
    file.add(current_);
    ChannelAnalysis result;
    result.correlation = median(correlations_);
    result.rmsDiff = median(differences_);
    result.msRatio = median(ratios_);
    result.leftDbfs = dbfs(file.leftRms());
    result.rightDbfs = dbfs(file.rightRms());
    result.levelDiffDb = std::abs(result.leftDbfs - result.rightDbfs);
    // To scale the louder channel down to the other first would change nothing: a correlation knows no gain.
    if (std::abs(result.correlation) >= kGainTestCorrelation && result.levelDiffDb > kLeastGainDb &&
        result.levelDiffDb < kMostGainDb) {
        result.gainCompensatedCorr = file.correlation();
    }
    return result;
}

double median(std::vector<double> values) {
    if (values.empty()) return 0.0;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

} // namespace ostrel
