// The CSV reports of Poly Tools: one function a job, each gives the path of the written file, empty if that failed. All
// that they tell comes from the run, since the options may be others by its end.
#pragma once

#include "polytools/records/edit_options.h"
#include "polytools/records/iso_group.h"
#include "polytools/records/join_records.h"
#include "polytools/records/poly_tools_records.h"
#include "polytools/records/split_records.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

// What was chosen for a join or an edit: a folder or, where that is empty, files.
struct ReportSource {
    QString folder;
    QStringList files;
};

// The channels as they were listed when the split began, with what became of them.
QString writeSplitReport(const PolyFile& poly, const std::vector<ChannelItem>& channels, const SplitOptions& options,
                         const SplitResult& result, const QString& outputFolder);
QString writeBatchSplitReport(const BatchSplitOptions& options, const BatchSplitResult& results);

// The ISOs of a single join count as one group that the person made.
QString writeJoinReport(const ReportSource& source, const JoinOptions& options, const std::vector<ISOFile>& joined,
                        const QString& outputURL, const ItemOutcome& outcome, const QString& outputFolder);
QString writeBatchJoinReport(const ReportSource& source, const JoinOptions& options,
                             const std::vector<ISOGroupCandidate>& groups, const BatchJoinResult& results,
                             const QString& outputFolder);

QString writeEditReport(const ReportSource& source, const BatchEditOptions& options, const BatchSplitResult& results,
                        const QString& outputFolder);

} // namespace ostrel
