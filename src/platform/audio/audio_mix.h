// What the sound callback runs: the sum of all streams that play. It takes no lock, allocates nothing, touches no file.
//
// The main thread publishes what shall be heard as one snapshot; the callback takes it up at its next block and hands
// the old one back for the main thread to free. So all changes made in one snapshot sound at the same frame.
//
// Streams that start together begin together, as soon as each has audio decoded. When one that plays runs out of
// decoded audio, the whole mix holds (silence, nothing advances) until it has caught up: a slow disk never puts two
// files out of step.
#pragma once

#include "platform/audio/audio_stream.h"

#include <array>
#include <atomic>
#include <memory>
#include <vector>

namespace ostrel {

struct MixEntry {
    std::shared_ptr<AudioStream> stream;
    float gain = 1.0F;
    bool isRunning = false;
    qint64 startClock = 0; // begins when the mix's clock is there; one that has passed begins at once
};

class AudioMix {
public:
    explicit AudioMix(int channels) : channels_(channels) {}
    ~AudioMix();
    AudioMix(const AudioMix&) = delete;
    AudioMix& operator=(const AudioMix&) = delete;

    // --- main thread
    void publish(std::vector<MixEntry> entries);
    void freeRetired();
    // Lets go of every stream. Only while the callback is not running.
    void clear();
    qint64 clock() const { return clock_.load(std::memory_order_acquire); }
    // The greatest magnitude of a channel since it was asked last.
    float takePeak(int channel) { return peaks_[static_cast<std::size_t>(channel)].exchange(0.0F); }

    // --- sound callback: overwrites `frames` frames, interleaved
    void render(float* interleaved, int frames);

private:
    struct Snapshot {
        std::vector<MixEntry> entries;
        Snapshot* next = nullptr;
    };

    void takePublished();
    void addRunning(float* interleaved, int frames);
    void notePeaks(const float* interleaved, int frames);
    void retire(Snapshot* snapshot);
    void beginWaiting();
    int framesToNextStart(int most) const;
    bool allCanGive(int frames) const;
    static void freeList(Snapshot* list);

    static constexpr int kMostChannels = 8; // OutputFormat's

    int channels_;
    std::array<std::atomic<float>, kMostChannels> peaks_{};
    std::atomic<Snapshot*> published_{nullptr};
    std::atomic<Snapshot*> retired_{nullptr};
    std::atomic<qint64> clock_{0}; // frames since the start, those of a hold left out
    Snapshot* current_ = nullptr;  // the callback's
};

} // namespace ostrel
