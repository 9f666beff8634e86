#include "bwfmetaedit/documents/core_csv.h"

#include "bwfmetaedit/metadata/fields.h"

#include <algorithm>

namespace ostrel::bwfmetaedit {

namespace {

constexpr std::string_view kFileName = "FileName";

std::string quotedIfNeeded(const std::string& cell) {
    if (cell.find_first_of(",\"\r\n") == std::string::npos) return cell;
    std::string result = "\"";
    for (const char c : cell) result += c == '"' ? std::string("\"\"") : std::string(1, c);
    return result + '"';
}

// Takes records apart. Two quotes are one quote wherever they stand, also in a cell that is not quoted; any other
// quote starts or ends quoting.
class CsvReader {
public:
    CsvReader(std::string_view text, char separator) : text_(text), separator_(separator) {}

    // The header decides what ends a line in the whole document.
    void findLineEnd() {
        const std::size_t end = text_.find_first_of("\r\n");
        if (end == std::string_view::npos) return;
        lineEnd_ = text_.substr(end, text_.substr(end).starts_with("\r\n") ? 2 : 1);
    }

    bool atEnd() const { return position_ >= text_.size(); }

    std::vector<std::string> record() {
        std::vector<std::string> cells(1);
        bool quoted = false;
        while (!atEnd()) {
            const std::string_view rest = text_.substr(position_);
            if (rest.starts_with("\"\"")) {
                cells.back() += '"';
                position_ += 2;
            } else if (rest[0] == '"') {
                quoted = !quoted;
                ++position_;
            } else if (!quoted && rest.starts_with(lineEnd_)) {
                position_ += lineEnd_.size();
                break;
            } else if (!quoted && rest[0] == separator_) {
                cells.emplace_back();
                ++position_;
            } else {
                cells.back() += rest[0];
                ++position_;
            }
        }
        return cells;
    }

private:
    std::string_view text_;
    char separator_;
    std::string_view lineEnd_ = "\n";
    std::size_t position_ = 0;
};

} // namespace

std::string coreCsvHeader() {
    std::string header(kFileName);
    for (const Field& field : kFields) header += "," + std::string(field.column);
    return header + '\n';
}

std::string coreCsvRow(const std::string& path, const Metadata& metadata) {
    std::string row = quotedIfNeeded(path);
    for (const Field& field : kFields) row += "," + quotedIfNeeded(shownValue(metadata, field));
    return row + '\n';
}

std::string withoutEmptyEnd(std::string row) {
    row.pop_back();
    if (row.ends_with(',')) row.pop_back();
    return row;
}

std::optional<std::vector<CoreRow>> parseCoreCsv(std::string_view document) {
    const std::string text = toUtf8(document, isUtf8(document) ? Encoding::Utf8 : Encoding::Latin1);
    const bool separated = text.size() > kFileName.size() && text.starts_with(kFileName) &&
                           (text[kFileName.size()] == ',' || text[kFileName.size()] == ';');
    if (!separated) return {};
    CsvReader reader(text, text[kFileName.size()]);
    reader.findLineEnd();
    const std::vector<std::string> header = reader.record();

    std::vector<CoreRow> rows;
    while (!reader.atEnd()) {
        std::vector<std::string> cells = reader.record();
        if (cells.size() == 1 && cells[0].empty()) continue;
        CoreRow row{cells[0], {}};
        std::replace(row.path.begin(), row.path.end(), '\\', '/');
        cells.resize(header.size()); // missing cells clear their fields, surplus ones are nobody's
        for (std::size_t i = 1; i < header.size(); ++i) {
            const Field* field = findField(header[i]);
            if (field != nullptr) row.values.emplace_back(asciiLower(field->column), cells[i]);
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

} // namespace ostrel::bwfmetaedit
