#include "stereovalidator/evidence/evidence_gatherer.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ostrel {
namespace {

constexpr double kLeastRestSeconds = 0.1;
constexpr double kLagWorthAligning = 0.5; // of the peak's magnitude
constexpr double kLagGain = 0.05;         // over the correlation without a lag

} // namespace

void WindowRow::endHop(const StereoSums& hop) {
    whole_.add(hop);
    if (seconds_ == 0 && pending_.frames == 0) {
        pending_ = hop;
        return;
    }
    if (pending_.frames > 0) take(std::exchange(pending_, {}));
    take(hop);
}

void WindowRow::end(const StereoSums& rest) {
    whole_.add(rest);
    if (pending_.frames > 0 || seconds_ == 0) {
        pending_.add(rest);
        take(pending_);
    } else if (rest.frames >= kLeastRestSeconds * sampleRate_) {
        take(rest);
    }
}

void WindowRow::take(const StereoSums& sums) {
    const WindowFacts window = WindowFacts::of(sums, seconds_, sampleRate_);
    seconds_ += window.length;
    statistics_.add(window);
    strip_.add(window);
}

EvidenceGatherer::EvidenceGatherer(int sampleRate)
    : sampleRate_(sampleRate), blockFrames_(blockFramesAt(sampleRate)), left_(sampleRate), right_(sampleRate),
      lowBand_(sampleRate), probe_(sampleRate), row_(sampleRate) {}

void EvidenceGatherer::takeSamples(std::span<const float> samples) {
    if (std::exchange(beginsHop_, false)) probe_.beginHop();
    probe_.addInterleaved(samples);
    const std::size_t block = 2 * blockFrames_;
    if (!carried_.empty()) {
        const std::size_t missing = std::min(block - carried_.size(), samples.size());
        carried_.insert(carried_.end(), samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(missing));
        samples = samples.subspan(missing);
        if (carried_.size() < block) return;
        scan(carried_);
        carried_.clear();
    }
    const std::size_t whole = samples.size() / block * block;
    scan(samples.first(whole));
    samples = samples.subspan(whole);
    carried_.assign(samples.begin(), samples.end());
}

void EvidenceGatherer::scan(std::span<const float> blocks) {
    if (blocks.empty()) return;
    summarizeBlocks(blocks, blockFrames_, summaries_);
    const float* samples = blocks.data();
    for (const BlockSummary& summary : summaries_) {
        left_.add(samples, blockFrames_, summary.leftPeak);
        right_.add(samples + 1, blockFrames_, summary.rightPeak);
        lowBand_.add(summary);
        samples += 2 * blockFrames_;
    }
}

void EvidenceGatherer::endHop(const StereoSums& hop) {
    row_.endHop(hop);
    lowBand_.endHop(hop);
    beginsHop_ = true;
}

void EvidenceGatherer::end(const StereoSums& rest) {
    if (!carried_.empty()) { // less than a block: its mean is nothing for the low band
        const auto peakOf = [this](std::size_t channel) {
            float peak = 0;
            for (std::size_t i = channel; i < carried_.size(); i += 2) peak = std::max(peak, std::fabs(carried_[i]));
            return peak;
        };
        left_.add(carried_.data(), carried_.size() / 2, peakOf(0));
        right_.add(carried_.data() + 1, carried_.size() / 2, peakOf(1));
    }
    row_.end(rest);
    lowBand_.endHop(rest);
    lowBand_.fill(evidence_);
    row_.statistics().fill(evidence_);
    left_.fill(evidence_.channels[0]);
    right_.fill(evidence_.channels[1]);
    evidence_.channels[0].dc = row_.whole().leftMean;
    evidence_.channels[1].dc = row_.whole().rightMean;
    evidence_.isShort = row_.isShort();
    evidence_.seconds = row_.whole().frames / sampleRate_;
    evidence_.cellSeconds = row_.strip().cellSeconds();
    evidence_.strip = row_.strip().cells();
    const LagProbe::Peak peak = probe_.peak();
    evidence_.lagCorrelation = row_.whole().correlation();
    if (peak.magnitude >= kLagWorthAligning && peak.magnitude > peak.atZero + kLagGain) lag_ = peak.lag;
    fillWorst();
}

void EvidenceGatherer::takeAligned(const WindowRow& aligned) {
    const double correlation = aligned.whole().correlation();
    if (std::abs(correlation) < kLagWorthAligning ||
        std::abs(correlation) < std::abs(evidence_.lagCorrelation) + kLagGain) {
        return;
    }
    evidence_.lagMs = 1000.0 * static_cast<double>(lag_) / sampleRate_;
    evidence_.lagCorrelation = correlation;
    StereoEvidence together;
    aligned.statistics().fill(together);
    evidence_.residualDb = together.residualDb;
    evidence_.residualDbfs = together.residualDbfs;
    evidence_.residualShare = together.residualShare;
    evidence_.worst = together.worst;
}

// From the worst window on to both sides, as long as the strip shows half of its difference.
void EvidenceGatherer::fillWorst() {
    if (evidence_.worst.length == 0 || evidence_.strip.empty()) return;
    const double cell = evidence_.cellSeconds;
    const double limit = -evidence_.residualDb + 6; // dB below the louder channel
    const auto differs = [&](std::size_t i) { return evidence_.strip[i].residual <= limit; };
    const std::size_t at = std::min(static_cast<std::size_t>(evidence_.worst.start / cell), evidence_.strip.size() - 1);
    std::size_t first = at;
    std::size_t last = at;
    while (first > 0 && differs(first - 1)) --first;
    while (last + 1 < evidence_.strip.size() && differs(last + 1)) ++last;
    const double end = std::max(evidence_.worst.start + evidence_.worst.length, static_cast<double>(last + 1) * cell);
    if (first < at) evidence_.worst.start = static_cast<double>(first) * cell;
    evidence_.worst.length = end - evidence_.worst.start;
}

ChannelAligner::ChannelAligner(long lag) : delay_(static_cast<std::size_t>(std::labs(lag))), early_(lag > 0 ? 0 : 1) {}

std::span<const float> ChannelAligner::align(std::span<const float> samples) {
    paired_.clear();
    std::size_t taken = 0;
    for (std::size_t i = 0; i + 1 < samples.size(); i += 2) {
        waiting_.push_back(samples[i + early_]);
        if (waiting_.size() - taken <= delay_) continue;
        const float early = waiting_[taken++];
        const float late = samples[i + 1 - early_];
        paired_.push_back(early_ == 0 ? early : late);
        paired_.push_back(early_ == 0 ? late : early);
    }
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(taken));
    return paired_;
}

} // namespace ostrel
