// The CSV reports of Poly Tools: one function a job, each gives the path of the written file, empty if that failed.
#pragma once

#include "polytools/services/poly_tools_state.h"

#include <QString>
#include <QStringList>

namespace ostrel {

QString writeSplitReport(const PolyToolsState& state, const QString& outputFolder);
QString writeBatchSplitReport(const PolyToolsState& state, const QString& outputFolder);

// The ISOs of a single join count as one group that the person made.
QString writeJoinReport(const PolyToolsState& state, const std::vector<ISOFile>& joined, const QString& outputURL,
                        const ItemOutcome& outcome, const QString& outputFolder);
QString writeBatchJoinReport(const PolyToolsState& state, const std::vector<ISOGroupCandidate>& groups,
                             const BatchJoinResult& results, const QString& outputFolder);

QString writeEditReport(const PolyToolsState& state, const QStringList& files, const BatchSplitResult& results,
                        const QString& outputFolder);

} // namespace ostrel
