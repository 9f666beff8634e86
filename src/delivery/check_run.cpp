#include "delivery/check_run.h"

#include "metadata/csv_table.h"
#include "platform/parallel.h"

#include <algorithm>
#include <atomic>
#include <map>

namespace ostrel {

std::vector<CheckedFile> checkFiles(const QStringList& files, const DeliveryCheckOptions& options,
                                    const DeliveryWatch& watch) {
    DeliveryCheck check(options);
    std::vector<CheckedFile> checked;
    for (const QString& file : files) checked.push_back({.path = file});
    std::atomic<int> done{0};
    forEachInParallel(checked.size(), [&](std::size_t i) {
        if (watch.stopped()) return;
        checked[i].findings = check.look(checked[i].path);
        checked[i].isDone = true;
        if (watch.tell) watch.tell(++done, static_cast<int>(checked.size()), checked[i].path);
    });
    std::map<QString, CheckedFile*> byPath;
    for (CheckedFile& file : checked) byPath.emplace(file.path, &file);
    for (Finding& finding : check.across()) byPath.at(finding.path)->findings.push_back(std::move(finding));
    return checked;
}

int countOf(const std::vector<CheckedFile>& files, Severity severity) {
    int number = 0;
    for (const CheckedFile& file : files) {
        number += static_cast<int>(
            std::ranges::count_if(file.findings, [&](const Finding& each) { return each.rule->severity == severity; }));
    }
    return number;
}

QStringList findingsAsCsv(const std::vector<CheckedFile>& files) {
    QStringList lines{csvRow({QStringLiteral("File"), QStringLiteral("Rule"), QStringLiteral("Severity"),
                              QStringLiteral("Field"), QStringLiteral("Found"), QStringLiteral("Expected"),
                              QStringLiteral("Says"), QStringLiteral("Source")})};
    for (const CheckedFile& file : files) {
        for (const Finding& each : file.findings) {
            lines << csvRow({file.path, QString::fromLatin1(each.rule->id), wordOf(each.rule->severity), each.field,
                             each.found, each.expected, QString::fromUtf8(each.rule->says),
                             QString::fromUtf8(each.rule->source)});
        }
    }
    return lines;
}

} // namespace ostrel
