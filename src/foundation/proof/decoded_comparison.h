// Two channels as numbers, where their files code samples differently.
#pragma once

#include "foundation/proof/sample_reader.h"

namespace ostrel {

enum class DecodedFinding {
    same,     // every sample
    rounded,  // some are the source's as near as the output's coding can tell them
    different // some are none of the source's
};

// All frames of the output, which are no more than the source has. Throws SampleReaderError.
DecodedFinding compareDecoded(SampleReader& source, int sourceChannel, SampleReader& output, int outputChannel);

} // namespace ostrel
