#include "interleaver/deinterleave_engine.h"

#include "foundation/debug_log.h"
#include "foundation/ffmpeg_command.h"
#include "interleaver/channel_comparison.h"
#include "interleaver/chunk_carrying.h"
#include "interleaver/interleave_command.h"
#include "platform/child_process.h"
#include "platform/diagnostics.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/tool_limits.h"

#include <QThreadPool>

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

QStringList existing(const QMap<QString, QString>& outputs, const MultiChannelSource& source) {
    QMap<QString, QString> found;
    for (auto output = outputs.begin(); output != outputs.end(); ++output) {
        if (paths::exists(output.value())) found.insert(output.key(), output.value());
    }
    return namesOf(found, source);
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
                ffprobePath, {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-show_entries"),
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

QString DeinterleaveError::errorDescription() const {
    switch (kind) {
    case Kind::processLaunchFailure: return QStringLiteral("Failed to launch ffmpeg: ") + text;
    case Kind::noChannelsSelected: return QStringLiteral("No channels selected for export");
    case Kind::invalidSourceFile: break;
    }
    return QStringLiteral("Invalid source file");
}

DeinterleaveEngine::DeinterleaveEngine(const QString& ffmpegPath, const QString& ffprobePath,
                                       StatusUpdate onStatusUpdate)
    : ffmpegPath_(ffmpegPath), ffprobePath_(ffprobePath), onStatusUpdate_(std::move(onStatusUpdate)) {}

DeinterleaveResult DeinterleaveEngine::deinterleave(const MultiChannelSource& source, const ProcessingOptions& options,
                                                    const QString& outputDirectory) const {
    const std::vector<RIFFChunk> chunks = extractChunksOrExplain(source.sourceURL);
    const QString format = source.outputFormat(options.outputFormatPolicy);
    DeinterleaveResult result;
    result.outputURLs = source.outputURLs(rawText(options.channelSeparator), outputDirectory, format);
    if (result.outputURLs.isEmpty()) throw DeinterleaveError(DeinterleaveError::Kind::noChannelsSelected);
    try {
        files::createFolder(paths::parent(result.outputURLs.first()));
    } catch (const FileError& error) {
        result.message = QStringLiteral("Failed to create output directory: ") + error.description;
        return result;
    }
    result.message = refusal(existing(result.outputURLs, source), options);
    if (!result.message.isEmpty()) return result;

    const QStringList arguments = buildDeinterleaveCommand(source, options, format, result.outputURLs) +
                                  unselectedChannelSinks(source, result.outputURLs);
    result.ffmpegCommand = arguments.join(u' ');
    std::vector<PartialOutput> partial;
    for (const QString& output : result.outputURLs) {
        if (paths::isSameFile(output, source.sourceURL)) {
            result.message = QStringLiteral("An output is the source itself: ") + output;
            return result;
        }
        partial.emplace_back(output);
    }
    appendToDebugLog(QStringLiteral("DeinterleaveEngine"), result.ffmpegCommand);
    ProcessResult run;
    try {
        run = ChildProcess::runForResult(ffmpegPath_, arguments, limitsByProgress(result.outputURLs.values()));
    } catch (const ProcessLaunchError& error) {
        throw DeinterleaveError(DeinterleaveError::Kind::processLaunchFailure, error.description);
    }
    if (!run.succeeded()) {
        const QString reason = extractFFmpegError(run.errorText());
        for (const PartialOutput& output : partial) output.discard();
        report(source.id, ProcessingStatus::failed(reason));
        result.message = QStringLiteral("ffmpeg error: ") + reason;
        return result;
    }
    finish(source, chunks, result);
    return result;
}

void DeinterleaveEngine::finish(const MultiChannelSource& source, const std::vector<RIFFChunk>& chunks,
                                DeinterleaveResult& result) const {
    for (const QString& output : result.outputURLs) {
        const QString name = paths::lastComponent(output);
        if (chunks.empty()) continue;
        if (!paths::exists(output)) {
            printDiagnostic(QStringLiteral("⚠️  Cannot inject chunks - file doesn't exist: ") + name);
            continue;
        }
        if (const QString why = injectChunks(output, chunks); !why.isEmpty()) {
            printDiagnostic(QStringLiteral("⚠️  Failed to inject chunks into %1: %2").arg(name, why));
        }
    }
    report(source.id, ProcessingStatus::completed());
    if (!ffprobePath_.isEmpty()) {
        // Detached: the job doesn't wait for it.
        QThreadPool::globalInstance()->start([ffprobe = ffprobePath_, source, outputs = result.outputURLs.values()] {
            verifyMetadataPreserved(ffprobe, source, outputs);
        });
    }
    QStringList inChannelOrder;
    for (const QString& tag : ffmpegLayoutOf(source.layout).tags) inChannelOrder << result.outputURLs.value(tag);
    const QStringList differing = differingChannels(inChannelOrder, source.sourceURL);
    if (!differing.isEmpty()) {
        result.warnings << QStringLiteral("%1: ffmpeg converted or remixed the channels on the way, so the samples "
                                          "of %2 are not those of the source")
                               .arg(paths::lastComponent(source.sourceURL), differing.join(QStringLiteral(", ")));
    }
    result.success = true;
    result.message = QStringLiteral("Successfully created: %1%2")
                         .arg(namesOf(result.outputURLs, source).join(QStringLiteral(", ")),
                              chunks.empty() ? QString() : QStringLiteral(" (with SMED preservation)"));
}

void DeinterleaveEngine::report(const QUuid& sourceId, const ProcessingStatus& status) const {
    if (onStatusUpdate_) onStatusUpdate_(sourceId, status);
}

} // namespace ostrel
