#include "delivery/facts/description_lines.h"

namespace ostrel {
namespace {

constexpr qsizetype kFieldBytes = 256;

struct Line {
    QByteArray text;
    QByteArray end; // "\r\n", "\n", "\r", or nothing behind the last
};

std::vector<Line> linesOf(const QByteArray& text) {
    std::vector<Line> lines;
    qsizetype at = 0;
    while (at < text.size()) {
        qsizetype end = at;
        while (end < text.size() && text[end] != '\r' && text[end] != '\n') ++end;
        const qsizetype breaks = end == text.size() ? 0 : text.mid(end, 2) == "\r\n" ? 2 : 1;
        lines.push_back({text.mid(at, end - at), text.mid(end, breaks)});
        at = end + breaks;
    }
    return lines;
}

// Of "sSCENE=12A": "SCENE", behind the recorder's own letter.
QByteArray keyOf(const QByteArray& line, qsizetype sign) {
    const bool hasLetter = sign > 0 && line[0] >= 'a' && line[0] <= 'z';
    return line.mid(hasLetter ? 1 : 0, sign - (hasLetter ? 1 : 0));
}

} // namespace

std::optional<QByteArray> descriptionWith(const QByteArray& field, const QMap<QByteArray, QByteArray>& values,
                                          bool endsWithCrLf) {
    const qsizetype nul = field.indexOf('\0');
    QByteArray text;
    for (Line& line : linesOf(nul < 0 ? field : field.first(nul))) {
        const qsizetype sign = line.text.indexOf('=');
        const auto value = sign < 0 ? values.end() : values.find(keyOf(line.text, sign));
        if (value != values.end()) line.text = line.text.first(sign + 1) + *value;
        if (endsWithCrLf && !line.end.isEmpty()) line.end = "\r\n";
        text += line.text + line.end;
    }
    if (text.size() > kFieldBytes) return std::nullopt;
    return text.leftJustified(kFieldBytes, '\0');
}

} // namespace ostrel
