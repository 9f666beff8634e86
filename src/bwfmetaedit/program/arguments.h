// The command line, taken apart.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::bwfmetaedit {

struct Arguments {
    // Paths, "-" for the standard output, empty if not asked for.
    std::string outCoreCsv;
    std::string outCoreXml;
    std::string outIxml;
    std::string inCore;
    std::string inIxml;

    std::map<std::string, std::string> values; // of the field options, by name in lower case
    bool rejectsOverwriting = false;
    bool simulates = false;
    bool copies = false;
    std::vector<std::string> paths; // in the order given

    // Set where the command line itself decides what happens.
    bool asksForVersion = false;
    bool asksForHelp = false;
    std::string unknownOption; // as shown: its name in lower case
};

// `given` without the name of the program.
Arguments parseArguments(const std::vector<std::string>& given);

} // namespace ostrel::bwfmetaedit
