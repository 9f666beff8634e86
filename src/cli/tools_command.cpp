#include "cli/command.h"
#include "cli/commands.h"
#include "cli/job_format.h"
#include "foundation/tools/external_tool_detector.h"

namespace ostrel::cli {
namespace {

int runTools(const TerminalOptions& options) {
    Terminal terminal(options);
    const ExternalToolDetector detector;
    if (terminal.isJson()) {
        terminal.document({{"tools", toolsDocument(detector)}});
    } else {
        const auto show = [&](const char16_t* name, const QString& path, const char16_t* use) {
            terminal.line(QStringLiteral("%1 %2 %3")
                              .arg(QString::fromUtf16(name), -12)
                              .arg(path.isEmpty() ? QStringLiteral("not found") : path, -44)
                              .arg(QString::fromUtf16(use)));
        };
        show(u"ffmpeg", detector.ffmpegPath.value(), u"every job");
        show(u"ffprobe", detector.ffprobePath.value(), u"every job");
        show(u"bwfmetaedit", detector.bwfmetaeditPath.value(), u"BEXT, INFO and iXML");
    }
    return detector.ffmpegAvailable.value() && detector.bwfmetaeditAvailable.value() ? allDone : toolMissing;
}

} // namespace

void addToolsCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command = addSubcommand(parser, "tools", "Show which outside tools were found, and where",
                                      "  ostrel-cli tools\n  ostrel-cli tools --json");
    const auto options = std::make_shared<TerminalOptions>();
    addTerminalOptions(*command, *options);
    command->callback([options, &chosen] { chosen.run = [options] { return runTools(*options); }; });
}

} // namespace ostrel::cli
