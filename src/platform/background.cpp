#include "platform/background.h"

#include <algorithm>

namespace ostrel {
namespace {

// Enough for a job, a scan, a layout detection and the loading of a preview side by side on the smallest machine.
constexpr int kFewestWorkers = 4;

void drain() { backgroundPool().waitForDone(); }

class BackgroundPool : public QThreadPool {
public:
    BackgroundPool() {
        setObjectName(QStringLiteral("background"));
        setMaxThreadCount(std::max(kFewestWorkers, QThread::idealThreadCount()));
        // Work that still runs posts to the application and starts children: the application waits for it.
        qAddPostRoutine(drain);
    }
};

} // namespace

QThreadPool& backgroundPool() {
    static BackgroundPool pool;
    return pool;
}

} // namespace ostrel
