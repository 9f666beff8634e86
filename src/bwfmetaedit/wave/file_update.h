// One file from its present metadata to the new one.
#pragma once

#include "bwfmetaedit/metadata/edits.h"
#include "bwfmetaedit/wave/layout.h"
#include "bwfmetaedit/wave/wave_file.h"

#include <string>

namespace ostrel::bwfmetaedit {

// Why the file can't be written, as shown behind the path, or empty. Looks, and touches nothing.
std::string obstacle(const std::string& path, const WaveFile& wave, const ChunkEdits& edits);

// Writes the file if its bytes change. Throws WriteError, also where there is an obstacle.
void updateFile(const std::string& path, const WaveFile& wave, const EditResult& edited);

} // namespace ostrel::bwfmetaedit
