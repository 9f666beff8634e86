// Audio in memory: planar 32-bit floats, one run of samples a channel. Full scale is -1.0 to 1.0.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace ostrel {

class AudioBuffer {
public:
    AudioBuffer() = default;
    AudioBuffer(int channels, int frames) { resize(channels, frames); }

    int channels() const { return channels_; }
    int frames() const { return frames_; }

    std::span<float> channel(int index) { return {start(index), static_cast<std::size_t>(frames_)}; }
    std::span<const float> channel(int index) const {
        return {const_cast<AudioBuffer*>(this)->start(index), static_cast<std::size_t>(frames_)};
    }

    // The samples are unspecified afterwards. Memory once taken is kept, so a loop over blocks allocates once; throws
    // std::bad_alloc when there is none.
    void resize(int channels, int frames) {
        const std::size_t needed = static_cast<std::size_t>(channels) * static_cast<std::size_t>(frames);
        if (needed > samples_.size()) samples_.resize(needed);
        channels_ = channels;
        frames_ = frames;
    }

private:
    float* start(int index) { return samples_.data() + static_cast<std::size_t>(index) * frames_; }

    std::vector<float> samples_;
    int channels_ = 0;
    int frames_ = 0;
};

} // namespace ostrel
