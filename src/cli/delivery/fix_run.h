// check --fix on the terminal: each change told before and after.
#pragma once

#include "cli/terminal.h"
#include "delivery/fix_run.h"

#include <QStringList>
#include <functional>

namespace ostrel::cli {

// Whether no recording failed. With JSON prints the document.
bool fixRecordings(const QStringList& recordings, const FixOptions& options, Terminal& terminal,
                   const std::function<bool()>& isStopped);

} // namespace ostrel::cli
