#include "platform/processes/output_ends.h"

#include <algorithm>
#include <utility>

namespace ostrel {
namespace {

bool continuesLetter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// Bytes of the letter that begins with this one.
qsizetype lengthOfLetter(char lead) {
    const auto byte = static_cast<unsigned char>(lead);
    return byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
}

// Bytes of half a letter at the end of a text.
qsizetype brokenAtEnd(const QByteArray& text) {
    for (qsizetype back = 1; back <= std::min<qsizetype>(4, text.size()); ++back) {
        const char byte = text[text.size() - back];
        if (!continuesLetter(byte)) return lengthOfLetter(byte) > back ? back : 0;
    }
    return 0;
}

qsizetype brokenAtStart(const QByteArray& text) {
    qsizetype count = 0;
    while (count < std::min<qsizetype>(3, text.size()) && continuesLetter(text[count])) ++count;
    return count;
}

} // namespace

void OutputEnds::append(QByteArrayView text) {
    const qsizetype taken = std::min(text.size(), first_ - start_.size());
    start_.append(text.first(taken));
    rest_.append(text.sliced(taken));
    if (rest_.size() > 2 * last_) dropAllButLast();
}

void OutputEnds::dropAllButLast() {
    dropped_ += rest_.size() - last_;
    rest_ = rest_.last(last_);
}

QByteArray OutputEnds::take() {
    if (rest_.size() > last_) dropAllButLast();
    if (dropped_ > 0) {
        const qsizetype half = brokenAtEnd(start_);
        const qsizetype otherHalf = brokenAtStart(rest_);
        dropped_ += half + otherHalf;
        start_.chop(half);
        start_ += "\n[... " + QByteArray::number(dropped_) + " bytes left out ...]\n";
        rest_ = rest_.sliced(otherHalf);
        dropped_ = 0;
    }
    return std::exchange(start_, {}) + std::exchange(rest_, {});
}

} // namespace ostrel
