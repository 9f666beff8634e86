// CORE documents as XML.
#pragma once

#include "bwfmetaedit/documents/core_csv.h"
#include "bwfmetaedit/metadata/metadata.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel::bwfmetaedit {

std::string coreXmlFile(const std::string& path, const Metadata& metadata); // one <File> element
std::string coreXmlDocument(const std::string& files);                      // around those elements

// Nothing if it is not well-formed UTF-8.
std::optional<std::vector<CoreRow>> parseCoreXml(std::string_view document);

} // namespace ostrel::bwfmetaedit
