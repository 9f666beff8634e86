// The evidence as a document: `evidence` of a result's JSON, and what is kept between runs.
#pragma once

#include "stereovalidator/evidence/stereo_evidence.h"

#include <nlohmann/json_fwd.hpp>

namespace ostrel {

// "strip" holds a list of whole numbers for each of its rows: "correlation" in hundredths (127: nothing to tell), the
// levels in dB below full scale, "residual" in dB below the louder channel (120: none).
void to_json(nlohmann::json& json, const StereoEvidence& evidence);
// Throws nlohmann's exceptions for a missing key or a wrong type.
void from_json(const nlohmann::json& json, StereoEvidence& evidence);

} // namespace ostrel
