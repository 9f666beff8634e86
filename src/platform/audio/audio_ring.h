// A ring of interleaved frames between one writing and one reading thread. Neither locks nor allocates.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <span>
#include <vector>

namespace ostrel {

class AudioRing {
public:
    AudioRing(int channels, int capacityInFrames)
        : channels_(static_cast<std::size_t>(channels)), capacity_(static_cast<std::size_t>(capacityInFrames)),
          samples_(channels_ * capacity_) {}

    int capacity() const { return static_cast<int>(capacity_); }

    // Frames to read. Exact for the reader; the writer may see more than there are left.
    int available() const {
        return static_cast<int>(written_.load(std::memory_order_acquire) - read_.load(std::memory_order_acquire));
    }

    // Frames that may be written. Exact for the writer.
    int space() const { return capacity() - available(); }

    // Writer: at most space() frames, each sample given by `sample(frame, channel)`.
    template <class Sample>
    void write(int frames, Sample sample) {
        const std::size_t start = written_.load(std::memory_order_relaxed);
        std::size_t at = start % capacity_;
        for (int frame = 0; frame < frames; ++frame) {
            float* into = samples_.data() + at * channels_;
            for (std::size_t channel = 0; channel < channels_; ++channel) {
                into[channel] = sample(frame, static_cast<int>(channel));
            }
            if (++at == capacity_) at = 0;
        }
        written_.store(start + static_cast<std::size_t>(frames), std::memory_order_release);
    }

    // Reader: the next frames as they lie in memory, at most `frames` and fewer where the ring wraps.
    std::span<const float> peek(int frames) const {
        const std::size_t at = read_.load(std::memory_order_relaxed) % capacity_;
        const std::size_t count =
            std::min({static_cast<std::size_t>(frames), capacity_ - at, static_cast<std::size_t>(available())});
        return {samples_.data() + at * channels_, count * channels_};
    }

    // Reader: frames that were peeked and are done with.
    void advance(int frames) { read_.fetch_add(static_cast<std::size_t>(frames), std::memory_order_release); }

private:
    std::size_t channels_;
    std::size_t capacity_;
    std::vector<float> samples_;
    std::atomic<std::size_t> written_{0}; // frames since the start, never wrapped
    std::atomic<std::size_t> read_{0};
};

} // namespace ostrel
