#include "foundation/proof/same_samples.h"

#include <cstring>

namespace ostrel {
namespace {

// All differences of `count` frames in one word, four sums side by side: one sum would wait for itself at every frame.
// No way out of the loop either; equal is what is expected.
template <class Word, class Difference>
Word allDifferences(const unsigned char* left, std::ptrdiff_t stepA, const unsigned char* right, std::ptrdiff_t stepB,
                    int count, Difference difference) {
    Word sums[4] = {};
    for (; count >= 4; count -= 4, left += 4 * stepA, right += 4 * stepB) {
        sums[0] |= difference(left, right);
        sums[1] |= difference(left + stepA, right + stepB);
        sums[2] |= difference(left + 2 * stepA, right + 2 * stepB);
        sums[3] |= difference(left + 3 * stepA, right + 3 * stepB);
    }
    for (; count > 0; --count, left += stepA, right += stepB) sums[0] |= difference(left, right);
    return sums[0] | sums[1] | sums[2] | sums[3];
}

template <class Word>
Word wordAt(const unsigned char* at) {
    Word word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

// Samples of equal bytes at two steps.
template <class Word, int bytes>
bool sameWords(const unsigned char* left, std::ptrdiff_t stepA, const unsigned char* right, std::ptrdiff_t stepB,
               int count) {
    constexpr Word mask =
        bytes == sizeof(Word) ? ~Word{0} : (Word{1} << (std::size_t{8} * bytes % (8 * sizeof(Word)))) - 1;
    const auto difference = [](const unsigned char* a, const unsigned char* b) {
        return static_cast<Word>(wordAt<Word>(a) ^ wordAt<Word>(b));
    };
    return (allDifferences<Word>(left, stepA, right, stepB, count, difference) & mask) == 0;
}

bool sameBytes(const SampleReader& a, int channelA, const SampleReader& b, int channelB, int first, int count) {
    const std::ptrdiff_t bytes = a.encoding().bytes;
    const std::ptrdiff_t stepA = bytes * a.channels();
    const std::ptrdiff_t stepB = bytes * b.channels();
    const unsigned char* left = a.bytes() + first * stepA + bytes * channelA;
    const unsigned char* right = b.bytes() + first * stepB + bytes * channelB;
    switch (bytes) {
    case 1: return sameWords<quint8, 1>(left, stepA, right, stepB, count);
    case 2: return sameWords<quint16, 2>(left, stepA, right, stepB, count);
    case 3: return sameWords<quint32, 3>(left, stepA, right, stepB, count);
    case 4: return sameWords<quint32, 4>(left, stepA, right, stepB, count);
    default: return sameWords<quint64, 8>(left, stepA, right, stepB, count);
    }
}

// An integer sample at the top of 32 bits, so that sounds of unequal width are equal; 8-bit samples are unsigned. The
// buffers reach four bytes beyond their last sample.
template <int bytes>
quint32 topOf(const unsigned char* at) {
    const auto word = wordAt<quint32>(at);
    const quint32 top = bytes == 4 ? word : word << (8 * (4 - bytes) % 32);
    return bytes == 1 ? top ^ 0x80000000U : top;
}

template <int bytesA, int bytesB>
bool sameTops(const SampleReader& a, int channelA, const SampleReader& b, int channelB, int first, int count) {
    const std::ptrdiff_t stepA = std::ptrdiff_t{bytesA} * a.channels();
    const std::ptrdiff_t stepB = std::ptrdiff_t{bytesB} * b.channels();
    const unsigned char* left = a.bytes() + first * stepA + std::ptrdiff_t{bytesA} * channelA;
    const unsigned char* right = b.bytes() + first * stepB + std::ptrdiff_t{bytesB} * channelB;
    const auto difference = [](const unsigned char* l, const unsigned char* r) {
        return topOf<bytesA>(l) ^ topOf<bytesB>(r);
    };
    return allDifferences<quint32>(left, stepA, right, stepB, count, difference) == 0;
}

template <int bytesA>
bool sameIntegers(const SampleReader& a, int channelA, const SampleReader& b, int channelB, int first, int count) {
    switch (b.encoding().bytes) {
    case 1: return sameTops<bytesA, 1>(a, channelA, b, channelB, first, count);
    case 2: return sameTops<bytesA, 2>(a, channelA, b, channelB, first, count);
    case 3: return sameTops<bytesA, 3>(a, channelA, b, channelB, first, count);
    default: return sameTops<bytesA, 4>(a, channelA, b, channelB, first, count);
    }
}

bool sameIntegers(const SampleReader& a, int channelA, const SampleReader& b, int channelB, int first, int count) {
    switch (a.encoding().bytes) {
    case 1: return sameIntegers<1>(a, channelA, b, channelB, first, count);
    case 2: return sameIntegers<2>(a, channelA, b, channelB, first, count);
    case 3: return sameIntegers<3>(a, channelA, b, channelB, first, count);
    default: return sameIntegers<4>(a, channelA, b, channelB, first, count);
    }
}

} // namespace

bool sameSamples(const SampleReader& a, int channelA, const SampleReader& b, int channelB, int first, int count) {
    if (a.encoding() == b.encoding()) return sameBytes(a, channelA, b, channelB, first, count);
    constexpr auto kIntegers = SampleReader::Encoding::Kind::integers;
    if (a.encoding().kind == kIntegers && b.encoding().kind == kIntegers) {
        return sameIntegers(a, channelA, b, channelB, first, count);
    }
    for (int frame = first; frame < first + count; ++frame) {
        if (a.sample(frame, channelA) != b.sample(frame, channelB)) return false;
    }
    return true;
}

} // namespace ostrel
