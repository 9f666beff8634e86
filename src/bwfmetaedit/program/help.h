// What the program says about itself.
#pragma once

#include <string_view>

namespace ostrel::bwfmetaedit {

extern const std::string_view kUsage;
extern const std::string_view kVersion;
extern const std::string_view kHelp;

} // namespace ostrel::bwfmetaedit
