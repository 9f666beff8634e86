// The CORE fields of one file given to another, as `--copy` does.
#pragma once

#include "bwfmetaedit/metadata/edits.h"
#include "bwfmetaedit/metadata/metadata.h"

namespace ostrel::bwfmetaedit {

// `target` with every field that `source` holds: all of bext and the INFO fields of CORE. Fields that the source lacks
// stay. With `onlyMissing` a field that the target holds stays too. Texts keep their bytes, line breaks included, and
// values that could not be typed in (an invalid date, say) are copied as they are.
EditResult copyCore(const Metadata& source, const Metadata& target, bool onlyMissing);

} // namespace ostrel::bwfmetaedit
