#include "interleaver/deinterleave_engine.h"

#include "foundation/logs/debug_log.h"
#include "foundation/proof/audio_proof.h"
#include "foundation/proof/glance.h"
#include "foundation/proof/output_proof.h"
#include "foundation/proof/unexplained_bytes.h"
#include "foundation/tools/ffmpeg_command.h"
#include "interleaver/chunk_carrying.h"
#include "interleaver/interleave_command.h"
#include "interleaver/speaker_order.h"
#include "platform/background.h"
#include "platform/diagnostics.h"
#include "platform/files/files.h"
#include "platform/files/new_file.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"
#include "roads/road.h"

#include <map>
#include <memory>

namespace ostrel {
namespace {

// The outputs' names in the layout's order, as a person reads channels.
QStringList namesOf(const QMap<QString, QString>& outputs, const MultiChannelSource& source) {
    QStringList names;
    for (const QString& tag : source.layout.channelTags) {
        if (outputs.contains(tag)) names << paths::lastComponent(outputs.value(tag));
    }
    return names;
}

// Why outputs that are there already stop the job; empty if they don't.
QString refusal(const QStringList& existingNames, const ProcessingOptions& options) {
    if (existingNames.isEmpty() || options.overwriteExisting) return QString();
    const QString names = existingNames.join(QStringLiteral(", "));
    if (options.skipIfExists) return QStringLiteral("Skipped (outputs exist): ") + names;
    return QStringLiteral("Output already exists: %1. Enable 'Skip if output exists' or 'Overwrite existing'.")
        .arg(names);
}

// A look at every output's rate, depth and channel count. It prints, and changes nothing.
void verifyMetadataPreserved(const QString& ffprobePath, const MultiChannelSource& source, const QStringList& outputs) {
    for (const QString& output : outputs) {
        try {
            const ProcessResult probe = ChildProcess::runForResult(
                ffprobePath,
                {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-show_entries"),
                 QStringLiteral("stream=sample_rate,bits_per_sample,channels"), QStringLiteral("-of"),
                 QStringLiteral("csv=p=0"), output},
                limitsByFileSize({output}));
            if (!probe.succeeded()) continue; // moved or removed since
            const QString values = probe.outputText().trimmed();
            // ffprobe prints fields in the order of its own, not of the request.
            const QString expected = QStringLiteral("%1,1,%2").arg(source.sampleRate).arg(source.bitDepth);
            if (values == expected) continue;
            printDiagnostic(
                QStringLiteral("⚠️ Metadata verification warning for %1: expected %2Hz/%3bit/1ch, got %4")
                    .arg(paths::lastComponent(output))
                    .arg(source.sampleRate)
                    .arg(source.bitDepth)
                    .arg(values));
        } catch (const ProcessLaunchError&) {
            return; // ffprobe went away after the job was done: nothing to look with
        }
    }
}

} // namespace

std::vector<ChannelPair> channelPairs(const MultiChannelSource& source, const QStringList& order,
                                      const QMap<QString, QString>& files) {
    std::vector<ChannelPair> pairs;
    for (int channel = 0; channel < order.size(); ++channel) {
        if (files.contains(order[channel]))
            pairs.push_back({{source.sourceURL, channel}, {files.value(order[channel]), 0}});
    }
    return pairs;
}

QString DeinterleaveError::errorDescription() const {
    switch (kind) {
    case Kind::processLaunchFailure: return QStringLiteral("Failed to launch ffmpeg: ") + text;
    case Kind::noChannelsSelected: return QStringLiteral("No channels selected for export");
    case Kind::invalidSourceFile: break;
    }
    return QStringLiteral("Invalid source file");
}

DeinterleaveEngine::DeinterleaveEngine(const QString& ffmpegPath, const QString& ffprobePath,
                                       StatusUpdate onStatusUpdate, EngineChoice engine)
    : ffmpegPath_(ffmpegPath), ffprobePath_(ffprobePath), onStatusUpdate_(std::move(onStatusUpdate)), engine_(engine) {}

// One job on its way.
struct DeinterleaveEngine::Work {
    const MultiChannelSource& source;
    OutputProof proof;
    std::map<QString, std::unique_ptr<NewFile>> files; // by tag
    bool replaces = false;
    DeinterleaveResult result;
    bool hasFailed = false;

    void fail(const QString& message) {
        hasFailed = true;
        result.outcome.status = ProcessingStatus::failed(message);
        result.outcome.message = message;
    }
    QString namingFinal(QString message) const {
        for (const auto& [tag, file] : files) message = file->namingFinal(message);
        return message;
    }
    QMap<QString, QString> finalNames() const {
        QMap<QString, QString> names;
        for (const auto& [tag, file] : files) names.insert(file->path(), paths::lastComponent(file->finalPath()));
        return names;
    }
    QMap<QString, QString> finalPaths() const {
        QMap<QString, QString> paths;
        for (const auto& [tag, file] : files) paths.insert(file->path(), file->finalPath());
        return paths;
    }
    QMap<QString, QString> unfinished() const {
        QMap<QString, QString> paths;
        for (const auto& [tag, file] : files) paths.insert(tag, file->path());
        return paths;
    }
};

DeinterleaveResult DeinterleaveEngine::deinterleave(const MultiChannelSource& source, const ProcessingOptions& options,
                                                    const QString& outputDirectory, RunLedger* ledger,
                                                    const BeforePublishingAll& complete, bool isDurable) const {
    RunLedger ownLedger(QStringList(source.sourceURL));
    if (!ledger) ledger = &ownLedger;
    Work work{.source = source, .proof = OutputProof(options.proves)};
    ItemOutcome& outcome = work.result.outcome;
    outcome.sources = ItemOutcome::allKept({source.sourceURL});
    const QString format = source.outputFormat(options.outputFormatPolicy);
    work.result.outputURLs = source.outputURLs(rawText(options.channelSeparator), outputDirectory, format);
    if (work.result.outputURLs.isEmpty()) throw DeinterleaveError(DeinterleaveError::Kind::noChannelsSelected);
    try {
        outcome.warnings << ledger->prepareFolder(paths::parent(work.result.outputURLs.first()));
    } catch (const FileError& error) {
        work.fail(QStringLiteral("Failed to create output directory: ") + error.description);
        return std::move(work.result);
    }
    const Road road(engine_, {source.sourceURL}, static_cast<int>(source.layout.channelTags.size()), format);
    work.result.detour = road.detour();
    work.result.isWhole = road.isDirect();
    work.result.order = channelOrder(source, road.isDirect());
    if (!mayWriteAll(work, options, *ledger)) return std::move(work.result);

    outcome.warnings << unexplainedBytesWarnings({source.sourceURL});
    for (auto output = work.result.outputURLs.begin(); output != work.result.outputURLs.end(); ++output) {
        work.files[output.key()] = std::make_unique<NewFile>(output.value());
    }
    make(work, road, options, format);
    if (!work.hasFailed) {
        if (complete) complete(work.finalNames(), road.isDirect());
        check(work);
    }
    if (!work.hasFailed) prove(work);
    if (!work.hasFailed) publish(work, isDurable);
    for (const QString& output : outcome.outputs) ledger->noteWritten(output);
    report(source.id, outcome.status);
    if (outcome.succeeded()) lookAtMetadata(work);
    return std::move(work.result);
}

void DeinterleaveEngine::make(Work& work, const Road& road, const ProcessingOptions& options,
                              const QString& format) const {
    const std::vector<PlannedOutput> planned = plannedOutputs(work);
    work.result.outcome.message = QStringLiteral("Successfully created: ") +
                                  namesOf(work.result.outputURLs, work.source).join(QStringLiteral(", "));
    try {
        const auto byFFmpeg = [&] {
            runFFmpeg(work, buildDeinterleaveCommand(work.source, options, format, work.unfinished()) +
                                unselectedChannelSinks(work.source, work.unfinished()));
            if (work.hasFailed) return;
            addChunks(work, planned);
        };
        work.result.outcome.warnings << road.make(planned, byFFmpeg, {}, work.proof.sources());
    } catch (const RoadError& error) {
        work.fail(work.namingFinal(error.description));
    }
}

std::vector<PlannedOutput> DeinterleaveEngine::plannedOutputs(const Work& work) const {
    std::vector<PlannedOutput> outputs;
    const QString& source = work.source.sourceURL;
    const QMap<QString, QString> names = work.finalNames();
    for (const ChannelPair& pair : channelPairs(work.source, work.result.order, work.unfinished())) {
        const int channel = pair.source.channel;
        const IxmlPlace place{names.value(pair.output.file), paths::lastComponent(source), channel + 1,
                              static_cast<int>(work.files.size())};
        outputs.push_back({pair.output.file,
                           {pair.source},
                           {.source = source,
                            .umid = SourceUmid::cleared,
                            .tracks = {trackOfChannel(source, work.result.order, channel)},
                            .place = place}});
    }
    return outputs;
}

bool DeinterleaveEngine::mayWriteAll(Work& work, const ProcessingOptions& options, RunLedger& ledger) const {
    for (const QString& tag : work.result.outputURLs.keys()) {
        if (!work.result.order.contains(tag)) work.fail(QStringLiteral("The source has no channel %1").arg(tag));
    }
    QMap<QString, QString> existing;
    for (auto output = work.result.outputURLs.begin(); output != work.result.outputURLs.end() && !work.hasFailed;
         ++output) {
        const auto isEarlierOutput = [&] {
            return AudioProof::of({}, channelPairs(work.source, work.result.order, {{output.key(), output.value()}}))
                .holds();
        };
        const auto rule = options.overwriteExisting ? ExistingOutput::replaced : ExistingOutput::skipped;
        const WritePermission permission = ledger.mayWrite(output.value(), rule, isEarlierOutput);
        if (permission.kind == WritePermission::Kind::refused) work.fail(permission.reason);
        if (permission.kind == WritePermission::Kind::exists) existing.insert(output.key(), output.value());
        work.replaces = work.replaces || permission.replaces;
    }
    if (work.hasFailed) return false;
    const QString why = refusal(namesOf(existing, work.source), options);
    if (!why.isEmpty()) work.fail(why);
    // All of it, and as asked for: an output that is missing beside others is not there by a later run either.
    work.result.outcome.wasThere =
        options.skipIfExists && !options.overwriteExisting && existing.size() == work.result.outputURLs.size();
    return !work.hasFailed;
}

void DeinterleaveEngine::runFFmpeg(Work& work, const QStringList& arguments) const {
    work.result.ffmpegCommand = arguments.join(u' ');
    appendToDebugLog(QStringLiteral("DeinterleaveEngine"), work.result.ffmpegCommand);
    try {
        const ProcessResult run =
            ChildProcess::runForResult(ffmpegPath_, arguments, limitsByProgress(work.unfinished().values()));
        if (!run.succeeded())
            work.fail(work.namingFinal(QStringLiteral("ffmpeg error: ") + extractFFmpegError(run.errorText())));
    } catch (const ProcessLaunchError& error) {
        throw DeinterleaveError(DeinterleaveError::Kind::processLaunchFailure, error.description);
    }
    for (const auto& [tag, file] : work.files) {
        if (!work.hasFailed && !paths::exists(file->path())) {
            work.fail(QStringLiteral("ffmpeg failed to create %1").arg(paths::lastComponent(file->finalPath())));
        }
    }
}

void DeinterleaveEngine::addChunks(Work& work, const std::vector<PlannedOutput>& outputs) const {
    const std::vector<RIFFChunk> chunks = extractChunksOrExplain(work.source.sourceURL);
    if (chunks.empty()) return;
    for (const PlannedOutput& output : outputs) {
        const QString why = injectChunks(output.file, fittedChunks(chunks, output.head));
        if (why.isEmpty()) continue;
        printDiagnostic(
            QStringLiteral("⚠️  Failed to inject chunks into %1: %2").arg(output.head.place.fileName, why));
    }
    work.result.outcome.message += QStringLiteral(" (with SMED preservation)");
}

void DeinterleaveEngine::check(Work& work) const {
    using Kind = ChannelFinding::Kind;
    const Glance glance = glanceAt(channelPairs(work.source, work.result.order, work.unfinished()));
    const QString name = paths::lastComponent(work.source.sourceURL);
    const QStringList faults = glance.shortOutputs + glance.brokenOutputs;
    if (!faults.isEmpty()) return work.fail(work.namingFinal(faults.first()));
    if (glance.has(Kind::unread)) return work.fail(QStringLiteral("The new files of %1 can't be read back").arg(name));
    if (glance.misread()) return work.fail(misreadSentence({name}));
    const auto nameOf = [&](const ChannelFinding& finding) {
        const QString tag = work.unfinished().key(finding.pair.output.file);
        return paths::lastComponent(work.result.outputURLs.value(tag));
    };
    QStringList unlike;
    QStringList differing;
    for (const ChannelFinding& finding : glance.findings) {
        if (finding.kind == Kind::unlike) unlike << nameOf(finding);
        if (finding.kind == Kind::different || finding.kind == Kind::unlike) differing << nameOf(finding);
    }
    if (!unlike.isEmpty() && !mayRemix(work.source)) {
        return work.fail(QStringLiteral("%1 has not got the sound of its channel in %2")
                             .arg(unlike.join(QStringLiteral(", ")), name));
    }
    if (differing.isEmpty()) return;
    work.result.outcome.warnings << QStringLiteral("%1: ffmpeg converted or remixed the channels on the way, so the "
                                                   "samples of %2 are not those of the source")
                                        .arg(name, differing.join(QStringLiteral(", ")));
}

void DeinterleaveEngine::prove(Work& work) const {
    ItemOutcome& outcome = work.result.outcome;
    outcome.proof = work.proof.of(channelPairs(work.source, work.result.order, work.unfinished()), work.finalPaths());
    if (outcome.proof && outcome.proof->differs()) work.fail(outcome.proof->failure());
}

// All of the set or none of it: a part of it would keep a later run from making the rest.
void DeinterleaveEngine::publish(Work& work, bool isDurable) const {
    try {
        for (const auto& [tag, file] : work.files) {
            file->publish(work.replaces ? NewFile::Over::oldFile : NewFile::Over::nothing, isDurable);
        }
        work.result.outcome.status = ProcessingStatus::completed();
    } catch (const FileError& error) {
        for (const auto& [tag, file] : work.files) file->withdraw();
        work.result.outcome.proof.reset(); // of files that are gone
        work.fail(error.description);
    }
    for (const QString& tag : work.result.order) {
        const auto file = work.files.find(tag);
        if (file != work.files.end() && file->second->isPublished()) {
            work.result.outcome.outputs << file->second->finalPath();
        }
    }
}

void DeinterleaveEngine::lookAtMetadata(const Work& work) const {
    if (ffprobePath_.isEmpty() || work.result.isWhole) return;
    // Detached: the job doesn't wait for it.
    backgroundPool().start([ffprobe = ffprobePath_, source = work.source, outputs = work.result.outcome.outputs] {
        verifyMetadataPreserved(ffprobe, source, outputs);
    });
}

void DeinterleaveEngine::report(const QUuid& sourceId, const ProcessingStatus& status) const {
    if (onStatusUpdate_) onStatusUpdate_(sourceId, status);
}

} // namespace ostrel
