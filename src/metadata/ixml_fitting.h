// An iXML document (BWFXML) that fits the file it stands in: a track list of the file's own tracks, a file UID of its
// own, the source's as parent, and its place among the files that were made with it. Pure functions over the bytes of a
// chunk.
#pragma once

#include "metadata/ixml/ixml_place.h"
#include "metadata/universal_metadata_engine.h"

#include <QByteArray>
#include <QString>
#include <optional>
#include <vector>

namespace ostrel {

// The text of a chunk: UTF-8, or Latin-1 or UTF-16 where the document declares it, and then with UTF-8 declared.
// Nothing where it is none of those.
std::optional<QString> decodedIxml(const QByteArray& chunk);

// The tracks 1 to `count` as a document lists them by their INTERLEAVE_INDEX, and by their place where no track has an
// index. Without a name, or with CHANNEL_INDEX 0, where the document tells none.
std::vector<TrackIndices> tracksOf(const QString& document, int count);

// The only track that a document lists; nothing where it lists none, or several.
std::optional<TrackIndices> onlyTrack(const QString& document);

// The document for a file of these tracks (in channel order; one with CHANNEL_INDEX 0 gets its place) that stands in
// that place. The bytes as they are where the document can't be decoded or is no BWFXML.
QByteArray fittedIxml(const QByteArray& chunk, std::vector<TrackIndices> tracks, const IxmlPlace& place);

} // namespace ostrel
