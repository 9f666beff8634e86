#include "platform/audio/speaker_mixdown.h"

#include <array>

namespace ostrel {
namespace {

using enum SpeakerPosition;

constexpr float kMinus3dB = 0.70710678F;

// SDL's channel order by width.
const std::vector<SpeakerPosition>& speakersOf(int width) {
    static const std::array<std::vector<SpeakerPosition>, 9> orders{{
        {},
        {mono},
        {frontLeft, frontRight},
        {frontLeft, frontRight, lowFrequency},
        {frontLeft, frontRight, rearLeft, rearRight},
        {frontLeft, frontRight, lowFrequency, rearLeft, rearRight},
        {frontLeft, frontRight, frontCentre, lowFrequency, sideLeft, sideRight},
        {frontLeft, frontRight, frontCentre, lowFrequency, rearCentre, sideLeft, sideRight},
        {frontLeft, frontRight, frontCentre, lowFrequency, rearLeft, rearRight, sideLeft, sideRight},
    }};
    return orders[static_cast<std::size_t>(width)];
}

// The speaker that stands in where an output lacks the first.
SpeakerPosition neighbour(SpeakerPosition position) {
    switch (position) {
    case rearLeft: return sideLeft;
    case rearRight: return sideRight;
    case sideLeft: return rearLeft;
    case sideRight: return rearRight;
    case frontLeftOfCentre: return frontLeft;
    case frontRightOfCentre: return frontRight;
    default: return position;
    }
}

} // namespace

SpeakerMixdown::SpeakerMixdown(int channels, const std::vector<SpeakerPosition>& positions, int outputWidth)
    : channels_(channels), width_(outputWidth), gains_(static_cast<std::size_t>(channels * outputWidth), 0.0F) {
    if (channels == 1) {
        for (int output = 0; output < std::min(2, width_); ++output) gainAt(output, 0) = 1.0F;
        return;
    }
    if (positions.empty()) {
        for (int channel = 0; channel < std::min(channels, width_); ++channel) gainAt(channel, channel) = 1.0F;
        return;
    }
    for (int channel = 0; channel < channels; ++channel) place(channel, positions[static_cast<std::size_t>(channel)]);
    keepBelowFullScale();
}

bool SpeakerMixdown::addTo(SpeakerPosition wanted, int channel, float gain) {
    const std::vector<SpeakerPosition>& speakers = speakersOf(width_);
    const auto found = std::find(speakers.begin(), speakers.end(), wanted);
    if (found == speakers.end()) return false;
    gainAt(static_cast<int>(found - speakers.begin()), channel) += gain;
    return true;
}

void SpeakerMixdown::place(int channel, SpeakerPosition position) {
    if (width_ == 1) {
        gainAt(0, channel) = 1.0F;
    } else if (position == unknown || position == other) {
        if (channel < width_) gainAt(channel, channel) = 1.0F;
    } else if (!addTo(position, channel, 1.0F) && !addTo(neighbour(position), channel, 1.0F)) {
        fold(channel, position);
    }
}

void SpeakerMixdown::fold(int channel, SpeakerPosition position) {
    if (position == rearCentre) {
        for (const auto& [left, right] : {std::pair(rearLeft, rearRight), std::pair(sideLeft, sideRight)}) {
            if (addTo(left, channel, kMinus3dB) && addTo(right, channel, kMinus3dB)) return;
        }
    }
    const bool left = position == rearLeft || position == sideLeft;
    const bool right = position == rearRight || position == sideRight;
    if (!right) addTo(frontLeft, channel, kMinus3dB);
    if (!left) addTo(frontRight, channel, kMinus3dB);
}

void SpeakerMixdown::keepBelowFullScale() {
    float largest = 1.0F;
    for (int output = 0; output < width_; ++output) {
        float sum = 0.0F;
        for (int channel = 0; channel < channels_; ++channel) sum += gain(output, channel);
        largest = std::max(largest, sum);
    }
    for (float& gain : gains_) gain /= largest;
}

void SpeakerMixdown::apply(const AudioBuffer& from, AudioBuffer& into) const {
    into.resize(width_, from.frames());
    for (int output = 0; output < width_; ++output) {
        float* target = into.channel(output).data();
        std::fill_n(target, from.frames(), 0.0F);
        for (int channel = 0; channel < channels_; ++channel) {
            const float factor = gain(output, channel);
            if (factor == 0.0F) continue;
            const float* source = from.channel(channel).data();
            for (int frame = 0; frame < from.frames(); ++frame) target[frame] += factor * source[frame];
        }
    }
}

} // namespace ostrel
