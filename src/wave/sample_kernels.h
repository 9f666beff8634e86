// Samples from one place to another as bytes: nothing is converted, whatever they are. For any thread.
#pragma once

#include <cstddef>

namespace ostrel {

// `count` samples of 1 to 8 bytes each, taken every `fromStride` bytes and put every `toStride` bytes. Reads and writes
// no byte but those of the samples.
void moveSamples(const unsigned char* from, std::size_t fromStride, unsigned char* to, std::size_t toStride,
                 std::size_t bytesPerSample, std::size_t count);

} // namespace ostrel
