// CORE documents as CSV.
#pragma once

#include "bwfmetaedit/metadata/metadata.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ostrel::bwfmetaedit {

// One file in a document: what is to become of its fields, by column name in lower case. In the order of the document.
struct CoreRow {
    std::string path;
    std::vector<std::pair<std::string, std::string>> values;
};

std::string coreCsvHeader();                                               // with its line feed
std::string coreCsvRow(const std::string& path, const Metadata& metadata); // with its line feed
// As it goes to a terminal: an empty last cell goes with its comma, and so does the line feed.
std::string withoutEmptyEnd(std::string row);

// Nothing if it is no CORE document. Bytes that are not UTF-8 are taken as ISO-8859-1.
std::optional<std::vector<CoreRow>> parseCoreCsv(std::string_view document);

} // namespace ostrel::bwfmetaedit
