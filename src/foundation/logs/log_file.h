// A log that a person keeps as a file.
#pragma once

#include "foundation/logs/processing_log.h"
#include "platform/desktop_services.h"

#include <vector>

namespace ostrel {

// The entries as lines, without a line break at the end.
QString linesOf(const std::vector<ProcessingLogEntry>& entries);

struct SavedLog {
    QString path;    // where it was to go; empty: the person changed their mind
    QString failure; // why it is not there; empty: it is
};
// Asks where to, and writes it there whole or not at all.
SavedLog saveLog(DesktopServices& desktop, const QString& suggestedName, const QString& text);

} // namespace ostrel
