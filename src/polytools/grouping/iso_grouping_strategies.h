// The four ways to sort ISOs into takes, best evidence first. Each takes the files that no way before it placed, in an
// order that the caller has fixed, and moves those that it places out of the list into groups.
#pragma once

#include "polytools/grouping/iso_evidence.h"
#include "polytools/records/iso_group.h"

#include <QString>
#include <optional>
#include <utility>
#include <vector>

namespace ostrel {

// Equal scene and take from the file's own metadata; a group of one counts, lengths are not compared.
std::vector<ISOGroupCandidate> groupByMetadataSceneTake(std::vector<FileWithMetadata>& remaining);

// Equal scene and take from the file's name.
std::vector<ISOGroupCandidate> groupByFilenamePattern(std::vector<FileWithMetadata>& remaining);

// Equal timecode, and a duration less than 0.1 s from the group's first file. Files without a timecode stay.
std::vector<ISOGroupCandidate> groupByTimecodeAndDuration(std::vector<FileWithMetadata>& remaining);

// Modified less than 5 s after the group's first file, and a duration less than 0.1 s from it. Files whose date can't
// be read stay.
std::vector<ISOGroupCandidate> groupByTimestampAndDuration(std::vector<FileWithMetadata>& remaining);

// Scene and take of a stem: "12AT3", "12A-T3", "@12AT3", "Kitchen-T07_Boom".
std::optional<std::pair<QString, QString>> extractSceneTakeFromFilename(const QString& stem);

} // namespace ostrel
