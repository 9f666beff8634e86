#include "platform/processes/tool_limits.h"

#include <QFileInfo>
#include <algorithm>

namespace ostrel {

ChildLimits limitsByFileSize(const QStringList& files) {
    using namespace std::chrono_literals;
    constexpr qint64 kBytesPerMillisecond = 4'000;
    constexpr std::chrono::milliseconds kMost = 7 * 24h; // a sparse file may claim any size
    std::chrono::milliseconds total = 1min;
    for (const QString& file : files) {
        total = std::min(kMost, total + std::chrono::milliseconds(QFileInfo(file).size() / kBytesPerMillisecond));
    }
    return {.total = total, .standStill = std::nullopt};
}

ChildLimits limitsByProgress(const QStringList& outputs) {
    return {.total = std::nullopt, .standStill = StandStill{.files = outputs}};
}

} // namespace ostrel
