// The SHA-256 of a whole file.
#pragma once

#include <QString>

namespace ostrel {

// 64 hexadecimal digits in lower case. Reads in blocks, so the size of the file costs no memory. Throws FileError.
QString sha256OfFile(const QString& path);

} // namespace ostrel
