#include "polytools/split/poly_file_reader.h"

#include "foundation/domain_error.h"
#include "foundation/run/recording_list.h"
#include "platform/paths.h"
#include "polytools/records/ffprobe_value.h"
#include "polytools/services/engine_services.h"

#include <QFileInfo>
#include <algorithm>

namespace ostrel {
namespace {

// A file whose depth can't be read is written as 16 bit: the depth goes into the name of an ffmpeg codec.
constexpr int kDefaultBitDepth = 16;

QString value(const QString& ffprobePath, const QString& url, const QString& entry, EngineChoice engine) {
    if (ffprobePath.isEmpty() && engine == EngineChoice::ffmpeg)
        throw probeError(1, QStringLiteral("ffprobe not found"));
    const auto streams = entry.startsWith(u's') ? FFProbeStreams::firstAudio : FFProbeStreams::all;
    return ffprobeValue(ffprobePath, url, entry, streams, engine);
}

int integer(const QString& text, const char* what) {
    bool isNumber = false;
    const int result = text.toInt(&isNumber);
    if (!isNumber) throw probeError(2, QStringLiteral("Failed to parse ") + QLatin1String(what));
    return result;
}

} // namespace

PolyFileReader::Scan PolyFileReader::scan(const QString& folder, bool recursive) const {
    const CollectedRecordings found = collectRecordings({folder}, recursive, {QStringLiteral("wav")});
    if (!found.unopened.isEmpty()) {
        throw DomainError(QStringLiteral("ScanError"), 1, QStringLiteral("Failed to enumerate folder"));
    }
    Scan result;
    result.remarks = found.remarks;
    for (const QString& url : found.files) {
        try {
            const int channels = channelCount(url);
            if (channels > 1) result.files.push_back(read(url, channels));
        } catch (const std::exception& error) {
            const QString why =
                QStringLiteral("Failed to analyze %1: %2").arg(paths::lastComponent(url), describe(error));
            debug_(QStringLiteral("⚠️ [scanForPolyFiles] ") + why);
            result.remarks << why;
        }
    }
    std::stable_sort(result.files.begin(), result.files.end(),
                     [](const PolyFile& a, const PolyFile& b) { return a.fileName < b.fileName; });
    return result;
}

std::optional<PolyFile> PolyFileReader::readSelected(const QString& url) const {
    const QString name = paths::lastComponent(url);
    if (paths::lowerExtension(url) != QStringLiteral("wav")) {
        debug_(QStringLiteral("⚠️ Skipping non-WAV file: ") + name);
        return std::nullopt;
    }
    try {
        const int channels = channelCount(url);
        if (channels > 1) return read(url, channels);
    } catch (const std::exception& error) {
        debug_(QStringLiteral("⚠️ Failed to analyze %1: %2").arg(name, describe(error)));
    }
    debug_(QStringLiteral("⚠️ Skipping mono/invalid file: ") + name);
    return std::nullopt;
}

PolyFile PolyFileReader::read(const QString& url, int channels) const {
    PolyFile poly;
    poly.url = url;
    poly.fileName = paths::lastComponent(url);
    poly.channelCount = channels;
    poly.sampleRate = integer(value(ffprobePath_, url, QStringLiteral("stream=sample_rate"), engine_), "sample rate");
    bool isNumber = false;
    const int depth = value(ffprobePath_, url, QStringLiteral("stream=bits_per_sample"), engine_).toInt(&isNumber);
    poly.bitDepth = isNumber ? depth : kDefaultBitDepth;
    poly.duration = value(ffprobePath_, url, QStringLiteral("format=duration"), engine_).toDouble(&isNumber);
    if (!isNumber) throw probeError(2, QStringLiteral("Failed to parse duration"));
    poly.codecName = value(ffprobePath_, url, QStringLiteral("stream=codec_name"), engine_);
    poly.channelLayout = value(ffprobePath_, url, QStringLiteral("stream=channel_layout"), engine_);
    poly.fileSize = static_cast<quint64>(QFileInfo(url).size());
    return poly;
}

int PolyFileReader::channelCount(const QString& url) const {
    return integer(value(ffprobePath_, url, QStringLiteral("stream=channels"), engine_), "channel count");
}

} // namespace ostrel
