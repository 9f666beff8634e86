#include "platform/files/standard_folders.h"

#include "platform/paths.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

namespace ostrel {

QString resourceFolder() {
    const QString chosen = qEnvironmentVariable("OSTREL_RESOURCE_FOLDER");
    if (!chosen.isEmpty()) return chosen;
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../libexec/ostrel"));
}

QStringList dataFolders() {
    if (qEnvironmentVariableIsSet("OSTREL_RESOURCE_FOLDER")) return {};
    QStringList folders;
    for (const QString& data : QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation)) {
        if (data.startsWith(u'/')) folders << paths::append(data, QStringLiteral("ostrel"));
    }
    return folders;
}

QString cacheFolder() {
    return paths::append(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation),
                         QStringLiteral("Ostrel"));
}

QString stateFolder() {
    // Qt knows this place from 6.7 on. A relative path there is invalid, says the standard.
    const QString chosen = qEnvironmentVariable("XDG_STATE_HOME");
    const QString base = chosen.startsWith(u'/') ? chosen : QDir::homePath() + QStringLiteral("/.local/state");
    return paths::append(base, QStringLiteral("Ostrel"));
}

QString temporaryFolder() { return QDir::tempPath(); }

} // namespace ostrel
