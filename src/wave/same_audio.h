// Whether two WAV files hold the same audio, byte for byte, whatever stands around it. Blocks on the disk, in fixed
// memory; for any thread.
#pragma once

#include <string>

namespace ostrel {

// False if either is no WAV file, has no data chunk or can't be read to its end.
bool sameAudio(const std::string& left, const std::string& right);

} // namespace ostrel
