// Edits of an iXML document that leave every other character as it stands. Pure functions over the document's text.
#pragma once

#include "metadata/take_manifest.h"
#include "metadata/universal_metadata_engine.h"

#include <QDateTime>
#include <QString>
#include <optional>
#include <vector>

namespace ostrel {

// The text of the first "<{tag}>…</{tag}>" that stands on one line; "" if there is none.
QString extractValue(const QString& xml, QStringView tag);

// TRACK_LIST elements. Names go in as they stand.
QString singleTrackList(const TrackIndices& track);
// In the order given, INTERLEAVE_INDEX numbered from 1.
QString multiTrackList(const std::vector<TrackIndices>& tracks);

// The document with its track list replaced, the file UID renewed and the old one as parent. One without a TRACK_LIST
// gets it ahead of its end, if it has the end of a BWFXML document; one with neither FILE_UID nor IXML_VERSION gets no
// UID, having nothing to hold it.
QString performUniversalXMLSurgery(const QString& sourceXML, const QString& newTrackList, const QString& newFileUID);

// "USSDVKA" and the microseconds since 1970 in sixteen hexadecimal digits.
QString fileUID(quint64 microseconds);
QString generateFileUID();

// The first INTERLEAVE_INDEX, CHANNEL_INDEX and NAME of the whole document, and the first track's FUNCTION; nothing
// without both numbers.
std::optional<TrackIndices> parseTrackIndicesFromiXML(const QString& xml);

// From SCENE, TAKE, PROJECT and TAPE; nothing unless the document has the first two, blank or not.
std::optional<SceneTakeInfo> parseSceneTakeInfo(const QString& xml);

// From TIMECODE_RATE, TIMECODE_FLAG and the low word of the timestamp; nothing unless it has rate and timestamp.
std::optional<TimecodeInfo> parseTimecodeInfo(const QString& xml);

} // namespace ostrel
