// The result of a batch of which some files were tried once more.
#pragma once

#include "polytools/records/split_records.h"

namespace ostrel {

// `before` with the files of `again` in place of what had become of them, counted anew.
BatchSplitResult withRetried(BatchSplitResult before, const BatchSplitResult& again);

} // namespace ostrel
