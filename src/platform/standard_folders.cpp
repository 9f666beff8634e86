#include "platform/standard_folders.h"

#include "platform/paths.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

namespace ostrel {

QString resourceFolder() {
    const QString chosen = qEnvironmentVariable("OSTREL_RESOURCE_FOLDER");
    if (!chosen.isEmpty()) return chosen;
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../share/ostrel"));
}

QString cacheFolder() {
    return paths::append(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation),
                         QStringLiteral("Ostrel"));
}

QString temporaryFolder() { return QDir::tempPath(); }

} // namespace ostrel
