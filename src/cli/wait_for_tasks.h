// Goes on with events until a controller has nothing under way.
#pragma once

#include <QEventLoop>
#include <QObject>

namespace ostrel::cli {

template <class Controller>
void waitForTasks(Controller& controller) {
    while (controller.hasRunningTask()) {
        QEventLoop loop;
        QObject::connect(&controller, &Controller::taskEnded, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

} // namespace ostrel::cli
