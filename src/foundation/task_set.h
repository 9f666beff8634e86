// The tasks of a controller that are under way: one handle an action, so that a stop reaches each of them, and a count
// of those that have not really ended. Main thread; lives as long as its controller.
#pragma once

#include "platform/background.h"

#include <QCoro/QCoroTask>
#include <functional>
#include <map>
#include <utility>

namespace ostrel {

// `Action` names them, an enumeration of the controller's.
template <class Action>
class TaskSet {
public:
    // Called behind every end.
    explicit TaskSet(std::function<void()> onEnded) : onEnded_(std::move(onEnded)) {}
    TaskSet(const TaskSet&) = delete;
    TaskSet& operator=(const TaskSet&) = delete;

    // A fresh handle for the action; an earlier task of it is told to stop.
    TaskHandle begin(Action action) {
        cancel(action);
        return handles_[action] = TaskHandle();
    }
    void cancel(Action action) {
        if (const auto found = handles_.find(action); found != handles_.end()) found->second.cancel();
    }
    void cancelAll() {
        for (auto& [action, handle] : handles_) handle.cancel();
    }

    // Counts a task until it has really ended: after a stop that is later than a controller's flags tell, since a
    // running child process finishes by itself.
    void run(QCoro::Task<> task) { counted(std::move(task)); }
    bool isAnyRunning() const { return running_ > 0; }

private:
    // Never resumed once the controller is gone, so `this` is there behind the wait.
    QCoro::Task<> counted(QCoro::Task<> task) {
        ++running_;
        co_await task;
        --running_;
        onEnded_();
    }

    std::function<void()> onEnded_;
    std::map<Action, TaskHandle> handles_;
    int running_ = 0;
};

} // namespace ostrel
