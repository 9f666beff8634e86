// Elements of an iXML document, found in its text. Recorders write documents that no XML parser takes, and an edit has
// to leave every other character as it stands, so these searches take the place of patterns such as
// "<NAME>(.*?)</NAME>". They find what the pattern finds, in one pass over the text whatever it holds. Element names
// are compared exactly; a start tag with attributes is another tag.
#pragma once

#include <QString>
#include <QStringView>
#include <optional>
#include <vector>

namespace ostrel {

struct IxmlElement {
    qsizetype start = 0; // of "<TAG>"
    qsizetype end = 0;   // behind "</TAG>"
    qsizetype innerStart = 0;
    qsizetype innerEnd = 0;

    bool operator==(const IxmlElement&) const = default;

    QString innerText(const QString& xml) const { return xml.mid(innerStart, innerEnd - innerStart); }
    QString wholeText(const QString& xml) const { return xml.mid(start, end - start); }
};

// "<TAG>.*?</TAG>", where "." stops at line breaks.
std::optional<IxmlElement> elementOnOneLine(const QString& xml, QStringView tag);

// "<TAG>[\s\S]*?</TAG>", at or behind `from`.
std::optional<IxmlElement> elementAcrossLines(const QString& xml, QStringView tag, qsizetype from = 0);

// All of those, in document order.
std::vector<IxmlElement> allElementsAcrossLines(const QString& xml, QStringView tag);

// "<TAG>[^<]*</TAG>": text without a tag inside. With `mayBeEmpty` false, "<TAG>[^<]+</TAG>".
std::optional<IxmlElement> plainElement(const QString& xml, QStringView tag, bool mayBeEmpty);

// "<TAG>(\d+)</TAG>" as a number; nothing where there is none, or it doesn't fit.
std::optional<int> numberInElement(const QString& xml, QStringView tag);

// The five entities of XML and character references, both ways. Text that is none of them stays as it is, so a bare "&"
// that a recorder wrote survives.
QString decodeXMLText(const QString& text);
QString encodeXMLText(const QString& text);

} // namespace ostrel
