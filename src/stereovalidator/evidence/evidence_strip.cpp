#include "stereovalidator/evidence/evidence_strip.h"

#include <algorithm>
#include <cmath>

namespace ostrel {
namespace {

constexpr std::size_t kMostCells = 2048;
constexpr double kShownResidualDbfs = -90; // below, it is the noise of the samples' own steps
constexpr double kShownLevelDbfs = -70;

std::uint8_t below(double dbfs) { return static_cast<std::uint8_t>(std::lround(std::clamp(-dbfs, 0.0, 120.0))); }

StripCell cellOf(const WindowFacts& window) {
    StripCell cell{.left = below(window.leftDbfs), .right = below(window.rightDbfs), .side = below(window.sideDbfs)};
    if (window.louderDbfs < kShownLevelDbfs) return cell;
    cell.correlation = static_cast<std::int8_t>(std::lround(100 * window.correlation));
    if (window.residualDbfs > kShownResidualDbfs) cell.residual = below(window.residualDbfs - window.louderDbfs);
    return cell;
}

StripCell merged(const StripCell& a, const StripCell& b) {
    return {
        .correlation = std::min(a.correlation, b.correlation), // none is the largest
        .left = std::min(a.left, b.left),
        .right = std::min(a.right, b.right),
        .side = std::min(a.side, b.side),
        .residual = std::min(a.residual, b.residual),
    };
}

} // namespace

void EvidenceStrip::add(const WindowFacts& window) {
    const StripCell cell = cellOf(window);
    if (!cells_.empty() && filled_ < windowsPerCell_) {
        cells_.back() = merged(cells_.back(), cell);
        ++filled_;
        return;
    }
    if (cells_.size() == kMostCells) {
        for (std::size_t i = 0; i < kMostCells / 2; ++i) cells_[i] = merged(cells_[2 * i], cells_[2 * i + 1]);
        cells_.resize(kMostCells / 2);
        windowsPerCell_ *= 2;
    }
    cells_.push_back(cell);
    filled_ = 1;
}

std::vector<StripCell> EvidenceStrip::cells() const { return cells_; }

} // namespace ostrel
