// How a subcommand joins the command line: a function adds it to the parser and, if it was chosen, leaves in `run` what
// is to be done.
#pragma once

#include "cli/exit_status.h"
#include "cli/terminal.h"
#include "foundation/records/item_outcome.h"
#include "platform/paths.h"

#include <CLI/CLI.hpp>
#include <QString>
#include <QStringList>
#include <functional>
#include <string>
#include <vector>

namespace ostrel {
class ExternalToolDetector;
}

namespace ostrel::cli {

struct ChosenCommand {
    std::function<int()> run;
};

// The description, then examples.
CLI::App* addSubcommand(CLI::App& parser, const std::string& name, const std::string& description,
                        const std::string& examples);

// The words of an option that takes one of several.
template <class Words>
std::vector<std::string> keysOf(const Words& words) {
    std::vector<std::string> result;
    for (const auto& entry : words) result.push_back(entry.first);
    return result;
}

void addTerminalOptions(CLI::App& command, TerminalOptions& options);
void addPaths(CLI::App& command, std::vector<std::string>& paths, const std::string& description);

// Absolute, or nothing (and a message) if one of them is not there.
std::optional<QStringList> existingPaths(const std::vector<std::string>& paths, Terminal& terminal);

// Whether ffmpeg and ffprobe are there; says so otherwise.
bool requireFFmpeg(const ExternalToolDetector& detector, Terminal& terminal);

nlohmann::json toolsDocument(const ExternalToolDetector& detector);

// One item of a job's document: what became of it, of each source, and of the metadata where any was carried. An item
// that no run took has the status that it was found in, and nothing else.
nlohmann::json jobItem(const QString& name, const ItemOutcome& outcome);
nlohmann::json jobItem(const QString& name, const QStringList& sources, const ProcessingStatus& status);

// The counts of a job's document; `stopped` is there if the job was.
nlohmann::json jobSummary(int success, int skipped, int errors, bool isStopped);

} // namespace ostrel::cli
