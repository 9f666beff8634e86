// What is measured of a file, ahead of any threshold: with it, a verdict takes no look at the file.
#pragma once

#include "stereovalidator/evidence/stereo_evidence.h"
#include "stereovalidator/measures/channel_analysis.h"
#include "stereovalidator/recorded_pair.h"
#include "stereovalidator/stereo_validator_options.h"
#include "stereovalidator/stereo_validator_result.h"

#include <memory>

namespace ostrel {

struct MeasuredFile {
    double durationSeconds = 0;
    int sampleRate = 0; // Hz
    int channels = 0;
    ChannelAnalysis measures; // of two channels only, like what follows
    RecordedPair pair;
    std::shared_ptr<const StereoEvidence> evidence; // none: was not asked for
};

// The record of that file. Pure.
StereoValidatorResult resultOf(const QString& file, const MeasuredFile& measured,
                               const StereoValidatorOptions& options);

} // namespace ostrel
