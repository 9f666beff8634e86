// Chunks of a source into its outputs, for jobs whose audio stands whatever becomes of the chunks.
#pragma once

#include "metadata/riff_chunks.h"

#include <QString>
#include <vector>

namespace ostrel {

// The preservable chunks; none, and a diagnostic line, where they can't be read.
std::vector<RIFFChunk> extractChunksOrExplain(const QString& source);

// Empty on success, otherwise why it failed.
QString injectChunks(const QString& output, const std::vector<RIFFChunk>& chunks);

} // namespace ostrel
