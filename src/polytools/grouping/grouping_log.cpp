#include "polytools/grouping/grouping_log.h"

#include "foundation/logs/debug_log.h"

namespace ostrel {

void logGrouping(const QString& message) { writeDebugLine(QStringLiteral("ISOGroupingEngine"), message); }

} // namespace ostrel
