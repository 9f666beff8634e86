// The tracks that an iXML document lists, read as text: recorders write documents that no XML parser takes.
// The element names are those of the iXML specification (TRACK_LIST of BWFXML).
#pragma once

#include "foundation/tools/source_answers.h"
#include "metadata/ixml/ixml_text.h"

#include <QString>
#include <map>
#include <optional>
#include <vector>

namespace ostrel {

struct SourceTrack {
    int interleaveIndex = 0; // 1-based position in the file
    int channelIndex = 0;    // the recorder's channel number
    QString name;            // as a person reads it: entities are decoded
    QString function = {};   // FUNCTION as XML text; may be empty

    bool operator==(const SourceTrack&) const = default;
};

// Every TRACK block in document order. A block without INTERLEAVE_INDEX counts on from the blocks ahead of it, one
// without CHANNEL_INDEX takes the interleave index, one without NAME is "CH{interleaveIndex}".
std::vector<SourceTrack> parseTrackBlocks(const QString& ixml);

// The same in the order of the channels, which is that of INTERLEAVE_INDEX, whatever the order of the document.
std::vector<SourceTrack> tracksInChannelOrder(const QString& ixml);

// 1 to `channelCount`: (n, n, "CH{n}").
std::vector<SourceTrack> sequentialTracks(int channelCount);

// The document with the names of the TRACK blocks replaced; the rest stays to the letter. `names` holds the new name by
// interleave index. A block without NAME gets one.
QString replaceTrackNames(const QString& ixml, const std::map<int, QString>& names);

// Has bwfmetaedit write the file's iXML into a temporary file and gives the text; empty if the file has none. Nothing
// if the tool reports a failure. Throws ProcessLaunchError, and FileError for a document that can't be read.
std::optional<QString> exportIXML(SourceAnswers& answers, const QString& bwfmetaeditPath, const QString& fileURL);

// Has bwfmetaedit write the text into the file. False if the tool reports a failure. Throws ProcessLaunchError, and
// FileError for the temporary document.
bool importIXML(const QString& bwfmetaeditPath, const QString& ixml, const QString& fileURL);

} // namespace ostrel
