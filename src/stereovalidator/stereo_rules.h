// From measures to a classification, and how far to trust it. Pure functions.
#pragma once

#include "stereovalidator/measures/channel_analysis.h"
#include "stereovalidator/stereo_classification.h"
#include "stereovalidator/stereo_validator_options.h"

namespace ostrel {

// The first rule that holds decides; `rmsDiff` takes no part. Never trueMono or unsupported.
StereoClassification classify(const ChannelAnalysis& measures, const StereoValidatorOptions& options);

// 0 to 100.
double calculateConfidence(StereoClassification classification, double correlation, double msRatio, double lagMs,
                           const StereoValidatorOptions& options);

} // namespace ostrel
