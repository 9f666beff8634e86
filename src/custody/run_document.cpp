#include "custody/run_document.h"

#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/text/json_text.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QSysInfo>

namespace ostrel {
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

// The first line of what it says of itself; its path alone where it says nothing.
QString versionLine(const QString& tool) {
    try {
        const QString option = paths::lastComponent(tool).startsWith(QStringLiteral("ff"))
                                   ? QStringLiteral("-version")
                                   : QStringLiteral("--version");
        const ProcessResult said = ChildProcess::runForResult(tool, {option});
        const QString line = said.outputText().section(u'\n', 0, 0).trimmed();
        if (said.succeeded() && !line.isEmpty()) return line;
    } catch (const ProcessLaunchError&) {
        // gone since it was found: the path tells what was meant
    }
    return tool;
}

} // namespace

nlohmann::json itemDocument(const QString& name, const ItemOutcome& outcome) {
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

nlohmann::json madeDocument(const QStringList& toolPaths) {
    nlohmann::json tools = nlohmann::json::object();
    for (const QString& path : toolPaths) {
        if (!path.isEmpty()) tools[paths::lastComponent(path).toStdString()] = jsonText(versionLine(path));
    }
    const QString program =
        QStringLiteral("%1 %2").arg(QCoreApplication::applicationName(), QCoreApplication::applicationVersion());
    return {{"date", jsonText(QDateTime::currentDateTimeUtc().toString(Qt::ISODate))},
            {"host", jsonText(QSysInfo::machineHostName())},
            {"program", jsonText(program.trimmed())},
            {"tools", tools}};
}

} // namespace ostrel
