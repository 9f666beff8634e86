// The facts of a WAV file from its own headers, as ffprobe would tell them: no process, and nothing but headers read.
// Blocks on the disk; for any thread.
#pragma once

#include "foundation/tools/ffprobe_parser.h"

#include <optional>

namespace ostrel {

// Nothing for what is no WAV file of integers or floats, and wherever a header leaves room for another reading (sizes
// that contradict each other or the file, samples in more bytes than they need): then ffprobe is to be asked.
std::optional<FileAnalysis> factsOfWave(const QString& file);

// ffprobe's name of a channel mask: "5.1", "2 channels (FL+LFE)"; empty for 0, or a mask that names another number.
QString speakerLayoutName(quint32 mask, int channels);

} // namespace ostrel
