// One value of an audio file, as ffprobe prints it.
#pragma once

#include <QString>

namespace ostrel {

enum class FFProbeStreams { firstAudio, all };

// `entry` is "stream=channels", "format=duration" and the like. Trimmed; empty if ffprobe failed or printed no text.
// Throws ProcessLaunchError.
QString ffprobeValue(const QString& ffprobePath, const QString& url, const QString& entry, FFProbeStreams streams);

} // namespace ostrel
