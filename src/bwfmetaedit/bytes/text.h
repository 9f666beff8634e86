// Texts as byte strings: encodings, line breaks, case. Nothing here depends on the locale.
#pragma once

#include <string>
#include <string_view>

namespace ostrel::bwfmetaedit {

// The encoding of all texts of one file. ISO-8859-1 is assumed as soon as one text is not valid UTF-8.
enum class Encoding { Utf8, Latin1 };

// Strict: no overlong forms, no surrogates, nothing above U+10FFFF.
bool isUtf8(std::string_view bytes);

std::string toUtf8(std::string_view bytes, Encoding encoding);

// A character that the target encoding lacks; `character` is its UTF-8 form.
struct EncodingError {
    std::string character;
};

// Throws EncodingError. `utf8` must be valid.
std::string fromUtf8(std::string_view utf8, Encoding encoding);

// CR LF, a lone CR and LF are each one line break.
bool hasLineBreak(std::string_view text);
std::string withLineFeeds(std::string_view text);
std::string withCarriageReturns(std::string_view text);

std::string_view untilNul(std::string_view bytes);
std::string asciiLower(std::string_view text);
bool isDigits(std::string_view text);

} // namespace ostrel::bwfmetaedit
