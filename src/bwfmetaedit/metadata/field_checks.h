// Which values a field takes.
#pragma once

#include "bwfmetaedit/metadata/fields.h"

#include <string>
#include <string_view>

namespace ostrel::bwfmetaedit {

// What is wrong with a new value (UTF-8, any line breaks), as shown behind the path; empty if it is acceptable.
// Only the first thing that is wrong is told. Empty values, which clear a field, are always acceptable.
std::string problemWith(const Field& field, std::string_view value, std::uint32_t sampleRate);

} // namespace ostrel::bwfmetaedit
