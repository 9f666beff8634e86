#include "polytools/records/channel_plan.h"

#include <QStringList>
#include <algorithm>

namespace ostrel {
namespace {

std::set<int> tracksNamed(const QString& filter, const std::vector<SourceTrack>& tracks) {
    const QStringList terms = nameFilterTerms(filter);
    std::set<int> numbers;
    for (const SourceTrack& track : tracks) {
        const QString name = track.name.toUpper();
        const bool named =
            std::any_of(terms.begin(), terms.end(), [&](const QString& term) { return name.contains(term); });
        if (named) numbers.insert(track.interleaveIndex);
    }
    return numbers;
}

} // namespace

std::optional<Removal> decideRemoval(const ChannelFilterOptions& filter, const std::vector<SourceTrack>& tracks,
                                     const RenameMap& renames, const ReorderList& reorder) {
    if (!filter.selectedChannelIndices.empty()) return Removal{RemovalKind::byNumber, filter.selectedChannelIndices};
    if (!filter.nameContainsFilter.isEmpty()) {
        return Removal{RemovalKind::byName, tracksNamed(filter.nameContainsFilter, tracks)};
    }
    if (!renames.empty()) return Removal{RemovalKind::renameOnly, {}};
    if (reorder) return Removal{RemovalKind::reorderOnly, {}};
    return std::nullopt;
}

std::vector<SourceTrack> keptTracks(const std::vector<SourceTrack>& tracks, const std::set<int>& removed,
                                    const ReorderList& reorder) {
    std::vector<SourceTrack> waiting;
    std::copy_if(tracks.begin(), tracks.end(), std::back_inserter(waiting),
                 [&](const SourceTrack& track) { return !removed.contains(track.interleaveIndex); });
    if (!reorder || reorder->empty()) return waiting;

    std::vector<SourceTrack> kept;
    for (const int number : *reorder) {
        const auto found = std::find_if(waiting.begin(), waiting.end(),
                                        [&](const SourceTrack& track) { return track.interleaveIndex == number; });
        if (found == waiting.end()) continue; // named twice, removed, or no channel of this file
        kept.push_back(*found);
        waiting.erase(found);
    }
    kept.insert(kept.end(), waiting.begin(), waiting.end());
    return kept;
}

std::vector<FinalTrack> reindexed(const std::vector<SourceTrack>& kept, const RenameMap& renames, bool reordered) {
    std::vector<FinalTrack> result;
    for (const SourceTrack& track : kept) {
        const int position = static_cast<int>(result.size()) + 1;
        const auto rename = renames.find(position);
        const bool renamed = rename != renames.end() && !rename->second.isEmpty();
        result.push_back({track.interleaveIndex, position, reordered ? position : track.channelIndex,
                          renamed ? rename->second : track.name, track.function});
    }
    return result;
}

QString panLayout(int channels, int sourceChannels, const QString& sourceLayout) {
    static const std::map<int, QString> defaults{
        {1, QStringLiteral("mono")}, {2, QStringLiteral("stereo")}, {3, QStringLiteral("2.1")},
        {4, QStringLiteral("4.0")},  {5, QStringLiteral("5.0")},    {6, QStringLiteral("5.1")},
        {7, QStringLiteral("6.1")},  {8, QStringLiteral("7.1")},    {16, QStringLiteral("hexadecagonal")},
        {24, QStringLiteral("22.2")}};
    const auto found = defaults.find(channels);
    // ffprobe says "5 channels (FL+FR+FC+LFE+BL)" where a declared layout has no name, "5 channels" where none is
    // declared.
    QString declared = sourceLayout;
    if (declared.contains(QStringLiteral(" channels"))) declared = declared.section(u'(', 1).section(u')', 0, 0);
    const bool isDefault = found != defaults.end() && declared == found->second;
    const bool isDeclared = !declared.isEmpty() && declared != QStringLiteral("unknown");
    if (channels == sourceChannels && isDeclared && !isDefault) return declared;
    return QString::number(channels) + (found == defaults.end() ? u'C' : u'c');
}

QString panFilter(const std::vector<FinalTrack>& tracks, const QString& layout) {
    QString filter = QStringLiteral("[0:a]pan=") + layout;
    for (const FinalTrack& track : tracks) {
        filter += QStringLiteral("|c%1=c%2").arg(track.interleaveIndex - 1).arg(track.originalInterleaveIndex - 1);
    }
    return filter + QStringLiteral("[out]");
}

} // namespace ostrel
