// Buffers that threads take for a piece of work and give back: fresh memory costs as much as what is done with it.
#pragma once

#include <mutex>
#include <utility>
#include <vector>

namespace ostrel {

class SpareBuffers {
public:
    using Buffer = std::vector<unsigned char>;

    // A buffer for as long as this lives.
    class Loan {
    public:
        explicit Loan(SpareBuffers& owner) : owner_(owner), buffer_(owner.take()) {}
        ~Loan() { owner_.give(std::move(buffer_)); }
        Loan(const Loan&) = delete;
        Loan& operator=(const Loan&) = delete;

        Buffer& operator*() { return buffer_; }
        Buffer* operator->() { return &buffer_; }

    private:
        SpareBuffers& owner_;
        Buffer buffer_;
    };

private:
    Buffer take() {
        const std::lock_guard lock(mutex_);
        if (spare_.empty()) return {};
        Buffer buffer = std::move(spare_.back());
        spare_.pop_back();
        return buffer;
    }
    void give(Buffer buffer) {
        const std::lock_guard lock(mutex_);
        spare_.push_back(std::move(buffer));
    }

    std::mutex mutex_;
    std::vector<Buffer> spare_;
};

} // namespace ostrel
