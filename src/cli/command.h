// How a subcommand joins the command line: a function adds it to the parser and, if it was chosen, leaves in `run` what
// is to be done.
#pragma once

#include "cli/exit_status.h"
#include "cli/terminal.h"
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
void addSubfoldersOption(CLI::App& command, bool& noSubfolders);
void addPaths(CLI::App& command, std::vector<std::string>& paths, const std::string& description);

// Absolute, or nothing (and a message) if one of them is not there.
std::optional<QStringList> existingPaths(const std::vector<std::string>& paths, Terminal& terminal);

// Whether ffmpeg and ffprobe are there; says so otherwise.
bool requireFFmpeg(const ExternalToolDetector& detector, Terminal& terminal);

} // namespace ostrel::cli
