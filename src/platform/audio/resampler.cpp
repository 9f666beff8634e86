#include "platform/audio/resampler.h"

#include <cmath>
#include <numbers>
#include <numeric>

namespace ostrel {
namespace {

constexpr int kTablePhases = 512;  // between two of them the coefficients are interpolated
constexpr int kHalfTaps = 24;      // at equal or rising rates
constexpr double kPassband = 0.94; // of the lower half rate
constexpr double kKaiserBeta = 9.0;

double besselI0(double x) {
    double sum = 1.0;
    double term = 1.0;
    for (int k = 1; k < 40; ++k) {
        term *= (x / (2.0 * k)) * (x / (2.0 * k));
        sum += term;
    }
    return sum;
}

double windowedSinc(double distance, double half, double cutoff) {
    const double edge = distance / half;
    if (std::abs(edge) >= 1.0) return 0.0;
    const double window = besselI0(kKaiserBeta * std::sqrt(1.0 - edge * edge)) / besselI0(kKaiserBeta);
    const double angle = std::numbers::pi * distance * cutoff;
    return window * cutoff * (distance == 0.0 ? 1.0 : std::sin(angle) / angle);
}

} // namespace

Resampler::Resampler(int channels, int inputRate, int outputRate)
    : channels_(channels), step_(inputRate / std::gcd(inputRate, outputRate)),
      phases_(outputRate / std::gcd(inputRate, outputRate)), history_(static_cast<std::size_t>(channels)) {
    const double ratio = std::max(1.0, static_cast<double>(inputRate) / outputRate);
    cutoff_ = kPassband / ratio;
    half_ = static_cast<int>(std::ceil(kHalfTaps * ratio));
    makeKernel();
    for (std::vector<float>& history : history_) history.assign(static_cast<std::size_t>(half_), 0.0F);
}

void Resampler::makeKernel() {
    const int taps = 2 * half_;
    kernel_.resize(static_cast<std::size_t>(kTablePhases + 1) * static_cast<std::size_t>(taps));
    for (int phase = 0; phase <= kTablePhases; ++phase) {
        float* row = kernel_.data() + static_cast<std::ptrdiff_t>(phase) * taps;
        double sum = 0.0;
        std::vector<double> values(static_cast<std::size_t>(taps));
        for (int tap = 0; tap < taps; ++tap) {
            const double distance = tap - half_ + 1 - static_cast<double>(phase) / kTablePhases;
            sum += values[static_cast<std::size_t>(tap)] = windowedSinc(distance, half_, cutoff_);
        }
        for (int tap = 0; tap < taps; ++tap) row[tap] = static_cast<float>(values[static_cast<std::size_t>(tap)] / sum);
    }
}

void Resampler::append(const AudioBuffer& input, bool last) {
    for (int channel = 0; channel < channels_; ++channel) {
        std::vector<float>& history = history_[static_cast<std::size_t>(channel)];
        if (input.frames() > 0) {
            const auto samples = input.channel(channel);
            history.insert(history.end(), samples.begin(), samples.end());
        }
        if (last) history.insert(history.end(), static_cast<std::size_t>(half_), 0.0F);
    }
    received_ += input.frames();
}

float Resampler::valueAt(int channel, std::size_t base, const float* kernel, const float* next, float blend) const {
    const float* samples = history_[static_cast<std::size_t>(channel)].data() + base;
    float here = 0.0F;
    float there = 0.0F;
    for (int tap = 0; tap < 2 * half_; ++tap) {
        here += samples[tap] * kernel[tap];
        there += samples[tap] * next[tap];
    }
    return here + blend * (there - here);
}

void Resampler::process(const AudioBuffer& input, bool last, AudioBuffer& output) {
    append(input, last);
    // Output n lies at input n * step / phases; its taps reach half_ frames past it.
    const qint64 usable = last ? received_ : received_ - half_;
    const qint64 until = std::max(produced_, usable <= 0 ? 0 : (usable * phases_ + step_ - 1) / step_);
    output.resize(channels_, static_cast<int>(until - produced_));
    const int taps = 2 * half_;
    for (int frame = 0; frame < output.frames(); ++frame) {
        const qint64 position = (produced_ + frame) * step_;
        const double fine = static_cast<double>(position % phases_) / static_cast<double>(phases_) * kTablePhases;
        const auto row = static_cast<std::ptrdiff_t>(fine);
        const float* kernel = kernel_.data() + row * taps;
        const auto blend = static_cast<float>(fine - static_cast<double>(row));
        // history_ starts half_ frames before firstKept_, and the first tap stands half_ - 1 frames before the
        // position.
        const auto base = static_cast<std::size_t>(position / phases_ - firstKept_ + 1);
        for (int channel = 0; channel < channels_; ++channel) {
            output.channel(channel)[static_cast<std::size_t>(frame)] =
                valueAt(channel, base, kernel, kernel + taps, blend);
        }
    }
    produced_ = until;
    dropUsed();
}

void Resampler::dropUsed() {
    const qint64 needed = std::min(produced_ * step_ / phases_, received_);
    const auto used = static_cast<std::ptrdiff_t>(needed - firstKept_);
    for (std::vector<float>& history : history_) history.erase(history.begin(), history.begin() + used);
    firstKept_ = needed;
}

} // namespace ostrel
