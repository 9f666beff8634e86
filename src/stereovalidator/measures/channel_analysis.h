// How the two channels of a file relate: what classification looks at.
#pragma once

#include <optional>

namespace ostrel {

struct ChannelAnalysis {
    double correlation = 0; // medians over the windows that hold sound; 0 where there is none
    double rmsDiff = 0;
    double msRatio = 0;
    double lagMs = 0;
    double leftDbfs = 0; // of the whole file; -120 for digital silence
    double rightDbfs = 0;
    double levelDiffDb = 0;                    // never negative
    std::optional<double> gainCompensatedCorr; // of the whole file, where a mere difference of gain is likely

    bool operator==(const ChannelAnalysis&) const = default;
};

} // namespace ostrel
