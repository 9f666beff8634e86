// The file over time in at most 2,048 columns: two become one, and twice as long, whenever there are more.
#pragma once

#include "stereovalidator/evidence/stereo_evidence.h"
#include "stereovalidator/evidence/window_facts.h"

namespace ostrel {

class EvidenceStrip {
public:
    void add(const WindowFacts& window);

    std::vector<StripCell> cells() const;
    double cellSeconds() const { return 0.5 * static_cast<double>(windowsPerCell_); }

private:
    std::size_t windowsPerCell_ = 1;
    std::size_t filled_ = 0; // windows of the last cell
    std::vector<StripCell> cells_;
};

} // namespace ostrel
