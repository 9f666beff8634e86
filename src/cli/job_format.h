// What a job tells at its end, in one form for all of them: the JSON document with its items and counts, and the lines
// of the text form.
#pragma once

#include "cli/terminal.h"
#include "custody/run_document.h"
#include "custody/seal_notices.h"
#include "custody/seal_run.h"
#include "foundation/records/item_outcome.h"

#include <QString>
#include <QStringList>
#include <string>

namespace ostrel {
class ExternalToolDetector;
}

namespace ostrel::cli {

struct JobCounts {
    int success = 0;
    int skipped = 0;
    int errors = 0;
};

nlohmann::json toolsDocument(const ExternalToolDetector& detector);

// An item that no run took: the status that it was found in, and why a run would refuse it.
nlohmann::json jobItem(const QString& name, const QStringList& sources, const ProcessingStatus& status,
                       const QString& foreseen = QString());

// The document of a job without its items. "stopped" is in its summary if the job was.
nlohmann::json jobDocument(const std::string& job, const ExternalToolDetector& detector, const JobCounts& counts,
                           bool isStopped, const QString& reportPath);

// A line on an item that a run would refuse; none where `foreseen` is empty.
void tellForeseen(Terminal& terminal, const QString& name, const QString& foreseen);

// Ahead of a run, on standard error: what it means to the seals of folders at, above or below these.
void tellSealNotices(Terminal& terminal, const QStringList& paths, SealTouch touch);

// What became of the seals of a run: the "seals" of its document, their lines, and on standard error what is wrong.
nlohmann::json sealsDocument(const std::vector<RunSeal>& seals);
void tellSeals(Terminal& terminal, const std::vector<RunSeal>& seals);
void tellSealFaults(Terminal& terminal, const RunSeal& seal);

} // namespace ostrel::cli
