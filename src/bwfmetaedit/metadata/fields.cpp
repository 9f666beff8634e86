#include "bwfmetaedit/metadata/fields.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace ostrel::bwfmetaedit {

namespace {

__extension__ using Wide = unsigned __int128; // 64-bit samples times 1000

std::string shownUmid(const Bext& bext) {
    if (!bext.hasUmid()) return {};
    const auto half = bext.umid.begin() + Bext::kUmidSize / 2;
    const bool basic = std::all_of(half, bext.umid.end(), [](char c) { return c == 0; });
    std::string result;
    std::for_each(bext.umid.begin(), basic ? half : bext.umid.end(), [&](char c) {
        constexpr std::string_view kDigits = "0123456789ABCDEF";
        const auto byte = static_cast<unsigned char>(c);
        result += kDigits[byte >> 4];
        result += kDigits[byte & 15];
    });
    return result;
}

std::string shownLoudness(const Bext& bext, int index) {
    const int hundredths = bext.loudness[static_cast<std::size_t>(index)];
    if (bext.version < 2 || hundredths == Bext::kUnset) return {};
    char text[16];
    std::snprintf(text, sizeof text, "%s%d.%02d", hundredths < 0 ? "-" : "", std::abs(hundredths) / 100,
                  std::abs(hundredths) % 100);
    return text;
}

std::string shownBextValue(const Metadata& metadata, const Field& field) {
    const Bext& bext = *metadata.bext;
    switch (field.kind) {
    case Field::Kind::BextText:
        return withLineFeeds(toUtf8(bext.texts[static_cast<std::size_t>(field.index)].bytes, metadata.encoding));
    case Field::Kind::TimeReferenceTranslated:
        return bext.isEmpty() ? std::string() : translatedTimeReference(bext.timeReference, metadata.sampleRate);
    case Field::Kind::TimeReference: return bext.isEmpty() ? std::string() : std::to_string(bext.timeReference);
    case Field::Kind::BextVersion: return std::to_string(bext.version);
    case Field::Kind::Umid: return shownUmid(bext);
    case Field::Kind::Loudness: return shownLoudness(bext, field.index);
    case Field::Kind::Info: break;
    }
    return {};
}

} // namespace

const Field* findField(std::string_view name) {
    const std::string lower = asciiLower(name);
    for (const Field& field : kFields) {
        if (asciiLower(field.column) == lower || asciiLower(field.element) == lower) return &field;
    }
    return nullptr;
}

std::string shownValue(const Metadata& metadata, const Field& field) {
    if (field.kind == Field::Kind::Info) {
        if (!metadata.info) return {};
        return withLineFeeds(toUtf8(metadata.info->value(field.column), metadata.encoding));
    }
    return metadata.bext ? shownBextValue(metadata, field) : std::string();
}

std::string translatedTimeReference(std::uint64_t samples, std::uint32_t sampleRate) {
    const Wide milliseconds = sampleRate == 0 ? 0 : Wide{samples} * 1000 / sampleRate;
    const auto minutes = static_cast<std::uint64_t>(milliseconds / 60'000);
    const std::uint64_t hours = minutes / 60 % 256;
    char text[64];
    std::snprintf(text, sizeof text, "%02u:%02llu:%02u.%03u", static_cast<unsigned>(hours),
                  static_cast<unsigned long long>(minutes - 60 * hours),
                  static_cast<unsigned>(milliseconds / 1000 % 60), static_cast<unsigned>(milliseconds % 1000));
    return text;
}

std::optional<std::uint64_t> samplesOfTime(std::string_view text, std::uint32_t sampleRate) {
    const std::size_t colon = text.find(':');
    constexpr std::size_t kBehindHours = 10; // ":MM:SS.mmm"
    if (colon == std::string_view::npos || colon < 2 || colon > 6 || text.size() != colon + kBehindHours) return {};
    const std::string_view hours = text.substr(0, colon);
    const std::string_view minutes = text.substr(colon + 1, 2);
    const std::string_view seconds = text.substr(colon + 4, 2);
    const std::string_view milliseconds = text.substr(colon + 7, 3);
    const bool separators = text[colon + 3] == ':' && text[colon + 6] == '.';
    if (!separators || !isDigits(hours) || !isDigits(minutes) || !isDigits(seconds) || !isDigits(milliseconds)) {
        return {};
    }
    const auto number = [](std::string_view digits) { return std::stoull(std::string(digits)); };
    if (number(minutes) > 59 || number(seconds) > 59) return {};
    const Wide total =
        Wide{(number(hours) * 60 + number(minutes)) * 60 + number(seconds)} * 1000 + number(milliseconds);
    return static_cast<std::uint64_t>(total * sampleRate / 1000);
}

} // namespace ostrel::bwfmetaedit
