// One CSV report per finished job. The caller names the operation, columns and rows; the form of the file is ours.
#pragma once

#include "foundation/records/processing_status.h"

#include <QString>
#include <QStringList>
#include <QVector>
#include <utility>

namespace ostrel {

class CSVReportGenerator {
public:
    using Pairs = QVector<std::pair<QString, QString>>;

    // Writes "Tessarine_{operation}_{time}.csv" into the folder and gives its path; empty if that failed, which is
    // printed and costs the job nothing. Two reports of one second replace each other.
    static QString generate(const QString& operation, const Pairs& metadata, const QStringList& headers,
                            const QVector<QStringList>& rows, const Pairs& summary, const QString& outputFolder);

    static QString formatDuration(double seconds);
    static QString statusString(const ProcessingStatus& status);
};

} // namespace ostrel
