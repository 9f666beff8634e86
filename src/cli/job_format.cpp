#include "cli/job_format.h"

#include "foundation/tools/external_tool_detector.h"

namespace ostrel::cli {

nlohmann::json toolsDocument(const ExternalToolDetector& detector) {
    return {{"ffmpeg", jsonTextOrNull(detector.ffmpegPath.value())},
            {"ffprobe", jsonTextOrNull(detector.ffprobePath.value())},
            {"bwfmetaedit", jsonTextOrNull(detector.bwfmetaeditPath.value())}};
}

namespace {

nlohmann::json metadataDocument(const MetadataRecord& metadata) {
    return {{"kept", jsonList(metadata.kept)},
            {"renewed", jsonList(metadata.renewed)},
            {"changed", jsonList(metadata.changed)},
            {"lost", jsonList(metadata.lost)}};
}

// Channels count from 1, as a person counts them.
nlohmann::json proofDocument(const ItemOutcome& outcome) {
    nlohmann::json channels = nlohmann::json::array();
    for (const ChannelProof& channel : outcome.proof->channels) {
        const bool isMixed = channel.sourceChannel < 0;
        channels.push_back({{"output", jsonText(channel.output)},
                            {"outputChannel", channel.outputChannel + 1},
                            {"source", jsonText(channel.source)},
                            {"sourceChannel", isMixed ? nlohmann::json() : nlohmann::json(channel.sourceChannel + 1)},
                            {"audio", jsonText(caseName(channel.finding))},
                            {"xxh128", jsonTextOrNull(channel.hash)},
                            {"reason", jsonTextOrNull(channel.reason)}});
    }
    return {{"audio", jsonText(caseName(outcome.proof->audio()))},
            {"reasons", jsonList(outcome.proof->reasons())},
            {"channels", channels},
            {"metadata", metadataDocument(outcome.metadata)}};
}

} // namespace

nlohmann::json jobItem(const QString& name, const ItemOutcome& outcome) {
    QStringList sources;
    nlohmann::json fates = nlohmann::json::array();
    for (const SourceFate& source : outcome.sources) {
        sources << source.source;
        fates.push_back({{"source", jsonText(source.source)},
                         {"fate", jsonText(caseName(source.kind))},
                         {"movedTo", jsonTextOrNull(source.movedTo)}});
    }
    nlohmann::json item{{"name", jsonText(name)},
                        {"sources", jsonList(sources)},
                        {"outputs", jsonList(outcome.outputs)},
                        {"status", jsonText(outcome.skipped() ? QStringLiteral("skipped") : outcome.status.caseName())},
                        {"statusText", jsonText(outcome.status.displayText())},
                        {"message", jsonText(outcome.message)},
                        {"warnings", jsonList(outcome.warnings)},
                        {"fates", fates}};
    if (!outcome.metadata.isEmpty()) item["metadata"] = metadataDocument(outcome.metadata);
    if (outcome.proof) item["proof"] = proofDocument(outcome);
    return item;
}

nlohmann::json jobItem(const QString& name, const QStringList& sources, const ProcessingStatus& status,
                       const QString& foreseen) {
    return jobItem(name, ItemOutcome{status, {}, {}, foreseen, ItemOutcome::allKept(sources)});
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
