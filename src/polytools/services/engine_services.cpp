#include "polytools/services/engine_services.h"

#include "foundation/logs/debug_log.h"
#include "foundation/run/output_file.h"
#include "foundation/tools/ffprobe_parser.h"
#include "metadata/chunks/riff_chunks.h"
#include "metadata/metadata_comparison.h"
#include "metadata/metadata_completion.h"
#include "metadata/metadata_engine.h"
#include "metadata/universal_metadata_engine.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/processes/ffmpeg_fault.h"

#include <QStandardPaths>

namespace ostrel {

void EngineLog::debug(const QString& message) const {
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    writeDebugLine(tag_, message, paths::append(desktop, QStringLiteral("ostrel_debug.log")));
}

void EngineLog::add(LogLevel level, LogCategory category, const QString& message) {
    ProcessingLogEntry entry = logEntry(level, category, message, baseName_);
    if (hooks_.onLogEntry) hooks_.onLogEntry(entry);
    entries_.push_back(std::move(entry));
}

void append(std::vector<ProcessingLogEntry>& log, std::vector<ProcessingLogEntry> more) {
    log.insert(log.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

QString describe(const std::exception& error) {
    if (const auto* launch = dynamic_cast<const ProcessLaunchError*>(&error)) return launch->description;
    if (const auto* file = dynamic_cast<const FileError*>(&error)) return file->description;
    if (const auto* metadata = dynamic_cast<const MetadataError*>(&error)) return metadata->errorDescription();
    if (const auto* probe = dynamic_cast<const FFProbeError*>(&error)) return probe->errorDescription();
    if (const auto* riff = dynamic_cast<const RIFFError*>(&error)) return riff->errorDescription();
    return QString::fromUtf8(error.what());
}

MetadataPreservationResult withoutIXML(MetadataPreservationResult capture) {
    std::erase_if(capture.riffChunks, [](const RIFFChunk& chunk) { return chunk.id == "iXML"; });
    return capture;
}

MetadataRecord completeMetadata(const QString& source, const OutputFile& output, SourceUmid umid, EngineLog& log,
                                const DescriptionWish& wish) {
    const QString fileName = paths::lastComponent(output.path());
    const MetadataCompletion completion = completeMetadata(source, output.unfinished(), umid, fileName, wish);
    for (const QString& warning : completion.warnings) log.warning(kMetadata, QStringLiteral("⚠️ ") + warning);
    return compareMetadata(source, output.unfinished(), umid, fileName, wish);
}

QString unconformedSentence(const QString& fileName) {
    return QStringLiteral("Headers are not conformed: %1 goes by way of ffmpeg").arg(fileName);
}

void tellPreservation(const QString& done, const QString& file, const MetadataRecord& record, EngineLog& log) {
    if (record.isWhole()) {
        log.debug(QStringLiteral("✅ [UniversalEngine] %1: %2").arg(done, file));
        log.success(kMetadata, QStringLiteral("✅ %1 - All metadata preserved: %2").arg(done, file));
    } else {
        log.debug(QStringLiteral("⚠️ [UniversalEngine] Partial metadata preservation: ") + file);
        log.warning(kMetadata,
                    QStringLiteral("⚠️ Partial metadata preservation: %1 (%2)").arg(file, record.missing()));
    }
}

void tellProof(const QString& item, const ItemOutcome& outcome, EngineLog& log) {
    if (!outcome.proof) return;
    log.add(levelOf(outcome.proof->audio()), kProcess, QStringLiteral("%1: %2").arg(item, outcome.proof->sentence()));
}

void tellMetadata(const QString& message, EngineLog& log) {
    log.debug(message);
    if (message.startsWith(QStringLiteral("⚠️"))) {
        log.warning(kMetadata, message);
    } else {
        log.success(kMetadata, message);
    }
}

QString faultText(const ProcessResult& result) {
    const QString fault = ffmpegFault(result);
    return fault.isEmpty() ? QStringLiteral("Unknown error") : fault;
}

} // namespace ostrel
