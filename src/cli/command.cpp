#include "cli/command.h"

#include "foundation/tools/external_tool_detector.h"

namespace ostrel::cli {

CLI::App* addSubcommand(CLI::App& parser, const std::string& name, const std::string& description,
                        const std::string& examples) {
    CLI::App* command = parser.add_subcommand(name, description);
    command->footer("Examples:\n" + examples);
    return command;
}

void addTerminalOptions(CLI::App& command, TerminalOptions& options) {
    command.add_flag("--json", options.json,
                     "Print one JSON document on standard output; log lines go to standard error");
    command.add_flag("--verbose", options.verbose, "Show the engines' diagnostic lines too");
}

void addSubfoldersOption(CLI::App& command, bool& noSubfolders) {
    command.add_flag("--no-subfolders", noSubfolders, "Stay out of the folders' subfolders");
}

void addPaths(CLI::App& command, std::vector<std::string>& paths, const std::string& description) {
    command.add_option("PATH", paths, description)->required();
}

std::optional<QStringList> existingPaths(const std::vector<std::string>& paths, Terminal& terminal) {
    QStringList result;
    for (const std::string& path : paths) {
        const QString absolute = paths::absolute(QString::fromStdString(path));
        // An empty one would be the folder that the program was started in.
        if (path.empty() || (!paths::isRegularFile(absolute) && !paths::isFolder(absolute))) {
            const char16_t* problem =
                !path.empty() && paths::exists(absolute) ? u"not a file or folder: %1" : u"no such file or folder: %1";
            terminal.error(QString::fromUtf16(problem).arg(QString::fromStdString(path)));
            return std::nullopt;
        }
        result << absolute;
    }
    return result;
}

bool requireFFmpeg(const ExternalToolDetector& detector, Terminal& terminal) {
    if (detector.ffmpegAvailable.value()) return true;
    const bool noFFmpeg = detector.ffmpegPath.value().isEmpty();
    terminal.error(QStringLiteral("%1 was not found. Install ffmpeg (on Debian and Ubuntu: apt install ffmpeg), then "
                                  "try again; \"ostrel-cli tools\" shows what was found where.")
                       .arg(noFFmpeg ? QStringLiteral("ffmpeg") : QStringLiteral("ffprobe")));
    return false;
}

} // namespace ostrel::cli
