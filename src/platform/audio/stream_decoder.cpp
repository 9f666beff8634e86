#include "platform/audio/stream_decoder.h"

#include <chrono>

namespace ostrel {
namespace {

constexpr std::chrono::milliseconds kLookAgain{5}; // a ring lasts half a second

} // namespace

StreamDecoder::StreamDecoder() : thread_([this] { run(); }) {}

StreamDecoder::~StreamDecoder() {
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void StreamDecoder::setStreams(std::vector<std::shared_ptr<AudioStream>> streams, bool anyRunning) {
    {
        const std::lock_guard lock(mutex_);
        streams_.swap(streams); // the old ones are let go of outside the lock
        anyRunning_ = anyRunning;
        isChanged_ = true;
    }
    changed_.notify_all();
}

void StreamDecoder::run() {
    std::unique_lock lock(mutex_);
    while (!isStopping_) {
        isChanged_ = false;
        const bool anyRunning = anyRunning_;
        std::vector<std::shared_ptr<AudioStream>> streams = streams_;
        lock.unlock();
        const bool worked = decodeRound(streams);
        streams.clear();
        lock.lock();
        if (worked) continue;
        const auto called = [this] { return isStopping_ || isChanged_; };
        if (anyRunning) {
            changed_.wait_for(lock, kLookAgain, called);
        } else {
            changed_.wait(lock, called);
        }
    }
}

// One block for each stream in turn, so that the many files of a mix fill evenly.
bool StreamDecoder::decodeRound(const std::vector<std::shared_ptr<AudioStream>>& streams) {
    bool worked = false;
    for (const std::shared_ptr<AudioStream>& stream : streams) {
        if (!stream->wantsData()) continue;
        stream->decodeSome();
        worked = true;
    }
    return worked;
}

} // namespace ostrel
