// Faults of the disk in the middle of a job: in every program that uses this, the calls that finish a file go through
// here first.
//
// Armed for this process and whatever it forks (not for programs that it starts); one test at a time.
#pragma once

#include <functional>

namespace ostrel::testing {

enum class DiskCall { flush, rename, exchange, link, remove, write };

// Called ahead of each such call, and asked for what becomes of it: 0 goes on, an errno fails it.
using DiskFault = std::function<int(DiskCall call)>;

class DiskFaults {
public:
    explicit DiskFaults(DiskFault fault);
    ~DiskFaults();
    DiskFaults(const DiskFaults&) = delete;
    DiskFaults& operator=(const DiskFaults&) = delete;
};

// Runs `job` in a process of its own, which is killed ahead of its `moment`th call (from 1), whichever that is. False if
// it came to its end before that.
bool isKilledAt(int moment, const std::function<void()>& job);

} // namespace ostrel::testing
