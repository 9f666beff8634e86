// The LIST chunk of type INFO: short texts, each a chunk with a name of four letters.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel::bwfmetaedit {

struct InfoField {
    std::string name;
    std::string bytes; // as stored, with the NULs behind the text
};

struct InfoList {
    std::vector<InfoField> fields; // in the order of the list, unknown ones too

    // `contents` is the chunk's data behind the type "INFO". Throws InvalidWave; the fields before are then in *this.
    void parse(std::string_view contents);
    std::string serialize() const; // with the type

    // The text up to the first NUL, in the encoding of the file; empty if the field is missing.
    std::string value(std::string_view name) const;
    // An empty value removes the field. A new field goes to the end.
    void set(const std::string& name, const std::string& value);
};

} // namespace ostrel::bwfmetaedit
