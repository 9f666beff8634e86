// A CORE document that is given to be applied, of either kind: what it holds decides, not its name.
#pragma once

#include "bwfmetaedit/documents/core_csv.h"

#include <string>
#include <vector>

namespace ostrel::bwfmetaedit {

// As shown behind "--in-core=: ".
struct DocumentError {
    std::string text;
};

// Throws DocumentError.
std::vector<CoreRow> readCoreDocument(const std::string& path);

} // namespace ostrel::bwfmetaedit
