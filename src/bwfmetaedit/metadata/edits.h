// New values for one file, and what its metadata becomes by them. Pure: nothing is read or written here.
#pragma once

#include "bwfmetaedit/metadata/metadata.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::bwfmetaedit {

struct Edits {
    // By field name in lower case, which is also the order in which they are applied. UTF-8; empty clears the field.
    std::map<std::string, std::string> values;
    std::optional<std::string> ixml; // empty removes the chunk
    bool rejectsOverwriting = false; // a field that holds something else is an error

    bool isEmpty() const { return values.empty() && !ixml; }
};

struct EditResult {
    Metadata metadata;
    bool bextChanged = false;
    bool infoChanged = false;
    bool infoMoved = false; // emptied and refilled: a new list, at the place of a new one
    bool ixmlChanged = false;
    std::vector<std::string> problems; // as shown behind the path; if there is one, nothing may be written

    bool anyChange() const { return bextChanged || infoChanged || ixmlChanged; }
};

EditResult applyEdits(const Metadata& metadata, const Edits& edits);

} // namespace ostrel::bwfmetaedit
