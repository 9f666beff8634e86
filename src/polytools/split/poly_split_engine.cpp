#include "polytools/split/poly_split_engine.h"

#include "foundation/proof/output_proof.h"
#include "foundation/proof/unexplained_bytes.h"
#include "foundation/run/output_file.h"
#include "foundation/tools/ffmpeg_command.h"
#include "metadata/universal_metadata_engine.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"
#include "polytools/records/iso_file_names.h"
#include "polytools/split/poly_capture.h"
#include "roads/road.h"

#include <map>

namespace ostrel {
namespace {

constexpr qsizetype kSplitErrorLength = 200;

// What one ISO is told about itself.
struct ChannelTrack {
    QString name; // empty: none
    int interleaveIndex = 0;
    int channelIndex = 0;
    QString function = {};
};

std::vector<ChannelTrack> channelTracks(const PolyFile& poly, const PolyCapture& capture,
                                        const std::optional<QStringList>& trackNames) {
    std::vector<ChannelTrack> result;
    for (int i = 0; i < poly.channelCount; ++i) {
        if (!capture.tracks.empty()) {
            const SourceTrack& track = capture.tracks[static_cast<std::size_t>(i)];
            result.push_back({track.name, track.interleaveIndex, track.channelIndex, track.function});
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
          options_(options), ownLedger_(QStringList(poly.url)), ledger_(hooks.ledger ? *hooks.ledger : ownLedger_),
          log_(hooks, QStringLiteral("PolySplitEngine"), baseName_), proof_(options.proves) {}

    SplitResult run(const PolySplitEngine::Progress& progress) {
        logRequest();
        prepare();
        const PolyCapture capture = capturePoly(tools_, poly_, log_);
        const std::vector<ChannelTrack> tracks = channelTracks(poly_, capture, options_.trackNames);
        const QStringList names = outputNames(tracks);
        const Road road(tools_.engine(), {poly_.url}, poly_.channelCount, QStringLiteral("wav"));
        if (!road.detour().isEmpty()) log_.info(kProcess, road.detour());
        conforms_ = options_.conforms && road.isDirect();
        if (options_.conforms && !conforms_) warn(unconformedSentence(poly_.fileName));
        const int atOnce =
            road.isDirect() ? poly_.channelCount : 1; // one pass makes them all, or each run of ffmpeg one
        for (int first = 0; first < poly_.channelCount && !hooks_.stopped(); first += atOnce) {
            std::vector<Iso> isos;
            for (int i = first; i < first + atOnce; ++i) {
                const ChannelTrack& track = tracks[static_cast<std::size_t>(i)];
                logNameChoice(track, i, names[i]);
                open(i, track, paths::append(outputFolder_, names[i]), isos);
            }
            const auto tell = [&](double share) {
                const double done = (first + share * atOnce) / poly_.channelCount;
                if (progress) progress(done, names[first]);
            };
            tell(0);
            make(isos, road, capture, tell);
        }
        if (progress) progress(1.0, QStringLiteral("Complete"));
        conclude();
        result_.logEntries = log_.take();
        return std::move(result_);
    }

private:
    void prepare() {
        for (const QString& warning : ledger_.prepareFolder(outputFolder_) + unexplainedBytesWarnings({poly_.url})) {
            warn(warning);
        }
    }

    void warn(const QString& warning) {
        log_.warning(kProcess, warning);
        result_.outcome.warnings << warning;
    }

    // The poly's outcome is that of its channels.
    void conclude() {
        ItemOutcome& outcome = result_.outcome;
        outcome.sources = ItemOutcome::allKept({poly_.url});
        for (auto& [channel, each] : channels_) result_.channels.push_back(std::move(each));
        for (const ItemOutcome& channel : result_.channels) {
            outcome.outputs << channel.outputs;
            outcome.warnings << channel.warnings;
            outcome.metadata.add(channel.metadata);
            if (channel.proof) outcome.proof = outcome.proof.value_or(ProofRecord()).with(*channel.proof);
            result_.createdCount += channel.succeeded() ? 1 : 0;
            result_.skippedCount += channel.skipped() ? 1 : 0;
            result_.errorCount += channel.failed() ? 1 : 0;
        }
        if (!outcome.metadata.isWhole()) {
            tellPreservation(QStringLiteral("Split completed"), poly_.fileName, outcome.metadata, log_);
        }
        tellProof(poly_.fileName, outcome, log_);
        if (result_.errorCount > 0) {
            outcome.message = QStringLiteral("Failed to create %1 ISOs").arg(result_.errorCount);
            if (outcome.proof && outcome.proof->differs())
                outcome.message += QStringLiteral(". ") + outcome.proof->failure();
            outcome.status = ProcessingStatus::failed(outcome.message);
        } else if (!result_.channels.empty() && missingChannels() > 0) {
            // What stands is not the whole of the poly, and a run that is to finish it takes it up again.
            outcome.message =
                QStringLiteral("Stopped ahead of %1 of its %2 channels").arg(missingChannels()).arg(poly_.channelCount);
            outcome.status = ProcessingStatus::failed(outcome.message);
        } else if (result_.createdCount > 0) {
            outcome.status = ProcessingStatus::completed();
        } else if (result_.skippedCount > 0) {
            outcome.message = QStringLiteral("exists");
            outcome.status = ProcessingStatus::skipped(outcome.message);
        }
    }

    int missingChannels() const { return poly_.channelCount - static_cast<int>(result_.channels.size()); }

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

    QStringList outputNames(const std::vector<ChannelTrack>& tracks) const {
        std::vector<IsoNameRequest> requests;
        for (const ChannelTrack& track : tracks) requests.push_back({track.interleaveIndex - 1, track.name});
        return isoNamesOf(poly_.url, outputFolder_, requests, options_.namingPattern, options_.keepOriginalName);
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

    // An ISO on its way: it may be written, and stands under its private name once it was made.
    struct Iso {
        int channel = 0;
        const ChannelTrack* track = nullptr;
        std::unique_ptr<OutputFile> output;
        bool isMade = false;

        QString file() const { return paths::lastComponent(output->path()); }
    };

    void open(int channel, const ChannelTrack& track, const QString& path, std::vector<Iso>& isos) {
        auto output = std::make_unique<OutputFile>(
            ledger_, path, existingOutputRule(options_.skipIfExists, options_.overwriteExisting));
        if (!output->permission().isGranted()) {
            return refuse(channel, output->permission(), paths::lastComponent(path));
        }
        isos.push_back({channel, &track, std::move(output)});
    }

    void make(std::vector<Iso>& isos, const Road& road, const PolyCapture& capture,
              const std::function<void(double)>& tell) {
        if (isos.empty()) return;
        std::vector<PlannedOutput> planned;
        for (Iso& iso : isos) {
            planned.push_back(plannedOutput(iso));
            iso.isMade = road.isDirect();
        }
        try {
            const QStringList warnings = road.make(
                planned, [&] { makeByFFmpeg(isos.front(), capture); }, tell, proof_.sources());
            for (const QString& warning : warnings) log_.warning(kMetadata, warning);
            result_.outcome.warnings << warnings;
        } catch (const RoadError& error) {
            for (const Iso& iso : isos) fail(iso.channel, iso.output->namingFinal(error.description));
            return;
        }
        for (Iso& iso : isos) {
            if (iso.isMade) publish(iso, metadataOf(iso, road, capture));
        }
    }

    PlannedOutput plannedOutput(const Iso& iso) const {
        return {iso.output->unfinished(),
                {{poly_.url, iso.channel}},
                {.source = poly_.url,
                 .umid = SourceUmid::cleared,
                 .tracks = {documentTrack(*iso.track)},
                 .place = placeOf(*iso.output, iso.channel),
                 .conforms = conforms_}};
    }

    // An ISO is always number 1 of 1, but it keeps its channel index: that is what a later join restores.
    static TrackIndices documentTrack(const ChannelTrack& track) {
        return {1, track.channelIndex, encodeXMLText(nameOf(track)), track.function};
    }

    IxmlPlace placeOf(const OutputFile& output, int channel) const {
        return {paths::lastComponent(output.path()), poly_.fileName, channel + 1, poly_.channelCount};
    }

    static QString nameOf(const ChannelTrack& track) {
        return track.name.isEmpty() ? QStringLiteral("CH%1").arg(track.channelIndex) : track.name;
    }

    void makeByFFmpeg(Iso& iso, const PolyCapture& capture) {
        try {
            if (!runFFmpeg(iso)) return;
            verifyMono(iso.output->unfinished(), iso.file());
        } catch (const ProcessLaunchError& error) {
            return fail(iso.channel, QStringLiteral("Process error for %1: %2").arg(iso.file(), error.description));
        }
        iso.isMade = true;
        applyMetadata(*iso.output, iso.channel, *iso.track, capture);
    }

    // What the ISO holds of the poly's; nothing where there was nothing to carry it with.
    std::optional<MetadataRecord> metadataOf(const Iso& iso, const Road& road, const PolyCapture& capture) {
        if (!road.isDirect() && (!tools_.universalEngine || !capture.preservation)) return std::nullopt;
        return completeMetadata(poly_.url, *iso.output, SourceUmid::cleared, log_,
                                plannedOutput(iso).head.descriptionWish());
    }

    void publish(Iso& iso, const std::optional<MetadataRecord>& metadata) {
        const QString file = iso.file();
        OutputFile& output = *iso.output;
        const std::vector<ChannelPair> pairs{{{poly_.url, iso.channel}, {output.unfinished(), 0}}};
        const std::optional<ProofRecord> proof = proof_.of(pairs, {{output.unfinished(), output.path()}});
        if (proof && proof->differs()) {
            fail(iso.channel, proof->failure());
            channels_[iso.channel].proof = proof;
            return;
        }
        const OutputFile::End end = output.finish(pairs, OutputFile::Check::strict);
        if (end.nameWasTaken) return refuse(iso.channel, {WritePermission::Kind::refused, end.failure}, file);
        if (!end.failure.isEmpty()) return fail(iso.channel, end.failure);
        for (const QString& warning : end.warnings) log_.warning(kProcess, warning);
        log_.success(kProcess, QStringLiteral("Created: ") + file);
        ItemOutcome outcome{ProcessingStatus::completed(), {output.path()}, end.warnings};
        outcome.proof = proof;
        if (metadata) {
            // What is missing is missing in all of them, and told once, of the poly.
            if (metadata->isWhole()) tellPreservation(QStringLiteral("Split completed"), file, *metadata, log_);
            outcome.metadata = *metadata;
        }
        note(iso.channel, std::move(outcome));
    }

    void refuse(int channel, const WritePermission& permission, const QString& file) {
        if (permission.kind != WritePermission::Kind::exists) return fail(channel, permission.reason);
        log_.info(kProcess, QStringLiteral("Skipped (exists): ") + file);
        note(channel, {ProcessingStatus::skipped(QStringLiteral("exists"))});
    }

    void fail(int channel, const QString& message) {
        log_.error(kProcess, message);
        note(channel, {ProcessingStatus::failed(message), {}, {}, message});
    }

    void note(int channel, ItemOutcome outcome) {
        outcome.sources = ItemOutcome::allKept({poly_.url});
        channels_[channel] = std::move(outcome);
    }

    bool runFFmpeg(const Iso& iso) {
        const OutputFile& output = *iso.output;
        const ProcessResult ffmpeg = ChildProcess::runSilently(
            tools_.ffmpegPath, PolySplitEngine::buildSplitCommand(poly_, iso.channel, output.unfinished()),
            limitsByProgress({output.unfinished()}));
        if (ffmpeg.succeeded()) return true;
        fail(iso.channel, QStringLiteral("ffmpeg error for %1: %2")
                              .arg(iso.file(), output.namingFinal(faultText(ffmpeg)).left(kSplitErrorLength)));
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

    void applyMetadata(const OutputFile& iso, int channel, const ChannelTrack& track, const PolyCapture& capture) {
        if (!tools_.universalEngine) {
            log_.debug(QStringLiteral("❌ [UniversalEngine] METADATA ENGINE UNAVAILABLE — bwfmetaedit not found"));
            log_.error(kMetadata, QStringLiteral("❌ METADATA ENGINE UNAVAILABLE — bwfmetaedit not found. Output will "
                                                 "have NO metadata."));
            return;
        }
        if (!capture.preservation) return;
        try {
            carryMetadata(iso, channel, track, *capture.preservation);
        } catch (const std::exception& error) {
            const QString reason = iso.namingFinal(describe(error));
            log_.debug(QStringLiteral("❌ [UniversalEngine] Metadata application failed: ") + reason);
            log_.error(kMetadata, QStringLiteral("❌ METADATA APPLICATION FAILED: ") + reason);
        }
    }

    void carryMetadata(const OutputFile& output, int channel, const ChannelTrack& track,
                       const MetadataPreservationResult& capture) {
        const QString iso = output.unfinished();
        const QString file = paths::lastComponent(output.path());
        const UniversalMetadataEngine& engine = *tools_.universalEngine;
        log_.debug(QStringLiteral("🔵 [UniversalEngine] Applying metadata to ISO: ") + file);
        for (const QString& said : engine.applyMetadata({iso}, poly_.url, withoutIXML(capture), true, true, false)) {
            tellMetadata(output.namingFinal(said), log_);
        }
        const QString name = nameOf(track);
        engine.normalizeiXMLForSingleTrack(poly_.url, iso, documentTrack(track), placeOf(output, channel));
        const QString indices =
            QStringLiteral("INTERLEAVE_INDEX=1, CHANNEL_INDEX=%1, NAME=%2").arg(track.channelIndex).arg(name);
        log_.debug(QStringLiteral("✅ [UniversalEngine] iXML normalized: %1 → %2").arg(file, indices));
        log_.success(kMetadata, QStringLiteral("✅ iXML normalized: ") + indices);
    }

    const PolyEngineTools& tools_;
    const PolyEngineHooks& hooks_;
    const PolyFile& poly_;
    const QString baseName_;
    const QString outputFolder_;
    const SplitOptions& options_;
    RunLedger ownLedger_; // of a split by itself
    RunLedger& ledger_;
    EngineLog log_;
    OutputProof proof_;
    bool conforms_ = false; // this run's heads
    SplitResult result_;
    std::map<int, ItemOutcome> channels_; // of those that were reached
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
            wavCodec(polyFile.bitDepth),
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
