// Lets threads that take the pieces of a file in any order do a part of the work in the order of the file.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace ostrel {

class InTurn {
public:
    // Waits until everything ahead of this place is done. False once somebody has given up: the turn will not come.
    bool wait(std::uint64_t place) {
        std::unique_lock lock(mutex_);
        moved_.wait(lock, [&] { return hasGivenUp_ || next_ == place; });
        return !hasGivenUp_;
    }

    // By whoever has the turn: everything up to this place is done.
    void pass(std::uint64_t next) {
        {
            const std::lock_guard lock(mutex_);
            next_ = next;
        }
        moved_.notify_all();
    }

    void giveUp() {
        {
            const std::lock_guard lock(mutex_);
            hasGivenUp_ = true;
        }
        moved_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable moved_;
    std::uint64_t next_ = 0;
    bool hasGivenUp_ = false;
};

} // namespace ostrel
