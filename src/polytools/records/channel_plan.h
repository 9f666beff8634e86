// Which channels of a poly an edit keeps, in which order, under which names: pure planning, without files.
#pragma once

#include "polytools/records/channel_filter_options.h"
#include "polytools/records/ixml_track_list.h"

#include <QString>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace ostrel {

// One channel of the new poly.
struct FinalTrack {
    int originalInterleaveIndex = 0; // the source channel, 1-based
    int interleaveIndex = 0;         // its new 1-based position
    int channelIndex = 0;
    QString name;
    QString function = {}; // FUNCTION of the iXML, as XML text

    bool operator==(const FinalTrack&) const = default;
};

// What decided the set of channels to remove.
enum class RemovalKind { byNumber, byName, renameOnly, reorderOnly };

struct Removal {
    RemovalKind kind = RemovalKind::renameOnly;
    std::set<int> numbers; // 1-based
};

using RenameMap = std::map<int, QString>;            // by the new 1-based position, not by the source channel
using ReorderList = std::optional<std::vector<int>>; // source channels, 1-based

// Nothing if there is no criterion at all. A name filter is read only where no numbers are given; names match in any
// case.
std::optional<Removal> decideRemoval(const ChannelFilterOptions& filter, const std::vector<SourceTrack>& tracks,
                                     const RenameMap& renames, const ReorderList& reorder);

// The tracks that stay, by the list of a reorder first (numbers that name none are passed over), then all others.
std::vector<SourceTrack> keptTracks(const std::vector<SourceTrack>& tracks, const std::set<int>& removed,
                                    const ReorderList& reorder);

// Numbered anew from 1. After a reorder the channel index is the new position, otherwise the track's own.
std::vector<FinalTrack> reindexed(const std::vector<SourceTrack>& kept, const RenameMap& renames, bool reordered);

// The output layout in the filter: "3c", the number of channels, wherever ffmpeg then passes the samples on as they
// are. It mixes a file of as many channels whose declared layout is not its default one, so that layout is named
// instead; and it has no default for 9 to 15 channels and many more, which "9C" says.
QString panLayout(int channels, int sourceChannels, const QString& sourceLayout);

// "[0:a]pan=3c|c0=c0|c1=c2|c2=c3[out]"
QString panFilter(const std::vector<FinalTrack>& tracks, const QString& layout);

} // namespace ostrel
