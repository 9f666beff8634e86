// What the commands on sealed folders have in common.
#pragma once

#include "cli/command.h"
#include "custody/survey_digests.h"

#include <chrono>

namespace ostrel::cli {

// Shows bytes, file and the time that is left. For `watch`; outlives the job.
class ByteProgress {
public:
    explicit ByteProgress(Terminal& terminal) : terminal_(terminal) {}
    void show(const CustodyProgress& progress);

private:
    Terminal& terminal_;
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

void addJobsOption(CLI::App& command, int& jobs);

} // namespace ostrel::cli
