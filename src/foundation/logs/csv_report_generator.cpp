#include "foundation/logs/csv_report_generator.h"

#include "platform/diagnostics.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/text/text.h"

#include <QDateTime>

namespace ostrel {
namespace {

QString escaped(QString field) {
    const bool quoted = field.contains(u',') || field.contains(u'"') || field.contains(u'\n') || field.contains(u'\r');
    if (!quoted) return field;
    return u'"' + field.replace(QStringLiteral("\""), QStringLiteral("\"\"")) + u'"';
}

QString line(const QStringList& fields) {
    QStringList result;
    for (const QString& field : fields) result << escaped(field);
    return result.join(u',');
}

// Comment lines hold names of files and folders; one with a line break must not begin a row of its own.
QString comment(const std::pair<QString, QString>& pair) {
    QString text = QStringLiteral("# %1: %2").arg(pair.first, pair.second);
    return text.replace(u'\n', u' ').replace(u'\r', u' ');
}

} // namespace

QString CSVReportGenerator::generate(const QString& operation, const Pairs& metadata, const QStringList& headers,
                                     const QVector<QStringList>& rows, const Pairs& summary,
                                     const QString& outputFolder) {
    const QDateTime now = QDateTime::currentDateTime();
    QStringList lines{QStringLiteral("# Tessarine — %1 Report").arg(operation),
                      QStringLiteral("# Date: ") + now.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))};
    for (const auto& pair : metadata) lines << comment(pair);
    lines << QStringLiteral("#") << line(headers);
    for (const QStringList& row : rows) lines << line(row);
    if (!summary.isEmpty()) lines << QString();
    for (const auto& pair : summary) lines << comment(pair);

    const QString name =
        QStringLiteral("Tessarine_%1_%2.csv").arg(operation, now.toString(QStringLiteral("yyyy-MM-dd'T'HH-mm-ss")));
    const QString path = paths::append(outputFolder, name);
    try {
        files::writeAtomically(path, lines.join(u'\n').toUtf8());
        return path;
    } catch (const FileError& error) {
        printDiagnostic(QStringLiteral("❌ CSVReportGenerator: Failed to save %1: %2").arg(name, error.description));
        return QString();
    }
}

QString CSVReportGenerator::formatDuration(double seconds) { return clockText(seconds); }

QString CSVReportGenerator::statusString(const ProcessingStatus& status) {
    using Kind = ProcessingStatus::Kind;
    switch (status.kind) {
    case Kind::completed:
    case Kind::completedCarbonCopyCertified: return QStringLiteral("Success");
    case Kind::completedWithWarning: return QStringLiteral("Success (%1)").arg(status.text);
    case Kind::completedUncertified: return QStringLiteral("Success (Uncertified: %1)").arg(status.text);
    case Kind::failed: return QStringLiteral("Error: ") + status.text;
    case Kind::skipped: return QStringLiteral("Skipped: ") + status.text;
    default: return status.shortDisplayText();
    }
}

} // namespace ostrel
