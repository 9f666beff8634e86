#include "stereovalidator/measures/inter_channel_lag.h"

#include "stereovalidator/measures/stereo_sums.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ostrel {
namespace {

constexpr double kStartCorrelation = -2.0;
constexpr double kLongMaterialSeconds = 600.0;
constexpr double kThinnedRate = 1000.0; // Hz

std::vector<float> everyNth(std::span<const float> samples, std::size_t step) {
    std::vector<float> result;
    result.reserve(samples.size() / step + 1);
    for (std::size_t i = 0; i < samples.size(); i += step) result.push_back(samples[i]);
    return result;
}

// A negative lag sets the left channel's later samples against the right one's earlier ones.
double correlationAt(std::span<const float> left, std::span<const float> right, long lag) {
    const auto shift = static_cast<std::size_t>(std::abs(lag));
    if (shift >= left.size() || shift >= right.size()) return 0.0;
    if (lag < 0) return pearsonCorrelation(left.subspan(shift), right.first(right.size() - shift));
    return pearsonCorrelation(left.first(left.size() - shift), right.subspan(shift));
}

} // namespace

double pearsonCorrelation(std::span<const float> x, std::span<const float> y) {
    if (x.size() != y.size()) return 0.0;
    StereoSums sums;
    forInterleavedBlocks(x, y, [&](std::span<const float> block) { sums.add(StereoSums::ofInterleaved(block)); });
    return sums.correlation();
}

double estimateLag(std::span<const float> left, std::span<const float> right, double sampleRate, double lagWindowMs) {
    // No correlation passes 1 in magnitude, so from this start the search always ends where it began, at lag 0.
    if (std::abs(kStartCorrelation) >= 1.0) return 0.0;
    return searchLag(left, right, sampleRate, lagWindowMs, kStartCorrelation);
}

double searchLag(std::span<const float> left, std::span<const float> right, double sampleRate, double lagWindowMs,
                 double startCorrelation) {
    if (static_cast<long>(sampleRate * lagWindowMs / 1000) == 0) return 0.0;
    std::vector<float> thinnedLeft, thinnedRight;
    double rate = sampleRate;
    if (static_cast<double>(left.size()) > std::floor(sampleRate * kLongMaterialSeconds)) {
        const auto step = static_cast<std::size_t>(std::max(1.0, std::floor(sampleRate / kThinnedRate)));
        left = thinnedLeft = everyNth(left, step);
        right = thinnedRight = everyNth(right, step);
        rate = kThinnedRate;
    }
    const auto reach = static_cast<long>(rate * lagWindowMs / 1000);
    double bestCorrelation = startCorrelation;
    long bestLag = 0;
    for (long lag = -reach; lag <= reach; ++lag) {
        const double correlation = correlationAt(left, right, lag);
        if (std::abs(bestCorrelation) < std::abs(correlation)) {
            bestCorrelation = correlation;
            bestLag = lag;
        }
    }
    return static_cast<double>(bestLag) * 1000 / rate;
}

} // namespace ostrel
