#include "polytools/split/poly_capture.h"

namespace ostrel {
namespace {

class Capturing {
public:
    Capturing(const PolyEngineTools& tools, const PolyFile& poly, EngineLog& log)
        : tools_(tools), poly_(poly), log_(log) {}

    PolyCapture run() {
        PolyCapture capture;
        if (tools_.universalEngine) {
            try {
                capture.preservation = tools_.universalEngine->extractMetadata(poly_.url, true);
                askForTrackIndices();
                capture.tracks = readSourceTracks();
                logCapture(capture);
            } catch (const std::exception& error) {
                log_.warning(kMetadata, QStringLiteral("⚠️ Metadata extraction failed: ") + describe(error));
                capture = PolyCapture();
            }
            saveManifest(capture);
        }
        useTracksIfComplete(capture);
        return capture;
    }

private:
    // Looks whether the file tells indices at all. The same file is asked up to once a channel, which is meant.
    void askForTrackIndices() const {
        for (int i = 0; i < poly_.channelCount; ++i) {
            if (tools_.universalEngine->extractTrackIndicesFromiXML(poly_.url)) break;
        }
    }

    std::vector<SourceTrack> readSourceTracks() const {
        const QString tool =
            tools_.bwfmetaeditPath.isEmpty() ? QStringLiteral("/opt/homebrew/bin/bwfmetaedit") : tools_.bwfmetaeditPath;
        const std::optional<QString> ixml = exportIXML(*tools_.answers, tool, poly_.url);
        if (!ixml) {
            log_.debug(
                QStringLiteral("⚠️ Failed to read source iXML (bwfmetaedit failed), using sequential indices"));
            return sequentialTracks(poly_.channelCount);
        }
        std::vector<SourceTrack> tracks = tracksInChannelOrder(*ixml);
        if (tracks.empty()) {
            log_.debug(QStringLiteral("⚠️ No tracks found in source iXML, using sequential indices"));
            return sequentialTracks(poly_.channelCount);
        }
        log_.debug(QStringLiteral("✅ Extracted %1 tracks from source iXML:").arg(tracks.size()));
        for (const SourceTrack& track : tracks) {
            log_.debug(
                QStringLiteral("  T%1 (Ch%2): %3").arg(track.interleaveIndex).arg(track.channelIndex).arg(track.name));
        }
        return tracks;
    }

    void logCapture(const PolyCapture& capture) {
        for (const QString& message : capture.preservation->logMessages) log_.info(kMetadata, message);
    }

    void saveManifest(const PolyCapture& capture) {
        if (!capture.preservation || !capture.preservation->sceneInfo) return;
        const SceneTakeInfo& scene = *capture.preservation->sceneInfo;
        QStringList names;
        std::vector<int> order;
        for (const SourceTrack& track : capture.tracks) {
            names << track.name;
            order.push_back(track.interleaveIndex);
        }
        try {
            tools_.universalEngine->saveManifest(scene, names, order, std::nullopt, {});
            log_.success(kMetadata,
                         QStringLiteral("📝 Manifest saved: %1 T%2 with %3 tracks (Scene/Take-based, filename-agnostic)")
                             .arg(scene.scene, scene.take)
                             .arg(names.size()));
        } catch (const std::exception& error) {
            log_.warning(kMetadata, QStringLiteral("⚠️ Metadata extraction failed: ") + describe(error));
        }
    }

    void useTracksIfComplete(PolyCapture& capture) {
        const auto count = static_cast<std::size_t>(poly_.channelCount);
        if (!capture.tracks.empty() && capture.tracks.size() == count) {
            log_.debug(QStringLiteral(
                "🔵 [Split] Using source iXML track list (preserves original INTERLEAVE_INDEX and CHANNEL_INDEX)"));
            return;
        }
        if (!capture.tracks.empty()) {
            log_.warning(kMetadata,
                         QStringLiteral("iXML lists %1 tracks for %2 channels - using sequential channel order")
                             .arg(capture.tracks.size())
                             .arg(count));
        }
        capture.tracks.clear();
        log_.debug(QStringLiteral("🔵 [Split] Using sequential channel order (no source track list)"));
    }

    const PolyEngineTools& tools_;
    const PolyFile& poly_;
    EngineLog& log_;
};

} // namespace

PolyCapture capturePoly(const PolyEngineTools& tools, const PolyFile& poly, EngineLog& log) {
    return Capturing(tools, poly, log).run();
}

} // namespace ostrel
