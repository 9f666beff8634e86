#include "polytools/edit/poly_channel_filter_engine.h"

#include "foundation/domain_error.h"
#include "foundation/proof/output_proof.h"
#include "foundation/proof/unexplained_bytes.h"
#include "foundation/run/output_file.h"
#include "metadata/ixml/ixml_text.h"
#include "metadata/ixml_surgery.h"
#include "metadata/universal_metadata_engine.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"
#include "platform/text/text.h"
#include "polytools/records/poly_names.h"
#include "roads/road.h"

#include <QElapsedTimer>
#include <algorithm>

namespace ostrel {
namespace {

DomainError filterError(int code, const QString& description) {
    return DomainError(QStringLiteral("ChannelFilter"), code, description);
}

// One text an item: "T1:Boom", "T2:Lav".
template <class Items, class ToText>
QString listed(const Items& items, const char* separator, ToText toText) {
    QStringList texts;
    for (const auto& item : items) texts << toText(item);
    return texts.join(QString::fromUtf8(separator));
}

QString numberAndName(int number, const QString& name) { return QStringLiteral("T%1:%2").arg(number).arg(name); }

class Edit {
public:
    Edit(const PolyChannelFilterEngine& engine, const PolyEngineTools& tools, const PolyEngineHooks& hooks,
         const PolyFile& poly, const RenameMap& renames, const ReorderList& reorder, bool proves, bool conforms)
        : engine_(engine), tools_(tools), poly_(poly), renames_(renames), reorder_(reorder),
          reordered_(reorder && !reorder->empty()), isToConform_(conforms), ownLedger_(QStringList(poly.url)),
          ledger_(hooks.ledger ? *hooks.ledger : ownLedger_),
          log_(hooks, QStringLiteral("PolyChannelFilterEngine"), paths::stem(poly.url)), proof_(proves) {}

    ChannelFilterResult run(const ChannelFilterOptions& filter, const QString& outputFolder, const QString& outputName,
                            ExistingOutput rule) {
        QElapsedTimer clock;
        clock.start();
        log_.info(kProcess, QStringLiteral("━━━ REMOVE CHANNELS: %1 ━━━").arg(poly_.fileName));
        const std::vector<SourceTrack> tracks = readTracks();
        const Removal removal = decide(filter, tracks);
        if (nothingMatched(removal)) return skipped(QStringLiteral("No matching channels"));
        if (poly_.channelCount <= static_cast<int>(removal.numbers.size())) {
            throw filterError(2, QStringLiteral("Cannot remove ALL channels. At least 1 channel must remain."));
        }
        plan(tracks, removal);
        const QString path = chooseOutput(outputFolder, outputName);
        for (const QString& warning : ledger_.prepareFolder(outputFolder)) warn(warning);
        OutputFile output(ledger_, path, rule);
        if (output.permission().kind == WritePermission::Kind::exists) {
            log_.info(kProcess, QStringLiteral("Skipped (exists): ") + paths::lastComponent(path));
            return skipped(QStringLiteral("exists"));
        }
        if (!output.permission().isGranted()) throw FileError(output.permission().reason);
        for (const QString& warning : unexplainedBytesWarnings({poly_.url})) warn(warning);
        try {
            make(output);
        } catch (const RoadError& error) {
            throw filterError(3, output.namingFinal(error.description));
        }
        publish(output);
        if (metadata_) {
            tellPreservation(QStringLiteral("Edit completed"), paths::lastComponent(path), *metadata_, log_);
        }
        log_.success(
            kProcess,
            QStringLiteral("━━━ COMPLETE in %1s ━━━").arg(fixed(static_cast<double>(clock.elapsed()) / 1000.0, 2)));
        return finished(ProcessingStatus::completed(), {path});
    }

private:
    std::vector<SourceTrack> readTracks() {
        log_.info(kMetadata, QStringLiteral("📋 Extracting track info from iXML..."));
        if (tools_.bwfmetaeditPath.isEmpty()) {
            log_.warning(kMetadata, QStringLiteral("⚠️ No iXML - using fallback track names"));
            return sequentialTracks(poly_.channelCount);
        }
        std::vector<SourceTrack> tracks =
            engine_.extractTrackListFromPoly(poly_.url, poly_.channelCount, tools_.bwfmetaeditPath);
        log_.info(kMetadata, QStringLiteral("✅ Extracted %1 tracks: %2")
                                 .arg(tracks.size())
                                 .arg(listed(tracks, ", ", [](const SourceTrack& track) {
                                     return numberAndName(track.interleaveIndex, track.name);
                                 })));
        return fittedToFile(std::move(tracks));
    }

    // The filter can only take channels that the file has, each of them once, and a channel that the list leaves out
    // would be lost in silence. So a list that lies about the file gives way to numbers.
    std::vector<SourceTrack> fittedToFile(std::vector<SourceTrack> tracks) {
        std::set<int> numbers;
        for (const SourceTrack& track : tracks) numbers.insert(track.interleaveIndex);
        const bool fits = static_cast<int>(tracks.size()) == poly_.channelCount && numbers.size() == tracks.size() &&
                          *numbers.begin() == 1 && *numbers.rbegin() == poly_.channelCount;
        if (fits) return tracks;
        log_.warning(kMetadata,
                     QStringLiteral("⚠️ iXML lists %1 tracks for %2 channels - channels without a track get "
                                    "fallback names")
                         .arg(tracks.size())
                         .arg(poly_.channelCount));
        std::vector<SourceTrack> fitted = sequentialTracks(poly_.channelCount);
        for (const SourceTrack& track : tracks) {
            if (track.interleaveIndex < 1 || track.interleaveIndex > poly_.channelCount) continue;
            SourceTrack& place = fitted[static_cast<std::size_t>(track.interleaveIndex) - 1];
            if (numbers.erase(track.interleaveIndex)) place = track; // the first of its number counts
        }
        return fitted;
    }

    Removal decide(const ChannelFilterOptions& filter, const std::vector<SourceTrack>& tracks) {
        const std::optional<Removal> removal = decideRemoval(filter, tracks, renames_, reorder_);
        if (!removal) {
            throw filterError(
                1, QStringLiteral("No filter criteria provided. Specify channel numbers OR track name filter."));
        }
        switch (removal->kind) {
        case RemovalKind::byNumber:
            log_.info(kProcess,
                      QStringLiteral("🎯 NUMBER-BASED filter: Remove channels ") + joinedNumbers(removal->numbers));
            break;
        case RemovalKind::byName:
            log_.info(kProcess, QStringLiteral("🎯 NAME-BASED filter: Remove tracks containing '%1' → Found: %2")
                                    .arg(filter.nameContainsFilter, namesOf(tracks, removal->numbers)));
            break;
        case RemovalKind::renameOnly:
            log_.info(kProcess, QStringLiteral("✏️ RENAME-ONLY mode: Keeping all %1 channels, applying rename map")
                                    .arg(poly_.channelCount));
            break;
        case RemovalKind::reorderOnly:
            log_.info(kProcess, QStringLiteral("🔀 REORDER-ONLY mode: Keeping all %1 channels, applying reorder")
                                    .arg(poly_.channelCount));
            break;
        }
        return *removal;
    }

    static QString namesOf(const std::vector<SourceTrack>& tracks, const std::set<int>& numbers) {
        QStringList names;
        for (const SourceTrack& track : tracks) {
            if (numbers.contains(track.interleaveIndex)) names << track.name;
        }
        return names.join(QStringLiteral(", "));
    }

    bool nothingMatched(const Removal& removal) {
        const bool filters = removal.kind == RemovalKind::byNumber || removal.kind == RemovalKind::byName;
        if (!filters || !removal.numbers.empty()) return false;
        log_.warning(kProcess, QStringLiteral("⚠️ No matching channels found - skipping file"));
        return true;
    }

    void plan(const std::vector<SourceTrack>& tracks, const Removal& removal) {
        const std::vector<SourceTrack> kept = keptTracks(tracks, removal.numbers, reorder_);
        if (reordered_) {
            log_.info(kProcess,
                      QStringLiteral("🔀 Reorder applied: ") + listed(kept, " → ", [](const SourceTrack& track) {
                          return numberAndName(track.interleaveIndex, track.name);
                      }));
        }
        final_ = reindexed(kept, renames_, reordered_);
        logRenames();
        log_.info(kProcess, QStringLiteral("📦 Keeping %1/%2 channels (reindexed 1-based): %3")
                                .arg(final_.size())
                                .arg(poly_.channelCount)
                                .arg(listed(final_, ", ", [](const FinalTrack& track) {
                                    return numberAndName(track.interleaveIndex, track.name);
                                })));
    }

    void logRenames() {
        QStringList applied;
        for (const FinalTrack& track : final_) {
            const auto rename = renames_.find(track.interleaveIndex);
            if (rename == renames_.end() || rename->second.isEmpty()) continue;
            applied << QStringLiteral("Ch%1→%2").arg(track.interleaveIndex).arg(track.name);
        }
        if (applied.isEmpty()) return;
        log_.success(kMetadata, QStringLiteral("✏️ Batch rename applied: ") + applied.join(QStringLiteral(", ")));
    }

    QString chooseOutput(const QString& folder, const QString& givenName) {
        QString name = givenName;
        if (name.isEmpty()) {
            name = poly_.fileName;
            name.remove(QStringLiteral(".wav")).remove(QStringLiteral(".WAV"));
        }
        QString output = paths::append(folder, polyFileName(name));
        if (givenName.isEmpty() && isSource(output)) {
            output = paths::append(folder, polyFileName(name, QStringLiteral("_%1ch").arg(final_.size())));
            log_.warning(kProcess,
                         QStringLiteral("⚠️ Output folder same as input - added '_%1ch' suffix to prevent "
                                        "overwrite")
                             .arg(final_.size()));
        }
        // ffmpeg would empty the file that it reads.
        if (isSource(output)) {
            throw filterError(4, QStringLiteral("Output is the source file: ") + paths::lastComponent(output));
        }
        return output;
    }

    bool isSource(const QString& output) const {
        return paths::absolute(output).toLower() == paths::absolute(poly_.url).toLower() ||
               paths::isSameFile(output, poly_.url);
    }

    void make(const OutputFile& output) {
        log_.info(kProcess, QStringLiteral("💾 Output: ") + paths::lastComponent(output.path()));
        const Road road(tools_.engine(), {poly_.url}, poly_.channelCount, QStringLiteral("wav"));
        if (!road.detour().isEmpty()) log_.info(kProcess, road.detour());
        conforms_ = isToConform_ && road.isDirect();
        if (isToConform_ && !conforms_) warn(unconformedSentence(poly_.fileName));
        const auto byFFmpeg = [&] {
            build(output);
            restoreMetadata(output);
        };
        const QStringList warnings = road.make({plannedOutput(output)}, byFFmpeg, {}, proof_.sources());
        for (const QString& warning : warnings) warn(warning);
        if (road.isDirect()) {
            log_.success(kProcess, QStringLiteral("✅ Created new %1-channel poly: %2")
                                       .arg(final_.size())
                                       .arg(paths::lastComponent(output.path())));
        }
        if (road.isDirect() || tools_.universalEngine) {
            metadata_ = completeMetadata(poly_.url, output, SourceUmid::kept, log_,
                                         plannedOutput(output).head.descriptionWish());
        }
    }

    PlannedOutput plannedOutput(const OutputFile& output) const {
        PlannedOutput planned{
            output.unfinished(), {}, {.source = poly_.url, .place = placeOf(output), .conforms = conforms_}};
        for (const FinalTrack& track : final_) {
            planned.channels.push_back({poly_.url, track.originalInterleaveIndex - 1});
            planned.head.tracks.push_back(documentTrack(track));
        }
        return planned;
    }

    static TrackIndices documentTrack(const FinalTrack& track) {
        return {track.interleaveIndex, track.channelIndex, encodeXMLText(track.name), track.function};
    }

    IxmlPlace placeOf(const OutputFile& output) const { return {paths::lastComponent(output.path()), poly_.fileName}; }

    void build(const OutputFile& output) {
        const QString file = paths::lastComponent(output.path());
        log_.info(kProcess, QStringLiteral("🔨 Building new poly with ffmpeg pan filter..."));
        const QString layout = panLayout(static_cast<int>(final_.size()), poly_.channelCount, poly_.channelLayout);
        const QString filter = panFilter(final_, layout);
        log_.info(kProcess, QStringLiteral("🔧 Pan filter: ") + filter);
        const ProcessResult ffmpeg = runFFmpeg(filter, output.unfinished());
        if (!ffmpeg.succeeded()) {
            const QString text = QStringLiteral("❌ ffmpeg failed: ") + output.namingFinal(faultText(ffmpeg));
            log_.error(kProcess, text);
            throw filterError(3, text);
        }
        log_.success(kProcess, QStringLiteral("✅ Created new %1-channel poly: %2").arg(final_.size()).arg(file));
    }

    ProcessResult runFFmpeg(const QString& filter, const QString& output) const {
        const QString codec = OutputEncoding::matchSource(poly_.bitDepth, poly_.codecName);
        QStringList command = PolyChannelFilterEngine::buildFilterCommand(poly_.url, filter, codec, output);
        // A classic WAV header can't tell a longer file, and ffmpeg would write a broken one.
        constexpr quint64 kLargestClassicWav = 4'000'000'000;
        if (poly_.fileSize > kLargestClassicWav) {
            command = command.mid(0, command.size() - 2)
                      << QStringLiteral("-rf64") << QStringLiteral("auto") << command.mid(command.size() - 2);
        }
        return ChildProcess::runSilently(tools_.ffmpegPath, command, limitsByProgress({output}));
    }

    void restoreMetadata(const OutputFile& output) {
        if (!tools_.universalEngine) {
            log_.error(kMetadata, QStringLiteral("❌ METADATA ENGINE UNAVAILABLE — bwfmetaedit not found. Output will "
                                                 "have NO metadata."));
            return;
        }
        try {
            carryMetadata(output);
        } catch (const std::exception& error) {
            log_.error(kMetadata,
                       QStringLiteral("❌ METADATA PRESERVATION FAILED: ") + output.namingFinal(describe(error)));
        }
    }

    void carryMetadata(const OutputFile& file) {
        const QString output = file.unfinished();
        const UniversalMetadataEngine& engine = *tools_.universalEngine;
        log_.info(kMetadata, QStringLiteral("📝 Preserving metadata (BWF + SMED + iXML)..."));
        const MetadataPreservationResult capture = engine.extractMetadata(poly_.url, true);
        for (const QString& said : engine.applyMetadata({output}, poly_.url, withoutIXML(capture), true, true, true)) {
            const QString message = file.namingFinal(said);
            log_.debug(message);
            if (message.startsWith(QStringLiteral("⚠️"))) log_.warning(kMetadata, message);
        }
        log_.success(kMetadata, QStringLiteral("✅ BWF + SMED preserved (%1 chunks)").arg(capture.riffChunks.size()));
        log_.info(kMetadata, QStringLiteral("🔧 Rebuilding iXML with corrected track mapping..."));
        log_.info(kMetadata, QStringLiteral("📋 Metadata map: ") + listed(final_, ", ", [](const FinalTrack& track) {
                                 return QStringLiteral("Out%1←Src%2:%3(CH%4)")
                                     .arg(track.interleaveIndex)
                                     .arg(track.originalInterleaveIndex)
                                     .arg(track.name)
                                     .arg(track.channelIndex);
                             }));
        rebuildTrackList(engine, file);
        log_.success(kMetadata, QStringLiteral("✅ iXML rebuilt - %1 tracks with correct interleave indices matching "
                                               "physical order")
                                    .arg(final_.size()));
    }

    // The rebuild works on ISOs, as the join's does, so each channel becomes the document of one.
    void rebuildTrackList(const UniversalMetadataEngine& engine, const OutputFile& file) {
        const QString source = engine.extractiXMLString(poly_.url);
        std::vector<IsoDocument> isos;
        for (const FinalTrack& track : final_) {
            isos.push_back(
                {numberAndName(track.interleaveIndex, track.name),
                 performUniversalXMLSurgery(source, singleTrackList(documentTrack(track)), generateFileUID())});
        }
        nameParent(source, isos.front().ixml);
        engine.rebuildFromDocuments(isos, file.unfinished(), placeOf(file));
    }

    // The rebuild makes the first ISO's FILE_UID the parent of the new poly. No file ever had that one, so it gives way
    // to the UID of the poly that the ISO was taken from.
    static void nameParent(const QString& source, QString& iso) {
        const auto sourceUID = elementOnOneLine(source, u"FILE_UID");
        const auto uid = elementOnOneLine(iso, u"FILE_UID");
        if (!uid) return;
        iso.replace(uid->start, uid->end - uid->start, sourceUID ? sourceUID->wholeText(source) : QString());
    }

    void publish(OutputFile& output) {
        std::vector<ChannelPair> pairs;
        for (const FinalTrack& track : final_) {
            const int channel = static_cast<int>(&track - final_.data());
            pairs.push_back({{poly_.url, track.originalInterleaveIndex - 1}, {output.unfinished(), channel}});
        }
        proven_ = proof_.of(pairs, {{output.unfinished(), output.path()}});
        if (proven_ && proven_->differs()) throw ProofError(*proven_);
        const OutputFile::End end = output.finish(pairs, OutputFile::Check::strict);
        if (!end.failure.isEmpty()) throw FileError(end.failure);
        for (const QString& warning : end.warnings) warn(warning);
    }

    void warn(const QString& warning) {
        log_.warning(kProcess, warning);
        warnings_ << warning;
    }

    ChannelFilterResult skipped(const QString& why) { return finished(ProcessingStatus::skipped(why), {}); }

    ChannelFilterResult finished(const ProcessingStatus& status, const QStringList& outputs) {
        ChannelFilterResult result;
        result.outcome = {status, outputs, warnings_, status.text, ItemOutcome::allKept({poly_.url})};
        if (metadata_ && !outputs.isEmpty()) result.outcome.metadata = *metadata_;
        if (!outputs.isEmpty()) result.outcome.proof = proven_;
        result.channelCount = static_cast<int>(final_.size());
        for (const FinalTrack& track : final_) result.trackNames << track.name;
        result.logEntries = log_.take();
        return result;
    }

    const PolyChannelFilterEngine& engine_;
    const PolyEngineTools& tools_;
    const PolyFile& poly_;
    const RenameMap& renames_;
    const ReorderList& reorder_;
    const bool reordered_;
    const bool isToConform_;
    bool conforms_ = false; // the head of this file
    RunLedger ownLedger_;   // of an edit by itself
    RunLedger& ledger_;
    EngineLog log_;
    OutputProof proof_;
    std::optional<ProofRecord> proven_;
    std::vector<FinalTrack> final_;
    QStringList warnings_;
    std::optional<MetadataRecord> metadata_; // nothing: there was no tool to carry any
};

} // namespace

PolyChannelFilterEngine::PolyChannelFilterEngine(PolyEngineTools tools, PolyEngineHooks hooks)
    : tools_(std::move(tools)), hooks_(std::move(hooks)) {}

ChannelFilterResult
PolyChannelFilterEngine::removeChannelsFromPoly(const PolyFile& polyFile, const ChannelFilterOptions& filter,
                                                const QString& outputFolder, const QString& outputFileName,
                                                const RenameMap& batchRenameMap, const ReorderList& channelReorderMap,
                                                ExistingOutput rule, bool proves, bool conforms) const {
    return Edit(*this, tools_, hooks_, polyFile, batchRenameMap, channelReorderMap, proves, conforms)
        .run(filter, outputFolder, outputFileName, rule);
}

std::vector<SourceTrack> PolyChannelFilterEngine::extractTrackListFromPoly(const QString& polyURL, int channelCount,
                                                                           const QString& bwfmetaeditPath) const {
    std::vector<SourceTrack> tracks =
        tracksInChannelOrder(exportIXML(*tools_.answers, bwfmetaeditPath, polyURL).value_or(QString()));
    return tracks.empty() ? sequentialTracks(channelCount) : tracks;
}

QStringList PolyChannelFilterEngine::buildFilterCommand(const QString& polyURL, const QString& filter,
                                                        const QString& codec, const QString& output) {
    return {QStringLiteral("-i"),
            polyURL,
            QStringLiteral("-filter_complex"),
            filter,
            QStringLiteral("-map"),
            QStringLiteral("[out]"),
            QStringLiteral("-c:a"),
            codec,
            QStringLiteral("-y"),
            output};
}

} // namespace ostrel
