#include "stereovalidator/evidence/window_facts.h"

#include <algorithm>
#include <cmath>

namespace ostrel {
namespace {

constexpr double kSilentPower = 1e-12; // -120 dBFS

double powerDb(double power) { return power > kSilentPower ? 10 * std::log10(power) : -120.0; }

} // namespace

WindowFacts WindowFacts::of(const StereoSums& sums, double start, int sampleRate) {
    WindowFacts facts{.start = start, .length = sums.frames / sampleRate};
    if (sums.frames == 0) return facts;
    const double left = sums.leftDeviation;
    const double right = sums.rightDeviation;
    const double product = sums.coDeviation;
    const double louder = std::max(left, right);
    const double quieter = std::min(left, right);
    facts.leftDbfs = powerDb(left / sums.frames);
    facts.rightDbfs = powerDb(right / sums.frames);
    facts.louderDbfs = std::max(facts.leftDbfs, facts.rightDbfs);
    facts.sideDbfs = powerDb(std::max(0.0, (left + right - 2 * product) / 4) / sums.frames);
    facts.energy = louder / sampleRate;
    facts.correlation = sums.correlation();
    if (louder > 0) facts.residualDbfs = powerDb(std::max(0.0, quieter - product * product / louder) / sums.frames);
    return facts;
}

} // namespace ostrel
