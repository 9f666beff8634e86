// Carries a write plan out.
//
// Replaced: the new file is complete and on the disk before it takes the old one's name, so that a loss of power or a
// full disk leaves one or the other. In place: room is made sure of first, what follows the audio is written before
// what precedes it, and signals wait until it is done.
#pragma once

#include "bwfmetaedit/wave/layout.h"
#include "bwfmetaedit/wave/wave_file.h"

#include <string>

namespace ostrel::bwfmetaedit {

// As shown behind the path.
struct WriteError {
    std::string text;
};
[[noreturn]] inline void throwCannotWrite() { throw WriteError{"error during writing"}; }

// The path may be a symbolic link: it stays, and the file it points to is written. Mode, owner, extended attributes and
// the access time are kept. Throws WriteError, also if the file has changed since it was read.
void writeWaveFile(const std::string& path, const WaveFile& wave, const WritePlan& plan);

} // namespace ostrel::bwfmetaedit
