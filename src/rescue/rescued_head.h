// What stands ahead of the audio of a rescued copy.
#pragma once

#include "rescue/diagnosis.h"

#include <string>

namespace ostrel {

// All bytes up to the first frame, sizes true: the leading chunks byte for byte, but for `ds64`, for a format that was
// missing and for pad bytes that were. RF64 (EBU Tech 3306) where the source is, or from 4 GiB on: then a filler that
// stands first gives its room, or a `ds64` chunk is put in. `tailBytes`: of the chunks behind the audio, with their
// pad.
std::string rescuedHead(ByteSource& source, const Diagnosis& diagnosis, std::uint64_t tailBytes);

} // namespace ostrel
