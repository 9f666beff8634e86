#include "interleaver/lr_cleanup_engine.h"

#include "platform/files.h"
#include "platform/paths.h"

namespace ostrel {

void LRCleanupEngine::moveToBackupFolder(const QString& leftURL, const QString& rightURL, const QString& libraryRoot) {
    const QString backup = paths::append(libraryRoot, QStringLiteral("Originals"));
    files::createFolder(backup);
    const auto destination = [&](QString file) {
        return paths::append(backup, file.remove(libraryRoot + QLatin1Char('/')));
    };
    const QString left = destination(leftURL);
    const QString right = destination(rightURL);
    files::createFolder(paths::parent(left));
    files::createFolder(paths::parent(right));
    files::move(leftURL, left);
    files::move(rightURL, right);
}

void LRCleanupEngine::deleteFiles(const QString& leftURL, const QString& rightURL) {
    if (paths::exists(leftURL)) files::remove(leftURL);
    if (paths::exists(rightURL)) files::remove(rightURL);
}

} // namespace ostrel
