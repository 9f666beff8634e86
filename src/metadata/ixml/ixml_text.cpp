#include "metadata/ixml/ixml_text.h"

#include <algorithm>
#include <map>

namespace ostrel {
namespace {

QString startTag(QStringView tag) { return QStringLiteral("<%1>").arg(tag); }
QString endTag(QStringView tag) { return QStringLiteral("</%1>").arg(tag); }

// Where "." of a pattern stops.
bool isLineBreak(QChar c) {
    return (c >= u'\n' && c <= u'\r') || c == QChar(0x85) || c == QChar(0x2028) || c == QChar(0x2029);
}

// Behind the last line break of [from, to); -1 if there is none.
qsizetype behindLastLineBreak(const QString& text, qsizetype from, qsizetype to) {
    for (qsizetype i = to; i-- > from;) {
        if (isLineBreak(text[i])) return i + 1;
    }
    return -1;
}

IxmlElement elementBetween(qsizetype start, qsizetype startTagLength, qsizetype innerEnd, qsizetype endTagLength) {
    return {start, innerEnd + endTagLength, start + startTagLength, innerEnd};
}

QString entityText(const QString& entity) {
    static const std::map<QString, QString> named{{QStringLiteral("amp"), QStringLiteral("&")},
                                                  {QStringLiteral("lt"), QStringLiteral("<")},
                                                  {QStringLiteral("gt"), QStringLiteral(">")},
                                                  {QStringLiteral("quot"), QStringLiteral("\"")},
                                                  {QStringLiteral("apos"), QStringLiteral("'")}};
    if (const auto found = named.find(entity); found != named.end()) return found->second;
    if (!entity.startsWith(u'#')) return {};
    const bool hexadecimal = entity.size() > 1 && entity[1] == u'x';
    bool isNumber = false;
    const char32_t code = entity.mid(hexadecimal ? 2 : 1).toUInt(&isNumber, hexadecimal ? 16 : 10);
    const bool isCharacter = isNumber && code >= 0x20 && code <= 0x10FFFF && !(code >= 0xD800 && code <= 0xDFFF);
    return isCharacter ? QString::fromUcs4(&code, 1) : QString();
}

// The elements whose text up to the next "<" passes the test, first one first.
template <class Test>
std::optional<IxmlElement> firstPlainElement(const QString& xml, QStringView tag, Test test) {
    const QString open = startTag(tag);
    const QString close = endTag(tag);
    qsizetype start = xml.indexOf(open);
    while (start >= 0) {
        const qsizetype innerStart = start + open.size();
        const qsizetype innerEnd = xml.indexOf(u'<', innerStart);
        if (innerEnd < 0) return std::nullopt;
        if (QStringView(xml).sliced(innerEnd).startsWith(close) &&
            test(QStringView(xml).sliced(innerStart, innerEnd - innerStart))) {
            return elementBetween(start, open.size(), innerEnd, close.size());
        }
        start = xml.indexOf(open, innerEnd);
    }
    return std::nullopt;
}

} // namespace

std::optional<IxmlElement> elementOnOneLine(const QString& xml, QStringView tag) {
    const QString open = startTag(tag);
    const QString close = endTag(tag);
    qsizetype innerEnd = -1;
    qsizetype start = xml.indexOf(open);
    while (start >= 0) {
        const qsizetype innerStart = start + open.size();
        if (innerEnd < innerStart) innerEnd = xml.indexOf(close, innerStart);
        if (innerEnd < 0) return std::nullopt;
        // Whatever begins ahead of the line break can only end behind it, too.
        const qsizetype nextLine = behindLastLineBreak(xml, innerStart, innerEnd);
        if (nextLine < 0) return elementBetween(start, open.size(), innerEnd, close.size());
        start = xml.indexOf(open, nextLine);
    }
    return std::nullopt;
}

std::optional<IxmlElement> elementAcrossLines(const QString& xml, QStringView tag, qsizetype from) {
    const QString open = startTag(tag);
    const QString close = endTag(tag);
    const qsizetype start = xml.indexOf(open, from);
    if (start < 0) return std::nullopt;
    const qsizetype innerEnd = xml.indexOf(close, start + open.size());
    if (innerEnd < 0) return std::nullopt;
    return elementBetween(start, open.size(), innerEnd, close.size());
}

std::vector<IxmlElement> allElementsAcrossLines(const QString& xml, QStringView tag) {
    std::vector<IxmlElement> elements;
    for (auto element = elementAcrossLines(xml, tag); element; element = elementAcrossLines(xml, tag, element->end)) {
        elements.push_back(*element);
    }
    return elements;
}

std::optional<IxmlElement> plainElement(const QString& xml, QStringView tag, bool mayBeEmpty) {
    return firstPlainElement(xml, tag, [&](QStringView inner) { return mayBeEmpty || !inner.isEmpty(); });
}

std::optional<int> numberInElement(const QString& xml, QStringView tag) {
    const auto element = firstPlainElement(xml, tag, [](QStringView inner) {
        return !inner.isEmpty() && std::all_of(inner.begin(), inner.end(), [](QChar c) { return c.isDigit(); });
    });
    if (!element) return std::nullopt;
    bool isNumber = false;
    const int number = element->innerText(xml).toInt(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

QString decodeXMLText(const QString& text) {
    if (!text.contains(u'&')) return text;
    QString result;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const qsizetype end = text[at] == u'&' ? text.indexOf(u';', at) : -1;
        const QString decoded = end > at && end - at <= 10 ? entityText(text.mid(at + 1, end - at - 1)) : QString();
        if (decoded.isEmpty()) {
            result += text[at];
        } else {
            result += decoded;
            at = end;
        }
    }
    return result;
}

QString encodeXMLText(const QString& text) {
    QString result = text;
    return result.replace(u'&', QStringLiteral("&amp;"))
        .replace(u'<', QStringLiteral("&lt;"))
        .replace(u'>', QStringLiteral("&gt;"));
}

} // namespace ostrel
