#include "stereovalidator/measures/stereo_sums.h"

#include <cmath>

// The loop below is all that an analysis costs beyond decoding, so on x86 it is compiled for wider registers too and
// the machine takes the widest that it has. The sanitizers' run-time can't be entered from the resolver that chooses.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
#define OSTREL_FOR_WIDER_REGISTERS __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define OSTREL_FOR_WIDER_REGISTERS
#endif

namespace ostrel {
namespace {

// Sums relative to a pivot in each channel; the difference of the channels as it stands.
struct PivotedSums {
    double left = 0;
    double right = 0;
    double leftSquares = 0;
    double rightSquares = 0;
    double products = 0;
    double differenceSquares = 0;
};

OSTREL_FOR_WIDER_REGISTERS
PivotedSums sumInterleaved(const float* samples, std::size_t frames) {
    const double leftPivot = samples[0];
    const double rightPivot = samples[1];
    double left = 0, right = 0, leftSquares = 0, rightSquares = 0, products = 0, differenceSquares = 0;
#pragma omp simd reduction(+ : left, right, leftSquares, rightSquares, products, differenceSquares)
    for (std::size_t i = 0; i < frames; ++i) {
        const double l = samples[2 * i];
        const double r = samples[2 * i + 1];
        const double x = l - leftPivot;
        const double y = r - rightPivot;
        const double difference = l - r;
        left += x;
        right += y;
        leftSquares += x * x;
        rightSquares += y * y;
        products += x * y;
        differenceSquares += difference * difference;
    }
    return {left, right, leftSquares, rightSquares, products, differenceSquares};
}

double rms(double deviation, double mean, double frames) {
    return frames > 0 ? std::sqrt(deviation / frames + mean * mean) : 0.0;
}

} // namespace

StereoSums StereoSums::ofInterleaved(std::span<const float> samples) {
    const std::size_t frames = samples.size() / 2;
    if (frames == 0) return {};
    const PivotedSums sums = sumInterleaved(samples.data(), frames);
    const auto count = static_cast<double>(frames);
    return {
        .frames = count,
        .leftMean = samples[0] + sums.left / count,
        .rightMean = samples[1] + sums.right / count,
        .leftDeviation = std::max(0.0, sums.leftSquares - sums.left * sums.left / count),
        .rightDeviation = std::max(0.0, sums.rightSquares - sums.right * sums.right / count),
        .coDeviation = sums.products - sums.left * sums.right / count,
        .differenceSquares = sums.differenceSquares,
    };
}

// The pairwise update of mean and deviations (Chan, Golub and LeVeque, 1979).
void StereoSums::add(const StereoSums& other) {
    if (other.frames == 0) return;
    const double total = frames + other.frames;
    const double share = other.frames / total;
    const double leftStep = other.leftMean - leftMean;
    const double rightStep = other.rightMean - rightMean;
    const double weight = frames * share;
    leftDeviation += other.leftDeviation + leftStep * leftStep * weight;
    rightDeviation += other.rightDeviation + rightStep * rightStep * weight;
    coDeviation += other.coDeviation + leftStep * rightStep * weight;
    differenceSquares += other.differenceSquares;
    leftMean += leftStep * share;
    rightMean += rightStep * share;
    frames = total;
}

// A sample that is not finite makes its difference from the other channel so too, and squares of finite
// single-precision samples can't overflow a double.
bool StereoSums::isFinite() const { return std::isfinite(differenceSquares); }

double StereoSums::leftRms() const { return rms(leftDeviation, leftMean, frames); }
double StereoSums::rightRms() const { return rms(rightDeviation, rightMean, frames); }
double StereoSums::differenceRms() const { return frames > 0 ? std::sqrt(differenceSquares / frames) : 0.0; }

double StereoSums::correlation() const {
    if (frames < 2) return 0.0;
    const double denominator = std::sqrt(leftDeviation * rightDeviation);
    if (denominator < 1e-12) return 0.0;
    return std::clamp(coDeviation / denominator, -1.0, 1.0); // rounding must not pass the end of the scale
}

double StereoSums::midSideRatio() const {
    if (frames == 0) return 0.0;
    const double left = leftRms();
    const double right = rightRms();
    const double side = differenceSquares / frames / 4;
    // By the parallelogram law, one sum less for every frame. What cancels out here is far below the 1e-10.
    const double mid = std::max(0.0, (left * left + right * right) / 2 - side);
    return side / (mid + 1e-10);
}

} // namespace ostrel
