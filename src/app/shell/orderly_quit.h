// The way out while jobs run: asks, stops them behind the items that they are working on, and says when all have ended.
//
// Lives on the main thread, with the window.
#pragma once

#include <QObject>
#include <QProperty>
#include <vector>

namespace ostrel {

class DesktopServices;
class TabPage;

class OrderlyQuit : public QObject {
    Q_OBJECT

public:
    // Both outlive this. The end of the desktop's session is followed from here on: it waits, as long as the desktop
    // lets it, for what a running job has to finish.
    OrderlyQuit(DesktopServices& desktop, std::vector<TabPage*> pages, QObject* parent);

    // From the answer on: nothing may be started any more.
    QProperty<bool> isStopping{false};

    // Asked of every close of the window: whether it may be closed now. Asks the person while a job runs; once that was
    // answered with the stop, the window is closed when `ended` says so and nobody is asked again.
    bool mayClose();

    // As if the person had been asked and had agreed.
    void stopAndQuit();

Q_SIGNALS:
    // Nothing runs any more: the program may quit.
    void ended();

private:
    bool isRunningJob() const;
    bool hasRunningTask() const;
    bool agreesToStop();
    void stop();
    void check();
    void followSessionEnd();

    DesktopServices& desktop_;
    std::vector<TabPage*> pages_;
    bool isAsking_ = false;
};

} // namespace ostrel
