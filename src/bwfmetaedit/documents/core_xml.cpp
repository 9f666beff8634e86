#include "bwfmetaedit/documents/core_xml.h"

#include "bwfmetaedit/documents/xml_reader.h"
#include "bwfmetaedit/metadata/fields.h"

namespace ostrel::bwfmetaedit {

namespace {

constexpr std::string_view kRoot = "conformance_point_document";
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

std::string escaped(const std::string& text, bool inAttribute) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&': result += "&amp;"; break;
        case '<': result += "&lt;"; break;
        case '>': result += "&gt;"; break;
        case '"': result += inAttribute ? "&quot;" : "\""; break;
        case '\'': result += inAttribute ? "&apos;" : "'"; break;
        default: result += c;
        }
    }
    return result;
}

// Looks at conformance_point_document/File/Core/FIELD and at nothing else.
class CoreXmlParser {
public:
    std::vector<CoreRow> run(const std::vector<XmlEvent>& events) {
        for (const XmlEvent& event : events) {
            switch (event.kind) {
            case XmlEvent::Kind::Start: start(event); break;
            case XmlEvent::Kind::Text:
                if (field_ != nullptr && depth_ == kFieldDepth) value_ += event.text;
                break;
            case XmlEvent::Kind::End: end(); break;
            }
        }
        return std::move(rows_);
    }

private:
    static constexpr int kFieldDepth = 4;

    void start(const XmlEvent& event) {
        ++depth_;
        // Each level counts only inside the right one above it.
        if (depth_ != matched_ + 1) return;
        const bool matches = (depth_ == 1 && event.text == kRoot) || (depth_ == 2 && event.text == "File") ||
                             (depth_ == 3 && event.text == "Core");
        if (matches) ++matched_;
        if (matches && depth_ == 2) rows_.push_back({event.attribute("name"), {}});
        if (depth_ != kFieldDepth || matched_ != kFieldDepth - 1) return;
        field_ = findField(event.text);
        value_.clear();
    }

    void end() {
        if (depth_ == kFieldDepth && field_ != nullptr) {
            const bool blank = value_.find_first_not_of(" \t\r\n") == std::string::npos;
            rows_.back().values.emplace_back(asciiLower(field_->column), blank ? std::string() : value_);
            field_ = nullptr;
        }
        if (matched_ == depth_) --matched_;
        --depth_;
    }

    std::vector<CoreRow> rows_;
    int depth_ = 0;
    int matched_ = 0;
    const Field* field_ = nullptr;
    std::string value_;
};

} // namespace

std::string coreXmlFile(const std::string& path, const Metadata& metadata) {
    std::string fields;
    for (const Field& field : kFields) {
        const std::string value = shownValue(metadata, field);
        if (value.empty()) continue;
        const std::string element(field.element);
        fields += "            <" + element + ">" + escaped(value, false) + "</" + element + ">\n";
    }
    const std::string core = fields.empty() ? "        <Core/>\n" : "        <Core>\n" + fields + "        </Core>\n";
    return "    <File name=\"" + escaped(path, true) + "\">\n" + core + "    </File>\n";
}

std::string coreXmlDocument(const std::string& files) {
    const std::string root(kRoot);
    const std::string body = files.empty() ? "<" + root + "/>\n" : "<" + root + ">\n" + files + "</" + root + ">\n";
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + body;
}

std::optional<std::vector<CoreRow>> parseCoreXml(std::string_view document) {
    if (document.starts_with(kByteOrderMark)) document.remove_prefix(kByteOrderMark.size());
    if (!isUtf8(document)) return {};
    try {
        return CoreXmlParser().run(readXml(document));
    } catch (const MalformedXml&) {
        return {};
    }
}

} // namespace ostrel::bwfmetaedit
