// One piece of work per item, side by side, for engines that are called off the main thread.
//
// The threads are the call's own: waiting for a pool from inside that pool could wait for ever.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace ostrel {

// How many items run together: as many as there are processors, within reason.
inline std::size_t parallelWidth() { return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 2, 8); }

// Calls `work(i)` for every i below `count`, at most `width` at a time, and comes back when all are done. Items begin
// in order and end in any. The first exception keeps further items from beginning, and is thrown again here.
template <class Work>
void forEachInParallel(std::size_t count, Work work, std::size_t width = parallelWidth()) {
    std::atomic<std::size_t> next{0};
    std::exception_ptr error;
    std::mutex errorMutex;
    const auto run = [&] {
        try {
            for (std::size_t i = next++; i < count; i = next++) work(i);
        } catch (...) {
            next = count; // carried to the caller below, whatever it is
            const std::lock_guard lock(errorMutex);
            if (!error) error = std::current_exception();
        }
    };
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 1; i < std::min(width, count); ++i) threads.emplace_back(run);
        run();
    }
    if (error) std::rethrow_exception(error);
}

} // namespace ostrel
