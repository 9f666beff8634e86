#include "stereovalidator/stereo_reference.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ostrel::testing {
namespace {

struct Window {
    double correlation, rmsDiff, msRatio, leftRms, rightRms;
};

Window windowAt(const StereoSignal& signal, qint64 start, qint64 count) {
    double leftSum = 0, rightSum = 0;
    for (qint64 i = start; i < start + count; ++i) {
        leftSum += signal(i).left;
        rightSum += signal(i).right;
    }
    const double leftMean = leftSum / double(count), rightMean = rightSum / double(count);
    double xy = 0, xx = 0, yy = 0, ll = 0, rr = 0, dd = 0, mid = 0, side = 0;
    for (qint64 i = start; i < start + count; ++i) {
        const auto [leftSample, rightSample] = signal(i);
        const double l = leftSample, r = rightSample;
        xy += (l - leftMean) * (r - rightMean);
        xx += (l - leftMean) * (l - leftMean);
        yy += (r - rightMean) * (r - rightMean);
        ll += l * l;
        rr += r * r;
        dd += (l - r) * (l - r);
        mid += (l + r) / 2 * (l + r) / 2;
        side += (l - r) / 2 * (l - r) / 2;
    }
    const double n = double(count), d = std::sqrt(xx * yy);
    return {d < 1e-12 ? 0.0 : xy / d, std::sqrt(dd / n), (side / n) / (mid / n + 1e-10), std::sqrt(ll / n),
            std::sqrt(rr / n)};
}

double middle(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const auto n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

} // namespace

ReferenceMeasures referenceMeasures(const StereoSignal& signal, qint64 frames, int second) {
    std::vector<double> correlations, differences, ratios;
    for (qint64 start = 0; start + second <= frames; start += second / 2) {
        const Window window = windowAt(signal, start, second);
        if (20 * std::log10(std::max({window.leftRms, window.rightRms, 1e-12})) <= -100) continue;
        correlations.push_back(window.correlation);
        differences.push_back(window.rmsDiff);
        ratios.push_back(window.msRatio);
    }
    const Window file = windowAt(signal, 0, frames);
    const auto level = [](double rms) { return rms > 1e-12 ? 20 * std::log10(rms) : -120.0; };
    return {middle(correlations), middle(differences), middle(ratios),          level(file.leftRms),
            level(file.rightRms), file.correlation,    int(correlations.size())};
}

std::vector<float> leftOf(const StereoSignal& signal, qint64 frames) {
    std::vector<float> result;
    for (qint64 i = 0; i < frames; ++i) result.push_back(signal(i).left);
    return result;
}

std::vector<float> rightOf(const StereoSignal& signal, qint64 frames) {
    std::vector<float> result;
    for (qint64 i = 0; i < frames; ++i) result.push_back(signal(i).right);
    return result;
}

double noiseAt(quint32 seed, qint64 frame) {
    quint64 state = quint64(frame) * 0x9E3779B97F4A7C15ull + seed * 0xD1B54A32D192ED03ull;
    state = (state ^ (state >> 30)) * 0xBF58476D1CE4E5B9ull;
    state = (state ^ (state >> 27)) * 0x94D049BB133111EBull;
    return double(qint64(state ^ (state >> 31))) / 9223372036854775808.0;
}

StereoSignal correlatedTones(double correlation, int rate, double amplitude) {
    return [=](qint64 frame) {
        const double angle = 2 * std::numbers::pi * double(frame * 100 % rate) / rate; // 100 Hz
        const double rest = std::sqrt(1 - correlation * correlation);
        return StereoFrame{float(amplitude * std::sin(angle)),
                           float(amplitude * (correlation * std::sin(angle) + rest * std::cos(angle)))};
    };
}

StereoSignal scaled(double left, double right) {
    return [=](qint64 frame) {
        const double value = 0.5 * noiseAt(1, frame);
        return StereoFrame{float(left * value), float(right * value)};
    };
}

} // namespace ostrel::testing
