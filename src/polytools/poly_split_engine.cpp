#include "polytools/poly_split_engine.h"

#include "metadata/universal_metadata_engine.h"
#include "platform/child_process.h"
#include "platform/paths.h"
#include "platform/tool_limits.h"
#include "polytools/iso_file_names.h"

namespace ostrel {
namespace {

constexpr LogCategory kProcess = LogCategory::process;
constexpr LogCategory kMetadata = LogCategory::metadata;
constexpr qsizetype kErrorTextLength = 200;

// What the poly holds, lifted once for all its ISOs.
struct Capture {
    std::optional<MetadataPreservationResult> preservation;
    std::vector<SourceTrack> tracks; // empty: sequential order
};

// What one ISO is told about itself.
struct ChannelTrack {
    QString name; // empty: none
    int interleaveIndex = 0;
    int channelIndex = 0;
};

std::vector<ChannelTrack> channelTracks(const PolyFile& poly, const Capture& capture,
                                        const std::optional<QStringList>& trackNames) {
    std::vector<ChannelTrack> result;
    for (int i = 0; i < poly.channelCount; ++i) {
        if (!capture.tracks.empty()) {
            const SourceTrack& track = capture.tracks[static_cast<std::size_t>(i)];
            result.push_back({track.name, track.interleaveIndex, track.channelIndex});
        } else {
            const QString name = trackNames ? trackNames->value(i) : QString();
            result.push_back({isUsableTrackName(name) ? name : QString(), i + 1, i + 1});
        }
    }
    return result;
}

// One split: its collaborators, its log and its counters.
class Split {
public:
    Split(const PolyEngineTools& tools, const PolyEngineHooks& hooks, const PolyFile& poly, const QString& outputFolder,
          const SplitOptions& options)
        : tools_(tools), hooks_(hooks), poly_(poly), baseName_(paths::stem(poly.url)), outputFolder_(outputFolder),
          options_(options), log_(hooks, QStringLiteral("PolySplitEngine"), baseName_) {}

    SplitResult run(const PolySplitEngine::Progress& progress) {
        logRequest();
        const Capture capture = captureMetadata();
        const std::vector<ChannelTrack> tracks = channelTracks(poly_, capture, options_.trackNames);
        const QStringList names = outputNames(tracks);
        for (int i = 0; i < poly_.channelCount && !hooks_.stopped(); ++i) {
            const ChannelTrack& track = tracks[static_cast<std::size_t>(i)];
            logNameChoice(track, i, names[i]);
            if (progress) progress(static_cast<double>(i) / poly_.channelCount, names[i]);
            splitChannel(i, track, paths::append(outputFolder_, names[i]), capture);
        }
        if (progress) progress(1.0, QStringLiteral("Complete"));
        result_.logEntries = log_.take();
        return std::move(result_);
    }

private:
    void logRequest() {
        log_.info(kProcess, QStringLiteral("Engine received pattern: ") + rawText(options_.namingPattern));
        if (options_.trackNames) {
            log_.info(kProcess, QStringLiteral("Engine received %1 track names: %2")
                                    .arg(options_.trackNames->size())
                                    .arg(options_.trackNames->join(QStringLiteral(", "))));
        } else {
            log_.warning(kProcess, QStringLiteral("Engine received NO track names (trackNames is nil)"));
        }
    }

    // Any failure costs the metadata alone.
    Capture captureMetadata() {
        Capture capture;
        if (tools_.universalEngine) {
            try {
                capture.preservation = tools_.universalEngine->extractMetadata(poly_.url, true);
                askForTrackIndices();
                capture.tracks = readSourceTracks();
                logCapture(capture);
            } catch (const std::exception& error) {
                log_.warning(kMetadata, QStringLiteral("⚠️ Metadata extraction failed: ") + describe(error));
                capture = Capture();
            }
            saveManifest(capture);
        }
        useTracksIfComplete(capture);
        return capture;
    }

    // Looks whether the file tells indices at all. The same file is asked up to once a channel, which is meant.
    void askForTrackIndices() const {
        for (int i = 0; i < poly_.channelCount; ++i) {
            if (tools_.universalEngine->extractTrackIndicesFromiXML(poly_.url)) break;
        }
    }

    std::vector<SourceTrack> readSourceTracks() const {
        const QString tool =
            tools_.bwfmetaeditPath.isEmpty() ? QStringLiteral("/opt/homebrew/bin/bwfmetaedit") : tools_.bwfmetaeditPath;
        const std::optional<QString> ixml = exportIXML(tool, poly_.url);
        if (!ixml) {
            log_.debug(
                QStringLiteral("⚠️ Failed to read source iXML (bwfmetaedit failed), using sequential indices"));
            return sequentialTracks(poly_.channelCount);
        }
        std::vector<SourceTrack> tracks = parseTrackBlocks(*ixml);
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

    void logCapture(const Capture& capture) {
        for (const QString& message : capture.preservation->logMessages) log_.info(kMetadata, message);
    }

    void saveManifest(const Capture& capture) {
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

    void useTracksIfComplete(Capture& capture) {
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

    QStringList outputNames(const std::vector<ChannelTrack>& tracks) const {
        std::vector<IsoNameRequest> requests;
        for (const ChannelTrack& track : tracks) requests.push_back({track.interleaveIndex - 1, track.name});
        // An ISO never takes the poly's own name beside it.
        const bool besidePoly = paths::absolute(outputFolder_) == paths::parent(paths::absolute(poly_.url));
        const QStringList taken = besidePoly ? QStringList{paths::lastComponent(poly_.url)} : QStringList();
        return isoOutputNames(baseName_, requests, options_.namingPattern, options_.keepOriginalName, taken);
    }

    void logNameChoice(const ChannelTrack& track, int position, const QString& file) {
        if (options_.namingPattern != SplitNamingPattern::trackName || options_.keepOriginalName) return;
        if (isUsableTrackName(track.name)) {
            log_.info(kProcess, QStringLiteral("Using track name '%1' for interleave index %2 (array %3) → %4")
                                    .arg(track.name)
                                    .arg(track.interleaveIndex)
                                    .arg(position)
                                    .arg(file));
        } else {
            log_.warning(kProcess, QStringLiteral("Track name pattern selected but no track name for interleave index "
                                                  "%1, falling back to channel number")
                                       .arg(track.interleaveIndex));
        }
    }

    void splitChannel(int channel, const ChannelTrack& track, const QString& output, const Capture& capture) {
        const QString file = paths::lastComponent(output);
        if (!mayWrite(output, file)) return;
        try {
            if (!runFFmpeg(channel, output, file)) return;
            verifyMono(output, file);
        } catch (const ProcessLaunchError& error) {
            log_.error(kProcess, QStringLiteral("Process error for %1: %2").arg(file, error.description));
            ++result_.errorCount;
            return;
        }
        applyMetadata(output, file, track, capture);
        log_.success(kProcess, QStringLiteral("Created: ") + file);
        ++result_.createdCount;
        result_.createdFiles << output;
    }

    bool mayWrite(const QString& output, const QString& file) {
        if (!paths::exists(output)) return true;
        if (options_.skipIfExists) {
            log_.info(kProcess, QStringLiteral("Skipped (exists): ") + file);
            ++result_.skippedCount;
            return false;
        }
        // A link may lead from the output's name to the poly, which is never written.
        if (options_.overwriteExisting && !paths::isSameFile(output, poly_.url)) return true;
        log_.error(kProcess, QStringLiteral("Output exists, overwrite disabled: ") + file);
        ++result_.errorCount;
        return false;
    }

    bool runFFmpeg(int channel, const QString& output, const QString& file) {
        const ProcessResult ffmpeg = ChildProcess::runSilently(
            tools_.ffmpegPath, PolySplitEngine::buildSplitCommand(poly_, channel, output), limitsByProgress({output}));
        if (ffmpeg.succeeded()) return true;
        log_.error(kProcess, QStringLiteral("ffmpeg error for %1: %2").arg(file, faultText(ffmpeg, kErrorTextLength)));
        ++result_.errorCount;
        return false;
    }

    void verifyMono(const QString& output, const QString& file) {
        if (tools_.ffprobePath.isEmpty()) return;
        const ProcessResult probe = ChildProcess::runForResult(
            tools_.ffprobePath,
            {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-show_entries"),
             QStringLiteral("stream=channels"), QStringLiteral("-of"), QStringLiteral("csv=p=0"), output},
            limitsByFileSize({output}));
        if (probe.outputText().trimmed() == QStringLiteral("1")) return;
        log_.warning(kProcess, QStringLiteral("Warning: Output may not be true mono: ") + file);
    }

    void applyMetadata(const QString& iso, const QString& file, const ChannelTrack& track, const Capture& capture) {
        if (!tools_.universalEngine) {
            log_.debug(QStringLiteral("❌ [UniversalEngine] METADATA ENGINE UNAVAILABLE — bwfmetaedit not found"));
            log_.error(kMetadata, QStringLiteral("❌ METADATA ENGINE UNAVAILABLE — bwfmetaedit not found. Output will "
                                                 "have NO metadata."));
            return;
        }
        if (!capture.preservation) return;
        try {
            carryMetadata(iso, file, track, *capture.preservation);
        } catch (const std::exception& error) {
            const QString reason = describe(error);
            log_.debug(QStringLiteral("❌ [UniversalEngine] Metadata application failed: ") + reason);
            log_.error(kMetadata, QStringLiteral("❌ METADATA APPLICATION FAILED: ") + reason);
        }
    }

    void carryMetadata(const QString& iso, const QString& file, const ChannelTrack& track,
                       const MetadataPreservationResult& capture) {
        const UniversalMetadataEngine& engine = *tools_.universalEngine;
        log_.debug(QStringLiteral("🔵 [UniversalEngine] Applying metadata to ISO: ") + file);
        for (const QString& message : engine.applyMetadata({iso}, poly_.url, withoutIXML(capture), true, true, false)) {
            log_.debug(message);
            log_.success(kMetadata, message);
        }
        // An ISO is always number 1 of 1, but it keeps its channel index: that is what a later join restores.
        const QString name = track.name.isEmpty() ? QStringLiteral("CH%1").arg(track.channelIndex) : track.name;
        engine.normalizeiXMLForSingleTrack(poly_.url, iso, track.channelIndex, encodeXMLText(name), track.channelIndex,
                                           1);
        const QString indices =
            QStringLiteral("INTERLEAVE_INDEX=1, CHANNEL_INDEX=%1, NAME=%2").arg(track.channelIndex).arg(name);
        log_.debug(QStringLiteral("✅ [UniversalEngine] iXML normalized: %1 → %2").arg(file, indices));
        log_.success(kMetadata, QStringLiteral("✅ iXML normalized: ") + indices);
        checkPreservation(iso, file, capture);
    }

    void checkPreservation(const QString& iso, const QString& file, const MetadataPreservationResult& capture) {
        const MetadataPreservationResult found = tools_.universalEngine->extractMetadata(iso, true);
        const bool complete = found.riffChunks.size() >= capture.riffChunks.size() && found.hasBWF == capture.hasBWF &&
                              found.hasiXML == capture.hasiXML && found.hasTimecode == capture.hasTimecode;
        if (complete) {
            log_.debug(QStringLiteral("✅ [UniversalEngine] Split completed: ") + file);
            log_.success(kMetadata, QStringLiteral("✅ Split completed - All metadata preserved: ") + file);
        } else {
            log_.debug(QStringLiteral("⚠️ [UniversalEngine] Partial metadata preservation: ") + file);
            log_.warning(kMetadata, QStringLiteral("⚠️ Partial metadata preservation: ") + file);
        }
    }

    const PolyEngineTools& tools_;
    const PolyEngineHooks& hooks_;
    const PolyFile& poly_;
    const QString baseName_;
    const QString outputFolder_;
    const SplitOptions& options_;
    EngineLog log_;
    SplitResult result_;
};

} // namespace

PolySplitEngine::PolySplitEngine(PolyEngineTools tools, PolyEngineHooks hooks)
    : tools_(std::move(tools)), hooks_(std::move(hooks)) {}

SplitResult PolySplitEngine::split(const PolyFile& polyFile, const QString& outputFolder, const SplitOptions& options,
                                   const Progress& progress) const {
    return Split(tools_, hooks_, polyFile, outputFolder, options).run(progress);
}

QStringList PolySplitEngine::buildSplitCommand(const PolyFile& polyFile, int channel, const QString& output) {
    return {QStringLiteral("-y"),
            QStringLiteral("-i"),
            polyFile.url,
            QStringLiteral("-filter_complex"),
            QStringLiteral("[0:a]pan=mono|c0=c%1[out]").arg(channel),
            QStringLiteral("-map"),
            QStringLiteral("[out]"),
            QStringLiteral("-ac"),
            QStringLiteral("1"),
            QStringLiteral("-c:a"),
            QStringLiteral("pcm_s%1le").arg(polyFile.bitDepth),
            QStringLiteral("-map_metadata"),
            QStringLiteral("0"),
            QStringLiteral("-map_metadata:s:a"),
            QStringLiteral("0:s:a"),
            QStringLiteral("-write_bext"),
            QStringLiteral("1"),
            QStringLiteral("-f"),
            QStringLiteral("wav"),
            QStringLiteral("-rf64"),
            QStringLiteral("auto"),
            output};
}

} // namespace ostrel
