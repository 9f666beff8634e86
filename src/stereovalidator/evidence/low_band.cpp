#include "stereovalidator/evidence/low_band.h"

#include <cmath>
#include <numbers>
#include <unsupported/Eigen/FFT>

namespace ostrel {
namespace {

constexpr std::size_t kPoints = 3072; // two seconds of blocks at their highest rate
constexpr int kHops = 4;
constexpr double kOpposite = -0.1;
constexpr double kNoCorrelationBelow = 1e-12;

double correlationOf(double product, double left, double right) {
    const double scale = std::sqrt(std::max(left, 0.0) * std::max(right, 0.0));
    return scale < kNoCorrelationBelow ? 0.0 : std::clamp(product / scale, -1.0, 1.0);
}

} // namespace

struct LowBand::Transform {
    Eigen::FFT<float> fft;
    std::vector<std::complex<float>> spectrum;
};

LowBand::LowBand(int sampleRate)
    : transform_(std::make_unique<Transform>()), blockFrames_(static_cast<double>(blockFramesAt(sampleRate))) {
    blockRate_ = sampleRate / blockFrames_;
    blocks_.reserve(kPoints);
}

LowBand::~LowBand() = default;

void LowBand::add(const BlockSummary& block) {
    if (blocks_.size() < kPoints) {
        blocks_.emplace_back(static_cast<float>(block.leftSum / blockFrames_),
                             static_cast<float>(block.rightSum / blockFrames_));
    }
}

void LowBand::endHop(const StereoSums& sums) {
    window_.add(sums);
    if (++hops_ == kHops) transform();
}

void LowBand::transform() {
    total_.left += window_.leftDeviation;
    total_.right += window_.rightDeviation;
    total_.product += window_.coDeviation;
    window_ = {};
    hops_ = 0;
    std::complex<float> mean = 0;
    for (const auto& block : blocks_) mean += block;
    if (!blocks_.empty()) mean /= static_cast<float>(blocks_.size());
    for (auto& block : blocks_) block -= mean;
    blocks_.resize(kPoints);
    transform_->fft.fwd(transform_->spectrum, blocks_);
    blocks_.clear();

    const auto& spectrum = transform_->spectrum;
    const double binHz = blockRate_ / kPoints;
    std::size_t band = 0;
    for (std::size_t bin = 1; bin < kPoints / 2; ++bin) {
        const double hz = static_cast<double>(bin) * binHz;
        while (band < kEdges.size() && hz >= kEdges[band]) ++band;
        if (band == kEdges.size()) break;
        const std::complex<double> here = spectrum[bin];
        const std::complex<double> mirrored = std::conj(std::complex<double>(spectrum[kPoints - bin]));
        const std::complex<double> left = (here + mirrored) / 2.0;
        const std::complex<double> right = (here - mirrored) / std::complex<double>(0, 2);
        const double angle = std::numbers::pi * hz / blockRate_; // the mean over a block lets high tones through weaker
        const double droop = std::sin(angle) / angle;
        const double scale = 2 * blockFrames_ / kPoints / (droop * droop);
        bands_[band].left += scale * std::norm(left);
        bands_[band].right += scale * std::norm(right);
        bands_[band].product += scale * (left * std::conj(right)).real();
    }
}

void LowBand::fill(StereoEvidence& evidence) {
    if (window_.frames > 0) transform();
    Energies upper = total_;
    std::array<double, kEdges.size() + 1> above{}; // correlation of what lies above an edge; first: of all
    above[0] = correlationOf(upper.product, upper.left, upper.right);
    for (std::size_t i = 0; i < kEdges.size(); ++i) {
        upper.left -= bands_[i].left;
        upper.right -= bands_[i].right;
        upper.product -= bands_[i].product;
        above[i + 1] = correlationOf(upper.product, upper.left, upper.right);
    }
    const double whole = total_.left + total_.right;
    evidence.upperShare = whole > 0 ? std::clamp((upper.left + upper.right) / whole, 0.0, 1.0) : 0.0;
    evidence.upperCorrelation = above.back();
    if (above.front() > kOpposite) return;
    for (std::size_t i = 0; i < kEdges.size(); ++i) {
        if (above[i + 1] < 0) continue;
        evidence.oppositeBelowHz = kEdges[i];
        break;
    }
}

} // namespace ostrel
