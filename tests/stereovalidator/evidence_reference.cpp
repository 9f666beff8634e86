#include "stereovalidator/evidence_reference.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ostrel::testing {
namespace {

using Numbers = std::vector<double>;

// x less its running low part: a sinc of 120 Hz under a Blackman window, 0.2 seconds long.
Numbers withoutLow(const Numbers& x, double cutoff) {
    const int half = kRate / 10;
    Numbers low(std::size_t(2 * half + 1));
    double sum = 0;
    for (int i = -half; i <= half; ++i) {
        const double t = 2 * cutoff * i / kRate;
        const double sinc = i == 0 ? 1.0 : std::sin(std::numbers::pi * t) / (std::numbers::pi * t);
        const double phase = std::numbers::pi * (i + half) / half;
        const double window = 0.42 - 0.5 * std::cos(phase) + 0.08 * std::cos(2 * phase);
        sum += low[std::size_t(i + half)] = sinc * window;
    }
    Numbers result;
    for (int n = half; n + half < int(x.size()); ++n) {
        double value = 0;
        for (int i = -half; i <= half; ++i) value += low[std::size_t(i + half)] * x[std::size_t(n + i)];
        result.push_back(x[std::size_t(n)] - value / sum);
    }
    return result;
}

double meanOf(const Numbers& x, std::size_t from, std::size_t count) {
    double sum = 0;
    for (std::size_t i = from; i < from + count; ++i) sum += x[i];
    return sum / double(count);
}

double product(const Numbers& x, const Numbers& y, std::size_t from, std::size_t count, double xMean, double yMean) {
    double sum = 0;
    for (std::size_t i = from; i < from + count; ++i) sum += (x[i] - xMean) * (y[i] - yMean);
    return sum;
}

} // namespace

ReferenceEvidence referenceEvidence(const StereoSignal& signal, double seconds, double activeDbfs) {
    Numbers left, right;
    for (qint64 i = 0; i < std::lround(seconds * kRate); ++i) {
        left.push_back(signal(i).left);
        right.push_back(signal(i).right);
    }
    ReferenceEvidence result{.lowestCorrelation = 2, .highestCorrelation = -2};
    double energy = 0, changing = 0, leftPower = 0, rightPower = 0;
    const std::size_t window = kRate / 2;
    for (std::size_t at = 0; at + window <= left.size(); at += window) {
        const double l = meanOf(left, at, window), r = meanOf(right, at, window);
        const double xx = product(left, left, at, window, l, l), yy = product(right, right, at, window, r, r);
        const double loud = std::max(xx, yy);
        if (10 * std::log10(loud / double(window)) < activeDbfs) continue;
        const double correlation = product(left, right, at, window, l, r) / std::sqrt(xx * yy);
        result.lowestCorrelation = std::min(result.lowestCorrelation, correlation);
        result.highestCorrelation = std::max(result.highestCorrelation, correlation);
        energy += loud;
        if (std::abs(correlation) < 0.95) changing += loud;
        leftPower += xx;
        rightPower += yy;
        // The least that any gain leaves over, by trying out and not by a formula.
        const Numbers& a = xx >= yy ? left : right;
        const Numbers& b = xx >= yy ? right : left;
        const double aMean = xx >= yy ? l : r, bMean = xx >= yy ? r : l;
        double low = -2, high = 2;
        const auto leftOver = [&](double gain) {
            double sum = 0;
            for (std::size_t i = at; i < at + window; ++i) {
                const double rest = b[i] - bMean - gain * (a[i] - aMean);
                sum += rest * rest;
            }
            return sum;
        };
        for (int step = 0; step < 60; ++step) {
            const double first = low + (high - low) / 3, second = high - (high - low) / 3;
            (leftOver(first) < leftOver(second) ? high : low) = leftOver(first) < leftOver(second) ? second : first;
        }
        const double residual = 10 * std::log10(std::max(leftOver((low + high) / 2), 1e-30) / loud);
        if (residual > result.worstResidualDb) {
            result.worstResidualDb = residual;
            result.worstStart = double(at) / kRate;
        }
    }
    result.changingShare = changing / energy;
    result.balanceDb = 10 * std::log10(rightPower / leftPower);
    const Numbers upperLeft = withoutLow(left, 120), upperRight = withoutLow(right, 120);
    const std::size_t count = upperLeft.size();
    const double xx = product(upperLeft, upperLeft, 0, count, 0, 0),
                 yy = product(upperRight, upperRight, 0, count, 0, 0);
    result.upperCorrelation = product(upperLeft, upperRight, 0, count, 0, 0) / std::sqrt(xx * yy);
    const double l = meanOf(left, 0, left.size()), r = meanOf(right, 0, right.size());
    result.upperShare = (xx + yy) / double(count) * double(left.size()) /
                        (product(left, left, 0, left.size(), l, l) + product(right, right, 0, right.size(), r, r));
    double best = 0;
    const int reach = kRate / 50;
    for (int lag = -reach; lag <= reach; ++lag) {
        double sum = 0;
        for (int i = reach; i + reach < int(count); ++i)
            sum += upperLeft[std::size_t(i)] * upperRight[std::size_t(i + lag)];
        if (std::abs(sum) > best * 1.001) {
            best = std::abs(sum);
            result.lagMs = 1000.0 * lag / kRate;
        }
    }
    return result;
}

} // namespace ostrel::testing
