// Every worker of the background pool at work that doesn't end before it is let go.
#pragma once

#include "platform/background.h"
#include "support/test_folder.h"

#include <QSemaphore>
#include <gtest/gtest.h>

namespace ostrel::testing {

class BlockedWorkers {
public:
    BlockedWorkers() {
        const int workers = backgroundPool().maxThreadCount();
        for (int i = 0; i < workers; ++i) occupy(&context_, gate_);
        EXPECT_TRUE(waitUntil([=] { return backgroundPool().activeThreadCount() == workers; }));
    }
    ~BlockedWorkers() { letGo(); }

    void letGo() { gate_->release(backgroundPool().maxThreadCount()); }

    // Lets them go until all that waited behind them has run and its results have come back.
    void drain() {
        letGo();
        EXPECT_TRUE(waitUntil([] {
            if (backgroundPool().activeThreadCount() != 0) return false;
            QCoreApplication::processEvents();
            return backgroundPool().activeThreadCount() == 0; // what came back may have begun something else
        }));
    }

private:
    // The same way that controllers go.
    static QCoro::Task<> occupy(QObject* context, std::shared_ptr<QSemaphore> gate) {
        const auto work = [gate] { gate->acquire(); };
        co_await inBackground(context, work);
    }

    QObject context_;
    std::shared_ptr<QSemaphore> gate_ = std::make_shared<QSemaphore>();
};

} // namespace ostrel::testing
