// Chunks of a source into its outputs, for jobs whose audio stands whatever becomes of the chunks.
#pragma once

#include "metadata/chunks/riff_chunks.h"
#include "metadata/ixml/ixml_place.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

// The preservable chunks; none, and a diagnostic line, where they can't be read.
std::vector<RIFFChunk> extractChunksOrExplain(const QString& source);

// The chunks of a set's first file as they go onto the multichannel file that is made of the set: an iXML document
// lists the tracks of all files, in their order, as each file's own document tells of its one track, named by the tags
// where it tells no name.
std::vector<RIFFChunk> chunksOfSet(std::vector<RIFFChunk> chunks, const QStringList& files, const QStringList& tags,
                                   const IxmlPlace& place);

// The chunks of a multichannel file of these tags as they go onto the mono file of one of its channels (0-based).
std::vector<RIFFChunk> chunksOfChannel(std::vector<RIFFChunk> chunks, const QStringList& tags, int channel,
                                       const IxmlPlace& place);

// Empty on success, otherwise why it failed.
QString injectChunks(const QString& output, const std::vector<RIFFChunk>& chunks);

} // namespace ostrel
