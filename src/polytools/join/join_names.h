// The names of a batch's polys.
#pragma once

#include "foundation/run/run_ledger.h"
#include "polytools/records/iso_group.h"

#include <QString>
#include <vector>

namespace ostrel {

// One for each group, in their order and without extension: its own, or the next one ("Take_2") where that is the name
// of a source of the run or of an earlier group's poly in this folder. Says the same whatever a run has made so far, so
// that a second run finds the polys of the first. Asks the disk.
std::vector<QString> joinNames(const std::vector<ISOGroupCandidate>& groups, const QString& folder,
                               bool keepOriginalName, const RunLedger& ledger);

} // namespace ostrel
