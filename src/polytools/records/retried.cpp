#include "polytools/records/retried.h"

#include <algorithm>

namespace ostrel {

BatchSplitResult withRetried(BatchSplitResult before, const BatchSplitResult& again) {
    BatchSplitResult whole;
    whole.logMessages = again.logMessages;
    whole.fileResults = std::move(before.fileResults);
    for (const PolyFileResult& file : again.fileResults) {
        const auto old = std::ranges::find(whole.fileResults, file.sourceURL, &PolyFileResult::sourceURL);
        old == whole.fileResults.end() ? whole.fileResults.push_back(file) : void(*old = file);
    }
    whole.processedFiles = static_cast<int>(whole.fileResults.size());
    for (const PolyFileResult& file : whole.fileResults) {
        whole.skipCount += file.counts.skipped;
        whole.totalISOsCreated += file.isosCreated;
        if (file.outcome.failed()) {
            ++whole.errorCount;
        } else if (!file.outcome.skipped()) {
            ++whole.successCount;
        }
    }
    return whole;
}

} // namespace ostrel
