#include "polytools/records/poly_track_reading.h"

#include "foundation/tools/ffprobe_parser.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "polytools/records/ixml_track_list.h"

namespace ostrel {
namespace {

std::vector<TrackInfo> parseAllTracks(const QString& ixml) {
    std::vector<TrackInfo> result;
    for (const SourceTrack& track : tracksInChannelOrder(ixml)) {
        result.push_back({track.name, track.channelIndex, track.interleaveIndex});
    }
    return result;
}

} // namespace

PolyFile readPolyFile(const QString& url, const QString& ffprobePath, const std::shared_ptr<SourceAnswers>& answers) {
    const FileAnalysis analysis = FFProbeParser::analyzeFile(url, ffprobePath, answers);
    PolyFile poly;
    poly.url = url;
    poly.fileName = paths::lastComponent(url);
    poly.channelCount = analysis.channels;
    poly.channelLayout = analysis.channelLayout;
    poly.sampleRate = analysis.sampleRate;
    poly.bitDepth = analysis.bitDepth;
    poly.codecName = analysis.codecName;
    poly.duration = analysis.duration;
    poly.fileSize = analysis.fileSize;
    return poly;
}

TrackReading readTrackInfo(const QString& url, const QString& bwfmetaeditPath, SourceAnswers& answers) {
    if (bwfmetaeditPath.isEmpty()) return {};
    try {
        const QString ixml = exportIXML(answers, bwfmetaeditPath, url).value_or(QString());
        return {parseAllTracks(ixml), !ixml.isEmpty()};
    } catch (const ProcessLaunchError&) {
        return {}; // no tool, no names
    } catch (const FileError&) {
        return {};
    }
}

BatchPolyMetadata readBatchPolyMetadata(const QString& url, const QString& ffprobePath, const QString& bwfmetaeditPath,
                                        const std::shared_ptr<SourceAnswers>& answers) {
    const PolyFile poly = readPolyFile(url, ffprobePath, answers);
    BatchPolyMetadata metadata;
    metadata.url = url;
    metadata.baseName = paths::stem(url);
    metadata.channelCount = poly.channelCount;
    metadata.sampleRate = poly.sampleRate;
    metadata.duration = poly.duration;
    metadata.trackInfo = readTrackInfo(url, bwfmetaeditPath, *answers).tracks;
    return metadata;
}

} // namespace ostrel
