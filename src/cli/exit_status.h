// What ostrel-cli tells its caller.
#pragma once

namespace ostrel::cli {

enum ExitStatus {
    allDone = 0,
    someItemFailed = 1,
    badUsage = 2,
    toolMissing = 3,
    interrupted = 130, // stopped by Ctrl-C
};

} // namespace ostrel::cli
