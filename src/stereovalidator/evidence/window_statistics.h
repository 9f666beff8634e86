// What all windows together tell, in fixed memory however many there are.
//
// Which windows count (are "active") depends on how loud the file is as a whole, and that is known at its end only; so
// they are gathered by their level, in classes of one dB, and the classes are taken together at the end.
#pragma once

#include "stereovalidator/evidence/stereo_evidence.h"
#include "stereovalidator/evidence/window_facts.h"

#include <array>

namespace ostrel {

class WindowStatistics {
public:
    void add(const WindowFacts& window);

    // Everything but the strip, and of the channels their time without sound and their loudest window.
    void fill(StereoEvidence& evidence) const;

private:
    struct Moment {
        double value = 0;
        double start = 0;
    };
    struct LevelClass {
        int windows = 0;
        double energy = 0;
        double changing = 0, positive = 0, negative = 0;     // energies
        double leftPower = 0, rightPower = 0, sidePower = 0; // times seconds
        double lowest = 1, highest = -1;                     // correlation
        Moment leastBalance{1e9, 0}, mostBalance{-1e9, 0};   // right over left, dB
        WindowFacts worst{.residualDbfs = -1e9};             // by its residual
    };
    struct Silence {
        Stretch running;
        Stretch longest;
    };

    void followSilence(Silence& silence, bool isDead, const WindowFacts& window);
    double percentile(double share) const;

    std::array<LevelClass, 121> classes_; // by the level below full scale
    std::array<Silence, 2> silences_;
    std::array<Moment, 2> loudest_{Moment{-120, 0}, Moment{-120, 0}};
    int windows_ = 0;
};

} // namespace ostrel
