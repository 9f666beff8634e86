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

void tellSealNotices(Terminal& terminal, const QStringList& paths, SealTouch touch) {
    for (const QString& notice : sealNotices(paths, touch)) terminal.error(notice);
}

nlohmann::json sealsDocument(const std::vector<RunSeal>& seals) {
    nlohmann::json result = nlohmann::json::array();
    for (const RunSeal& seal : seals) {
        const bool isRefused = !seal.refused.isEmpty();
        nlohmann::json entry{{"folder", jsonText(seal.folder)},
                             {"generation", isRefused ? nlohmann::json() : nlohmann::json(seal.generation)},
                             {"list", jsonTextOrNull(seal.list)}};
        if (isRefused) entry["refused"] = jsonList(seal.refused);
        if (!seal.changed.isEmpty()) entry["changed"] = jsonList(seal.changed);
        if (!seal.rewritten.isEmpty()) entry["rewritten"] = jsonList(seal.rewritten);
        if (!seal.renewed.isEmpty()) entry["renewed"] = jsonList(seal.renewed);
        if (!seal.missing.isEmpty()) entry["missing"] = jsonList(seal.missing);
        if (!seal.unlisted.isEmpty()) entry["unlisted"] = jsonList(seal.unlisted);
        result.push_back(std::move(entry));
    }
    return result;
}

void tellSeals(Terminal& terminal, const std::vector<RunSeal>& seals) {
    for (const RunSeal& seal : seals) {
        if (!seal.refused.isEmpty()) continue;
        const QString what = seal.renewed.isEmpty() ? QStringLiteral("Sealed: ") : QStringLiteral("Seal renewed: ");
        terminal.line(what +
                      QStringLiteral("%1, generation %2: %3").arg(seal.folder).arg(seal.generation).arg(seal.list));
    }
}

void tellSealFaults(Terminal& terminal, const RunSeal& seal) {
    for (const QString& reason : seal.refused) terminal.error(reason);
    if (!seal.refused.isEmpty()) {
        terminal.error(QStringLiteral("not sealed, nothing was written: %1").arg(seal.folder));
    }
    for (const QString& path : seal.changed) {
        terminal.error(QStringLiteral("not what %1 was sealed with: %2").arg(seal.folder, path));
    }
    for (const QString& path : seal.missing) {
        terminal.error(QStringLiteral("sealed in %1 and gone: %2").arg(seal.folder, path));
    }
    for (const QString& path : seal.unlisted) {
        terminal.error(QStringLiteral("not sealed, the seal of %1 passes it over: %2").arg(seal.folder, path));
    }
}

} // namespace ostrel::cli
