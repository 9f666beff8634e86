#include "stereovalidator/evidence/lag_probe.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <unsupported/Eigen/FFT>

namespace ostrel {
namespace {

constexpr double kReachSeconds = 0.020;
constexpr double kStretchSeconds = 0.16;
constexpr double kLowHz = 120.0;
constexpr std::size_t kProbesOfAStride = 24;
constexpr double kAsGood = 0.97;        // a peak that reaches this share of the best one is no worse
constexpr double kNearSeconds = 0.0005; // and belongs to the same one within this

} // namespace

struct LagProbe::Transform {
    Eigen::FFT<float> fft;
    std::vector<std::complex<float>> frames, spectrum;
};

LagProbe::LagProbe(int sampleRate)
    : transform_(std::make_unique<Transform>()),
      points_(std::bit_ceil(std::max<std::size_t>(64, static_cast<std::size_t>(sampleRate * kStretchSeconds)))),
      reach_(static_cast<std::size_t>(sampleRate * kReachSeconds)),
      firstBin_(static_cast<std::size_t>(std::ceil(kLowHz * static_cast<double>(points_) / sampleRate))),
      cross_(points_) {
    frames_.reserve(points_);
}

LagProbe::~LagProbe() = default;

void LagProbe::beginHop() {
    if (hop_++ % stride_ != 0) return;
    if (collects_) return; // a stretch is shorter than a half second
    collects_ = true;
    frames_.clear();
}

void LagProbe::addInterleaved(std::span<const float> samples) {
    if (!collects_) return;
    const std::size_t count = std::min(points_ - frames_.size(), samples.size() / 2);
    for (std::size_t i = 0; i < count; ++i) frames_.emplace_back(samples[2 * i], samples[2 * i + 1]);
    if (frames_.size() == points_) probe();
}

// The right channel's middle against the whole of the left one: nothing wraps round within the reach.
void LagProbe::probe() {
    collects_ = false;
    if (++probes_ == kProbesOfAStride) {
        probes_ = 0;
        stride_ *= 2;
    }
    const std::size_t margin = frames_.size() == points_ ? reach_ : 0;
    Transform& t = *transform_;
    t.frames.assign(points_, {});
    for (std::size_t i = 0; i < frames_.size(); ++i) {
        const bool isMiddle = i >= margin && i + margin < frames_.size();
        t.frames[i] = isMiddle ? frames_[i] : frames_[i].real();
    }
    t.fft.fwd(t.spectrum, t.frames);
    const double share = 1.0 - 2.0 * static_cast<double>(margin) / static_cast<double>(frames_.size());
    // Two real signals in one transform: the even part of the spectrum is the left one's, the odd part the right one's.
    for (std::size_t bin = firstBin_; bin + firstBin_ <= points_; ++bin) {
        const std::complex<float> here = t.spectrum[bin];
        const std::complex<float> mirrored = std::conj(t.spectrum[(points_ - bin) % points_]);
        const std::complex<float> left = 0.5F * (here + mirrored);
        const std::complex<float> right = std::complex<float>(0, -0.5F) * (here - mirrored);
        cross_[bin] += std::conj(left) * right;
        leftEnergy_ += share * std::norm(left);
        rightEnergy_ += std::norm(right);
    }
}

LagProbe::Peak LagProbe::peak() {
    if (collects_ && frames_.size() > 4 * reach_) probe();
    const double scale = std::sqrt(leftEnergy_ * rightEnergy_);
    if (!(scale > 0)) return {};
    std::vector<std::complex<float>> correlation;
    transform_->fft.inv(correlation, cross_);
    const auto reach = static_cast<long>(reach_);
    const auto at = [&](long lag) {
        const std::size_t index = lag >= 0 ? static_cast<std::size_t>(lag) : points_ - static_cast<std::size_t>(-lag);
        return std::abs(static_cast<double>(correlation[index].real())) * static_cast<double>(points_) / scale;
    };
    long best = 0;
    for (long lag = -reach; lag <= reach; ++lag) {
        if (at(lag) > at(best)) best = lag;
    }
    const Peak none{0, at(0), at(0)};
    if (at(0) >= kAsGood * at(best)) return none;
    const auto near = std::max(1L, static_cast<long>(static_cast<double>(reach_) * kNearSeconds / kReachSeconds));
    for (long lag = -reach; lag <= reach; ++lag) {
        if (std::labs(lag - best) > near && at(lag) >= kAsGood * at(best)) return none;
    }
    return {best, at(best), at(0)};
}

} // namespace ostrel
