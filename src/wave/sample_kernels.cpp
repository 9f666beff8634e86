#include "wave/sample_kernels.h"

#include <cstdint>
#include <cstring>

// A version for processors that shift vectors of any alignment well, chosen when the program starts. Sanitizers run
// ahead of that choice, so they get the plain one.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
#define OSTREL_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define OSTREL_CLONES
#endif

namespace ostrel {
namespace {

template <std::size_t width>
inline void step(const unsigned char* from, std::size_t fromStride, unsigned char* to, std::size_t toStride,
                 std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) std::memcpy(to + i * toStride, from + i * fromStride, width);
}

// Into a place of their own, three bytes travel as four, of which the next sample overwrites the last: half the work.
// The last sample goes alone, so nothing beyond it is touched.
inline void packThree(const unsigned char* from, std::size_t fromStride, unsigned char* to, std::size_t count) {
    if (count == 0) return;
    for (std::size_t i = 0; i + 1 < count; ++i) {
        std::uint32_t sample;
        std::memcpy(&sample, from + i * fromStride, 4);
        std::memcpy(to + i * 3, &sample, 4);
    }
    std::memcpy(to + (count - 1) * 3, from + (count - 1) * fromStride, 3);
}

} // namespace

OSTREL_CLONES
void moveSamples(const unsigned char* from, std::size_t fromStride, unsigned char* to, std::size_t toStride,
                 std::size_t bytesPerSample, std::size_t count) {
    if (fromStride == bytesPerSample && toStride == bytesPerSample) {
        std::memcpy(to, from, count * bytesPerSample);
        return;
    }
    switch (bytesPerSample) {
    case 1: return step<1>(from, fromStride, to, toStride, count);
    case 2: return step<2>(from, fromStride, to, toStride, count);
    case 3:
        return toStride == 3 ? packThree(from, fromStride, to, count) : step<3>(from, fromStride, to, toStride, count);
    case 4: return step<4>(from, fromStride, to, toStride, count);
    case 5: return step<5>(from, fromStride, to, toStride, count);
    case 6: return step<6>(from, fromStride, to, toStride, count);
    case 7: return step<7>(from, fromStride, to, toStride, count);
    case 8: return step<8>(from, fromStride, to, toStride, count);
    default: return;
    }
}

} // namespace ostrel
