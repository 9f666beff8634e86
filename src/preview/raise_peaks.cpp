#include "preview/raise_peaks.h"

#include <Eigen/Core>
#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace ostrel {
namespace {

// One row of accumulators spans whole frames and whole vectors, so the compiler keeps it in vector registers.
template <int width>
void raiseRows(const float* samples, qint64 frames, float* peaks) {
    constexpr int unit = std::lcm(width, 4);
    constexpr int row = unit >= 16 ? unit : (16 + unit - 1) / unit * unit;
    std::array<float, row> greatest{};
    const qint64 count = frames * width;
    qint64 at = 0;
    for (; at + row <= count; at += row) {
#pragma omp simd
        for (int lane = 0; lane < row; ++lane) {
            const float magnitude = std::abs(samples[at + lane]);
            greatest[lane] = greatest[lane] < magnitude ? magnitude : greatest[lane];
        }
    }
    for (int lane = 0; at < count; ++at, ++lane) greatest[lane] = std::max(greatest[lane], std::abs(samples[at]));
    for (int lane = 0; lane < row; ++lane) peaks[lane % width] = std::max(peaks[lane % width], greatest[lane]);
}

} // namespace

void raisePeaks(const float* samples, qint64 frames, int width, float* peaks) {
    switch (width) {
    case 1: peaks[0] = std::max(peaks[0], Eigen::Map<const Eigen::ArrayXf>(samples, frames).abs().maxCoeff()); return;
    case 2: return raiseRows<2>(samples, frames, peaks);
    case 3: return raiseRows<3>(samples, frames, peaks);
    case 4: return raiseRows<4>(samples, frames, peaks);
    case 5: return raiseRows<5>(samples, frames, peaks);
    case 6: return raiseRows<6>(samples, frames, peaks);
    case 7: return raiseRows<7>(samples, frames, peaks);
    case 8: return raiseRows<8>(samples, frames, peaks);
    default: break;
    }
    for (qint64 frame = 0; frame < frames; ++frame, samples += width) {
#pragma omp simd
        for (int channel = 0; channel < width; ++channel) {
            const float magnitude = std::abs(samples[channel]);
            peaks[channel] = peaks[channel] < magnitude ? magnitude : peaks[channel];
        }
    }
}

} // namespace ostrel
