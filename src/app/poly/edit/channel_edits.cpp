#include "app/poly/edit/channel_edits.h"

#include "polytools/split/poly_split_engine.h"

#include <algorithm>

namespace ostrel {

std::optional<ChannelFilterOptions> ChannelEdits::filter() const {
    if (!removes.value() || inPlace.value()) return std::nullopt;
    ChannelFilterOptions options;
    if (filterMode.value() == FilterMode::byNumber) {
        options.selectedChannelIndices = parseChannelNumbers(numbersText.value());
        if (options.selectedChannelIndices.empty()) return std::nullopt;
    } else {
        if (nameFilterTerms(namesText.value()).isEmpty()) return std::nullopt;
        options.nameContainsFilter = namesText.value();
    }
    return options;
}

ReorderList ChannelEdits::reorder() const {
    if (!reorders.value() || inPlace.value() || order.value().empty()) return std::nullopt;
    return order.value();
}

std::set<int> ChannelEdits::removedChannels() const {
    return decideRemoval(filter().value_or(ChannelFilterOptions()), tracks.value(), {}, std::nullopt)
        .value_or(Removal())
        .numbers;
}

std::vector<FinalTrack> ChannelEdits::finalTracks() const {
    const ReorderList list = reorder();
    return reindexed(keptTracks(tracks.value(), removedChannels(), list), {}, list.has_value());
}

QString ChannelEdits::trackName(int channel) const {
    const auto found = std::ranges::find(tracks.value(), channel, &SourceTrack::interleaveIndex);
    return found == tracks.value().end() ? noTrackName() : found->name;
}

RenameMap ChannelEdits::renameMap() const {
    RenameMap map;
    if (!renames.value()) return map;
    const auto add = [&](int position, const QString& name) {
        if (!name.trimmed().isEmpty()) map[position] = name.trimmed();
    };
    if (tracks.value().empty()) {
        for (const auto& [channel, name] : newNames.value()) add(channel, name);
        return map;
    }
    for (const FinalTrack& track : finalTracks()) {
        const auto found = newNames.value().find(track.originalInterleaveIndex);
        if (found != newNames.value().end()) add(track.interleaveIndex, found->second);
    }
    return map;
}

void ChannelEdits::takeFilter(const std::optional<ChannelFilterOptions>& taken) {
    if (taken == filter()) return;
    if (!taken) return clearRemoval();
    removes = true;
    const std::set<int>& numbers = taken->selectedChannelIndices;
    filterMode = numbers.empty() ? FilterMode::byName : FilterMode::byNumber;
    if (numbers.empty()) {
        namesText = taken->nameContainsFilter;
    } else if (parseChannelNumbers(numbersText.value()) != numbers) {
        numbersText = joinedNumbers(numbers);
    }
}

void ChannelEdits::takeReorder(const ReorderList& taken) {
    if (taken == reorder()) return;
    reorders = taken.has_value();
    order = taken.value_or(std::vector<int>());
}

void ChannelEdits::takeRenames(const RenameMap& taken) {
    if (taken == renameMap()) return;
    renames = !taken.empty();
    if (taken.empty() || tracks.value().empty()) {
        newNames = taken;
        return;
    }
    NewNames names = newNames.value();
    for (const FinalTrack& track : finalTracks()) {
        const auto found = taken.find(track.interleaveIndex);
        if (found == taken.end()) {
            names.erase(track.originalInterleaveIndex);
        } else {
            names[track.originalInterleaveIndex] = found->second;
        }
    }
    newNames = names;
}

void ChannelEdits::clear() {
    clearRemoval();
    reorders = false;
    order = std::vector<int>();
    clearRenames();
}

void ChannelEdits::clearRemoval() {
    removes = false;
    numbersText = QString();
    namesText = QString();
}

void ChannelEdits::clearRenames() {
    renames = false;
    newNames = NewNames();
}

void ChannelEdits::copyFrom(const ChannelEdits& other) {
    filterMode = other.filterMode.value();
    numbersText = other.numbersText.value();
    namesText = other.namesText.value();
    removes = other.removes.value();
    order = other.order.value();
    reorders = other.reorders.value();
    newNames = other.newNames.value();
    renames = other.renames.value();
}

bool hasTerm(const QString& filter, const QString& term) { return nameFilterTerms(filter).contains(term.toUpper()); }

QString withTermToggled(const QString& filter, const QString& term) {
    QStringList terms;
    for (const QString& piece : filter.split(u',')) {
        const QString text = piece.trimmed();
        if (!text.isEmpty() && text.compare(term, Qt::CaseInsensitive) != 0) terms << text;
    }
    if (!hasTerm(filter, term)) terms << term;
    return terms.join(QStringLiteral(", "));
}

std::vector<SourceTrack> tracksOf(const BatchPolyMetadata& poly) {
    if (poly.trackInfo.empty()) return sequentialTracks(poly.channelCount);
    std::vector<SourceTrack> tracks;
    for (const TrackInfo& track : poly.trackInfo) {
        tracks.push_back({track.interleaveIndex, track.channelIndex, track.name});
    }
    return tracks;
}

std::vector<SourceTrack> tracksOfAll(const BatchPolyMetadata& first, const BatchPolyMetadata& widest) {
    std::vector<SourceTrack> tracks = tracksOf(first);
    const int last = tracks.empty() ? 0 : tracks.back().interleaveIndex;
    std::ranges::copy_if(tracksOf(widest), std::back_inserter(tracks),
                         [last](const SourceTrack& track) { return track.interleaveIndex > last; });
    return tracks;
}

} // namespace ostrel
