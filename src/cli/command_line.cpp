#include "cli/command_line.h"

#include "cli/command.h"
#include "cli/commands.h"
#include "foundation/run/journal.h"

#include <QCoreApplication>
#include <csignal>
#include <cstdio>

namespace ostrel::cli {

int runCommandLine(int argc, char** argv) {
    // A file-size limit is an error of one file like a full disk, not the end of the program.
    std::signal(SIGXFSZ, SIG_IGN);
    // A reader that goes away ("ostrel-cli ... | head") must not end a job in the middle of a file.
    std::signal(SIGPIPE, SIG_IGN);

    CLI::App parser("Ostrel on the terminal: Broadcast WAV sets to multichannel files and back, with their metadata.",
                    "ostrel-cli");
    parser.set_version_flag("--version", "ostrel-cli " + QCoreApplication::applicationVersion().toStdString());
    parser.require_subcommand(1);
    parser.get_formatter()->column_width(40);
    parser.footer(
        "Exit status: 0 all done, 1 some item failed, 2 bad usage, 3 a needed tool is missing; 130, 143 or 129 stopped "
        "by SIGINT (Ctrl-C), SIGTERM or SIGHUP: the first stops after the running item, a second at once.\n"
        "\"ostrel-cli COMMAND --help\" tells more.");
    ChosenCommand chosen;
    addToolsCommand(parser, chosen);
    addSamplesCommand(parser, chosen);
    addInterleaveCommand(parser, chosen);
    addDeinterleaveCommand(parser, chosen);
    addSplitCommand(parser, chosen);
    addGroupCommand(parser, chosen);
    addJoinCommand(parser, chosen);
    addEditCommand(parser, chosen);
    addValidateCommand(parser, chosen);
    addCleanCommand(parser, chosen);
    addWaveformCommand(parser, chosen);
    addRescueCommand(parser, chosen);
    addStitchCommand(parser, chosen);
    addHashCommand(parser, chosen);
    addReportProofCommand(parser, chosen);
    addCheckCommand(parser, chosen);
    addReportCommand(parser, chosen);
    addSealCommand(parser, chosen);
    addVerifyCommand(parser, chosen);
    addJournalCommand(parser, chosen);
    try {
        parser.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return parser.exit(error) == 0 ? allDone : badUsage;
    }
    // Whatever is wanted now, a person should know of a recording that an earlier run left between two places.
    for (const QString& sentence : Journal::tellUnfinished()) {
        std::fprintf(stderr, "ostrel-cli: %s\n", sentence.toUtf8().constData());
    }
    return chosen.run();
}

} // namespace ostrel::cli
