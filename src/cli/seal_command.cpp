// seal: a generation of hashes for a folder.
#include "cli/commands.h"
#include "cli/custody_run.h"
#include "custody/custody_words.h"
#include "platform/processes/stop_signals.h"

namespace ostrel::cli {
namespace {

struct SealCommandOptions {
    TerminalOptions terminal;
    std::string folder;
    std::string hash = "xxh128";
    std::vector<std::string> ignore;
    int jobs = 0;
};

SealOptions sealOptionsOf(const SealCommandOptions& options) {
    SealOptions result;
    result.format = hashFormatOf(QString::fromStdString(options.hash)).value_or(HashFormat::xxh128);
    for (const std::string& pattern : options.ignore) result.ignore << QString::fromStdString(pattern);
    return result;
}

nlohmann::json sealedDocument(const SealedFile& file, HashFormat format) {
    nlohmann::json document{{"path", jsonText(file.path)}, {"state", jsonText(rawText(file.state))}};
    document["hash"] = file.digest.isEmpty() ? nlohmann::json() : jsonText(digestText(format, file.digest));
    if (!file.previousPath.isEmpty()) document["previousPath"] = jsonText(file.previousPath);
    return document;
}

constexpr std::array kSealedStates{SealedState::original, SealedState::verified, SealedState::renamed,
                                   SealedState::failed, SealedState::missing};

nlohmann::json documentOf(const SealResult& result) {
    nlohmann::json files = nlohmann::json::array();
    for (const SealedFile& file : result.files) files.push_back(sealedDocument(file, result.format));
    nlohmann::json summary;
    for (const SealedState state : kSealedStates) summary[rawText(state).toStdString()] = result.count(state);
    return {{"job", "seal"},
            {"folder", jsonText(result.folder)},
            {"generation", result.generation},
            {"hash", jsonText(rawText(result.format))},
            {"lists", jsonList(result.lists)},
            {"files", files},
            {"remarks", jsonList(result.remarks)},
            {"summary", summary}};
}

int runSeal(const SealCommandOptions& options) {
    const StopSignals signals; // the first ends it at once: a list is there as a whole or not at all
    Terminal terminal(options.terminal);
    const std::optional<QStringList> paths = existingPaths({options.folder}, terminal);
    if (!paths) return badUsage;
    const QString folder = paths->first();
    if (!paths::isFolder(folder)) {
        terminal.error(QStringLiteral("not a folder: %1").arg(folder));
        return badUsage;
    }
    ByteProgress progress(terminal);
    const CustodyWatch watch{
        [&](const CustodyProgress& state) { progress.show(state); }, {}, static_cast<std::size_t>(options.jobs)};
    try {
        const SealResult result = sealFolder(folder, sealOptionsOf(options), watch);
        for (const QString& line : linesOf(result)) terminal.line(line);
        if (terminal.isJson()) terminal.document(documentOf(result));
        return result.isWhole() ? allDone : someItemFailed;
    } catch (const SealRefusedError& refused) {
        for (const QString& reason : refused.reasons) terminal.error(reason);
        terminal.error(QStringLiteral("not sealed, nothing was written: %1").arg(folder));
        if (terminal.isJson()) {
            terminal.document({{"job", "seal"}, {"folder", jsonText(folder)}, {"refused", jsonList(refused.reasons)}});
        }
    } catch (const FileError& error) {
        terminal.error(error.description);
        if (terminal.isJson()) {
            terminal.document(
                {{"job", "seal"}, {"folder", jsonText(folder)}, {"refused", {jsonText(error.description)}}});
        }
    }
    return someItemFailed;
}

} // namespace

void addSealCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(
        parser, "seal",
        "Write down the hashes of all files of a folder (ASC MHL): a new generation in its folder \"ascmhl\", which "
        "compares what earlier ones told. Exit status 1 where a file is another by now or gone",
        "  ostrel-cli seal /media/card/Day12\n"
        "  ostrel-cli seal Day12 --hash md5 --ignore '*.tmp' --ignore Trash/");
    const auto options = std::make_shared<SealCommandOptions>();
    command->add_option("FOLDER", options->folder, "The folder")->required();
    command->add_option("--hash", options->hash, "The digest; files are compared by that of earlier generations too")
        ->check(CLI::IsMember({"xxh128", "xxh64", "xxh3", "md5", "sha1", "c4"}))
        ->capture_default_str();
    command
        ->add_option("--ignore", options->ignore,
                     "Leave out what matches, as git's ignore files say it; holds for all later generations")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    addJobsOption(*command, options->jobs);
    addTerminalOptions(*command, options->terminal);
    command->callback([options, &chosen] { chosen.run = [options] { return runSeal(*options); }; });
}

} // namespace ostrel::cli
