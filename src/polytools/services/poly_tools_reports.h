// The CSV reports of Poly Tools: one function a job, each gives the path of the written file, empty if that failed.
#pragma once

#include "polytools/state/edit_state.h"
#include "polytools/state/join_state.h"
#include "polytools/state/poly_tools_state.h"
#include "polytools/state/source_state.h"
#include "polytools/state/split_state.h"

#include <QString>
#include <QStringList>

namespace ostrel {

QString writeSplitReport(const PolyToolsState& state, const SourceState& source, const SplitState& split,
                         const QString& outputFolder);
QString writeBatchSplitReport(const SourceState& source, const SplitState& split, const QString& outputFolder);

// The ISOs of a single join count as one group that the person made.
QString writeJoinReport(const PolyToolsState& state, const JoinState& join, const std::vector<ISOFile>& joined,
                        const QString& outputURL, const ItemOutcome& outcome, const QString& outputFolder);
QString writeBatchJoinReport(const PolyToolsState& state, const JoinState& join,
                             const std::vector<ISOGroupCandidate>& groups, const BatchJoinResult& results,
                             const QString& outputFolder);

QString writeEditReport(const SourceState& source, const EditState& edit, const QStringList& files,
                        const BatchSplitResult& results, const QString& outputFolder);

} // namespace ostrel
