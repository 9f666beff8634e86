#include "bwfmetaedit/bytes/text.h"

#include <algorithm>

namespace ostrel::bwfmetaedit {

namespace {

// The length of the valid UTF-8 sequence at the start of the text, or 0.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto continues = [&](std::size_t count) {
        if (text.size() <= count) return false;
        for (std::size_t i = 1; i <= count; ++i) {
            if ((byte(i) & 0xc0) != 0x80) return false;
        }
        return true;
    };
    const unsigned char first = byte(0);
    if (first < 0x80) return 1;
    if (first >= 0xc2 && first <= 0xdf && continues(1)) return 2;
    if (first >= 0xe0 && first <= 0xef && continues(2)) {
        const bool overlong = first == 0xe0 && byte(1) < 0xa0;
        const bool surrogate = first == 0xed && byte(1) > 0x9f;
        return overlong || surrogate ? 0 : 3;
    }
    if (first >= 0xf0 && first <= 0xf4 && continues(3)) {
        const bool overlong = first == 0xf0 && byte(1) < 0x90;
        const bool tooHigh = first == 0xf4 && byte(1) > 0x8f;
        return overlong || tooHigh ? 0 : 4;
    }
    return 0;
}

std::string withLineBreaks(std::string_view text, std::string_view lineBreak) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r') {
            result += lineBreak;
            if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
        } else if (text[i] == '\n') {
            result += lineBreak;
        } else {
            result += text[i];
        }
    }
    return result;
}

} // namespace

bool isUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = sequenceLength(bytes);
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

std::string toUtf8(std::string_view bytes, Encoding encoding) {
    if (encoding == Encoding::Utf8) return std::string(bytes);
    std::string result;
    result.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            result += c;
        } else {
            result += static_cast<char>(0xc0 | byte >> 6);
            result += static_cast<char>(0x80 | (byte & 0x3f));
        }
    }
    return result;
}

std::string fromUtf8(std::string_view utf8, Encoding encoding) {
    if (encoding == Encoding::Utf8) return std::string(utf8);
    std::string result;
    result.reserve(utf8.size());
    while (!utf8.empty()) {
        const std::size_t length = std::max<std::size_t>(sequenceLength(utf8), 1);
        const auto first = static_cast<unsigned char>(utf8[0]);
        if (length == 1) {
            result += utf8[0];
        } else if (length == 2 && first <= 0xc3) {
            result += static_cast<char>((first & 0x03) << 6 | (static_cast<unsigned char>(utf8[1]) & 0x3f));
        } else {
            throw EncodingError{std::string(utf8.substr(0, length))};
        }
        utf8.remove_prefix(length);
    }
    return result;
}

bool hasLineBreak(std::string_view text) { return text.find_first_of("\r\n") != std::string_view::npos; }

std::string withLineFeeds(std::string_view text) { return withLineBreaks(text, "\n"); }

std::string withCarriageReturns(std::string_view text) { return withLineBreaks(text, "\r\n"); }

std::string_view untilNul(std::string_view bytes) { return bytes.substr(0, bytes.find('\0')); }

std::string asciiLower(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

bool isDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

} // namespace ostrel::bwfmetaedit
