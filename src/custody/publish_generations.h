// Brings the generations of a run to the disk: all of one history or nothing of it, whatever happens meanwhile.
//
// Every list and chain is written under a private name and flushed ahead of the first that gets its own; a chain takes
// the place of the old one in one step, and until then nobody reads the new list. Blocks on the disk.
#pragma once

#include "custody/generation_lists.h"

namespace ostrel {

// Throws FileError: also where another run has sealed one of the folders meanwhile.
void publishGenerations(const std::vector<NewGeneration>& generations);

} // namespace ostrel
