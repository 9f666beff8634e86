#include "stereovalidator/in_place_swap.h"

#include "platform/paths.h"
#include "platform/text.h"

namespace ostrel {
namespace {

// What is left to tell if the source can't be put back: where it is now.
QString restore(const QString& backup, const QString& source, const MoveFile& move) {
    try {
        move(backup, source);
        return QString();
    } catch (const FileError& error) {
        return QStringLiteral(". The original could not be put back either (%1); it is safe at %2")
            .arg(error.description, backup);
    }
}

} // namespace

QString hiddenSibling(const QString& folder, const QString& mark, const QString& extension) {
    return paths::append(folder, QLatin1Char('.') + freshUuid() + mark + QLatin1Char('.') + extension);
}

QString swapInPlace(const QString& source, const QString& converted, const QString& target, const MoveFile& move) {
    const QString backup = hiddenSibling(paths::parent(source), QStringLiteral("_backup"), paths::extension(source));
    move(source, backup);
    try {
        move(converted, target);
    } catch (const FileError& error) {
        const QString remark = restore(backup, source, move);
        files::removeQuietly(converted);
        throw FileError(error.description + remark);
    }
    files::removeQuietly(backup);
    return paths::exists(backup) ? backup : QString();
}

} // namespace ostrel
