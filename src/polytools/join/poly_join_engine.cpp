#include "polytools/join/poly_join_engine.h"

#include "foundation/proof/output_proof.h"
#include "foundation/proof/unexplained_bytes.h"
#include "foundation/run/output_file.h"
#include "foundation/tools/ffmpeg_command.h"
#include "metadata/universal_metadata_engine.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"
#include "polytools/join/iso_raggedness.h"
#include "polytools/join/whole_tracks.h"
#include "polytools/records/merge_graph.h"
#include "roads/road.h"

#include <algorithm>

namespace ostrel {
namespace {

constexpr qsizetype kJoinErrorLength = 300;

QStringList allFiles(const std::vector<ISOFile>& isos) {
    QStringList files;
    for (const ISOFile& iso : isos) files << iso.files();
    return files;
}

class Join {
public:
    Join(const PolyEngineTools& tools, const PolyEngineHooks& hooks, const std::vector<ISOFile>& isoFiles,
         const QString& output, const JoinOptions& options, const PolyJoinEngine::Progress& progress)
        : tools_(tools), isos_(isoFiles), path_(output), file_(paths::lastComponent(output)), options_(options),
          progress_(progress), ownLedger_(allFiles(isoFiles)), ledger_(hooks.ledger ? *hooks.ledger : ownLedger_),
          isStopped_(hooks.isStopped), log_(hooks, QStringLiteral("PolyJoinEngine"), paths::stem(output)),
          proof_(options.proves) {}

    JoinResult run() {
        outcome_.sources = ItemOutcome::allKept(allFiles(isos_));
        perform();
        return {std::move(outcome_), log_.take()};
    }

private:
    void perform() {
        if (isos_.size() < 2) return refuse(QStringLiteral("Need at least 2 files to join"));
        for (const QString& warning : ledger_.prepareFolder(paths::parent(path_))) warn(warning);
        OutputFile output(ledger_, path_, existingOutputRule(options_.skipIfExists, options_.overwriteExisting));
        if (!output.permission().isGranted()) return leave(output.permission());
        tell(0.1, "Validating files...");
        if (!stitchTracks()) return;
        sortByInterleaveIndex();
        if (!agree()) return;
        tell(0.2, "Building poly file...");
        if (make(output)) publish(output);
    }

    bool stitchTracks() {
        try {
            for (const QString& warning : tracks_.make(isos_, path_, isStopped_)) warn(warning);
            return true;
        } catch (const FileError& error) {
            return refused(error.description);
        }
    }

    bool make(const OutputFile& output) {
        const Road road(tools_.engine(), urls(), 1, QStringLiteral("wav")); // several of a file are mixed, by ffmpeg
        if (!road.detour().isEmpty()) log_.info(kProcess, road.detour());
        conforms_ = options_.conforms && road.isDirect();
        if (options_.conforms && !conforms_) warn(unconformedSentence(file_));
        bool isMade = true;
        try {
            const QStringList warnings = road.make(
                {plannedOutput(output)},
                [&] {
                    isMade = runFFmpeg(output);
                    if (isMade) restoreMetadata(output);
                },
                [this](double share) {
                    if (progress_) progress_(0.2 + 0.6 * share, QStringLiteral("Building poly file..."));
                },
                proof_.sources());
            for (const QString& warning : warnings) warn(warning);
        } catch (const RoadError& error) {
            return refused(output.namingFinal(error.description));
        }
        if (isMade && (road.isDirect() || tools_.universalEngine)) {
            metadata_ = completeMetadata(isos_.front().url, output, SourceUmid::kept, log_,
                                         plannedOutput(output).head.descriptionWish());
        }
        return isMade;
    }

    PlannedOutput plannedOutput(const OutputFile& output) const {
        PlannedOutput planned{
            output.unfinished(), {}, {.source = isos_.front().url, .place = place(), .conforms = conforms_}};
        for (std::size_t i = 0; i < isos_.size(); ++i) {
            planned.channels.push_back({isos_[i].url, 0});
            if (indices_.size() != isos_.size()) continue; // without them the document goes along as it is
            planned.head.tracks.push_back(indices_[i]);
        }
        return planned;
    }

    IxmlPlace place() const {
        const QString first = tracks_.originalOf(isos_.front().url);
        IxmlPlace place = IxmlPlace::alone(file_, paths::lastComponent(first));
        place.isNumbered = conforms_;
        return place;
    }

    void publish(OutputFile& output) {
        std::vector<ChannelPair> pairs;
        for (const ISOFile& iso : isos_) {
            const int channel = static_cast<int>(&iso - isos_.data());
            // A mix of two channels is no channel of its source.
            if (iso.channelCount <= 1) pairs.push_back({{iso.url, 0}, {output.unfinished(), channel}});
        }
        const std::optional<ProofRecord> proof = prove(output);
        if (proof && proof->differs()) {
            outcome_.proof = proof;
            tellProof(file_, outcome_, log_);
            return refuse(proof->failure());
        }
        const OutputFile::End end = output.finish(pairs, OutputFile::Check::strict);
        if (end.nameWasTaken) return refuse(end.failure);
        if (!end.failure.isEmpty()) return refuse(end.failure);
        for (const QString& warning : end.warnings) {
            if (!outcome_.warnings.contains(warning)) warn(warning);
        }
        outcome_.status = ProcessingStatus::completed();
        outcome_.outputs = QStringList(path_);
        outcome_.proof = proof;
        tellProof(file_, outcome_, log_);
        if (metadata_) {
            tellPreservation(QStringLiteral("Join completed"), file_, *metadata_, log_);
            outcome_.metadata = *metadata_;
        }
        log_.success(kProcess, QStringLiteral("Created: %1 (%2 channels)").arg(file_).arg(isos_.size()));
        tell(1.0, "Complete");
    }

    std::optional<ProofRecord> prove(const OutputFile& output) {
        std::vector<ChannelPair> pairs;
        for (const ISOFile& iso : isos_) {
            const int channel = static_cast<int>(&iso - isos_.data());
            pairs.push_back({{iso.url, iso.channelCount > 1 ? kMixedChannels : 0}, {output.unfinished(), channel}});
        }
        std::optional<ProofRecord> record = proof_.of(pairs, {{output.unfinished(), path_}});
        if (!record) return record;
        for (ChannelProof& channel : record->channels) {
            channel.source = tracks_.originalOf(channel.source);
            channel.reason = tracks_.named(channel.reason);
        }
        return record;
    }

    void leave(const WritePermission& permission) {
        if (permission.kind == WritePermission::Kind::refused) return refuse(permission.reason);
        if (permission.kind == WritePermission::Kind::overwriteOff) {
            return refuse(QStringLiteral("Output exists, overwrite disabled"));
        }
        log_.info(kProcess, QStringLiteral("Skipped (exists): ") + file_);
        outcome_.message = QStringLiteral("exists");
        outcome_.status = ProcessingStatus::skipped(outcome_.message);
    }

    // A stable sort: ISOs of a split all carry index 1 and keep the order they came in.
    void sortByInterleaveIndex() {
        if (!tools_.universalEngine) {
            log_.debug(QStringLiteral("⚠️ [Join] Metadata preservation disabled - using original file order"));
            return;
        }
        log_.debug(QStringLiteral("🔵 [Join] Reading INTERLEAVE_INDEX from each ISO's iXML metadata..."));
        struct Indexed {
            ISOFile iso;
            TrackIndices indices;
        };
        std::vector<Indexed> indexed;
        for (const ISOFile& iso : isos_) indexed.push_back({iso, indicesOf(iso, static_cast<int>(indexed.size()) + 1)});
        std::stable_sort(indexed.begin(), indexed.end(), [](const Indexed& a, const Indexed& b) {
            return a.indices.interleaveIndex < b.indices.interleaveIndex;
        });

        log_.debug(QStringLiteral("✅ [Join] ISOs sorted by INTERLEAVE_INDEX:"));
        isos_.clear();
        for (const auto& [iso, indices] : indexed) {
            indices_.push_back(indices);
            log_.debug(QStringLiteral("  • %1 (T%2, Ch%3: %4)")
                           .arg(iso.fileName)
                           .arg(indices.interleaveIndex)
                           .arg(indices.channelIndex)
                           .arg(indices.trackName));
            isos_.push_back(iso);
        }
        log_.success(kMetadata, QStringLiteral("🎯 ISOs sorted by INTERLEAVE_INDEX from iXML metadata"));
    }

    TrackIndices indicesOf(const ISOFile& iso, int position) const {
        if (const auto found = tools_.universalEngine->extractTrackIndicesFromiXML(iso.url)) {
            log_.debug(QStringLiteral("  • %1: INTERLEAVE_INDEX=%2, CHANNEL_INDEX=%3, NAME=%4")
                           .arg(iso.fileName)
                           .arg(found->interleaveIndex)
                           .arg(found->channelIndex)
                           .arg(found->trackName));
            return *found;
        }
        log_.debug(QStringLiteral("  ⚠️ %1: No iXML metadata found, using original order").arg(iso.fileName));
        return {position, position, QStringLiteral("CH%1").arg(position)};
    }

    bool agree() {
        for (const ISOFile& iso : isos_) {
            if (iso.sampleRate != isos_.front().sampleRate) {
                return refused(QStringLiteral("Sample rate mismatch: ") + iso.fileName);
            }
            if (iso.bitDepth != isos_.front().bitDepth) {
                return refused(QStringLiteral("Bit depth mismatch: ") + iso.fileName);
            }
            if (iso.channelCount > 1 && !options_.downmix) {
                return refused(
                    QStringLiteral("%1 has %2 channels, and a join takes mono files: mix them to one only on "
                                   "purpose")
                        .arg(iso.fileName)
                        .arg(iso.channelCount));
            }
        }
        for (const QString& warning : unexplainedBytesWarnings(urls())) warn(warning);
        const QStringList ragged = raggedness(urls());
        if (options_.strict && !ragged.isEmpty()) return refused(ragged.join(QStringLiteral("; ")));
        for (const QString& warning : ragged) warn(warning);
        return true;
    }

    bool runFFmpeg(const OutputFile& output) {
        try {
            const ProcessResult ffmpeg = ChildProcess::runSilently(
                tools_.ffmpegPath,
                PolyJoinEngine::buildJoinCommand(isos_, output.unfinished(), anyNamesSpeakers(urls())),
                limitsByProgress({output.unfinished()}));
            tell(0.8, "Finalizing...");
            return ffmpeg.succeeded() || refused(QStringLiteral("ffmpeg error: ") +
                                                 output.namingFinal(faultText(ffmpeg)).left(kJoinErrorLength));
        } catch (const ProcessLaunchError& error) {
            return refused(QStringLiteral("Process error: ") + error.description);
        }
    }

    void restoreMetadata(const OutputFile& output) {
        if (!tools_.universalEngine) {
            log_.debug(QStringLiteral("❌ [UniversalEngine] METADATA ENGINE UNAVAILABLE — bwfmetaedit not found"));
            log_.error(kMetadata, QStringLiteral("❌ METADATA ENGINE UNAVAILABLE — bwfmetaedit not found. Output will "
                                                 "have NO metadata."));
            return;
        }
        tell(0.9, "Restoring metadata...");
        try {
            carryMetadata(*tools_.universalEngine, output);
        } catch (const std::exception& error) {
            const QString reason = output.namingFinal(describe(error));
            log_.debug(QStringLiteral("❌ [UniversalEngine] Metadata restoration failed: ") + reason);
            log_.error(kMetadata, QStringLiteral("❌ METADATA RESTORATION FAILED: ") + reason);
        }
    }

    void carryMetadata(const UniversalMetadataEngine& engine, const OutputFile& file) {
        const QString output = file.unfinished();
        const QString first = isos_.front().url;
        log_.debug(QStringLiteral("🔵 [UniversalEngine] Starting metadata restoration for joined poly"));
        log_.debug(QStringLiteral("🔵 [UniversalEngine] Extracting metadata from: ") + paths::lastComponent(first));
        const MetadataPreservationResult capture = engine.extractMetadata(first, true);
        for (const QString& message : capture.logMessages) log_.debug(message);
        for (const QString& said : engine.applyMetadata({output}, first, withoutIXML(capture), true, true, true)) {
            tellMetadata(file.namingFinal(said), log_);
        }
        rebuildTrackList(engine, output);
        if (!capture.sceneInfo) return;
        const QString scene =
            QStringLiteral("(Scene: %1, Take: %2)").arg(capture.sceneInfo->scene, capture.sceneInfo->take);
        log_.debug(QStringLiteral("✅ [UniversalEngine] Join completed ") + scene);
        log_.success(kMetadata, QStringLiteral("✅ Metadata preserved ") + scene);
    }

    // Takes the place of the single-track iXML that came with the first ISO's chunks.
    void rebuildTrackList(const UniversalMetadataEngine& engine, const QString& output) {
        log_.debug(QStringLiteral("🔵 [UniversalEngine] Rebuilding multi-track iXML from %1 ISOs...").arg(isos_.size()));
        const QStringList placed = engine.rebuildMultiTrackiXML(urls(), output, place());
        for (const QString& iso : placed) {
            log_.warning(kMetadata,
                         QStringLiteral("⚠️ No track indices, listed by its place: ") + paths::lastComponent(iso));
        }
        log_.debug(QStringLiteral("✅ [UniversalEngine] Multi-track iXML rebuilt: %1 tracks").arg(isos_.size()));
        log_.success(kMetadata,
                     QStringLiteral("✅ Multi-track iXML rebuilt: %1 tracks with correct INTERLEAVE_INDEX and "
                                    "CHANNEL_INDEX")
                         .arg(isos_.size()));
    }

    QStringList urls() const {
        QStringList result;
        for (const ISOFile& iso : isos_) result << iso.url;
        return result;
    }

    void refuse(const QString& said) {
        const QString message = tracks_.named(said);
        log_.error(kProcess, message);
        outcome_.message = message;
        outcome_.status = ProcessingStatus::failed(message);
    }
    bool refused(const QString& message) {
        refuse(message);
        return false;
    }
    void warn(const QString& said) {
        const QString warning = tracks_.named(said);
        log_.warning(kProcess, warning);
        outcome_.warnings << warning;
    }

    void tell(double fraction, const char* step) const {
        if (progress_) progress_(fraction, QString::fromLatin1(step));
    }

    const PolyEngineTools& tools_;
    std::vector<ISOFile> isos_;
    WholeTracks tracks_;                // that came in several files
    std::vector<TrackIndices> indices_; // of each, once they are sorted
    const QString path_;
    const QString file_;
    const JoinOptions& options_;
    const PolyJoinEngine::Progress& progress_;
    RunLedger ownLedger_; // of a join by itself
    RunLedger& ledger_;
    const std::function<bool()> isStopped_;
    EngineLog log_;
    OutputProof proof_;
    bool conforms_ = false; // the head of the poly
    ItemOutcome outcome_;
    std::optional<MetadataRecord> metadata_; // nothing: there was no tool to carry any
};

} // namespace

PolyJoinEngine::PolyJoinEngine(PolyEngineTools tools, PolyEngineHooks hooks)
    : tools_(std::move(tools)), hooks_(std::move(hooks)) {}

JoinResult PolyJoinEngine::join(const std::vector<ISOFile>& isoFiles, const QString& outputURL,
                                const JoinOptions& options, const Progress& progress) const {
    return Join(tools_, hooks_, isoFiles, outputURL, options, progress).run();
}

QStringList PolyJoinEngine::buildJoinCommand(const std::vector<ISOFile>& sorted, const QString& output,
                                             bool namesSpeakers) {
    const QString count = QString::number(sorted.size());
    std::vector<int> channelCounts;
    for (const ISOFile& iso : sorted) channelCounts.push_back(iso.channelCount);
    QStringList arguments{QStringLiteral("-y")};
    for (const ISOFile& iso : sorted) arguments << QStringLiteral("-i") << iso.url;
    const int depth = sorted.empty() ? 0 : sorted.front().bitDepth;
    return arguments << QStringLiteral("-filter_complex") << mergeGraph(channelCounts, namesSpeakers)
                     << QStringLiteral("-map") << QStringLiteral("[aout]") << QStringLiteral("-ac") << count
                     << QStringLiteral("-c:a") << wavCodec(depth) << QStringLiteral("-map_metadata")
                     << QStringLiteral("0") << QStringLiteral("-write_bext") << QStringLiteral("1")
                     << QStringLiteral("-rf64") << QStringLiteral("auto") << output;
}

} // namespace ostrel
