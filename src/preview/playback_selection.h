// What a player was given to play, and which modes of hearing it there are. Values and pure rules.
#pragma once

#include "foundation/records/app_mode.h"
#include "foundation/records/interleave_group.h"
#include "foundation/records/multi_channel_source.h"
#include "preview/preview_mode.h"

#include <optional>
#include <vector>

namespace ostrel {

struct PlaybackSelection {
    std::optional<InterleaveGroup> group;   // a group, or
    std::optional<MultiChannelSource> file; // a multichannel file, or neither
    std::optional<ChannelLayout> layout;
    AppMode mode = AppMode::interleave;

    bool isSurround() const { return layout && layout->channelTags.size() >= 6; }
    // The tags that can be heard one at a time, in the layout's order.
    QStringList tags() const;
    // The channel of a group that plays first: its centre or its left one, else the first there is; empty: none.
    QString defaultTag() const;
};

struct ModesOfSelection {
    std::vector<PreviewMode> modes;
    QString why; // a line for the debug log
};
ModesOfSelection modesOf(const PlaybackSelection& selection);

// What is said when a mode can't be heard.
QString failureText(PreviewMode mode);

} // namespace ostrel
