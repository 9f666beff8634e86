// Tells a child that works from one that stands still.
#pragma once

#include <QStringList>
#include <chrono>
#include <functional>
#include <optional>
#include <sys/types.h>
#include <vector>

namespace ostrel {

// What changes while a child works.
struct ChildProgress {
    quint64 ticks = 0;         // processor time of its process group, those it waited for included; 10 ms each
    std::vector<qint64> sizes; // bytes, -1 for a file that is not there

    bool operator==(const ChildProgress&) const = default;
};

ChildProgress progressOf(pid_t group, const QStringList& files);

// Looks a few times within the limit. What counts is how often nothing had changed and not how much time went by: when
// the whole machine was suspended, or Ostrel itself, an hour between two looks says nothing about the child.
class StandStillWatch {
public:
    using Clock = std::chrono::steady_clock;

    StandStillWatch(std::chrono::milliseconds limit, std::function<ChildProgress()> look, Clock::time_point now);

    Clock::time_point nextLook() const { return nextLook_; }

    // Looks where it is time to. True from when nothing has changed for the limit, and at most a quarter longer.
    bool standsStill(Clock::time_point now);

private:
    std::chrono::milliseconds interval_;
    std::function<ChildProgress()> look_;
    Clock::time_point nextLook_;
    std::optional<ChildProgress> last_; // none until the first look, so that short runs cost nothing
    int unchanged_ = 0;
};

} // namespace ostrel
