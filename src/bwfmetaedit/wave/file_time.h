// When a file was created, for the values that ask for it.
#pragma once

#include "bwfmetaedit/metadata/edits.h"

#include <string>

namespace ostrel::bwfmetaedit {

// "TIMESTAMP" as OriginationDate or OriginationTime stands for the creation time of the file, in local time; where the
// file system keeps none, for the time of its last change.
Edits withTimestamps(Edits edits, const std::string& path);

} // namespace ostrel::bwfmetaedit
