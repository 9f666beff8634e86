// How the channels of a file reach the speakers of an output.
//
// - A mono file plays in the middle: at unity on the front left and right.
// - A file that declares speaker positions plays each channel on its speaker; what the output lacks is folded to its
//   neighbours (centre and LFE to both fronts, surrounds to the front of their side, at -3 dB), and the whole is then
//   scaled so that it can't pass full scale. The LFE is kept, against broadcast practice: who listens to that channel
//   by itself on a pair of speakers must not hear silence.
// - A file without positions plays channel 1 on output 1 and so on, up to the output's width.
#pragma once

#include "platform/audio/audio_buffer.h"
#include "platform/audio/audio_file.h"

#include <vector>

namespace ostrel {

class SpeakerMixdown {
public:
    // `positions` is empty or has one entry a channel. The output's speakers follow SDL's order for its width (1 to 8).
    SpeakerMixdown(int channels, const std::vector<SpeakerPosition>& positions, int outputWidth);

    // The factor of one file channel in one output.
    float gain(int output, int channel) const { return gains_[static_cast<std::size_t>(output * channels_ + channel)]; }

    // `into` gets the output's width and the frames of `from`.
    void apply(const AudioBuffer& from, AudioBuffer& into) const;

private:
    float& gainAt(int output, int channel) { return gains_[static_cast<std::size_t>(output * channels_ + channel)]; }
    void place(int channel, SpeakerPosition position);
    bool addTo(SpeakerPosition speaker, int channel, float gain);
    void fold(int channel, SpeakerPosition position);
    void keepBelowFullScale();

    int channels_;
    int width_;
    std::vector<float> gains_;
};

} // namespace ostrel
