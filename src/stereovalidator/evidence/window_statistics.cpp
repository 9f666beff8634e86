#include "stereovalidator/evidence/window_statistics.h"

#include <algorithm>
#include <cmath>

namespace ostrel {
namespace {

constexpr double kChangingCorrelation = 0.95;
constexpr double kRelatedCorrelation = 0.5;
constexpr double kDeadDbfs = -75;      // no sound, if the other channel
constexpr double kLivelyDbfs = -60;    // has this
constexpr double kDeadDistanceDb = 40; // and is so much louder
constexpr double kQuietPercentile = 0.05;
constexpr double kLoudPercentile = 0.95;
constexpr double kFloorDistanceDb = 30; // quieter windows than this are pauses
constexpr double kAssumedFloorDb = 60;  // below the loud ones, where there are no pauses to tell it
constexpr double kActiveAboveFloorDb = 10;
constexpr double kNearFloorDb = 6;     // what is left over below this is noise, and no difference
constexpr double kStepsDbfs = -90;     // and so is this: samples of 16 bits, rounded apart
constexpr double kLeastBalanceDb = 60; // what is quieter still has no balance worth telling

double ratioDb(double a, double b) {
    if (!(b > 0)) return a > 0 ? kLeastBalanceDb : 0.0;
    return std::clamp(a > 0 ? 10 * std::log10(a / b) : -kLeastBalanceDb, -kLeastBalanceDb, kLeastBalanceDb);
}

double power(double dbfs) { return dbfs > -120 ? std::pow(10, dbfs / 10) : 0.0; }

std::size_t classOf(double dbfs) { return static_cast<std::size_t>(std::clamp(std::floor(-dbfs), 0.0, 120.0)); }

} // namespace

void WindowStatistics::followSilence(Silence& silence, bool isDead, const WindowFacts& window) {
    if (!isDead) {
        silence.running = {};
        return;
    }
    if (silence.running.length == 0) silence.running.start = window.start;
    silence.running.length = window.start + window.length - silence.running.start;
    if (silence.running.length > silence.longest.length) silence.longest = silence.running;
}

void WindowStatistics::add(const WindowFacts& window) {
    // A pause of both channels neither ends a time without sound nor begins one.
    if (window.louderDbfs > kLivelyDbfs) {
        const double levels[]{window.leftDbfs, window.rightDbfs};
        for (std::size_t channel = 0; channel < 2; ++channel) {
            const bool isDead = levels[channel] < kDeadDbfs || levels[channel] < window.louderDbfs - kDeadDistanceDb;
            followSilence(silences_[channel], isDead && levels[channel] < kLivelyDbfs, window);
        }
    }
    if (window.leftDbfs > loudest_[0].value) loudest_[0] = {window.leftDbfs, window.start};
    if (window.rightDbfs > loudest_[1].value) loudest_[1] = {window.rightDbfs, window.start};
    if (!window.holdsSound()) return;
    ++windows_;
    LevelClass& level = classes_[classOf(window.louderDbfs)];
    ++level.windows;
    level.energy += window.energy;
    if (std::abs(window.correlation) < kChangingCorrelation) level.changing += window.energy;
    if (window.correlation > kRelatedCorrelation) level.positive += window.energy;
    if (window.correlation < -kRelatedCorrelation) level.negative += window.energy;
    level.leftPower += power(window.leftDbfs) * window.length;
    level.rightPower += power(window.rightDbfs) * window.length;
    level.sidePower += power(window.sideDbfs) * window.length;
    level.lowest = std::min(level.lowest, window.correlation);
    level.highest = std::max(level.highest, window.correlation);
    const double balance = std::clamp(window.rightDbfs - window.leftDbfs, -kLeastBalanceDb, kLeastBalanceDb);
    if (balance < level.leastBalance.value) level.leastBalance = {balance, window.start};
    if (balance > level.mostBalance.value) level.mostBalance = {balance, window.start};
    if (window.residualDbfs > level.worst.residualDbfs) level.worst = window;
}

// The level that this share of the windows stays below.
double WindowStatistics::percentile(double share) const {
    const double wanted = share * windows_;
    double below = 0;
    for (std::size_t i = classes_.size(); i-- > 0;) {
        below += classes_[i].windows;
        if (below >= wanted && classes_[i].windows > 0) return -static_cast<double>(i);
    }
    return -120;
}

void WindowStatistics::fill(StereoEvidence& evidence) const {
    evidence.windows = windows_;
    for (std::size_t channel = 0; channel < 2; ++channel) {
        evidence.channels[channel].dead = silences_[channel].longest;
        evidence.channels[channel].loudestDbfs = loudest_[channel].value;
        evidence.channels[channel].loudestStart = loudest_[channel].start;
    }
    if (windows_ == 0) return;
    evidence.loudDbfs = percentile(kLoudPercentile);
    const double quiet = percentile(kQuietPercentile);
    evidence.floorDbfs = quiet < evidence.loudDbfs - kFloorDistanceDb ? quiet : evidence.loudDbfs - kAssumedFloorDb;
    const std::size_t quietest = classOf(evidence.floorDbfs + kActiveAboveFloorDb);

    LevelClass all;
    WindowFacts worst;
    double worstDistance = -1e9;
    for (std::size_t i = 0; i <= std::min(quietest, std::size_t{100}); ++i) {
        const LevelClass& level = classes_[i];
        if (level.windows == 0) continue;
        all.windows += level.windows;
        all.energy += level.energy;
        all.changing += level.changing;
        all.positive += level.positive;
        all.negative += level.negative;
        all.leftPower += level.leftPower;
        all.rightPower += level.rightPower;
        all.sidePower += level.sidePower;
        all.lowest = std::min(all.lowest, level.lowest);
        all.highest = std::max(all.highest, level.highest);
        if (level.leastBalance.value < all.leastBalance.value) all.leastBalance = level.leastBalance;
        if (level.mostBalance.value > all.mostBalance.value) all.mostBalance = level.mostBalance;
        const double distance = level.worst.residualDbfs - level.worst.louderDbfs;
        const bool isFloor = level.worst.residualDbfs < std::max(evidence.floorDbfs + kNearFloorDb, kStepsDbfs);
        if (!isFloor && distance > worstDistance) {
            worstDistance = distance;
            worst = level.worst;
        }
    }
    if (all.windows == 0) return;
    evidence.activeWindows = all.windows;
    evidence.lowestCorrelation = all.lowest;
    evidence.highestCorrelation = all.highest;
    if (all.energy > 0) {
        evidence.changingShare = all.changing / all.energy;
        evidence.positiveShare = all.positive / all.energy;
        evidence.negativeShare = all.negative / all.energy;
    }
    evidence.balanceDb = ratioDb(all.rightPower, all.leftPower);
    evidence.balanceSpreadDb = all.mostBalance.value - all.leastBalance.value;
    evidence.balanceStart = all.mostBalance.value - evidence.balanceDb > evidence.balanceDb - all.leastBalance.value
                                ? all.mostBalance.start
                                : all.leastBalance.start;
    const double louder = std::max(all.leftPower, all.rightPower);
    evidence.sideDb = all.sidePower > 0 && louder > 0 ? 10 * std::log10(all.sidePower / louder) : -120.0;
    if (worstDistance > -1e8) {
        evidence.residualDb = std::max(-120.0, worstDistance);
        evidence.residualDbfs = worst.residualDbfs;
        evidence.residualShare = std::max(-120.0, worst.residualDbfs - std::min(worst.leftDbfs, worst.rightDbfs));
        evidence.worst = {worst.start, worst.length};
    }
}

} // namespace ostrel
