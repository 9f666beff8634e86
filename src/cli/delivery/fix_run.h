// check --fix: corrected copies of recordings, or the recordings themselves, with each change told before and after.
#pragma once

#include "cli/terminal.h"
#include "delivery/rules/rule.h"

#include <QStringList>
#include <functional>

namespace ostrel::cli {

struct FixOptions {
    Reader reader = Reader::anybody;
    QString output;       // folder of the copies; empty: "Corrected" beside each recording
    bool inPlace = false; // instead of copies
    bool dryRun = false;  // tells, and writes nothing
};

// Whether no recording failed. With JSON prints the document.
bool fixRecordings(const QStringList& recordings, const FixOptions& options, Terminal& terminal,
                   const std::function<bool()>& isStopped);

} // namespace ostrel::cli
