// bwfmetaedit: shows and changes the metadata of WAV files. See packaging/man/ostrel-bwfmetaedit.1.
#include "bwfmetaedit/program/run.h"

#include <csignal>
#include <iostream>

int main(int count, char** arguments) {
    // A file that grows beyond the user's limit, or a reader that has gone, is an ordinary write error.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    std::ios::sync_with_stdio(false);
    // A caller can start a program with no arguments at all, not even its own name.
    return ostrel::bwfmetaedit::run({arguments + (count > 0 ? 1 : 0), arguments + count}, std::cout, std::cerr);
}
