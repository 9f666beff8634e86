// Whether two readers hold the same samples in what they read last.
#pragma once

#include "foundation/proof/sample_reader.h"

namespace ostrel {

// `count` frames from the frame `first` of both buffers on (not of the files). Equal bytes where the encodings are one;
// integers by their full scale where the widths differ; as numbers otherwise.
bool sameSamples(const SampleReader& a, int channelA, const SampleReader& b, int channelB, int first, int count);

} // namespace ostrel
