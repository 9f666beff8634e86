// Puts a converted file in the place of its source, so that the recording survives whatever goes wrong in between.
#pragma once

#include "platform/files.h"

#include <QString>
#include <functional>

namespace ostrel {

// As files::move: never replaces, throws FileError.
using MoveFile = std::function<void(const QString& from, const QString& to)>;

// "{folder}/.{UUID}{mark}.{extension}": for files that exist during a conversion only.
QString hiddenSibling(const QString& folder, const QString& mark, const QString& extension);

// Moves `source` to a hidden backup beside it, then `converted` to `target`, then removes the backup. At every moment
// the source's contents stand under its own name or under that of the backup, also if the process is killed. Gives the
// backup's path if it could not be removed, otherwise nothing. Throws FileError if a move failed: the source is back
// under its name then, or, if even that failed, the error says where it is.
QString swapInPlace(const QString& source, const QString& converted, const QString& target,
                    const MoveFile& move = files::move);

} // namespace ostrel
