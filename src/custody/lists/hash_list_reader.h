// Reads hash lists: those of a history (version 2.0), and old ones (1.x).
//
// Whatever the bytes are, memory stays within a few times their size. For any thread. A list that can't be read as a
// whole is not read at all: HashListError, whose sentence tells the line.
#pragma once

#include "custody/lists/hash_list.h"

#include <QByteArray>

namespace ostrel {

// No list that anybody made is longer (half a million files a hundred MiB); bytes.
inline constexpr qint64 kLongestHashList = qint64{1} << 30;

HashList hashListFromBytes(const QByteArray& bytes);

// The file's bytes, for its own C4 and for the list. Throws FileError; a link is not followed.
QByteArray bytesOfHashList(const QString& path);

} // namespace ostrel
