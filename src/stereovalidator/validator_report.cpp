#include "stereovalidator/validator_report.h"

#include "foundation/logs/csv_report_generator.h"
#include "platform/paths.h"
#include "platform/text/text.h"

namespace ostrel {
namespace {

const QStringList& headers() {
    static const QStringList names{
        QStringLiteral("File"),           QStringLiteral("Classification"), QStringLiteral("Action"),
        QStringLiteral("Correlation"),    QStringLiteral("Confidence"),     QStringLiteral("Lag (ms)"),
        QStringLiteral("Mid/Side Ratio"), QStringLiteral("RMS Diff"),       QStringLiteral("Duration"),
        QStringLiteral("Sample Rate"),    QStringLiteral("Bit Depth"),      QStringLiteral("Metadata"),
    };
    return names;
}

QStringList row(const StereoValidatorResult& result, bool converted) {
    return {
        paths::lastComponent(result.filepath),
        displayName(result.classification),
        reportAction(result, converted),
        fixed(result.correlation, 3),
        fixed(result.confidence, 1) + QLatin1Char('%'),
        fixed(result.lagMs, 2),
        fixed(result.midSideRatio, 4),
        fixed(result.rmsDiff, 6),
        result.formattedDuration(),
        QString::number(result.sampleRate),
        QString::number(result.bitDepth),
        result.outcome ? result.outcome->metadata.word() : QString(),
    };
}

} // namespace

QString reportAction(const StereoValidatorResult& result, bool converted) {
    if (converted) return QStringLiteral("Converted to Mono");
    switch (result.classification) {
    case StereoClassification::nearMono: return QStringLiteral("Skipped (Near Mono)");
    case StereoClassification::trueStereo: return QStringLiteral("Skipped (True Stereo)");
    case StereoClassification::silent: return QStringLiteral("Skipped (Silent)");
    case StereoClassification::trueMono: return QStringLiteral("Skipped (Already Mono)");
    case StereoClassification::unsupported: return QStringLiteral("Skipped (Unsupported)");
    default: return QStringLiteral("Skipped");
    }
}

QString writeValidatorReport(const ValidatorReport& report, const QString& folder) {
    const auto analysed = static_cast<qsizetype>(report.results.size());
    const QString count = report.totalFiles > analysed
                              ? QStringLiteral("%1 of %2, stopped").arg(analysed).arg(report.totalFiles)
                              : QString::number(analysed);
    const CSVReportGenerator::Pairs metadata{
        {QStringLiteral("Source"), report.source},
        {QStringLiteral("Output"), report.output},
        {QStringLiteral("Files Analyzed"), count},
        {QStringLiteral("Converted"), QString::number(report.successCount)},
        {QStringLiteral("Errors"), QString::number(report.errorCount)},
        {QStringLiteral("Skipped"), QString::number(analysed - report.converted.size())},
    };
    const CSVReportGenerator::Pairs summary{
        {QStringLiteral("Total Files"), QString::number(std::max<qsizetype>(analysed, report.totalFiles))},
        {QStringLiteral("Converted"), QString::number(report.successCount)},
        {QStringLiteral("Errors"), QString::number(report.errorCount)},
    };
    QVector<QStringList> rows;
    for (const StereoValidatorResult& result : report.results) {
        rows << row(result, report.converted.contains(result.id));
        if (report.trusts) rows.last() << result.trustText() << result.why.join(QStringLiteral("; "));
        if (report.proves) rows.last() << (result.outcome ? result.outcome->proofText() : QString());
    }
    QStringList columns = headers();
    if (report.trusts) columns << QStringLiteral("Trust") << QStringLiteral("Why");
    if (report.proves) columns << QStringLiteral("Proof");
    return CSVReportGenerator::generate(QStringLiteral("StereoValidator"), metadata, columns, rows, summary, folder);
}

} // namespace ostrel
