// The file names that a split gives its ISOs.
#pragma once

#include "polytools/records/poly_file.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

// "{base}_ch3.wav", "{base}_C.wav", "{base}_Boom.wav", "{base}_3.wav". `channelIndex` is 0-based; the alphabet ends at
// 26, numbers go on. Under `trackName` an unusable name falls back to the channel number. All fit a file system, see
// `fittedFileName`.
QString isoOutputName(const QString& baseName, int channelIndex, SplitNamingPattern pattern, const QString& trackName);

// "{base}_{track}.wav", the track name as it stands. Where both together are too long, the track name gives way first,
// down to a rest that still tells what it is.
QString trackFileName(const QString& baseName, const QString& track);

// One channel of the split, as far as its name goes.
struct IsoNameRequest {
    int channelIndex = 0; // 0-based, the one that the name tells
    QString trackName;    // empty: none
};

// The names of all channels of one split, in order, no two of them alike even on a file system that ignores case or the
// way a letter is composed: a clash (two tracks called "Boom", or one name kept for all) is settled by "_{position}"
// behind the later names. With `keepOriginalName` every ISO is called after the poly alone. `taken` are names that no
// ISO may get.
QStringList isoOutputNames(const QString& baseName, const std::vector<IsoNameRequest>& channels,
                           SplitNamingPattern pattern, bool keepOriginalName, const QStringList& taken);

// The same for the ISOs of a poly in a folder. Beside the poly, none takes the poly's own name.
QStringList isoNamesOf(const QString& polyUrl, const QString& folder, const std::vector<IsoNameRequest>& channels,
                       SplitNamingPattern pattern, bool keepOriginalName);

} // namespace ostrel
