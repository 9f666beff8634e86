#include "polytools/grouping/iso_grouping_strategies.h"

#include "platform/paths.h"
#include "platform/text/regular_expression.h"
#include "platform/text/text.h"

#include <QFile>
#include <QHash>
#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <sys/stat.h>

namespace ostrel {
namespace {

using Files = std::vector<FileWithMetadata>;
using Groups = std::vector<ISOGroupCandidate>;

constexpr qint64 kDurationToleranceMicroseconds = 100'000;
constexpr qint64 kDateToleranceNanoseconds = 5'000'000'000;

// ffprobe tells microseconds. Compared as such, 10.1 s and 10.0 s are 0.1 s apart, which as doubles they are not.
qint64 microseconds(double seconds) { return std::llround(seconds * 1e6); }

bool haveSimilarDurations(const ISOFile& a, const ISOFile& b) {
    return std::abs(microseconds(a.duration) - microseconds(b.duration)) < kDurationToleranceMicroseconds;
}

// Groups in the natural order of their keys: scene 2 ahead of scene 10.
struct NaturalOrder {
    bool operator()(const QString& a, const QString& b) const { return naturalLess(a, b); }
};
using Buckets = std::map<QString, Files, NaturalOrder>;

struct SceneTake {
    QString scene;
    QString take;
};

// Moves every file that `sceneTakeOf` gives a scene and a take for into the bucket of both.
template <class SceneTakeOf>
Buckets takeBuckets(Files& remaining, SceneTakeOf sceneTakeOf) {
    Buckets buckets;
    Files kept;
    for (FileWithMetadata& file : remaining) {
        const std::optional<SceneTake> key = sceneTakeOf(file);
        Files& place = key ? buckets[QStringLiteral("%1-T%2").arg(key->scene, key->take)] : kept;
        place.push_back(std::move(file));
    }
    remaining = std::move(kept);
    return buckets;
}

ISOGroupCandidate groupOf(const Files& files, GroupConfidence confidence, GroupingMethod method) {
    ISOGroupCandidate group;
    for (const FileWithMetadata& file : files) group.isoFiles.push_back(file.file);
    group.confidence = confidence;
    group.groupingMethod = method;
    group.duration = files.front().file.duration;
    return group;
}

std::optional<SceneTake> metadataSceneTake(const FileWithMetadata& file) {
    if (file.scene.isEmpty() || file.take.isEmpty()) return std::nullopt;
    return SceneTake{file.scene, file.take};
}

std::optional<SceneTake> filenameSceneTake(const FileWithMetadata& file) {
    const auto found = extractSceneTakeFromFilename(paths::stem(file.file.fileName));
    if (!found) return std::nullopt;
    return SceneTake{found->first, found->second};
}

// Splits files of one timecode at their durations, each group around its first file.
Groups splitByDuration(Files files) {
    Groups groups;
    while (!files.empty()) {
        const ISOFile reference = files.front().file;
        const auto others = std::stable_partition(files.begin(), files.end(), [&](const FileWithMetadata& file) {
            return haveSimilarDurations(file.file, reference);
        });
        const Files members(files.begin(), others);
        ISOGroupCandidate group = groupOf(members, GroupConfidence::medium, GroupingMethod::metadataTimecode);
        group.timecode = members.front().timecode;
        groups.push_back(std::move(group));
        files.erase(files.begin(), others);
    }
    return groups;
}

struct DatedFile {
    FileWithMetadata file;
    qint64 date = 0; // nanoseconds since 1970
    bool isUsed = false;
};

std::optional<qint64> modificationDate(const QString& url) {
    struct stat found;
    if (::stat(QFile::encodeName(url).constData(), &found) != 0) return std::nullopt;
    return found.st_mtim.tv_sec * 1'000'000'000LL + found.st_mtim.tv_nsec;
}

// Sorted by date; files without one stay in `remaining`.
std::vector<DatedFile> takeDated(Files& remaining) {
    std::vector<DatedFile> dated;
    Files kept;
    for (FileWithMetadata& file : remaining) {
        if (const auto date = modificationDate(file.file.url)) {
            dated.push_back({std::move(file), *date});
        } else {
            kept.push_back(std::move(file));
        }
    }
    remaining = std::move(kept);
    std::ranges::stable_sort(dated, {}, &DatedFile::date);
    return dated;
}

// The files around the one at `first`, which is the oldest that is not used yet: all others lie behind it.
Files takeAround(std::vector<DatedFile>& dated, std::size_t first) {
    Files members;
    for (std::size_t i = first; i < dated.size(); ++i) {
        if (dated[i].date - dated[first].date >= kDateToleranceNanoseconds) break;
        if (dated[i].isUsed || !haveSimilarDurations(dated[i].file.file, dated[first].file.file)) continue;
        dated[i].isUsed = true;
        members.push_back(dated[i].file);
    }
    return members;
}

} // namespace

Groups groupByMetadataSceneTake(Files& remaining) {
    Groups groups;
    for (const auto& [key, files] : takeBuckets(remaining, metadataSceneTake)) {
        ISOGroupCandidate group = groupOf(files, GroupConfidence::high, GroupingMethod::metadataSceneTake);
        group.scene = files.front().scene;
        group.take = files.front().take;
        group.timecode = files.front().timecode;
        groups.push_back(std::move(group));
    }
    return groups;
}

Groups groupByFilenamePattern(Files& remaining) {
    Groups groups;
    for (const auto& [key, files] : takeBuckets(remaining, filenameSceneTake)) {
        ISOGroupCandidate group = groupOf(files, GroupConfidence::medium, GroupingMethod::filenamePattern);
        const auto sceneTake = filenameSceneTake(files.front());
        group.scene = sceneTake->scene;
        group.take = sceneTake->take;
        groups.push_back(std::move(group));
    }
    return groups;
}

Groups groupByTimecodeAndDuration(Files& remaining) {
    std::map<QString, Files> byTimecode;
    Files kept;
    for (FileWithMetadata& file : remaining) {
        Files& place = file.timecode.isEmpty() ? kept : byTimecode[file.timecode];
        place.push_back(std::move(file));
    }
    remaining = std::move(kept);
    Groups groups;
    for (auto& [timecode, files] : byTimecode)
        std::ranges::move(splitByDuration(std::move(files)), std::back_inserter(groups));
    return groups;
}

Groups groupByTimestampAndDuration(Files& remaining) {
    std::vector<DatedFile> dated = takeDated(remaining);
    Groups groups;
    for (std::size_t i = 0; i < dated.size(); ++i) {
        if (dated[i].isUsed) continue;
        const Files members = takeAround(dated, i);
        groups.push_back(groupOf(members, members.size() > 1 ? GroupConfidence::medium : GroupConfidence::low,
                                 GroupingMethod::timestampDuration));
    }
    return groups;
}

std::optional<std::pair<QString, QString>> extractSceneTakeFromFilename(const QString& stem) {
    static const std::array patterns{RegularExpression(QStringLiteral("^(\\d+[A-Z])T(\\d+)")),
                                     RegularExpression(QStringLiteral("^(\\d+[A-Z])-T(\\d+)")),
                                     RegularExpression(QStringLiteral("^@(\\d+[A-Z])T(\\d+)")),
                                     RegularExpression(QStringLiteral("^(.+)-T(\\d+)"))};
    for (const RegularExpression& pattern : patterns) {
        if (const auto match = pattern.firstMatch(stem)) return std::pair(match->text(1), match->text(2));
    }
    return std::nullopt;
}

} // namespace ostrel
