// Ties a view to a controller: what to do when a property or a list changes. Lives in the view; ends with it.
#pragma once

#include "foundation/records/record_list.h"

#include <QObject>
#include <QProperty>
#include <QTimer>
#include <deque>
#include <functional>

namespace ostrel {

class Bindings {
public:
    // Calls `show` now and after every change.
    template <class T, class Show>
    void bind(QProperty<T>& property, Show show) {
        show();
        notifiers_.push_back(property.addNotifier(std::move(show)));
    }

    // Calls `react` after every change.
    template <class T, class React>
    void watch(QProperty<T>& property, React react) {
        notifiers_.push_back(property.addNotifier(std::move(react)));
    }

private:
    std::deque<QPropertyNotifier> notifiers_; // a notifier stays where it was made
};

// Calls `action` once for any number of requests within one turn of the event loop: thousands of changed rows cost one
// recount.
class Coalesced : public QObject {
public:
    Coalesced(QObject* parent, std::function<void()> action) : QObject(parent), action_(std::move(action)) {
        timer_.setSingleShot(true);
        timer_.setInterval(0);
        connect(&timer_, &QTimer::timeout, this, [this] { action_(); });
    }
    void request() {
        if (!timer_.isActive()) timer_.start();
    }
    void follow(const RecordListSignals& list) {
        connect(&list, &RecordListSignals::reset, this, &Coalesced::request);
        connect(&list, &RecordListSignals::rowChanged, this, &Coalesced::request);
        connect(&list, &RecordListSignals::rowsAppended, this, &Coalesced::request);
    }

private:
    std::function<void()> action_;
    QTimer timer_;
};

} // namespace ostrel
