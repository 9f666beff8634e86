// Renames and edits in place of recordings that lie in sealed folders: each such folder gets a generation of the files
// that a run touched, and of no others.
//
// A renamed file is verified and keeps its history; one with other bytes is written down as failed, since no list can
// make it another than it was: a verification tells it as changed for good, and says that it is known. What a run
// changed is not compared with the seal ahead of that: the old digests stay in the history whatever comes behind them.
// Blocks; for any thread.
#pragma once

#include "custody/seal_run.h"

namespace ostrel {

// Recordings that a run replaced where they stood, what else it wrote for those items, and where it moved sources to;
// of failed items too. Absolute paths.
QStringList touchedRecordings(const std::vector<ItemOutcome>& outcomes);

// One for each sealed folder that one of the files lies in; `changed` is empty, and what another generation told
// otherwise stands in `rewritten`. Never throws; what fails is `refused`. Files that no seal lists, and that are gone,
// are passed over.
std::vector<RunSeal> renewSeals(const QString& job, const QStringList& files, const CustodyWatch& watch = {});

} // namespace ostrel
