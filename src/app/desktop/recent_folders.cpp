#include "app/desktop/recent_folders.h"

#include "platform/paths.h"

#include <QDir>
#include <QSettings>

namespace ostrel {
namespace {

constexpr int kKept = 8;
const QString kRecentFolders = QStringLiteral("recentFolders");

} // namespace

QStringList recentFolders() {
    QStringList folders = QSettings().value(kRecentFolders).toStringList();
    folders.removeIf([](const QString& folder) { return !paths::isFolder(folder); });
    return folders;
}

QString lastFolder() {
    const QStringList folders = recentFolders();
    return folders.isEmpty() ? QDir::homePath() : folders.first();
}

void rememberFolder(const QString& folder) {
    QStringList folders = recentFolders();
    folders.removeAll(folder);
    folders.prepend(folder);
    QSettings().setValue(kRecentFolders, folders.first(std::min<qsizetype>(kKept, folders.size())));
}

} // namespace ostrel
