// ISOs that belong to one take, as grouping found them, with how they were found and how far that can be trusted.
#pragma once

#include "polytools/records/iso_file.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <array>
#include <optional>
#include <vector>

namespace ostrel {

enum class GroupConfidence { high, medium, low };
inline constexpr std::array kAllGroupConfidences{GroupConfidence::high, GroupConfidence::medium, GroupConfidence::low};
QString rawText(GroupConfidence confidence); // "High", "Medium", "Low"

// `manual` is the review screen's; grouping never gives it.
enum class GroupingMethod { metadataSceneTake, metadataTimecode, filenamePattern, timestampDuration, manual };
inline constexpr std::array kAllGroupingMethods{GroupingMethod::metadataSceneTake, GroupingMethod::metadataTimecode,
                                                GroupingMethod::filenamePattern, GroupingMethod::timestampDuration,
                                                GroupingMethod::manual};
QString rawText(GroupingMethod method); // "Metadata Scene/Take", ...

struct ISOGroupCandidate {
    QUuid id = QUuid::createUuid();
    std::vector<ISOFile> isoFiles;
    GroupConfidence confidence = GroupConfidence::low;
    GroupingMethod groupingMethod = GroupingMethod::manual;
    QString scene; // these three are optional
    QString take;
    QString timecode;               // a comparison key at 30 frames a second, whatever the recording's rate
    std::optional<double> duration; // seconds, of the group's first file

    bool operator==(const ISOGroupCandidate&) const = default;

    // "{scene}-T{take}_poly", "{scene}_poly", the first file's stem, or "unknown_poly".
    QString suggestedOutputName() const;

    // In channel order: those with a channel index by it, then the others by what their names tell.
    std::vector<ISOFile> sortedISOs() const;

    // All parts of all ISOs.
    QStringList files() const;
    // "2 tracks, 2 parts each"; empty where each ISO is one file.
    QString partsText() const;
};

inline size_t qHash(const ISOGroupCandidate& group, size_t seed = 0) { return qHash(group.id, seed); }

// A mix pair first, left before right, booms last, everything else between them in list order. The tests on the part
// behind a name's last "_" are loose, and meant to be: "SALT" counts as a left side.
std::vector<ISOFile> sortISOsByTrackName(const std::vector<ISOFile>& files);

struct GroupingResult {
    std::vector<ISOGroupCandidate> groups;
    std::vector<ISOFile> ungroupedFiles;
    int totalFiles = 0;
    int highConfidenceCount = 0;
    int mediumConfidenceCount = 0;
    int lowConfidenceCount = 0;
    QStringList remarks; // sentences: what could not be read, and which files came under a second name

    bool operator==(const GroupingResult&) const = default;

    // "Found 3 groups, (1 low-confidence), 2 ungrouped"
    QString summary() const;
};

} // namespace ostrel
