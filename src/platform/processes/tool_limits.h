// How long the tools may take before they count as stuck.
#pragma once

#include "platform/processes/child_process.h"

namespace ostrel {

// ffprobe and bwfmetaedit, which read or move what is in these files at most once or twice: a minute, and a second for
// every 4 MB of them. They may stand still: a tool that waits for a slow disk to take gigabytes does.
ChildLimits limitsByFileSize(const QStringList& files);

// ffmpeg: as long as it likes, while it works or these outputs grow.
ChildLimits limitsByProgress(const QStringList& outputs);

} // namespace ostrel
