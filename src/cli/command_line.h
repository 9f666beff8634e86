// ostrel-cli: the controllers of the window, driven from a terminal.
#pragma once

namespace ostrel::cli {

// Parses the arguments, runs the chosen command and gives the exit status. Needs a QCoreApplication.
int runCommandLine(int argc, char** argv);

} // namespace ostrel::cli
