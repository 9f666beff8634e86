// What ostrel-cli tells its caller. A run that a signal stopped ends with 128 and the signal's number instead: 130 for
// SIGINT, 143 for SIGTERM, 129 for SIGHUP.
#pragma once

namespace ostrel::cli {

enum ExitStatus {
    allDone = 0,
    someItemFailed = 1,
    badUsage = 2,
    toolMissing = 3,
};

} // namespace ostrel::cli
