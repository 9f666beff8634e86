// A check of many recordings at once, and its findings as a table of texts.
#pragma once

#include "delivery/delivery_check.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace ostrel {

struct CheckedFile {
    QString path;
    std::vector<Finding> findings; // of the file by itself, then of what it is to the others
    bool isDone = false;           // false: stopped ahead of it
};

// Asked and told from any thread; both may be empty.
struct DeliveryWatch {
    std::function<void(int done, int total, const QString& file)> tell;
    std::function<bool()> isStopped;

    bool stopped() const { return isStopped && isStopped(); }
};

// In the order of the files, each given once. Recordings are read only. Blocks; for any thread but the main one.
std::vector<CheckedFile> checkFiles(const QStringList& files, const DeliveryCheckOptions& options,
                                    const DeliveryWatch& watch);

int countOf(const std::vector<CheckedFile>& files, Severity severity);

// Lines of comma-separated values, without their ends: a head, and one of each finding.
QStringList findingsAsCsv(const std::vector<CheckedFile>& files);

} // namespace ostrel
