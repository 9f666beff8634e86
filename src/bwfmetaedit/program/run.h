// One run of the program.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace ostrel::bwfmetaedit {

// `given` without the name of the program. Returns the exit status, 0 or 1.
int run(const std::vector<std::string>& given, std::ostream& out, std::ostream& err);

} // namespace ostrel::bwfmetaedit
