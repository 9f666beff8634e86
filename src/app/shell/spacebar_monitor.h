// Plays and pauses by the space bar, wherever the focus is, save in a text field or under a dialog.
//
// One instance for the application, since it watches the application's key events. Main thread.
#pragma once

#include <QObject>
#include <functional>

namespace ostrel {

class SpacebarMonitor : public QObject {
public:
    static SpacebarMonitor& shared();

    std::function<bool()> isEnabled;
    std::function<void()> onSpace;

    void start();
    void stop();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    bool isRunning_ = false;
};

} // namespace ostrel
