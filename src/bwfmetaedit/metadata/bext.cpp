#include "bwfmetaedit/metadata/bext.h"

#include "bwfmetaedit/bytes/bytes.h"

#include <algorithm>

namespace ostrel::bwfmetaedit {

namespace {

constexpr std::size_t kTimeReferenceOffset = 338;
constexpr std::size_t kVersionOffset = 346;
constexpr std::size_t kUmid = 348;
constexpr std::size_t kLoudness = 412;

std::int16_t throughSinglePrecision(std::int16_t hundredths) {
    if (hundredths >= 0) return hundredths;
    const float value = static_cast<float>(hundredths) / 100.0F;
    return static_cast<std::int16_t>(value * 100.0F);
}

std::string storedForm(const BextText& text) { return text.isFresh ? text.bytes : withCarriageReturns(text.bytes); }

} // namespace

Bext Bext::parse(std::string_view chunk) {
    Bext bext;
    bext.chunkSize = chunk.size();
    const auto holds = [chunk](std::size_t offset, std::size_t size) { return offset + size <= chunk.size(); };
    std::size_t offset = 0;
    for (std::size_t i = 0; i < kBextTextSizes.size(); offset += kBextTextSizes[i++]) {
        if (holds(offset, kBextTextSizes[i])) bext.texts[i].bytes = untilNul(chunk.substr(offset, kBextTextSizes[i]));
    }
    if (holds(kTimeReferenceOffset, 8)) bext.timeReference = littleEndian<std::uint64_t>(chunk, kTimeReferenceOffset);
    if (holds(kVersionOffset, 2)) bext.version = littleEndian<std::uint16_t>(chunk, kVersionOffset);
    if (bext.version >= 1 && holds(kUmid, kUmidSize)) {
        std::copy_n(chunk.begin() + kUmid, kUmidSize, bext.umid.begin());
    }
    for (std::size_t i = 0; bext.version >= 2 && i < LoudnessCount; ++i) {
        if (holds(kLoudness + 2 * i, 2)) bext.loudness[i] = littleEndian<std::int16_t>(chunk, kLoudness + 2 * i);
    }
    if (holds(kFixedSize, 1)) bext.texts[CodingHistory].bytes = untilNul(chunk.substr(kFixedSize));
    return bext;
}

std::string Bext::serialize() const {
    const std::string history = storedForm(texts[CodingHistory]);
    std::string chunk(std::max(chunkSize, kFixedSize + history.size()), '\0');
    std::size_t offset = 0;
    for (std::size_t i = 0; i < kBextTextSizes.size(); offset += kBextTextSizes[i++]) {
        const std::string text = storedForm(texts[i]).substr(0, kBextTextSizes[i]);
        chunk.replace(offset, text.size(), text);
    }
    putLittleEndian(chunk, kTimeReferenceOffset, timeReference);
    putLittleEndian(chunk, kVersionOffset, version);
    if (version >= 1) std::copy(umid.begin(), umid.end(), chunk.begin() + kUmid);
    for (std::size_t i = 0; version >= 2 && i < LoudnessCount; ++i) {
        putLittleEndian(chunk, kLoudness + 2 * i, throughSinglePrecision(loudness[i]));
    }
    chunk.replace(kFixedSize, history.size(), history);
    return chunk;
}

bool Bext::hasUmid() const {
    return version >= 1 && std::any_of(umid.begin(), umid.end(), [](char c) { return c != 0; });
}

bool Bext::hasLoudness() const {
    return version >= 2 && std::any_of(loudness.begin(), loudness.end(), [](auto value) { return value != kUnset; });
}

bool Bext::isEmpty() const {
    const bool noText =
        std::all_of(texts.begin(), texts.end(), [](const BextText& text) { return text.bytes.empty(); });
    return noText && timeReference == 0 && !hasUmid() && !hasLoudness();
}

void Bext::raiseVersion(std::uint16_t atLeast) {
    if (version >= atLeast) return;
    if (version < 1) umid.fill(0);
    if (version < 2) loudness.fill(kUnset);
    version = atLeast;
}

} // namespace ostrel::bwfmetaedit
