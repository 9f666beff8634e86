// One half-second window, as the evidence sees it. Levels are RMS in dBFS without DC, -120 for digital silence.
#pragma once

#include "stereovalidator/measures/stereo_sums.h"

namespace ostrel {

struct WindowFacts {
    double start = 0;  // seconds
    double length = 0; // seconds
    double leftDbfs = -120;
    double rightDbfs = -120;
    double louderDbfs = -120;
    double sideDbfs = -120;
    double energy = 0; // of the louder channel, times the length
    double correlation = 0;
    double residualDbfs = -120; // of the quieter channel, less what the louder one explains of it

    bool holdsSound() const { return louderDbfs > -100; }

    static WindowFacts of(const StereoSums& sums, double start, int sampleRate);
};

} // namespace ostrel
