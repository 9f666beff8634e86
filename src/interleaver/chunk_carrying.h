// Chunks of a source into its outputs, for jobs whose audio stands whatever becomes of the chunks.
#pragma once

#include "metadata/chunks/riff_chunks.h"
#include "roads/planned_output.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

// The tracks of the multichannel file that is made of a set, in the order of the files: as each file's own document
// tells of its one track, named by the tags where it tells no name.
std::vector<TrackIndices> tracksOfSet(const QStringList& files, const QStringList& tags);

// The track of one channel (0-based) of a multichannel file of these tags, as its document tells it.
TrackIndices trackOfChannel(const QString& file, const QStringList& tags, int channel);

// The preservable chunks; none, and a diagnostic line, where they can't be read.
std::vector<RIFFChunk> extractChunksOrExplain(const QString& source);

// A source's chunks as they go onto a new file: an iXML document lists the tracks of that file.
std::vector<RIFFChunk> fittedChunks(std::vector<RIFFChunk> chunks, const HeadRecipe& head);

// Empty on success, otherwise why it failed.
QString injectChunks(const QString& output, const std::vector<RIFFChunk>& chunks);

} // namespace ostrel
