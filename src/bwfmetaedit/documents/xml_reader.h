// A small reader for XML 1.0 documents without a document type: elements, attributes, texts, CDATA, references.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ostrel::bwfmetaedit {

struct MalformedXml {};

struct XmlEvent {
    enum class Kind { Start, End, Text };

    Kind kind;
    std::string text; // the element's name, or the text with its references resolved
    std::vector<std::pair<std::string, std::string>> attributes;

    // Empty if it is missing.
    std::string attribute(std::string_view name) const;
};

// The events of the whole document; an empty element gives a start and an end. Throws MalformedXml, also for a document
// type: its entities could stand for anything.
std::vector<XmlEvent> readXml(std::string_view document);

} // namespace ostrel::bwfmetaedit
