// One value of an audio file, as ffprobe prints it.
#pragma once

#include "foundation/domain_error.h"
#include "foundation/records/engine_choice.h"

#include <QString>

namespace ostrel {

enum class FFProbeStreams { firstAudio, all };

// `entry` is "stream=channels", "format=duration" and the like. Trimmed; empty if ffprobe failed or printed no text.
// By the direct engine from the file's own header, where that tells it. Throws ProcessLaunchError.
QString ffprobeValue(const QString& ffprobePath, const QString& url, const QString& entry, FFProbeStreams streams,
                     EngineChoice engine = EngineChoice::ffmpeg);

// What a reader throws that can't get such a value.
inline DomainError probeError(int code, const QString& description) {
    return DomainError(QStringLiteral("FFProbe"), code, description);
}

} // namespace ostrel
