// What Clean & Export converts, and which channel it keeps. Pure rules.
#pragma once

#include "stereovalidator/evidence/stereo_evidence.h"
#include "stereovalidator/stereo_classification.h"

#include <QString>
#include <array>

namespace ostrel {

enum class ExportScope { allResults, selected };
inline constexpr std::array kAllExportScopes{ExportScope::allResults, ExportScope::selected};
QString rawText(ExportScope scope); // "All Results"

enum class DualMonoSideSelection { automatic, left, right };
inline constexpr std::array kAllDualMonoSideSelections{DualMonoSideSelection::automatic, DualMonoSideSelection::left,
                                                       DualMonoSideSelection::right};
QString rawText(DualMonoSideSelection side); // "Auto (Safe Default)"

struct ConversionToggles {
    bool dualMono = true; // with a gain mismatch too
    bool oneSided = true;
    bool broken = true;
};

// nearMono, trueStereo, silent, trueMono and unsupported are never converted.
bool isConverted(StereoClassification classification, const ConversionToggles& toggles);

// True: channel 0. The live channel of a one-sided file always, otherwise the chosen side. `automatic` is the channel
// without clipping and dropouts, where evidence tells the two apart, or else the left one without a look at the levels,
// for a gain mismatch as well.
bool keepsLeftChannel(StereoClassification classification, DualMonoSideSelection side,
                      const StereoEvidence* evidence = nullptr);

} // namespace ostrel
