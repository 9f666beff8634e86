#include "polytools/records/iso_file_reader.h"

#include "foundation/domain_error.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "polytools/records/ffprobe_value.h"

#include <QFileInfo>
#include <cmath>

namespace ostrel {
namespace {

// Zero if the reading fails: a file without one value is still a file.
template <class Read>
auto orZero(Read read) -> decltype(read()) {
    try {
        return read();
    } catch (const DomainError&) {
        return 0;
    } catch (const ProcessLaunchError&) {
        return 0;
    }
}

} // namespace

int ISOFileReader::channelCount(const QString& url) const {
    bool isNumber = false;
    const int channels = value(url, QStringLiteral("stream=channels")).toInt(&isNumber);
    if (!isNumber) throw probeError(2, QStringLiteral("Failed to parse channel count"));
    return channels;
}

int ISOFileReader::sampleRate(const QString& url) const {
    bool isNumber = false;
    const int rate = value(url, QStringLiteral("stream=sample_rate")).toInt(&isNumber);
    if (!isNumber) throw probeError(2, QStringLiteral("Failed to parse sample rate"));
    return rate;
}

double ISOFileReader::duration(const QString& url) const {
    bool isNumber = false;
    const double seconds = value(url, QStringLiteral("stream=duration")).toDouble(&isNumber);
    if (!isNumber || !std::isfinite(seconds)) throw probeError(2, QStringLiteral("Failed to parse duration"));
    return seconds;
}

int ISOFileReader::bitDepth(const QString& url) const {
    return orZero([&] { return value(url, QStringLiteral("stream=bits_per_sample")).toInt(); });
}

ISOFile ISOFileReader::readMono(const QString& url) const {
    ISOFile file;
    file.url = url;
    file.fileName = paths::lastComponent(url);
    file.sampleRate = orZero([&] { return sampleRate(url); });
    file.bitDepth = bitDepth(url);
    file.duration = orZero([&] { return duration(url); });
    file.fileSize = static_cast<quint64>(QFileInfo(url).size());
    return file;
}

QString ISOFileReader::value(const QString& url, const QString& entry) const {
    if (ffprobePath_.isEmpty() && engine_ == EngineChoice::ffmpeg)
        throw probeError(1, QStringLiteral("ffprobe not found"));
    return ffprobeValue(ffprobePath_, url, entry, FFProbeStreams::firstAudio, engine_);
}

} // namespace ostrel
