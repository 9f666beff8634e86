#include "polytools/services/poly_tools_reports.h"

#include "foundation/logs/csv_report_generator.h"
#include "platform/paths.h"

#include <QLocale>
#include <algorithm>

namespace ostrel {
namespace {

using Pairs = CSVReportGenerator::Pairs;

QString number(auto value) { return QString::number(value); }
QString depthText(int bitDepth) { return QStringLiteral("%1-bit").arg(bitDepth); }
QString rateText(int sampleRate) { return QStringLiteral("%1 Hz").arg(sampleRate); }
QString yesNo(bool value) { return value ? QStringLiteral("Yes") : QStringLiteral("No"); }
QString sizeText(quint64 bytes) {
    return QLocale::c().formattedDataSize(static_cast<qint64>(bytes), 1, QLocale::DataSizeTraditionalFormat);
}

QString namesOf(const QStringList& urls) {
    QStringList names;
    for (const QString& url : urls) names << paths::lastComponent(url);
    return names.join(QStringLiteral("; "));
}

QStringList numbersOf(const std::vector<int>& values) {
    QStringList texts;
    for (const int value : values) texts << number(value);
    return texts;
}

std::pair<QString, QString> sourceOf(const ReportSource& source) {
    if (source.folder.isEmpty()) return {QStringLiteral("Source Files"), namesOf(source.files)};
    return {QStringLiteral("Source Folder"), source.folder};
}

// Behind all other columns, and only where a proof was asked for.
QStringList headersWith(QStringList headers, bool proves) {
    return proves ? headers << QStringLiteral("Proof") : headers;
}
QStringList rowWith(QStringList row, bool proves, const QString& proof) { return proves ? row << proof : row; }

// One row of a join report.
QStringList joinRow(int groupNumber, const ISOGroupCandidate& group, const QString& confidence,
                    const QString& outputFile, const ItemOutcome& outcome, const QString& error, bool proves) {
    const std::vector<ISOFile> isos = group.sortedISOs();
    QStringList names;
    for (const ISOFile& iso : isos) names << iso.fileName;
    const ISOFile first = isos.empty() ? ISOFile() : isos.front();
    const QStringList row{QStringLiteral("Group %1").arg(groupNumber),
                          outputFile,
                          number(isos.size()),
                          names.join(QStringLiteral(" | ")),
                          rateText(first.sampleRate),
                          depthText(first.bitDepth),
                          CSVReportGenerator::formatDuration(group.duration.value_or(first.duration)),
                          confidence,
                          rawText(group.groupingMethod),
                          group.scene,
                          group.take,
                          CSVReportGenerator::statusString(outcome.status),
                          error,
                          outcome.metadata.word()};
    return rowWith(row, proves, outcome.proofText());
}

QString confidenceText(const ISOGroupCandidate& group) {
    return group.groupingMethod == GroupingMethod::manual ? QStringLiteral("Manual") : rawText(group.confidence);
}

struct JoinCounts {
    qsizetype groups = 0;
    int created = 0;
    int success = 0;
    int errors = 0;
};

QString writeJoin(const ReportSource& source, const JoinOptions& options, const ISOFile& first, qsizetype isoCount,
                  const JoinCounts& counts, const QVector<QStringList>& rows, const QString& outputFolder) {
    const Pairs metadata{sourceOf(source),
                         {QStringLiteral("Output Folder"), outputFolder},
                         {QStringLiteral("Channel Layout"), rawText(options.channelLayout)},
                         {QStringLiteral("Total Source ISOs"), number(isoCount)},
                         {QStringLiteral("Groups Processed"), number(counts.groups)},
                         {QStringLiteral("Polys Created"), number(counts.created)},
                         {QStringLiteral("Success"), number(counts.success)},
                         {QStringLiteral("Errors"), number(counts.errors)},
                         {QStringLiteral("Sample Rate"), rateText(first.sampleRate)},
                         {QStringLiteral("Bit Depth"), depthText(first.bitDepth)},
                         {QStringLiteral("Keep Original Name"), yesNo(options.keepOriginalName)},
                         {QStringLiteral("Skip If Exists"), yesNo(options.skipIfExists)},
                         {QStringLiteral("Overwrite Existing"), yesNo(options.overwriteExisting)}};
    const QStringList headers{
        QStringLiteral("Group"),       QStringLiteral("Output File"), QStringLiteral("Channels"),
        QStringLiteral("Source ISOs"), QStringLiteral("Sample Rate"), QStringLiteral("Bit Depth"),
        QStringLiteral("Duration"),    QStringLiteral("Confidence"),  QStringLiteral("Grouping Method"),
        QStringLiteral("Scene"),       QStringLiteral("Take"),        QStringLiteral("Status"),
        QStringLiteral("Error"),       QStringLiteral("Metadata")};
    const Pairs summary{{QStringLiteral("Total Groups"), number(counts.groups)},
                        {QStringLiteral("Total Polys Created"), number(counts.created)},
                        {QStringLiteral("Success"), number(counts.success)},
                        {QStringLiteral("Errors"), number(counts.errors)}};
    return CSVReportGenerator::generate(QStringLiteral("PolyJoin"), metadata, headersWith(headers, options.proves),
                                        rows, summary, outputFolder);
}

// The channels that stay, where all polys have equally many; else those that go.
QString keptChannels(const std::set<int>& removed, const std::vector<PolyFileResult>& polys) {
    const bool isUniform = !polys.empty() && std::ranges::all_of(polys, [&](const PolyFileResult& poly) {
        return poly.channelCount == polys.front().channelCount;
    });
    std::set<int> kept;
    for (int channel = 1; isUniform && channel <= polys.front().channelCount; ++channel) {
        if (!removed.contains(channel)) kept.insert(channel);
    }
    return kept.empty() ? QStringLiteral("all but ") + joinedNumbers(removed) : joinedNumbers(kept);
}

// "Channel removal (keeping: 1, 3) + Track rename (1)", or "None".
QString editsApplied(const BatchEditOptions& options, const std::vector<PolyFileResult>& polys) {
    QStringList parts;
    const ChannelFilterOptions& filter = options.filter;
    if (options.inPlace) {
        // only the names are changed
    } else if (!filter.selectedChannelIndices.empty()) {
        parts
            << QStringLiteral("Channel removal (keeping: %1)").arg(keptChannels(filter.selectedChannelIndices, polys));
    } else if (!filter.nameContainsFilter.isEmpty()) {
        parts
            << QStringLiteral("Channel removal (keeping: all but tracks containing %1)").arg(filter.nameContainsFilter);
    }
    if (options.reorder) {
        parts << QStringLiteral("Channel reorder (%1)").arg(numbersOf(*options.reorder).join(QStringLiteral(", ")));
    }
    if (!options.renames.empty()) parts << QStringLiteral("Track rename (%1)").arg(options.renames.size());
    return parts.isEmpty() ? QStringLiteral("None") : parts.join(QStringLiteral(" + "));
}

} // namespace

QString writeSplitReport(const PolyFile& poly, const std::vector<ChannelItem>& channels, const SplitOptions& options,
                         const SplitResult& result, const QString& outputFolder) {
    const Pairs metadata{
        {QStringLiteral("Source File"), poly.fileName},
        {QStringLiteral("Source Path"), poly.url},
        {QStringLiteral("Channels"), number(poly.channelCount)},
        {QStringLiteral("Sample Rate"), rateText(poly.sampleRate)},
        {QStringLiteral("Bit Depth"), depthText(poly.bitDepth)},
        {QStringLiteral("Codec"), poly.codecName.isEmpty() ? QStringLiteral("Unknown") : poly.codecName},
        {QStringLiteral("Duration"), CSVReportGenerator::formatDuration(poly.duration)},
        {QStringLiteral("File Size"), sizeText(poly.fileSize)},
        {QStringLiteral("Output Folder"), outputFolder},
        {QStringLiteral("Naming Pattern"), rawText(options.namingPattern)}};
    const QStringList headers{QStringLiteral("Channel"),     QStringLiteral("Track Name"),
                              QStringLiteral("Output File"), QStringLiteral("Sample Rate"),
                              QStringLiteral("Bit Depth"),   QStringLiteral("Status"),
                              QStringLiteral("Metadata")};
    QVector<QStringList> rows;
    for (const ChannelItem& item : channels) {
        const QStringList row{
            number(item.channelIndex + 1), item.trackName,           item.outputFileName, rateText(poly.sampleRate),
            depthText(poly.bitDepth),      displayName(item.status), item.metadata};
        rows << rowWith(row, options.proves, item.proof);
    }
    const Pairs summary{{QStringLiteral("Total Channels"), number(poly.channelCount)},
                        {QStringLiteral("ISOs Created"), number(result.createdCount)},
                        {QStringLiteral("Errors"), number(result.errorCount)}};
    return CSVReportGenerator::generate(QStringLiteral("PolySplit"), metadata, headersWith(headers, options.proves),
                                        rows, summary, outputFolder);
}

QString writeBatchSplitReport(const BatchSplitOptions& options, const BatchSplitResult& results) {
    const auto& selected = options.selectedFiles;
    const Pairs metadata{{QStringLiteral("Source"), selected ? namesOf(*selected) : options.sourceFolder},
                         {QStringLiteral("Output Folder"), options.outputFolder},
                         {QStringLiteral("Organization"), rawText(options.folderOrganization)},
                         {QStringLiteral("Recursive"), yesNo(options.recursive)},
                         {QStringLiteral("Files Processed"), number(results.processedFiles)},
                         {QStringLiteral("Total ISOs Created"), number(results.totalISOsCreated)},
                         {QStringLiteral("Success"), number(results.successCount)},
                         {QStringLiteral("Errors"), number(results.errorCount)},
                         {QStringLiteral("Skipped"), number(results.skipCount)}};
    const QStringList headers{
        QStringLiteral("Source File"), QStringLiteral("Source Path"),  QStringLiteral("Channels"),
        QStringLiteral("Track Names"), QStringLiteral("ISOs Created"), QStringLiteral("Sample Rate"),
        QStringLiteral("Bit Depth"),   QStringLiteral("Duration"),     QStringLiteral("Output Folder"),
        QStringLiteral("Status"),      QStringLiteral("Error"),        QStringLiteral("Metadata")};
    QVector<QStringList> rows;
    for (const PolyFileResult& row : results.fileResults) {
        const QStringList cells{row.fileName,
                                row.poly.url,
                                number(row.channelCount),
                                row.trackNames.join(QStringLiteral(" | ")),
                                number(row.isosCreated),
                                rateText(row.poly.sampleRate),
                                depthText(row.poly.bitDepth),
                                CSVReportGenerator::formatDuration(row.poly.duration),
                                row.outputFolder,
                                CSVReportGenerator::statusString(row.outcome.status),
                                row.outcome.message,
                                row.outcome.metadata.word()};
        rows << rowWith(cells, options.proves, row.outcome.proofText());
    }
    const Pairs summary{{QStringLiteral("Total Poly Files"), number(results.processedFiles)},
                        {QStringLiteral("Success"), number(results.successCount)},
                        {QStringLiteral("Errors"), number(results.errorCount)},
                        {QStringLiteral("Skipped"), number(results.skipCount)}};
    return CSVReportGenerator::generate(QStringLiteral("BatchSplit"), metadata, headersWith(headers, options.proves),
                                        rows, summary, options.outputFolder);
}

QString writeJoinReport(const ReportSource& source, const JoinOptions& options, const std::vector<ISOFile>& joined,
                        const QString& outputURL, const ItemOutcome& outcome, const QString& outputFolder) {
    ISOGroupCandidate group;
    group.isoFiles = joined;
    group.groupingMethod = GroupingMethod::manual;
    const bool made = outcome.succeeded();
    const bool failed = outcome.failed();
    const QStringList row = joinRow(1, group, confidenceText(group), paths::lastComponent(outputURL), outcome,
                                    failed ? outcome.message : QString(), options.proves);
    const ISOFile first = joined.empty() ? ISOFile() : joined.front();
    return writeJoin(source, options, first, static_cast<qsizetype>(joined.size()), {1, made, made, failed}, {row},
                     outputFolder);
}

QString writeBatchJoinReport(const ReportSource& source, const JoinOptions& options,
                             const std::vector<ISOGroupCandidate>& groups, const BatchJoinResult& results,
                             const QString& outputFolder) {
    QVector<QStringList> rows;
    qsizetype isoCount = 0;
    ISOFile first;
    for (const ISOGroupCandidate& group : groups) {
        if (isoCount == 0 && !group.isoFiles.empty()) first = group.isoFiles.front();
        isoCount += static_cast<qsizetype>(group.isoFiles.size());
        const auto result = std::ranges::find(results.groupResults, group.id, &GroupJoinResult::groupId);
        if (result == results.groupResults.end() || !result->isReported) continue;
        const int groupNumber = static_cast<int>(&group - groups.data()) + 1;
        rows << joinRow(groupNumber, group, confidenceText(group), result->outputName + QStringLiteral(".wav"),
                        result->outcome, result->outcome.message, options.proves);
    }
    const JoinCounts counts{results.processedGroups, results.totalPolysCreated, results.successCount,
                            results.errorCount};
    return writeJoin(source, options, first, isoCount, counts, rows, outputFolder);
}

QString writeEditReport(const ReportSource& source, const BatchEditOptions& options, const BatchSplitResult& results,
                        const QString& outputFolder) {
    const bool besideSources = options.inPlace || options.outputFolder.isEmpty();
    const Pairs metadata{
        {QStringLiteral("Mode"), options.inPlace ? QStringLiteral("In-Place") : QStringLiteral("New File")},
        {QStringLiteral("Edits Applied"), editsApplied(options, results.fileResults)},
        sourceOf(source),
        {QStringLiteral("Output Folder"),
         besideSources ? QStringLiteral("Same as source (in-place)") : options.outputFolder},
        {QStringLiteral("Files Processed"), number(results.processedFiles)},
        {QStringLiteral("Success"), number(results.successCount)},
        {QStringLiteral("Errors"), number(results.errorCount)},
        {QStringLiteral("Skipped"), number(results.skipCount)}};
    const QStringList headers{
        QStringLiteral("Source File"),     QStringLiteral("Source Path"), QStringLiteral("Original Channels"),
        QStringLiteral("Result Channels"), QStringLiteral("Track Names"), QStringLiteral("Sample Rate"),
        QStringLiteral("Duration"),        QStringLiteral("Output"),      QStringLiteral("Status"),
        QStringLiteral("Error"),           QStringLiteral("Metadata")};
    QVector<QStringList> rows;
    for (const PolyFileResult& row : results.fileResults) {
        const QStringList cells{row.fileName,
                                row.sourceURL,
                                QStringLiteral("%1ch").arg(row.channelCount),
                                QStringLiteral("%1ch").arg(row.resultChannels),
                                row.trackNames.join(QStringLiteral(" | ")),
                                rateText(row.poly.sampleRate),
                                CSVReportGenerator::formatDuration(row.poly.duration),
                                namesOf(row.outcome.outputs),
                                CSVReportGenerator::statusString(row.outcome.status),
                                row.outcome.message,
                                row.outcome.metadata.word()};
        rows << rowWith(cells, options.proves, row.outcome.proofText());
    }
    const Pairs summary{{QStringLiteral("Total Files"), number(results.processedFiles)},
                        {QStringLiteral("Success"), number(results.successCount)},
                        {QStringLiteral("Errors"), number(results.errorCount)},
                        {QStringLiteral("Skipped"), number(results.skipCount)}};
    return CSVReportGenerator::generate(QStringLiteral("PolyEdit"), metadata, headersWith(headers, options.proves),
                                        rows, summary, outputFolder);
}

} // namespace ostrel
