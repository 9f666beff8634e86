// The CSV report of an Interleaver run: columns, rows and summary.
#pragma once

#include "foundation/logs/csv_report_generator.h"
#include "foundation/records/app_mode.h"
#include "foundation/records/interleave_group.h"
#include "foundation/records/multi_channel_source.h"

#include <vector>

namespace ostrel {

struct ReportTable {
    QStringList headers;
    QVector<QStringList> rows; // one an item, whatever its status
};

// `proves`: with a column of what was proved, behind all others.
ReportTable interleaveTable(const std::vector<InterleaveGroup>& groups, const ChannelLayout& layout,
                            bool proves = false);
ReportTable deinterleaveTable(const std::vector<MultiChannelSource>& sources, bool proves = false);

// What a report tells of the run around its table.
struct InterleaverReport {
    AppMode mode = AppMode::interleave;
    QString sourcePath;
    QString customFolder; // empty: outputs lie beside their sources
    ChannelLayout layout;
    ProcessingOptions options;
    int total = 0;
    int successes = 0;
    int skipped = 0;
    int errors = 0;

    // Into the folder; gives the report's path, empty if that failed.
    QString write(const ReportTable& table, const QString& folder) const;
};

} // namespace ostrel
