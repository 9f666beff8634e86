// The diagnostic log of grouping.
#pragma once

#include <QString>

namespace ostrel {

// Into the debug log; to standard output if that can't be written.
void logGrouping(const QString& message);

} // namespace ostrel
