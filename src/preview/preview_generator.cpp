#include "preview/preview_generator.h"

#include "platform/files/files.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/processes/ffmpeg_fault.h"
#include "platform/processes/tool_limits.h"
#include "platform/text/text.h"
#include "preview/preview_folders.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace ostrel {
namespace {

// Tells inputs apart by path, size and time of change.
QString identityOf(const QStringList& inputs) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const QString& input : inputs) {
        const QFileInfo info(input);
        const QString line =
            QStringLiteral("%1\n%2 %3\n").arg(input).arg(info.size()).arg(info.lastModified().toMSecsSinceEpoch());
        hash.addData(line.toUtf8());
    }
    return QString::fromLatin1(hash.result().toHex().first(16));
}

QString pathBelow(const QString& folder, const PreviewRecipe& recipe) {
    return paths::append(paths::append(folder, identityOf(recipe.inputs)), recipe.fileName);
}

void runFFmpeg(const QString& ffmpegPath, const QStringList& arguments) {
    try {
        const ProcessResult result =
            ChildProcess::runSilently(ffmpegPath, arguments, limitsByProgress({arguments.last()}));
        if (result.succeeded()) return;
        throw PreviewError(QStringLiteral("ffmpeg failed with status %1: %2")
                               .arg(QString::number(result.exitStatus), ffmpegFault(result)));
    } catch (const ProcessLaunchError& error) {
        throw PreviewError(QStringLiteral("Failed to start ffmpeg: %1").arg(error.description));
    }
}

} // namespace

QString PreviewGenerator::findFFmpeg() {
    for (const QString& candidate :
         {paths::append(resourceFolder(), QStringLiteral("bin/ffmpeg")), QStringLiteral("/opt/homebrew/bin/ffmpeg"),
          QStringLiteral("/usr/local/bin/ffmpeg"), QStringLiteral("/usr/bin/ffmpeg")}) {
        if (paths::exists(candidate)) return candidate;
    }
    return QString();
}

QString PreviewGenerator::pathOf(const PreviewRecipe& recipe) const {
    return pathBelow(ownPreviewFolder(kPreviewFolder), recipe);
}

QString PreviewGenerator::generate(const QString& ffmpegPath, const PreviewRecipe& recipe) const {
    QString target;
    try {
        target = pathBelow(makeOwnPreviewFolder(kPreviewFolder), recipe);
        files::createFolder(paths::parent(target));
    } catch (const FileError& error) {
        throw PreviewError(QStringLiteral("Failed to create temp directory: %1").arg(error.description));
    }
    if (ffmpegPath.isEmpty()) throw PreviewError(QStringLiteral("ffmpeg not found"));
    const QString partial = paths::append(paths::parent(target), freshUuid() + QStringLiteral(".wav"));
    try {
        runFFmpeg(ffmpegPath, QStringList(recipe.arguments) << partial);
    } catch (const PreviewError&) {
        files::removeQuietly(partial);
        throw;
    }
    // Replaces a twin that another call finished meanwhile: whoever plays that one keeps it.
    if (std::rename(QFile::encodeName(partial).constData(), QFile::encodeName(target).constData()) != 0) {
        const QString reason = QString::fromLocal8Bit(std::strerror(errno));
        files::removeQuietly(partial);
        throw PreviewError(QStringLiteral("The preview could not be stored: %1").arg(reason));
    }
    return target;
}

void PreviewGenerator::remove(const QStringList& previews) const {
    for (const QString& preview : previews) {
        files::removeQuietly(preview);
        const QString folder = paths::parent(preview);
        QDir().rmdir(folder);
        QDir().rmdir(paths::parent(folder));
        QDir().rmdir(paths::parent(paths::parent(folder)));
    }
}

} // namespace ostrel
