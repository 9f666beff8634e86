#include "custody/seal_notices.h"

#include "custody/lists/chain.h"
#include "custody/lists/hash_list_text.h"
#include "custody/seal_history.h"
#include "platform/paths.h"

#include <QDirIterator>
#include <QFile>

namespace ostrel {
namespace {

QString generationsText(const QString& sealed) {
    QFile file(chainPath(sealed));
    if (!file.open(QIODevice::ReadOnly)) return QStringLiteral("its history can't be read");
    try {
        const auto count = chainFromBytes(file.readAll()).size();
        return count == 1 ? QStringLiteral("1 generation") : QStringLiteral("%1 generations").arg(count);
    } catch (const HashListError&) {
        return QStringLiteral("its history is damaged");
    }
}

QStringList sealedFoldersBelow(const QString& folder) {
    QStringList sealed;
    QDirIterator below(folder, QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot | QDir::NoSymLinks,
                       QDirIterator::Subdirectories);
    while (below.hasNext()) {
        const QString path = below.next();
        if (below.fileName() == QLatin1String("ascmhl") && paths::isRegularFile(chainPath(paths::parent(path)))) {
            sealed << paths::parent(path);
        }
    }
    sealed.sort();
    return sealed;
}

QString consequence(SealTouch touch) {
    switch (touch) {
    case SealTouch::adds: return QStringLiteral("what this run writes there will be new to its seal");
    case SealTouch::changes: return QStringLiteral("its seal will tell what is changed there as changed");
    case SealTouch::takesAway: break;
    }
    return QStringLiteral("its seal will miss what is moved or deleted there");
}

// The folder itself is never told of: a seal of its own begins at the folder.
QString passedOverNotice(const QString& path) {
    const QString place = paths::absolute(path);
    const std::optional<QString> sealed = sealedFolderOf(place);
    if (!sealed || !place.startsWith(*sealed + u'/')) return {};
    const IgnorePatterns ignored(readHistory(*sealed).ignorePatterns);
    const QString inside = place.sliced(sealed->size() + 1);
    const bool isFolder = !paths::isRegularFile(place);
    if (!ignored.isFileIgnored(isFolder ? inside + QStringLiteral("/x") : inside)) return {};
    return QStringLiteral("The seal of %1 passes over %2, by its ignore patterns: what is written there is not sealed")
        .arg(*sealed, place);
}

} // namespace

QStringList sealedFoldersAround(const QStringList& paths) {
    QStringList folders;
    for (const QString& each : paths) {
        const QString path = paths::absolute(each);
        if (const std::optional<QString> sealed = sealedFolderOf(path)) folders << *sealed;
        if (paths::isFolder(path)) folders << sealedFoldersBelow(path);
    }
    folders.removeDuplicates();
    return folders;
}

QStringList sealNotices(const QStringList& paths, SealTouch touch) {
    QStringList notices;
    for (const QString& folder : sealedFoldersAround(paths)) {
        notices << QStringLiteral("The folder %1 is sealed (%2): %3")
                       .arg(folder, generationsText(folder), consequence(touch));
    }
    for (const QString& path : touch == SealTouch::adds ? paths : QStringList()) notices << passedOverNotice(path);
    notices.removeAll(QString());
    return notices;
}

} // namespace ostrel
