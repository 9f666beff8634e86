#include "polytools/join/join_names.h"

#include "platform/files/file_name.h"
#include "platform/paths.h"
#include "polytools/records/poly_names.h"

#include <QSet>

namespace ostrel {

std::vector<QString> joinNames(const std::vector<ISOGroupCandidate>& groups, const QString& folder,
                               bool keepOriginalName, const RunLedger& ledger) {
    QSet<QString> used;
    const auto isFree = [&](const QString& name) {
        const QString file = polyFileName(name);
        return !used.contains(fileNameKey(file)) &&
               ledger.foresee({QStringList(paths::append(folder, file))}).front().isEmpty();
    };
    std::vector<QString> names;
    for (const ISOGroupCandidate& group : groups) {
        const QString own = groupOutputName(group, keepOriginalName);
        QString name = own;
        if (group.isoFiles.size() > 1) { // else nothing will be written
            for (int number = 2; !isFree(name); ++number) {
                name = polyStem(own, QStringLiteral("_%1").arg(number));
            }
            used.insert(fileNameKey(polyFileName(name)));
        }
        names.push_back(name);
    }
    return names;
}

} // namespace ostrel
