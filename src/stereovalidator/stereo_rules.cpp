#include "stereovalidator/stereo_rules.h"

#include <algorithm>
#include <cmath>

namespace ostrel {
namespace {

constexpr double kSilentDbfs = -100.0;
constexpr double kLivelyDbfs = -90.0;
constexpr double kOppositeCorrelation = -0.2;

bool isGainMismatch(const ChannelAnalysis& measures) {
    return std::abs(measures.correlation) >= 0.9995 && measures.levelDiffDb > 1.5 && measures.levelDiffDb < 30.0 &&
           measures.gainCompensatedCorr && std::abs(*measures.gainCompensatedCorr) >= 0.995;
}

double percent(double share) { return std::clamp(100 * share, 0.0, 100.0); }

double brokenConfidence(double correlation, double lagMs, const StereoValidatorOptions& options) {
    if (correlation <= kOppositeCorrelation) return percent(std::abs(correlation));
    if (std::abs(lagMs) >= options.bigLagMs) return percent(std::abs(lagMs) / options.bigLagMs);
    return 50.0;
}

// Highest right at a threshold and falling towards the middle of the band; meant, as is the sign of the correlation,
// which makes this 0 for channels of opposite polarity.
double nearMonoConfidence(double correlation, const StereoValidatorOptions& options) {
    const double distance =
        std::min(std::abs(correlation - options.dualMonoThreshold), std::abs(correlation - options.nearMonoThreshold));
    return percent(1 - std::min(distance / 0.05, 1.0));
}

} // namespace

StereoClassification classify(const ChannelAnalysis& measures, const StereoValidatorOptions& options) {
    const auto [low, high] = std::minmax(measures.leftDbfs, measures.rightDbfs);
    if (high <= kSilentDbfs) return StereoClassification::silent;
    if (high > kLivelyDbfs && high - low > options.oneSidedDb) {
        return measures.leftDbfs < measures.rightDbfs ? StereoClassification::oneSidedR
                                                      : StereoClassification::oneSidedL;
    }
    const double agreement = std::abs(measures.correlation);
    const bool aligned = std::abs(measures.lagMs) <= options.smallLagMs;
    if (aligned && agreement >= options.dualMonoThreshold && measures.msRatio < 0.01) {
        return StereoClassification::dualMono;
    }
    if (aligned && isGainMismatch(measures)) return StereoClassification::dualMonoGainMismatch;
    if (aligned && agreement >= options.nearMonoThreshold && agreement < options.dualMonoThreshold) {
        return StereoClassification::nearMono;
    }
    if (std::abs(measures.lagMs) < options.bigLagMs && measures.correlation > kOppositeCorrelation) {
        return StereoClassification::trueStereo;
    }
    return StereoClassification::broken;
}

double calculateConfidence(StereoClassification classification, double correlation, double msRatio, double lagMs,
                           const StereoValidatorOptions& options) {
    switch (classification) {
    case StereoClassification::dualMono:
        return percent(0.7 * std::abs(correlation) + 0.3 * (1 - std::min(100 * msRatio, 1.0)));
    case StereoClassification::dualMonoGainMismatch: return percent(0.85 * std::abs(correlation));
    case StereoClassification::nearMono: return nearMonoConfidence(correlation, options);
    case StereoClassification::trueStereo:
        return percent(0.6 * std::min(10 * msRatio, 1.0) + (correlation > 0 ? 0.4 : 0.0));
    case StereoClassification::broken: return brokenConfidence(correlation, lagMs, options);
    case StereoClassification::oneSidedL:
    case StereoClassification::oneSidedR: return 85.0;
    case StereoClassification::silent: return 100.0;
    case StereoClassification::trueMono:
    case StereoClassification::unsupported: break;
    }
    return 0.0;
}

} // namespace ostrel
