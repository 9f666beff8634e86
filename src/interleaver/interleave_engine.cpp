#include "interleaver/interleave_engine.h"

#include "foundation/debug_log.h"
#include "foundation/ffmpeg_command.h"
#include "foundation/ffprobe_parser.h"
#include "interleaver/channel_comparison.h"
#include "interleaver/chunk_carrying.h"
#include "interleaver/interleave_command.h"
#include "metadata/core_document.h"
#include "platform/child_process.h"
#include "platform/diagnostics.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/text.h"
#include "platform/tool_limits.h"

namespace ostrel {
namespace {

// " (with SMED preservation)", or what became of it instead.
QString chunkSuffix(const QString& output, const std::vector<RIFFChunk>& chunks) {
    if (chunks.empty()) return QString();
    const QString why = injectChunks(output, chunks);
    if (why.isEmpty()) return QStringLiteral(" (with SMED preservation)");
    printDiagnostic(QStringLiteral("⚠️  Failed to inject chunks: ") + why);
    return QStringLiteral(" (SMED injection failed)");
}

QStringList filesInOrder(const InterleaveGroup& group, const ChannelLayout& layout) {
    QStringList files;
    for (const QString& tag : layout.channelTags) files << group.channelFiles.value(tag);
    return files;
}

// Overwriting goes through ffmpeg's -y, and ffmpeg would truncate a source that the output's name leads to.
bool isOneOfTheSources(const QString& output, const InterleaveGroup& group) {
    return std::any_of(group.channelFiles.begin(), group.channelFiles.end(),
                       [&](const QString& file) { return paths::isSameFile(file, output); });
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

InterleaveEngine::InterleaveEngine(const QString& ffmpegPath, const QString& bwfmetaeditPath,
                                   StatusUpdate onStatusUpdate)
    : ffmpegPath_(ffmpegPath), bwfmetaeditPath_(bwfmetaeditPath), onStatusUpdate_(std::move(onStatusUpdate)) {}

QString InterleaveEngine::generateOutputURL(const InterleaveGroup& group, const ProcessingOptions& options) {
    const QString first = group.firstFile();
    if (first.isEmpty()) return QString();
    const QString name = group.baseName + QLatin1Char('.') + group.outputFormat(options.outputFormatPolicy);
    return paths::append(paths::append(paths::parent(first), QStringLiteral("Interleaved")), name);
}

InterleaveResult InterleaveEngine::interleave(const InterleaveGroup& group, const ChannelLayout& layout,
                                              const QString& outputURL, const ProcessingOptions& options) const {
    const QString metadataSource = group.firstFile();
    const std::vector<RIFFChunk> chunks = extractChunksOrExplain(metadataSource);
    const QString format = group.outputFormat(options.outputFormatPolicy);
    const QStringList arguments = buildInterleaveCommand(group, layout, format, outputURL);
    try {
        files::createFolder(paths::parent(outputURL));
    } catch (const FileError& error) {
        return {false, outputURL, QStringLiteral("Failed to create output directory: ") + error.description,
                arguments.join(u' ')};
    }
    if (paths::exists(outputURL) && options.skipIfExists) {
        return {false, outputURL, QStringLiteral("Output already exists (skipped)")};
    }
    if (isOneOfTheSources(outputURL, group)) {
        return {false, outputURL, QStringLiteral("The output is one of the sources: ") + outputURL};
    }

    InterleaveResult result = runFFmpeg(group, arguments, outputURL, chunks);
    if (!result.success) return result;
    const QStringList differing = differingChannels(filesInOrder(group, layout), outputURL);
    if (!differing.isEmpty()) {
        result.warnings << QStringLiteral("%1: the samples of %2 are not those of the source: ffmpeg converted or "
                                          "reordered the channels on the way")
                               .arg(paths::lastComponent(outputURL), differing.join(QStringLiteral(", ")));
    }
    if (chunks.empty()) {
        try {
            cloneMetadata(metadataSource, outputURL);
        } catch (const InterleaveError& error) {
            result.message = QStringLiteral("Audio OK, metadata warning: ") + error.errorDescription();
        }
    }
    return result;
}

InterleaveResult InterleaveEngine::runFFmpeg(const InterleaveGroup& group, const QStringList& arguments,
                                             const QString& outputURL, const std::vector<RIFFChunk>& chunks) const {
    InterleaveResult result{false, outputURL, QString(), arguments.join(u' ')};
    const PartialOutput partial(outputURL);
    report(group.id, ProcessingStatus::processing());
    appendToDebugLog(QStringLiteral("InterleaveEngine"), result.ffmpegCommand);
    ProcessResult run;
    try {
        run = ChildProcess::runForResult(ffmpegPath_, arguments, limitsByProgress({outputURL}));
    } catch (const ProcessLaunchError& error) {
        throw InterleaveError(InterleaveError::Kind::processLaunchFailure, error.description);
    }
    if (!run.succeeded()) {
        const QString reason = extractFFmpegError(run.errorText());
        partial.discard();
        report(group.id, ProcessingStatus::failed(reason));
        result.message = QStringLiteral("ffmpeg error: ") + reason;
        return result;
    }
    if (!paths::exists(outputURL)) {
        printDiagnostic(QStringLiteral("⚠️  Cannot inject chunks - output file doesn't exist: ") +
                        paths::lastComponent(outputURL));
        result.message = QStringLiteral("ffmpeg failed to create output file");
        return result;
    }
    const QString suffix = chunkSuffix(outputURL, chunks);
    report(group.id, ProcessingStatus::completed());
    result.success = true;
    result.message = QStringLiteral("Successfully created: %1%2").arg(paths::lastComponent(outputURL), suffix);
    return result;
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
    run(QStringLiteral("--out-core="), core.path, from);
    run(QStringLiteral("--out-iXML="), ixml.path, from);
    if (paths::exists(core.path)) {
        reaimCoreDocumentFile(core.path, to);
        run(QStringLiteral("--in-core="), core.path, to);
    }
    if (paths::exists(ixml.path)) run(QStringLiteral("--in-iXML="), ixml.path, to);
}

ProcessingStatus InterleaveEngine::verifyInterleavedOutput(const QString& outputURL, int expectedChannels,
                                                           std::optional<double> expectedDuration,
                                                           const QString& ffprobePath) const {
    const AudioFileInfo info = FFProbeParser(ffprobePath).probe(outputURL);
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

bool InterleaveEngine::verifyMetadataPresent(const QString& path) const {
    if (bwfmetaeditPath_.isEmpty()) return false;
    const QString document = files::temporaryPath(QStringLiteral("csv"));
    try {
        const ProcessResult exported = ChildProcess::runSilently(
            bwfmetaeditPath_, {QStringLiteral("--out-core=") + document, path}, limitsByFileSize({path}),
            ChildProcess::StandardError::dropped);
        const std::optional<QString> text = exported.succeeded() ? decodeUtf8(files::read(document)) : std::nullopt;
        files::removeQuietly(document);
        const QStringList lines = text.value_or(QString()).split(u'\n');
        if (lines.size() < 2) return false;
        // Cut at every comma, quotes are not looked at: description, originator, originator reference.
        const QStringList cells = lines[1].split(u',');
        return cells.size() >= 4 && std::any_of(cells.begin() + 1, cells.begin() + 4,
                                                [](const QString& cell) { return !cell.trimmed().isEmpty(); });
    } catch (const FileError&) {
        return false; // no document: nothing is known, so nothing is certified
    } catch (const ProcessLaunchError& error) {
        throw InterleaveError(InterleaveError::Kind::processLaunchFailure, error.description);
    }
}

void InterleaveEngine::report(const QUuid& groupId, const ProcessingStatus& status) const {
    if (onStatusUpdate_) onStatusUpdate_(groupId, status);
}

} // namespace ostrel
