#include "bwfmetaedit/documents/xml_reader.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace ostrel::bwfmetaedit {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

bool isBlank(std::string_view text) { return text.find_first_not_of(kBlanks) == std::string_view::npos; }

bool isNameEnd(char c) { return kBlanks.find(c) != std::string_view::npos || c == '/' || c == '>' || c == '='; }

std::string utf8Of(std::uint32_t code) {
    const auto byte = [](std::uint32_t value) { return static_cast<char>(value); };
    const auto tail = [&](int shift) { return byte(0x80 | (code >> shift & 0x3f)); };
    if (code < 0x80) return {byte(code)};
    if (code < 0x800) return {byte(0xc0 | code >> 6), tail(0)};
    if (code < 0x10000) return {byte(0xe0 | code >> 12), tail(6), tail(0)};
    return {byte(0xf0 | code >> 18), tail(12), tail(6), tail(0)};
}

std::string referred(std::string_view name) {
    if (name == "amp") return "&";
    if (name == "lt") return "<";
    if (name == "gt") return ">";
    if (name == "quot") return "\"";
    if (name == "apos") return "'";
    if (!name.starts_with('#')) throw MalformedXml{};
    name.remove_prefix(1);
    const bool hexadecimal = name.starts_with('x');
    if (hexadecimal) name.remove_prefix(1);
    std::uint32_t code = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), code, hexadecimal ? 16 : 10);
    const bool complete = error == std::errc() && end == name.data() + name.size();
    const bool surrogate = code >= 0xd800 && code <= 0xdfff;
    if (!complete || code == 0 || surrogate || code > 0x10ffff) throw MalformedXml{};
    return utf8Of(code);
}

std::string resolved(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t reference = text.find('&');
        result += text.substr(0, reference);
        if (reference == std::string_view::npos) break;
        text.remove_prefix(reference + 1);
        const std::size_t end = text.find(';');
        if (end == std::string_view::npos) throw MalformedXml{};
        result += referred(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    return result;
}

class XmlReader {
public:
    explicit XmlReader(std::string_view document) : rest_(document) {}

    std::vector<XmlEvent> run() {
        while (!rest_.empty()) {
            if (skip("<?")) {
                until("?>");
            } else if (skip("<!--")) {
                until("-->");
            } else if (skip("<![CDATA[")) {
                addText(std::string(until("]]>")));
            } else if (skip("</")) {
                endElement();
            } else if (skip("<")) {
                startElement();
            } else {
                readText();
            }
        }
        if (!open_.empty() || !hadRoot_) throw MalformedXml{};
        return std::move(events_);
    }

private:
    bool skip(std::string_view token) {
        if (!rest_.starts_with(token)) return false;
        rest_.remove_prefix(token.size());
        return true;
    }

    std::string_view until(std::string_view token) {
        const std::size_t end = rest_.find(token);
        if (end == std::string_view::npos) throw MalformedXml{};
        const std::string_view result = rest_.substr(0, end);
        rest_.remove_prefix(end + token.size());
        return result;
    }

    void skipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size())); }

    std::string name() {
        const auto end = std::find_if(rest_.begin(), rest_.end(), isNameEnd);
        std::string result(rest_.begin(), end);
        const bool refused = result.empty() || result.find_first_of("<&\"'!?") != std::string::npos;
        if (refused) throw MalformedXml{};
        rest_.remove_prefix(result.size());
        return result;
    }

    void readText() {
        const std::string_view text = rest_.substr(0, rest_.find('<'));
        rest_.remove_prefix(text.size());
        if (open_.empty() && isBlank(text)) return;
        addText(resolved(text));
    }

    // Pieces of one text, CDATA among them, come out as one.
    void addText(std::string text) {
        if (open_.empty()) throw MalformedXml{};
        if (!events_.empty() && events_.back().kind == XmlEvent::Kind::Text) {
            events_.back().text += text;
        } else {
            events_.push_back({XmlEvent::Kind::Text, std::move(text), {}});
        }
    }

    void startElement() {
        if (open_.empty() && hadRoot_) throw MalformedXml{};
        hadRoot_ = true;
        XmlEvent event{XmlEvent::Kind::Start, name(), {}};
        const std::string elementName = event.text;
        for (skipBlanks(); !rest_.starts_with('>') && !rest_.starts_with("/>"); skipBlanks()) {
            event.attributes.push_back(attribute());
        }
        events_.push_back(std::move(event));
        open_.push_back(elementName);
        if (skip("/>")) {
            close();
        } else {
            skip(">");
        }
    }

    std::pair<std::string, std::string> attribute() {
        std::string attributeName = name();
        skipBlanks();
        if (!skip("=")) throw MalformedXml{};
        skipBlanks();
        const char quote = rest_.empty() ? '\0' : rest_[0];
        if (quote != '"' && quote != '\'') throw MalformedXml{};
        rest_.remove_prefix(1);
        const std::string_view value = until(std::string_view(&quote, 1));
        if (value.find('<') != std::string_view::npos) throw MalformedXml{};
        return {std::move(attributeName), resolved(value)};
    }

    void endElement() {
        const std::string elementName = name();
        skipBlanks();
        if (!skip(">") || open_.empty() || open_.back() != elementName) throw MalformedXml{};
        close();
    }

    void close() {
        events_.push_back({XmlEvent::Kind::End, open_.back(), {}});
        open_.pop_back();
    }

    std::string_view rest_;
    std::vector<std::string> open_;
    std::vector<XmlEvent> events_;
    bool hadRoot_ = false;
};

} // namespace

std::string XmlEvent::attribute(std::string_view name) const {
    for (const auto& [key, value] : attributes) {
        if (key == name) return value;
    }
    return {};
}

std::vector<XmlEvent> readXml(std::string_view document) { return XmlReader(document).run(); }

} // namespace ostrel::bwfmetaedit
