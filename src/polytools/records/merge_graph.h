// The filter graph that makes one multichannel stream of mono inputs.
#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

// For inputs of these channel counts: "[0:a][1:a]amerge=inputs=2[aout]". An input of several channels is mixed to one
// of their mean. With `namesSpeakers` every input is made plain mono first: amerge puts inputs that name their speakers
// into the order of the speakers, and ffmpeg mixes where it knows no such layout.
QString mergeGraph(const std::vector<int>& channelCounts, bool namesSpeakers);

// Whether one of the files names a speaker other than the centre, which is plain mono.
bool anyNamesSpeakers(const QStringList& urls);

} // namespace ostrel
