#include "polytools/grouping/grouping_log.h"

#include "foundation/logs/debug_log.h"
#include "platform/diagnostics.h"

namespace ostrel {

void logGrouping(const QString& message) {
    const QString tag = QStringLiteral("ISOGroupingEngine");
    if (!appendToDebugLog(tag, message)) printDiagnostic(debugLogLine(tag, message));
}

} // namespace ostrel
