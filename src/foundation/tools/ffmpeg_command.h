// What every ffmpeg command line and every ffmpeg failure of the system has in common.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace ostrel {

// ffmpeg's encoder for an output format (in any case): by depth for PCM containers, little-endian. AIFF takes the same
// at the other end first, which whoever calls the AIFF muxer says.
QString codecForFormat(const QString& format, std::optional<int> bitDepth);

// ffmpeg's encoder for integer samples of that depth in a WAV file.
QString wavCodec(int bitDepth);

// The line of a failed run's standard error that tells why, by the interleaver's own rules: the last that holds "Error"
// or "Invalid", else the last one. Everywhere else `ffmpegFault` (platform) finds it.
QString extractFFmpegError(const QString& standardError);

} // namespace ostrel
