// The thread that keeps the rings of all streams filled. Methods are the main thread's.
#pragma once

#include "platform/audio/audio_stream.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace ostrel {

class StreamDecoder {
public:
    StreamDecoder();
    ~StreamDecoder(); // waits for the block that is being decoded
    StreamDecoder(const StreamDecoder&) = delete;
    StreamDecoder& operator=(const StreamDecoder&) = delete;

    // What is decoded from now on. `anyRunning`: rings are being emptied, so look again every few milliseconds (the
    // sound callback, which empties them, must not wake anybody).
    void setStreams(std::vector<std::shared_ptr<AudioStream>> streams, bool anyRunning);

private:
    void run();
    bool decodeRound(const std::vector<std::shared_ptr<AudioStream>>& streams);

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::shared_ptr<AudioStream>> streams_; // these four under the mutex
    bool anyRunning_ = false;
    bool isChanged_ = false;
    bool isStopping_ = false;
    std::thread thread_; // last: it starts when the rest is there
};

} // namespace ostrel
