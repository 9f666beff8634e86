#include "polytools/records/iso_group.h"

#include "platform/paths.h"
#include "stitch/stitch_file.h"

#include <QStringList>
#include <algorithm>
#include <iterator>
#include <tuple>

namespace ostrel {
namespace {

// What sorts before what; smaller first.
struct SortKey {
    int priority = 2;
    int leftRightRank = 2;

    bool operator<(const SortKey& other) const {
        return std::tie(priority, leftRightRank) < std::tie(other.priority, other.leftRightRank);
    }
};

SortKey computeISOSortKey(const ISOFile& file) {
    const QString name = paths::stem(file.fileName);
    const QString track = name.mid(name.lastIndexOf(u'_') + 1).toUpper();
    const auto contains = [&](QStringView part) { return track.contains(part); };
    if (contains(u"MIXL") || contains(u"_L") || track.endsWith(u'L') || contains(u"LEFT") || contains(u"LT")) {
        return {1, 0};
    }
    if (contains(u"MIXR") || contains(u"_R") || track.endsWith(u'R') || contains(u"RIGHT") || contains(u"RT")) {
        return {1, 1};
    }
    if (contains(u"MIX")) return {1, 2};
    if (contains(u"BOOM")) return {3, 2};
    if (track.startsWith(u'B') && track.size() < 4) return {3, 2};
    return {2, 2};
}

} // namespace

QString rawText(GroupConfidence confidence) {
    switch (confidence) {
    case GroupConfidence::high: return QStringLiteral("High");
    case GroupConfidence::medium: return QStringLiteral("Medium");
    case GroupConfidence::low: break;
    }
    return QStringLiteral("Low");
}

QString rawText(GroupingMethod method) {
    switch (method) {
    case GroupingMethod::metadataSceneTake: return QStringLiteral("Metadata Scene/Take");
    case GroupingMethod::metadataTimecode: return QStringLiteral("Metadata Timecode + Duration");
    case GroupingMethod::filenamePattern: return QStringLiteral("Filename Pattern");
    case GroupingMethod::timestampDuration: return QStringLiteral("File Timestamp + Duration");
    case GroupingMethod::manual: break;
    }
    return QStringLiteral("Manual");
}

QString ISOGroupCandidate::suggestedOutputName() const {
    if (!scene.isEmpty() && !take.isEmpty()) return QStringLiteral("%1-T%2_poly").arg(scene, take);
    if (!scene.isEmpty()) return QStringLiteral("%1_poly").arg(scene);
    if (!isoFiles.empty()) return paths::stem(isoFiles.front().fileName);
    return QStringLiteral("unknown_poly");
}

std::vector<ISOFile> ISOGroupCandidate::sortedISOs() const {
    std::vector<ISOFile> indexed;
    std::vector<ISOFile> others;
    for (const ISOFile& file : isoFiles) (file.metadataChannelIndex ? indexed : others).push_back(file);
    std::stable_sort(indexed.begin(), indexed.end(), [](const ISOFile& a, const ISOFile& b) {
        return *a.metadataChannelIndex < *b.metadataChannelIndex;
    });
    std::ranges::move(sortISOsByTrackName(others), std::back_inserter(indexed));
    return indexed;
}

QStringList ISOGroupCandidate::files() const {
    QStringList result;
    for (const ISOFile& file : isoFiles) result << file.files();
    return result;
}

QString ISOGroupCandidate::partsText() const {
    if (std::ranges::all_of(isoFiles, [](const ISOFile& file) { return file.laterParts.isEmpty(); })) return {};
    const auto parts = isoFiles.front().files().size();
    const bool isEven =
        std::ranges::all_of(isoFiles, [&](const ISOFile& file) { return file.files().size() == parts; });
    if (isEven) return ostrel::partsText(isoFiles.size(), static_cast<std::size_t>(parts));
    return QStringLiteral("%1 tracks in %2 files").arg(isoFiles.size()).arg(files().size());
}

std::vector<ISOFile> sortISOsByTrackName(const std::vector<ISOFile>& files) {
    std::vector<ISOFile> sorted = files;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const ISOFile& a, const ISOFile& b) { return computeISOSortKey(a) < computeISOSortKey(b); });
    return sorted;
}

QString GroupingResult::summary() const {
    QStringList parts{QStringLiteral("Found %1 groups").arg(groups.size())};
    if (lowConfidenceCount >= 1) parts << QStringLiteral("(%1 low-confidence)").arg(lowConfidenceCount);
    if (!ungroupedFiles.empty()) parts << QStringLiteral("%1 ungrouped").arg(ungroupedFiles.size());
    return parts.join(QStringLiteral(", "));
}

} // namespace ostrel
