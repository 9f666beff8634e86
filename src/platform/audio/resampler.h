// Converts planar audio from one sample rate to another for listening: a windowed sinc, evaluated at positions that are
// counted in whole numbers, so that an hour of output is not one sample off. No delay: output 0 is input 0.
#pragma once

#include "platform/audio/audio_buffer.h"

#include <QtGlobal>
#include <vector>

namespace ostrel {

class Resampler {
public:
    Resampler(int channels, int inputRate, int outputRate); // Hz

    // Takes the input and gives all output that it completes. With `last` the signal ends there and the rest comes out:
    // in all, the input's frames times the ratio of the rates, rounded up.
    void process(const AudioBuffer& input, bool last, AudioBuffer& output);

private:
    void makeKernel();
    void append(const AudioBuffer& input, bool last);
    void dropUsed();
    float valueAt(int channel, std::size_t base, const float* kernel, const float* next, float blend) const;

    int channels_;
    qint64 step_; // input frames for every `phases_` output frames, both without common factor
    qint64 phases_;
    double cutoff_;                           // in parts of the input's half rate
    int half_;                                // taps on each side
    std::vector<float> kernel_;               // kTablePhases + 1 rows of 2 * half_ taps
    std::vector<std::vector<float>> history_; // a channel each, from input frame firstKept_ - half_ on
    qint64 firstKept_ = 0;
    qint64 received_ = 0; // input frames
    qint64 produced_ = 0; // output frames
};

} // namespace ostrel
