#include "platform/audio/audio_mix.h"

#include <algorithm>
#include <cmath>

namespace ostrel {

AudioMix::~AudioMix() { clear(); }

void AudioMix::publish(std::vector<MixEntry> entries) {
    auto snapshot = std::make_unique<Snapshot>();
    snapshot->entries = std::move(entries);
    delete published_.exchange(snapshot.release(), std::memory_order_acq_rel); // one that was never taken up
    freeRetired();
}

void AudioMix::freeList(Snapshot* list) {
    while (list) delete std::exchange(list, list->next);
}

void AudioMix::freeRetired() { freeList(retired_.exchange(nullptr, std::memory_order_acquire)); }

void AudioMix::clear() {
    if (current_) {
        for (const MixEntry& entry : current_->entries) entry.stream->begun.store(false, std::memory_order_release);
    }
    delete std::exchange(current_, nullptr);
    delete published_.exchange(nullptr, std::memory_order_acq_rel);
    freeRetired();
}

void AudioMix::retire(Snapshot* snapshot) {
    snapshot->next = retired_.load(std::memory_order_relaxed);
    while (!retired_.compare_exchange_weak(snapshot->next, snapshot, std::memory_order_release,
                                           std::memory_order_relaxed)) {
    }
}

void AudioMix::takePublished() {
    Snapshot* fresh = published_.exchange(nullptr, std::memory_order_acq_rel);
    if (!fresh) return;
    if (current_) retire(current_);
    current_ = fresh;
    for (const MixEntry& entry : current_->entries) {
        if (!entry.isRunning) entry.stream->begun.store(false, std::memory_order_release);
        entry.stream->setGain(entry.gain);
    }
}

// All that wait for their start begin in one go, so those started together stay together. One whose frame on the clock
// has passed already (the main thread was busy) leaves out what it missed.
void AudioMix::beginWaiting() {
    const qint64 now = clock();
    const auto isDue = [now](const MixEntry& entry) {
        return entry.isRunning && !entry.stream->begun.load(std::memory_order_relaxed) && entry.startClock <= now;
    };
    for (const MixEntry& entry : current_->entries) {
        if (!isDue(entry)) continue;
        if (entry.startClock > 0 && !entry.stream->skipTo(now - entry.startClock)) return;
        if (!entry.stream->isPrimed()) return;
    }
    for (const MixEntry& entry : current_->entries) {
        if (isDue(entry)) entry.stream->begin(now);
    }
}

int AudioMix::framesToNextStart(int most) const {
    qint64 result = most;
    for (const MixEntry& entry : current_->entries) {
        if (entry.isRunning && entry.startClock > clock()) result = std::min(result, entry.startClock - clock());
    }
    return static_cast<int>(result);
}

bool AudioMix::allCanGive(int frames) const {
    return std::all_of(current_->entries.begin(), current_->entries.end(), [frames](const MixEntry& entry) {
        return !entry.stream->begun.load(std::memory_order_relaxed) || entry.stream->canGive(frames);
    });
}

void AudioMix::render(float* interleaved, int frames) {
    takePublished();
    std::fill_n(interleaved, static_cast<std::ptrdiff_t>(frames) * channels_, 0.0F);
    if (!current_) return;
    addRunning(interleaved, frames);
    notePeaks(interleaved, frames);
}

void AudioMix::notePeaks(const float* interleaved, int frames) {
    for (int channel = 0; channel < std::min(channels_, kMostChannels); ++channel) {
        float greatest = 0.0F;
        for (int frame = 0; frame < frames; ++frame) {
            greatest = std::max(greatest, std::abs(interleaved[frame * channels_ + channel]));
        }
        std::atomic<float>& peak = peaks_[static_cast<std::size_t>(channel)];
        float before = peak.load(std::memory_order_relaxed);
        while (greatest > before && !peak.compare_exchange_weak(before, greatest)) {
        }
    }
}

void AudioMix::addRunning(float* interleaved, int frames) {
    for (int done = 0; done < frames;) {
        beginWaiting();
        const int segment = framesToNextStart(frames - done);
        if (!allCanGive(segment)) return;
        const qint64 now = clock();
        for (const MixEntry& entry : current_->entries) {
            AudioStream& stream = *entry.stream;
            if (!stream.begun.load(std::memory_order_relaxed) || stream.finished.load(std::memory_order_relaxed))
                continue;
            stream.mixInto(interleaved + static_cast<std::ptrdiff_t>(done) * channels_, segment);
        }
        clock_.store(now + segment, std::memory_order_release);
        done += segment;
    }
}

} // namespace ostrel
