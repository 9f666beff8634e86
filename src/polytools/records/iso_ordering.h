// The order of ISOs in a poly, from what their metadata, a manifest or their names tell; and the poly's name from
// theirs.
#pragma once

#include "metadata/metadata_manifest.h"
#include "polytools/records/iso_file.h"
#include "polytools/records/poly_tools_records.h"

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace ostrel {

// Mix left 1, mix right 2, other mixes 3, lavaliers 4, booms 5, all else 6. The tests are loose, and meant to be: "MIX
// LR" holds an L and gets 1.
int trackNamePriority(const QString& name);

// Stable, by priority and then by name. `trackNames` holds one name a file.
std::vector<ISOFile> autoOrdered(const std::vector<ISOFile>& files, const QStringList& trackNames);

// What stands behind the last "_" of the file's name, or the whole name.
QString trackNameOfFile(const ISOFile& file);

// By CHANNEL_INDEX, stable; a file without one keeps its place among its neighbours.
std::vector<ISOFile> orderedByChannelIndex(std::vector<ISOFile> files);

// Files whose name ends in a track's name, by that track's place in the interleave; all others behind them.
std::vector<ISOFile> orderedByManifest(const std::vector<ISOFile>& files, const IXMLMetadata& ixml);

// "{candidate}.metadata.json" in the file's folder and the one above, the candidates being the file's name less one or
// more of its parts between "_".
QStringList manifestCandidates(const QString& isoURL);

// "T1_a.wav", "T1_b.wav" -> "T1_poly". Without files "output_poly", without anything in common "joined_poly".
QString derivePolyName(const QStringList& urls, bool keepOriginalName);

// What stands against joining a file with the reference, for the file's own row.
QStringList isoMarks(const ISOFile& file, const ISOFile& reference);

// What stands against a join, one sentence each; the engine has the last word.
QStringList isoMismatches(const std::vector<ISOFile>& files);

} // namespace ostrel
