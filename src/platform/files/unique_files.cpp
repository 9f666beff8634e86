#include "platform/files/unique_files.h"

#include "platform/files/file_stamp.h"
#include "platform/files/new_file.h"
#include "platform/paths.h"

#include <QSet>
#include <map>

namespace ostrel {

UniqueFiles uniqueFiles(const QStringList& selection) {
    UniqueFiles result;
    QSet<QString> names;
    std::map<FileIdentity, QString> firstNames;
    for (const QString& path : selection) {
        const QString name = paths::absolute(path);
        if (names.contains(name)) continue;
        names.insert(name);
        if (isPrivateName(paths::lastComponent(path)) && !paths::isFolder(path)) {
            result.repeats << QStringLiteral("%1 is an unfinished file of a run and no recording").arg(path);
            continue;
        }
        const std::optional<FileIdentity> identity = identityOf(path);
        const bool isTold = identity && identity->inode != 0; // some network file systems number nothing
        if (!isTold || firstNames.emplace(*identity, path).second) {
            result.files << path;
            continue;
        }
        const QString kind = paths::isFolder(path) ? QStringLiteral("folder") : QStringLiteral("file");
        result.repeats
            << QStringLiteral("%1 is the same %2 as %3 and taken once").arg(path, kind, firstNames.at(*identity));
    }
    return result;
}

} // namespace ostrel
