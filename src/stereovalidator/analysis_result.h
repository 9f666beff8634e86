// What a batch of analyses gave.
#pragma once

#include "foundation/logs/processing_log.h"
#include "stereovalidator/stereo_validator_result.h"

#include <vector>

namespace ostrel {

struct AnalysisResult {
    std::vector<StereoValidatorResult> results; // in the order of the files
    int totalFiles = 0;
    bool stopped = false; // ahead of some of them
    int successCount = 0;
    int errorCount = 0;   // records with an error
    int skippedCount = 0; // mono files, which need no analysis
    std::vector<ProcessingLogEntry> logEntries;

    // "Analyzed: 5 files • Dual Mono: 2 • Errors: 1": the counts above zero. "Analyzed: 3 of 5 files, stopped" at the
    // start of one that was.
    QString summary() const;
};

} // namespace ostrel
