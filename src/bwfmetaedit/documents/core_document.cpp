#include "bwfmetaedit/documents/core_document.h"

#include "bwfmetaedit/bytes/file_bytes.h"
#include "bwfmetaedit/documents/core_xml.h"

namespace ostrel::bwfmetaedit {

namespace {

constexpr std::uint64_t kLargestDocument = 4ULL * 1024 * 1024;

bool isXml(std::string_view document) {
    const bool marked = document.starts_with("<?xml") || document.starts_with("\xef\xbb\xbf<?xml");
    return marked && hasLineBreak(document);
}

} // namespace

std::vector<CoreRow> readCoreDocument(const std::string& path) {
    const WholeFile file = readWholeFile(path, kLargestDocument);
    if (file.state == WholeFile::State::Unreadable) throw DocumentError{"file does not exist"};
    if (file.state != WholeFile::State::Read) throw DocumentError{"file is too big, it can not be loaded"};
    std::optional<std::vector<CoreRow>> rows = isXml(file.bytes) ? parseCoreXml(file.bytes) : parseCoreCsv(file.bytes);
    if (!rows) throw DocumentError{"not a valid file"};
    return std::move(*rows);
}

} // namespace ostrel::bwfmetaedit
