// Counts what a sound callback must not do. While a guard lives, locks, allocations and file calls of its thread count.
#pragma once

namespace ostrel::testing {

class RealtimeGuard {
public:
    RealtimeGuard();
    ~RealtimeGuard();
    RealtimeGuard(const RealtimeGuard&) = delete;
    RealtimeGuard& operator=(const RealtimeGuard&) = delete;

    int violations() const;
};

} // namespace ostrel::testing
