// verify: a folder against all its hash lists.
#include "cli/commands.h"
#include "cli/custody_run.h"
#include "custody/custody_words.h"
#include "platform/processes/stop_signals.h"

namespace ostrel::cli {
namespace {

struct VerifyCommandOptions {
    TerminalOptions terminal;
    std::string path;
    bool allHashes = false;
    bool record = false;
    int jobs = 0;
};

constexpr std::array kFileStates{FileState::verified, FileState::changed, FileState::missing, FileState::isNew,
                                 FileState::unreadable};

nlohmann::json verdictDocument(const FileVerdict& verdict) {
    nlohmann::json document{{"path", jsonText(verdict.path)},
                            {"state", jsonText(rawText(verdict.state))},
                            {"hash", jsonTextOrNull(verdict.hash())}};
    document["format"] = verdict.format ? jsonText(rawText(*verdict.format)) : nlohmann::json();
    if (!verdict.detail.isEmpty()) document["message"] = jsonText(verdict.detail);
    return document;
}

nlohmann::json documentOf(const VerifyResult& result) {
    nlohmann::json files = nlohmann::json::array();
    for (const FileVerdict& verdict : result.files) files.push_back(verdictDocument(verdict));
    nlohmann::json summary{{"faults", result.faults.size()}};
    for (const FileState state : kFileStates) summary[rawText(state).toStdString()] = result.count(state);
    return {{"job", "verify"},
            {"folder", jsonText(result.folder)},
            {"generations", result.generations},
            {"lists", result.lists},
            {"files", files},
            {"faults", jsonList(result.faults)},
            {"remarks", jsonList(result.remarks)},
            {"summary", summary}};
}

// Appends what was just found as a generation, in the format of the last one. A second reading: what is written down is
// what the seal itself has seen. Gives where it stands.
QStringList record(const QString& folder, const CustodyWatch& watch) {
    SealOptions options;
    options.format = readHistory(folder).format.value_or(HashFormat::xxh128);
    return sealFolder(folder, options, watch).lists;
}

int verify(const QString& path, const VerifyCommandOptions& options, Terminal& terminal, const CustodyWatch& watch) {
    const VerifyResult result = verifyFolder(path, {options.allHashes}, watch);
    for (const QString& line : linesOf(result)) terminal.line(line);
    nlohmann::json document = documentOf(result);
    bool isRecorded = true;
    if (options.record && result.generations == 0) {
        // A first generation would call original what old lists may have told otherwise.
        isRecorded = false;
        terminal.error(QStringLiteral("not recorded: %1 has no history yet; \"ostrel-cli seal\" begins one").arg(path));
    } else if (options.record) {
        try {
            const QStringList lists = record(path, watch);
            for (const QString& list : lists) terminal.line(list);
            document["recorded"] = jsonList(lists);
        } catch (const FileError& error) {
            isRecorded = false;
            terminal.error(QStringLiteral("not recorded: %1").arg(error.description));
            document["recorded"] = nlohmann::json::array();
        }
    }
    if (terminal.isJson()) terminal.document(document);
    return result.isWhole() && isRecorded ? allDone : someItemFailed;
}

int runVerify(const VerifyCommandOptions& options) {
    const StopSignals signals; // the first ends it at once
    Terminal terminal(options.terminal);
    const std::optional<QStringList> paths = existingPaths({options.path}, terminal);
    if (!paths) return badUsage;
    if (options.record && !paths::isFolder(paths->first())) {
        terminal.error(QStringLiteral("--record takes a folder, and no single list"));
        return badUsage;
    }
    ByteProgress progress(terminal);
    const CustodyWatch watch{
        [&](const CustodyProgress& state) { progress.show(state); }, {}, static_cast<std::size_t>(options.jobs)};
    try {
        return verify(paths->first(), options, terminal, watch);
    } catch (const FileError& error) {
        terminal.error(error.description);
        if (terminal.isJson()) {
            terminal.document(
                {{"job", "verify"}, {"folder", jsonText(paths->first())}, {"faults", {jsonText(error.description)}}});
        }
        return someItemFailed;
    }
}

} // namespace

void addVerifyCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(
        parser, "verify",
        "Compare a folder with its hash lists: all generations of its history (ASC MHL), those of its subfolders, and "
        "old lists (MHL 1.x) in it. Writes nothing unless told to. Exit status 1 on any difference",
        "  ostrel-cli verify /media/card/Day12\n"
        "  ostrel-cli verify /media/card/Day12.mhl --json");
    const auto options = std::make_shared<VerifyCommandOptions>();
    command->add_option("PATH", options->path, "The folder, or one hash list")->required();
    command->add_flag("--all-hashes", options->allHashes,
                      "Check each file by every digest its lists hold, and not by the best of the quick ones alone");
    command->add_flag("--record", options->record,
                      "Read the files once more and append what is found as a generation, differences too");
    addJobsOption(*command, options->jobs);
    addTerminalOptions(*command, options->terminal);
    command->callback([options, &chosen] { chosen.run = [options] { return runVerify(*options); }; });
}

} // namespace ostrel::cli
