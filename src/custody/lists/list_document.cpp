#include "custody/lists/list_document.h"

#include <QStringDecoder>

namespace ostrel {
namespace {

constexpr int kDeepest = 64; // a list has five levels, and whatever stands in its metadata

// The reader goes by the declaration of 8-bit texts itself, but knows wider ones by their mark alone.
std::optional<QString> wideText(const QByteArray& bytes) {
    const auto encoding = QStringConverter::encodingForData(bytes, u'<');
    if (!encoding || *encoding == QStringConverter::Utf8) return std::nullopt;
    QStringDecoder decoder(*encoding);
    return QString(decoder(bytes));
}

} // namespace

ListDocument::ListDocument(const QByteArray& bytes) {
    const std::optional<QString> text = wideText(bytes);
    text ? xml_.addData(*text) : xml_.addData(bytes);
    xml_.setEntityExpansionLimit(0);
}

void ListDocument::fail(const QString& what) const {
    throw HashListError(QStringLiteral("line %1: %2").arg(xml_.lineNumber()).arg(what));
}

ListDocument::Token ListDocument::next() {
    for (;;) {
        switch (xml_.readNext()) {
        case QXmlStreamReader::Invalid: fail(xml_.errorString());
        case QXmlStreamReader::DTD: fail(QStringLiteral("a hash list has no document type"));
        case QXmlStreamReader::EntityReference: fail(QStringLiteral("an entity that nobody knows"));
        case QXmlStreamReader::StartElement:
            if (++depth_ > kDeepest) fail(QStringLiteral("elements stand too deep within each other"));
            return Token::start;
        case QXmlStreamReader::EndElement: --depth_; return Token::end;
        case QXmlStreamReader::EndDocument: return Token::documentEnd;
        case QXmlStreamReader::Characters:
            if (!xml_.isWhitespace()) fail(QStringLiteral("text where elements belong"));
            break;
        default: break; // comments, instructions
        }
    }
}

void ListDocument::enterRoot(const QString& wanted) {
    if (next() != Token::start || name() != wanted) fail(QStringLiteral("no <%1>").arg(wanted));
}

void ListDocument::forEachChild(const std::function<void()>& take) {
    const int own = depth_;
    while (next() == Token::start) {
        take();
        if (depth_ > own) skip();
    }
}

QString ListDocument::text() {
    const QString text = xml_.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement);
    if (xml_.hasError()) fail(xml_.errorString());
    --depth_;
    return text;
}

// Whatever foreign elements hold, text too.
void ListDocument::skip() {
    const int outside = depth_ - 1;
    while (depth_ > outside) {
        switch (xml_.readNext()) {
        case QXmlStreamReader::Invalid: fail(xml_.errorString());
        case QXmlStreamReader::StartElement:
            if (++depth_ > kDeepest) fail(QStringLiteral("elements stand too deep within each other"));
            break;
        case QXmlStreamReader::EndElement: --depth_; break;
        default: break;
        }
    }
}

void ListDocument::requireEnd() {
    if (next() != Token::documentEnd) fail(QStringLiteral("elements behind the end"));
}

} // namespace ostrel
