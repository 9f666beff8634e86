#include "preview/preview_folders.h"

#include "platform/files/files.h"
#include "platform/files/own_folder.h"
#include "platform/files/process_folder.h"
#include "platform/paths.h"

#include <QDir>

namespace ostrel {

QString ownPreviewFolder(const QString& name) { return paths::append(ownTemporaryFolder(name), processFolderName()); }

QString makeOwnPreviewFolder(const QString& name) {
    const QString folder = paths::append(makeOwnTemporaryFolder(name), processFolderName());
    files::createFolder(folder);
    return folder;
}

void removePreviewFolder(const QString& folder) {
    files::removeFolderQuietly(folder);
    QDir().rmdir(paths::parent(folder)); // these two stay if another preview or run uses them
    QDir().rmdir(paths::parent(paths::parent(folder)));
}

void sweepDeadPreviews() {
    for (const QString& name : {kPreviewFolder, kJoinPreviewFolder, kBatchPreviewFolder}) {
        const QString folder = ownTemporaryFolder(name);
        sweepProcessFolders(folder);
        QDir().rmdir(folder);
    }
}

} // namespace ostrel
