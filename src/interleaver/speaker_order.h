// Whether ffmpeg may put the channels of a job elsewhere than the job says: it goes by the speakers that a file names.
//
// Where it may not, an output channel that has not got the sound of its source is a fault. Both block on the disk.
#pragma once

#include "foundation/records/multi_channel_source.h"

#include <QStringList>

namespace ostrel {

// A merge keeps the order of its inputs unless one of them says that it is another speaker than the centre.
bool mayReorder(const QStringList& monoFiles);

// The tags of a multichannel file's channels in their order in the file. Directly taken, by the speakers that it names
// where they are those of the layout, otherwise in the layout's order; by way of ffmpeg, as its own layout has them.
QStringList channelOrder(const MultiChannelSource& source, bool isDirect);

// A split goes through ffmpeg's own layout: what names other speakers, and 7.1 film always, is remixed into that first.
bool mayRemix(const MultiChannelSource& source);

} // namespace ostrel
