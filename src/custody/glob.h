// Whether a name matches a pattern of "*", "?", "[a-z]" and backslashes, letter by letter. A pattern that is not whole
// ("[a") matches nothing. Time grows with the product of both lengths at most.
#pragma once

#include <string_view>

namespace ostrel {

bool matchesGlob(std::u32string_view pattern, std::u32string_view name);

} // namespace ostrel
