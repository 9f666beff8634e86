// Converts planar audio from one sample rate to another for listening, by libsoxr. No delay: output 0 is input 0.
#pragma once

#include "platform/audio/audio_buffer.h"

#include <QtGlobal>
#include <memory>
#include <vector>

struct soxr;

namespace ostrel {

class Resampler {
public:
    Resampler(int channels, int inputRate, int outputRate); // Hz; throws std::bad_alloc

    // Takes the input and gives all output that it completes. With `last` the signal ends there and the rest comes out:
    // in all, the input's frames times the ratio of the rates, rounded up.
    void process(const AudioBuffer& input, bool last, AudioBuffer& output);

private:
    struct Deletion {
        void operator()(soxr* resampler) const;
    };

    void take(const AudioBuffer& input);
    void end();
    std::size_t run(const void* const* input, std::size_t frames);

    int channels_;
    qint64 step_; // input frames for every `phases_` output frames, both without common factor
    qint64 phases_;
    std::unique_ptr<soxr, Deletion> soxr_;
    AudioBuffer made_; // what one call made: `filled_` frames of those that there is room for
    std::size_t filled_ = 0;
    std::vector<const void*> from_; // a channel each
    std::vector<void*> to_;
    qint64 received_ = 0; // input frames
    qint64 produced_ = 0; // output frames
};

} // namespace ostrel
