#include "bwfmetaedit/program/arguments.h"

#include "bwfmetaedit/bytes/text.h"
#include "bwfmetaedit/metadata/fields.h"

#include <array>
#include <string_view>

namespace ostrel::bwfmetaedit {

namespace {

constexpr std::size_t kInfoOption = 6; // "--XXXX"

constexpr std::array<std::string_view, 6> kBextOptions{"--description",         "--originator",
                                                       "--originatorreference", "--originationdate",
                                                       "--originationtime",     "--timereference"};

// Options without a value are known by how they begin: "--versions" is "--version".
bool isFlag(Arguments& arguments, std::string_view option) {
    const auto begins = [option](std::string_view name) { return option.starts_with(name); };
    if (begins("--version")) {
        arguments.asksForVersion = true;
    } else if (begins("--help") || begins("-h")) {
        arguments.asksForHelp = true;
    } else if (begins("--reject-overwrite")) {
        arguments.rejectsOverwriting = true;
    } else if (begins("--simulate") || begins("-s")) {
        arguments.simulates = true;
    } else if (option == "--copy") {
        arguments.copies = true;
    } else {
        // Taken for the sake of those who are used to giving them; there is nothing for them to change here.
        return begins("--append") || begins("-a") || begins("--verbose") || begins("-v");
    }
    return true;
}

bool isValueOption(Arguments& arguments, const std::string& name, const std::string& value) {
    if (name == "--out-core") {
        arguments.outCoreCsv = value;
    } else if (name == "--out-core-xml") {
        arguments.outCoreXml = value;
    } else if (name == "--out-ixml") {
        arguments.outIxml = value;
    } else if (name == "--in-core") {
        arguments.inCore = value;
    } else if (name == "--in-ixml") {
        arguments.inIxml = value;
    } else {
        for (const std::string_view option : kBextOptions) {
            if (name != option) continue;
            arguments.values[name.substr(2)] = value;
            return true;
        }
        if (name.size() != kInfoOption || !name.starts_with("--")) return false;
        // Any four characters are taken; those that name no field have no effect.
        const Field* field = findField(name.substr(2));
        if (field != nullptr && field->kind == Field::Kind::Info) arguments.values[name.substr(2)] = value;
    }
    return true;
}

} // namespace

Arguments parseArguments(const std::vector<std::string>& given) {
    Arguments arguments;
    for (const std::string& argument : given) {
        if (!argument.starts_with('-')) {
            arguments.paths.push_back(argument);
            continue;
        }
        const std::size_t equals = argument.find('=');
        const std::string name = asciiLower(std::string_view(argument).substr(0, equals));
        const bool hasValue = equals != std::string::npos;
        const std::string value = hasValue ? argument.substr(equals + 1) : std::string();
        if (hasValue && isValueOption(arguments, name, value)) continue;
        if (isFlag(arguments, name)) {
            if (arguments.asksForVersion || arguments.asksForHelp) return arguments;
            continue;
        }
        arguments.unknownOption = name + (hasValue ? "=" + value : std::string());
        return arguments;
    }
    return arguments;
}

} // namespace ostrel::bwfmetaedit
