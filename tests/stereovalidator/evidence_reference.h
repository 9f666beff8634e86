// The evidence once more, by plain loops over the whole signal in memory and by other formulas: no sums that are
// shared, no transforms, no levels by class. For comparison only.
#pragma once

#include "stereovalidator/stereo_reference.h"

namespace ostrel::testing {

struct ReferenceEvidence {
    double lowestCorrelation = 0, highestCorrelation = 0; // of the windows above `activeDbfs`
    double changingShare = 0;
    double balanceDb = 0;
    double worstResidualDb = -120; // of the quieter channel less its projection on the louder one
    double worstStart = 0;         // seconds
    double upperCorrelation = 0;   // above 120 Hz, by a windowed sinc of an odd length
    double upperShare = 0;
    double lagMs = 0; // where the mean product of the shifted channels is largest, within 20 ms
};

ReferenceEvidence referenceEvidence(const StereoSignal& signal, double seconds, double activeDbfs);

} // namespace ostrel::testing
