// The lag between two channels, by the correlation of shifted copies.
#pragma once

#include <span>

namespace ostrel {

// In milliseconds, within +-lagWindowMs; negative if the left channel runs behind the right one. By its definition the
// search starts at a correlation whose magnitude nothing passes, so the answer is 0 for any input: it is not looked
// for.
double estimateLag(std::span<const float> left, std::span<const float> right, double sampleRate, double lagWindowMs);

// The search itself. A lag takes over only if the magnitude of its correlation passes that of the best one so far,
// which is `startCorrelation` at lag 0 to begin with. Material of more than ten minutes is thinned out to about 1 kHz.
double searchLag(std::span<const float> left, std::span<const float> right, double sampleRate, double lagWindowMs,
                 double startCorrelation);

// Pearson's correlation of two runs of samples; 0 for less than two samples and for different lengths.
double pearsonCorrelation(std::span<const float> x, std::span<const float> y);

} // namespace ostrel
