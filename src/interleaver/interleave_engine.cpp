#include "interleaver/interleave_engine.h"

#include "foundation/chunks/chunk_bytes.h"
#include "foundation/chunks/shown_recording.h"
#include "foundation/logs/debug_log.h"
#include "foundation/proof/audio_proof.h"
#include "foundation/proof/output_proof.h"
#include "foundation/proof/unexplained_bytes.h"
#include "foundation/run/output_file.h"
#include "foundation/tools/ffmpeg_command.h"
#include "foundation/tools/ffprobe_parser.h"
#include "interleaver/chunk_carrying.h"
#include "interleaver/interleave_command.h"
#include "interleaver/speaker_order.h"
#include "metadata/bext_completion.h"
#include "metadata/bext_identity.h"
#include "metadata/core_document.h"
#include "metadata/csv_table.h"
#include "platform/diagnostics.h"
#include "platform/files/file_name.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"
#include "platform/text/text.h"
#include "roads/road.h"

#include <array>

namespace ostrel {
namespace {

constexpr quint32 kSmpte51Speakers = 0x3F; // L R C LFE Ls Rs; no other layout's order can be told by a mask

// One of these has to say something, or a file has no identity that could be preserved.
constexpr std::array kIdentity{"Description", "Originator", "OriginatorReference"};

InterleaveResult skipped(InterleaveResult result) {
    result.outcome.message = QStringLiteral("Output already exists (skipped)");
    result.outcome.status = ProcessingStatus::skipped(result.outcome.message);
    result.ffmpegCommand.clear();
    return result;
}

QStringList tagsOf(const InterleaveGroup& group, const ChannelLayout& layout) {
    QStringList tags;
    for (const QString& tag : layout.channelTags) {
        if (group.channelFiles.contains(tag)) tags << tag;
    }
    return tags;
}

// " (with SMED preservation)", or what became of it instead.
QString chunkSuffix(const QString& output, const std::vector<RIFFChunk>& chunks) {
    if (chunks.empty()) return QString();
    const QString why = injectChunks(output, chunks);
    if (why.isEmpty()) return QStringLiteral(" (with SMED preservation)");
    printDiagnostic(QStringLiteral("⚠️  Failed to inject chunks: ") + why);
    return QStringLiteral(" (SMED injection failed)");
}

} // namespace

QString InterleaveError::errorDescription() const {
    switch (kind) {
    case Kind::processLaunchFailure: return QStringLiteral("Failed to launch ffmpeg: ") + text;
    case Kind::missingChannelFile: return QStringLiteral("Missing channel file for: ") + text;
    case Kind::metadataCopyFailed: return QStringLiteral("Metadata copy failed: ") + text;
    case Kind::invalidOutputPath: return QStringLiteral("Invalid output path");
    case Kind::metadataToolNotFound: break;
    }
    return QStringLiteral("bwfmetaedit not found (metadata preservation disabled)");
}

QString metadataSource(const InterleaveGroup& group) {
    const QString left = group.channelFiles.value(QStringLiteral("L"));
    return left.isEmpty() ? group.firstFile() : left;
}

QStringList filesInOrder(const InterleaveGroup& group, const ChannelLayout& layout) {
    QStringList files;
    for (const QString& tag : layout.channelTags) {
        if (group.channelFiles.contains(tag)) files << group.channelFiles.value(tag);
    }
    return files;
}

std::vector<ChannelPair> channelPairs(const QStringList& monoFiles, const QString& multichannelFile) {
    std::vector<ChannelPair> pairs;
    for (int channel = 0; channel < monoFiles.size(); ++channel) {
        pairs.push_back({{monoFiles[channel], 0}, {multichannelFile, channel}});
    }
    return pairs;
}

InterleaveEngine::InterleaveEngine(const QString& ffmpegPath, const QString& bwfmetaeditPath,
                                   StatusUpdate onStatusUpdate, EngineChoice engine)
    : ffmpegPath_(ffmpegPath), bwfmetaeditPath_(bwfmetaeditPath), onStatusUpdate_(std::move(onStatusUpdate)),
      engine_(engine) {}

QString InterleaveEngine::generateOutputURL(const InterleaveGroup& group, const ProcessingOptions& options) {
    const QString first = group.firstFile();
    if (first.isEmpty()) return QString();
    const QString ending = QLatin1Char('.') + group.outputFormat(options.outputFormatPolicy);
    return paths::append(paths::append(paths::parent(first), QStringLiteral("Interleaved")),
                         fittedFileName(group.baseName, ending));
}

// One job on its way: what it needs at every step, and what it gives in the end.
struct InterleaveEngine::Work {
    const InterleaveGroup& group;
    OutputProof proof;
    std::vector<RIFFChunk> chunks;
    std::optional<OutputFile> file;
    InterleaveResult result;
    bool hasFailed = false;
    bool isWhole = false; // no tool has to bring its metadata

    void fail(const QString& message) {
        hasFailed = true;
        result.outcome.status = ProcessingStatus::failed(message);
        result.outcome.message = message;
    }
};

InterleaveResult InterleaveEngine::interleave(const InterleaveGroup& group, const ChannelLayout& layout,
                                              const QString& outputURL, const ProcessingOptions& options,
                                              RunLedger* ledger, const BeforePublishing& complete,
                                              bool isDurable) const {
    const QStringList sources = filesInOrder(group, layout);
    RunLedger ownLedger(group.channelFiles.values());
    if (!ledger) ledger = &ownLedger;
    Work work{.group = group, .proof = OutputProof(options.proves)};
    ItemOutcome& outcome = work.result.outcome;
    outcome.sources = ItemOutcome::allKept(sources);
    const auto command = [&, format = group.outputFormat(options.outputFormatPolicy)](const QString& output) {
        return buildInterleaveCommand(group, layout, format, output);
    };
    try {
        outcome.warnings << ledger->prepareFolder(paths::parent(outputURL));
    } catch (const FileError& error) {
        work.result.ffmpegCommand = command(outputURL).join(u' ');
        work.fail(QStringLiteral("Failed to create output directory: ") + error.description);
        return work.result;
    }
    const auto isEarlierOutput = [&] { return AudioProof::of(sources, channelPairs(sources, outputURL)).holds(); };
    work.file.emplace(*ledger, outputURL, options.skipIfExists ? ExistingOutput::skipped : ExistingOutput::replaced,
                      isEarlierOutput);
    const WritePermission& permission = work.file->permission();
    if (permission.kind == WritePermission::Kind::exists) return skipped(std::move(work.result));
    if (!permission.isGranted()) work.fail(permission.reason);
    if (work.hasFailed) return work.result;

    outcome.warnings << unexplainedBytesWarnings(sources);
    make(work, layout, group.outputFormat(options.outputFormatPolicy), sources);
    if (!work.hasFailed) {
        if (complete) complete(work.file->unfinished(), work.isWhole);
        publish(work, sources, isDurable);
    }
    if (!outcome.skipped()) report(group.id, outcome.status);
    return work.result;
}

void InterleaveEngine::make(Work& work, const ChannelLayout& layout, const QString& format,
                            const QStringList& sources) const {
    const QStringList tags = tagsOf(work.group, layout);
    const QString output = work.file->unfinished();
    const Road road(engine_, sources, 1, format);
    work.isWhole = road.isDirect();
    work.result.detour = road.detour();
    const QString parent = metadataSource(work.group);
    PlannedOutput planned{
        output,
        {},
        {.source = parent,
         .tracks = tracksOfSet(sources, tags),
         .place = IxmlPlace::alone(paths::lastComponent(work.file->path()), paths::lastComponent(parent))}};
    for (const QString& source : sources) planned.channels.push_back({source, 0});
    planned.head.speakers = layout == ChannelLayout::smpte51 ? kSmpte51Speakers : 0;
    work.result.outcome.message = QStringLiteral("Successfully created: ") + paths::lastComponent(work.file->path());
    report(work.group.id, ProcessingStatus::processing());
    try {
        const auto byFFmpeg = [&] {
            work.chunks = fittedChunks(extractChunksOrExplain(work.group.firstFile()), planned.head);
            runFFmpeg(work, buildInterleaveCommand(work.group, layout, format, output));
            if (!work.hasFailed) addMetadata(work);
        };
        work.result.outcome.warnings << road.make({planned}, byFFmpeg, {}, work.proof.sources());
    } catch (const RoadError& error) {
        work.fail(work.file->namingFinal(error.description));
    }
}

void InterleaveEngine::runFFmpeg(Work& work, const QStringList& arguments) const {
    work.result.ffmpegCommand = arguments.join(u' ');
    appendToDebugLog(QStringLiteral("InterleaveEngine"), work.result.ffmpegCommand);
    ProcessResult run;
    try {
        run = ChildProcess::runForResult(ffmpegPath_, arguments, limitsByProgress({work.file->unfinished()}));
    } catch (const ProcessLaunchError& error) {
        throw InterleaveError(InterleaveError::Kind::processLaunchFailure, error.description);
    }
    if (!run.succeeded()) {
        return work.fail(
            work.file->namingFinal(QStringLiteral("ffmpeg error: ") + extractFFmpegError(run.errorText())));
    }
    if (paths::exists(work.file->unfinished())) return;
    printDiagnostic(QStringLiteral("⚠️  Cannot inject chunks - output file doesn't exist: ") +
                    paths::lastComponent(work.file->path()));
    work.fail(QStringLiteral("ffmpeg failed to create output file"));
}

void InterleaveEngine::addMetadata(Work& work) const {
    QString& message = work.result.outcome.message;
    message = QStringLiteral("Successfully created: %1%2")
                  .arg(paths::lastComponent(work.file->path()), chunkSuffix(work.file->unfinished(), work.chunks));
    if (!work.chunks.empty()) return;
    try {
        cloneMetadata(work.group.firstFile(), work.file->unfinished());
    } catch (const InterleaveError& error) {
        message = QStringLiteral("Audio OK, metadata warning: ") + error.errorDescription();
    }
}

void InterleaveEngine::publish(Work& work, const QStringList& sources, bool isDurable) const {
    const auto check = mayReorder(sources) ? OutputFile::Check::tolerant : OutputFile::Check::strict;
    const std::vector<ChannelPair> pairs = channelPairs(sources, work.file->unfinished());
    const std::optional<ProofRecord> proof = work.proof.of(pairs, {{work.file->unfinished(), work.file->path()}});
    ItemOutcome& outcome = work.result.outcome;
    if (proof && proof->differs()) {
        outcome.proof = proof;
        return work.fail(proof->failure());
    }
    const OutputFile::End end = work.file->finish(pairs, check, isDurable);
    outcome.warnings << end.warnings;
    work.result.isFaithful = end.isFaithful;
    if (end.nameWasTaken) {
        work.result = skipped(std::move(work.result)); // another program was faster
    } else if (!end.failure.isEmpty()) {
        work.fail(end.failure);
    } else {
        outcome.outputs = QStringList(work.file->path());
        outcome.proof = proof;
        outcome.status = ProcessingStatus::completed();
    }
}

void InterleaveEngine::cloneMetadata(const QString& from, const QString& to) const {
    if (bwfmetaeditPath_.isEmpty()) throw InterleaveError(InterleaveError::Kind::metadataToolNotFound);
    try {
        const ProcessResult copied = ChildProcess::runSilently(
            bwfmetaeditPath_, {QStringLiteral("--reject-overwrite"), QStringLiteral("--copy"), from, to},
            limitsByFileSize({from, to}));
        if (copied.succeeded()) return;
        printDiagnostic(QStringLiteral("[InterleaveEngine] bwfmetaedit --copy failed (will try extraction): ") +
                        copied.errorText());
        cloneMetadataViaExtraction(from, to);
    } catch (const ProcessLaunchError& error) {
        throw InterleaveError(InterleaveError::Kind::metadataCopyFailed, error.description);
    } catch (const FileError& error) {
        throw InterleaveError(InterleaveError::Kind::metadataCopyFailed, error.description);
    } catch (const CoreDocumentError& error) {
        throw InterleaveError(InterleaveError::Kind::metadataCopyFailed, error.description);
    }
}

void InterleaveEngine::cloneMetadataViaExtraction(const QString& from, const QString& to) const {
    struct TemporaryFile {
        QString path;
        ~TemporaryFile() { files::removeQuietly(path); }
    };
    const TemporaryFile core{files::temporaryPath(QStringLiteral("csv"))};
    const TemporaryFile ixml{files::temporaryPath(QStringLiteral("xml"))};
    const auto run = [&](const QString& option, const QString& document, const QString& file) {
        const ProcessResult result =
            ChildProcess::runInherited(bwfmetaeditPath_, {option + document, file}, limitsByFileSize({file}));
        if (result.ended == ChildEnd::byItself) return;
        throw InterleaveError(InterleaveError::Kind::metadataCopyFailed,
                              QStringLiteral("bwfmetaedit was ") + result.why);
    };
    const ShownRecording shown(from);
    run(QStringLiteral("--out-core="), core.path, shown.path());
    run(QStringLiteral("--out-iXML="), ixml.path, shown.path());
    if (paths::exists(core.path)) {
        reaimCoreDocumentFile(core.path, to);
        run(QStringLiteral("--in-core="), core.path, to);
    }
    if (paths::exists(ixml.path)) run(QStringLiteral("--in-iXML="), ixml.path, to);
}

ProcessingStatus InterleaveEngine::verifyInterleavedOutput(const QString& outputURL, int expectedChannels,
                                                           std::optional<double> expectedDuration,
                                                           const QString& ffprobePath) const {
    const AudioFileInfo info = FFProbeParser(ffprobePath, engine_).probe(outputURL);
    if (info.channels != expectedChannels) {
        return ProcessingStatus::failed(
            QStringLiteral("Channel count mismatch: expected %1, got %2").arg(expectedChannels).arg(info.channels));
    }
    constexpr double tolerance = 0.01; // seconds
    if (expectedDuration && durationsDiffer(*expectedDuration, info.duration, tolerance)) {
        return ProcessingStatus::failed(
            QStringLiteral("Duration mismatch: %1s vs %2s").arg(fixed(*expectedDuration, 3), fixed(info.duration, 3)));
    }
    return verifyMetadataPresent(outputURL)
               ? ProcessingStatus::completedCarbonCopyCertified()
               : ProcessingStatus::completedUncertified(QStringLiteral("Metadata verification uncertain"));
}

std::optional<QMap<QString, QString>> InterleaveEngine::identityFields(const QString& path) const {
    if (bwfmetaeditPath_.isEmpty()) return std::nullopt;
    const QString document = files::temporaryPath(QStringLiteral("csv"));
    try {
        const ProcessResult exported =
            ChildProcess::runSilently(bwfmetaeditPath_, {QStringLiteral("--out-core=") + document, path},
                                      limitsByFileSize({path}), ChildProcess::StandardError::dropped);
        const std::optional<QString> text = exported.succeeded() ? decodeUtf8(files::read(document)) : std::nullopt;
        files::removeQuietly(document);
        const std::vector<QStringList> rows = parseCSV(text.value_or(QString()));
        if (rows.size() < 2) return std::nullopt;
        QMap<QString, QString> fields;
        for (const char* name : kIdentity) {
            const qsizetype column = rows[0].indexOf(QString::fromLatin1(name));
            fields.insert(QString::fromLatin1(name), column < 0 ? QString() : rows[1].value(column).trimmed());
        }
        return fields;
    } catch (const FileError&) {
        return std::nullopt; // no document: nothing is known, so nothing is certified
    } catch (const ProcessLaunchError& error) {
        throw InterleaveError(InterleaveError::Kind::processLaunchFailure, error.description);
    }
}

bool InterleaveEngine::verifyMetadataPresent(const QString& path) const {
    if (engine_ == EngineChoice::direct) {
        const auto identity = readBextIdentity(path);
        return identity && !(identity->description + identity->originator + identity->originatorReference).isEmpty();
    }
    const auto fields = identityFields(path);
    return fields && std::any_of(kIdentity.begin(), kIdentity.end(),
                                 [&](const char* name) { return !fields->value(QString::fromLatin1(name)).isEmpty(); });
}

std::optional<QStringList> InterleaveEngine::differingIdentity(const QString& source, const QString& output) const {
    const QByteArray bext = WaveChunks(source).bytes("bext").value_or(QByteArray());
    const QByteArray tracks = WaveChunks(output).bytes("iXML").value_or(QByteArray());
    const auto wanted = bextIdentityOf(bextFor(bext, tracks, SourceUmid::kept, paths::lastComponent(output)));
    const auto found = readBextIdentity(output);
    if (!wanted || !found) return std::nullopt;
    return wanted->differencesFrom(*found);
}

void InterleaveEngine::report(const QUuid& groupId, const ProcessingStatus& status) const {
    if (onStatusUpdate_) onStatusUpdate_(groupId, status);
}

} // namespace ostrel
