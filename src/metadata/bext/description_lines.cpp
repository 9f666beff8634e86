#include "metadata/bext/description_lines.h"

#include "platform/text/regular_expression.h"
#include "platform/text/text.h"

namespace ostrel {
namespace {

constexpr qsizetype kFieldBytes = 256;

DescriptionLine lineOf(const QByteArray& text, const QByteArray& end) {
    const qsizetype sign = text.indexOf('=');
    if (sign <= 0) return {{}, {}, text, end};
    const qsizetype letters = sign > 1 && text[0] >= 'a' && text[0] <= 'z' ? 1 : 0;
    return {text.first(letters), text.mid(letters, sign - letters), text.mid(sign + 1), end};
}

} // namespace

int DescriptionLine::track() const {
    bool isNumber = false;
    const int number = key.startsWith("TRK") ? key.mid(3).toInt(&isNumber) : 0;
    return isNumber && number > 0 ? number : 0;
}

std::vector<DescriptionLine> descriptionLinesOf(const QByteArray& field) {
    const qsizetype nul = field.indexOf('\0');
    const QByteArray text = nul < 0 ? field : field.first(nul);
    std::vector<DescriptionLine> lines;
    for (qsizetype at = 0; at < text.size();) {
        qsizetype end = at;
        while (end < text.size() && text[end] != '\r' && text[end] != '\n') ++end;
        const qsizetype breaks = end == text.size() ? 0 : text.mid(end, 2) == "\r\n" ? 2 : 1;
        lines.push_back(lineOf(text.mid(at, end - at), text.mid(end, breaks)));
        at = end + breaks;
    }
    return lines;
}

QByteArray bytesOf(const std::vector<DescriptionLine>& lines) {
    QByteArray text;
    for (const DescriptionLine& line : lines) text += line.bytes();
    return text;
}

QMap<QString, QString> descriptionKeys(const QByteArray& field) {
    static const RegularExpression kKey(QStringLiteral("^(SPEED|TAKE|UBITS|SCENE|TAPE|NOTE|CIRCLED|WILD|FILENAME|"
                                                       "FRAMERATE|SWVER|USER|PROJECT|TRK?[0-9A-Z]+)$"));
    const bool isUtf8 = decodeUtf8(field).has_value();
    QMap<QString, QString> keys;
    for (const DescriptionLine& line : descriptionLinesOf(field)) {
        const QString key = QString::fromLatin1(line.key);
        if (!kKey.matches(key) || keys.contains(key)) continue;
        keys.insert(key, (isUtf8 ? QString::fromUtf8(line.value) : QString::fromLatin1(line.value)).trimmed());
    }
    return keys;
}

std::optional<QByteArray> descriptionWith(const QByteArray& field, const QMap<QByteArray, QByteArray>& values,
                                          bool endsWithCrLf) {
    std::vector<DescriptionLine> lines = descriptionLinesOf(field);
    for (DescriptionLine& line : lines) {
        const auto value = line.key.isEmpty() ? values.end() : values.find(line.key);
        if (value != values.end()) line.value = *value;
        if (endsWithCrLf && (!line.end.isEmpty() || !line.key.isEmpty())) line.end = "\r\n";
    }
    QByteArray text = bytesOf(lines);
    if (text.size() > kFieldBytes && endsWithCrLf) {
        lines.back().end.clear(); // which the end of the field is as well
        text = bytesOf(lines);
    }
    if (text.size() > kFieldBytes) return std::nullopt;
    return text.leftJustified(kFieldBytes, '\0');
}

} // namespace ostrel
