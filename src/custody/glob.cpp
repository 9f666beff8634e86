#include "custody/glob.h"

#include <array>
#include <cctype>
#include <cstddef>
#include <optional>
#include <utility>

namespace ostrel {
namespace {

struct NamedClass {
    std::u32string_view name;
    int (*holds)(int);
};
constexpr std::array kNamedClasses{
    NamedClass{U"alnum", [](int c) { return std::isalnum(c); }},
    NamedClass{U"alpha", [](int c) { return std::isalpha(c); }},
    NamedClass{U"blank", [](int c) { return std::isblank(c); }},
    NamedClass{U"cntrl", [](int c) { return std::iscntrl(c); }},
    NamedClass{U"digit", [](int c) { return std::isdigit(c); }},
    NamedClass{U"graph", [](int c) { return std::isgraph(c); }},
    NamedClass{U"lower", [](int c) { return std::islower(c); }},
    NamedClass{U"print", [](int c) { return std::isprint(c); }},
    NamedClass{U"punct", [](int c) { return std::ispunct(c); }},
    NamedClass{U"space", [](int c) { return std::isspace(c); }},
    NamedClass{U"upper", [](int c) { return std::isupper(c); }},
    NamedClass{U"xdigit", [](int c) { return std::isxdigit(c); }},
};

bool isInClass(std::u32string_view name, char32_t letter) {
    for (const NamedClass& each : kNamedClasses) {
        if (each.name == name) return letter < 0x80 && each.holds(static_cast<int>(letter)) != 0;
    }
    return false;
}

// "[...]" at the beginning of `pattern`: how long it is, and whether the letter is in it. Nothing where it has no end.
std::optional<std::pair<std::size_t, bool>> matchBracket(std::u32string_view pattern, char32_t letter) {
    std::size_t at = 1;
    const bool isNegative = at < pattern.size() && (pattern[at] == U'!' || pattern[at] == U'^');
    if (isNegative) ++at;
    bool isIn = false;
    for (bool isFirst = true; at < pattern.size(); isFirst = false) {
        if (pattern[at] == U']' && !isFirst) return std::pair{at + 1, isIn != isNegative};
        if (pattern.substr(at, 2) == U"[:") {
            const std::size_t end = pattern.find(U":]", at + 2);
            if (end != std::u32string_view::npos) {
                isIn = isIn || isInClass(pattern.substr(at + 2, end - at - 2), letter);
                at = end + 2;
                continue;
            }
        }
        const auto take = [&]() -> char32_t {
            if (pattern[at] == U'\\' && at + 1 < pattern.size()) ++at;
            return pattern[at++];
        };
        const char32_t first = take();
        char32_t last = first;
        if (at + 1 < pattern.size() && pattern[at] == U'-' && pattern[at + 1] != U']') {
            ++at;
            last = take();
        }
        isIn = isIn || (letter >= first && letter <= last);
    }
    return std::nullopt;
}

// How much of the pattern's beginning takes this one letter; 0 if it doesn't.
std::size_t takeOne(std::u32string_view pattern, char32_t letter) {
    if (pattern.empty()) return 0;
    if (pattern[0] == U'?') return 1;
    if (pattern[0] == U'[') {
        const auto found = matchBracket(pattern, letter);
        return found && found->second ? found->first : 0;
    }
    if (pattern[0] == U'\\') return pattern.size() > 1 && pattern[1] == letter ? 2 : 0;
    return pattern[0] == letter ? 1 : 0;
}

} // namespace

// At a dead end the last "*" takes one letter more; those before it need not be asked again.
bool matchesGlob(std::u32string_view pattern, std::u32string_view name) {
    std::size_t p = 0;
    std::size_t n = 0;
    std::optional<std::pair<std::size_t, std::size_t>> star; // behind it in the pattern, and where it ends in the name
    for (;;) {
        if (p < pattern.size() && pattern[p] == U'*') {
            star = {++p, n};
            continue;
        }
        if (n == name.size()) return p == pattern.size();
        if (const std::size_t taken = takeOne(pattern.substr(p), name[n]); taken > 0) {
            p += taken;
            ++n;
            continue;
        }
        if (!star) return false;
        p = star->first;
        n = ++star->second;
    }
}

} // namespace ostrel
