// Chunks behind the audio of a recording whose sizes tell nothing: searched for backwards from the end of the file.
#pragma once

#include "wave/byte_source.h"

#include <cstdint>
#include <string_view>

namespace ostrel {

// Whether recorders and editors are known to write chunks of that id. Nothing else is taken for a chunk where the sizes
// around it can't be believed: four letters may well be samples.
bool isKnownChunk(std::string_view id);

// Where the longest chain of known chunks begins that ends exactly with the source, give or take its last pad byte, at
// an even distance from `audio`; the source's size where there is none. Looks at the last 64 MiB and never forward
// through audio: about one false chain in 10^8 files of noise.
std::uint64_t tailBegin(ByteSource& source, std::uint64_t audio);

} // namespace ostrel
