#include "cli/job_format.h"

#include "foundation/tools/external_tool_detector.h"

namespace ostrel::cli {

nlohmann::json toolsDocument(const ExternalToolDetector& detector) {
    return {{"ffmpeg", jsonTextOrNull(detector.ffmpegPath.value())},
            {"ffprobe", jsonTextOrNull(detector.ffprobePath.value())},
            {"bwfmetaedit", jsonTextOrNull(detector.bwfmetaeditPath.value())}};
}

nlohmann::json jobItem(const QString& name, const QStringList& sources, const ProcessingStatus& status,
                       const QString& foreseen) {
    return itemDocument(name, ItemOutcome{status, {}, {}, foreseen, ItemOutcome::allKept(sources)});
}

nlohmann::json jobDocument(const std::string& job, const ExternalToolDetector& detector, const JobCounts& counts,
                           bool isStopped, const QString& reportPath) {
    nlohmann::json summary{{"success", counts.success}, {"skipped", counts.skipped}, {"errors", counts.errors}};
    if (isStopped) summary["stopped"] = true;
    return {
        {"job", job}, {"tools", toolsDocument(detector)}, {"summary", summary}, {"csv", jsonTextOrNull(reportPath)}};
}

void tellForeseen(Terminal& terminal, const QString& name, const QString& foreseen) {
    if (!foreseen.isEmpty()) terminal.line(QStringLiteral("%1: %2").arg(name, foreseen));
}

} // namespace ostrel::cli
