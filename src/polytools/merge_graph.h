// The filter graph that makes one multichannel stream of mono inputs.
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel {

// "[0:a][1:a]amerge=inputs=2[aout]". With `namesSpeakers` every input is made plain mono first: amerge puts inputs that
// name their speakers into the order of the speakers, and ffmpeg mixes where it knows no such layout.
QString mergeGraph(int inputs, bool namesSpeakers);

// Whether one of the files names a speaker other than the centre, which is plain mono.
bool anyNamesSpeakers(const QStringList& urls);

} // namespace ostrel
