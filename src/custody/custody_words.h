// What terminal and window say of a folder's seal and verification: the same lines.
#pragma once

#include "custody/seal_folder.h"
#include "custody/verify_folder.h"

namespace ostrel {

// "1.4 GB", with a point whatever the locale.
QString bytesText(quint64 bytes);
// "1.4 GB of 20.0 GB, 0:12 left", `seconds` after the beginning.
QString progressText(const CustodyProgress& progress, double seconds);

// Remarks, each file that is not as usual, and at the end how many came to what.
QStringList linesOf(const SealResult& result);
QStringList linesOf(const VerifyResult& result);

} // namespace ostrel
