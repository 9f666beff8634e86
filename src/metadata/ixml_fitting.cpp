#include "metadata/ixml_fitting.h"

#include "metadata/ixml_surgery.h"
#include "metadata/ixml_text.h"
#include "platform/text/text.h"

#include <QStringDecoder>
#include <algorithm>

namespace ostrel {
namespace {

constexpr qsizetype kDeclarationBytes = 200; // an XML declaration stands within the first line

struct Declaration {
    QString encoding; // in lower case; empty: none is declared
    qsizetype start = 0;
    qsizetype length = 0;
};

Declaration declarationOf(const QString& text) {
    const qsizetype end = text.left(kDeclarationBytes).indexOf(QStringLiteral("?>"));
    const qsizetype at = text.left(std::max<qsizetype>(end, 0)).indexOf(QStringLiteral("encoding="));
    if (at < 0 || at + 10 >= text.size()) return {};
    const qsizetype start = at + 10; // behind the quote
    const qsizetype close = text.indexOf(text[start - 1], start);
    if (close < 0 || close > end) return {};
    return {text.mid(start, close - start).toLower(), start, close - start};
}

QString declaringUtf8(QString text) {
    const Declaration declared = declarationOf(text);
    if (!declared.encoding.isEmpty()) text.replace(declared.start, declared.length, QStringLiteral("UTF-8"));
    return text;
}

std::optional<QString> decodedAs(QStringConverter::Encoding encoding, const QByteArray& bytes) {
    QStringDecoder decoder(encoding);
    const QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

QByteArray withoutPadding(QByteArray chunk) {
    while (chunk.endsWith('\0')) chunk.chop(1);
    return chunk;
}

} // namespace

std::optional<QString> decodedIxml(const QByteArray& chunk) {
    if (chunk.startsWith("\xff\xfe") || chunk.startsWith("\xfe\xff")) {
        const auto text = decodedAs(QStringConverter::Utf16, chunk);
        return text ? std::optional(declaringUtf8(*text)) : std::nullopt;
    }
    const QByteArray bytes = withoutPadding(chunk);
    if (const auto text = decodeUtf8(bytes)) return text;
    const QString latin1 = QString::fromLatin1(bytes);
    const QString declared = declarationOf(latin1).encoding;
    const bool isLatin1 = declared == QStringLiteral("iso-8859-1") || declared == QStringLiteral("latin1") ||
                          declared == QStringLiteral("latin-1");
    return isLatin1 ? std::optional(declaringUtf8(latin1)) : std::nullopt;
}

QStringList trackNamesOf(const QString& document, int count) {
    QStringList names(count);
    int place = 0;
    for (const IxmlElement& element : allElementsAcrossLines(document, u"TRACK")) {
        const QString track = element.wholeText(document);
        ++place;
        const int index = numberInElement(track, u"INTERLEAVE_INDEX").value_or(place);
        if (index >= 1 && index <= count) names[index - 1] = extractValue(track, u"NAME").trimmed();
    }
    return names;
}

QString onlyTrackName(const QString& document) {
    return allElementsAcrossLines(document, u"TRACK").size() == 1 ? trackNamesOf(document, 1).first() : QString();
}

QByteArray fittedIxml(const QByteArray& chunk, const QStringList& names, const QList<int>& channelIndices) {
    const auto document = decodedIxml(chunk);
    const qsizetype end = document ? document->lastIndexOf(QStringLiteral("</BWFXML>")) : -1;
    if (end < 0) return chunk;
    std::vector<TrackIndices> tracks;
    for (qsizetype i = 0; i < names.size(); ++i) {
        const auto place = static_cast<int>(i) + 1;
        tracks.push_back({place, channelIndices.value(i, place), names[i]});
    }
    QString xml = *document;
    if (!xml.contains(QStringLiteral("<TRACK_LIST>"))) {
        xml.insert(end, QStringLiteral("<TRACK_LIST></TRACK_LIST>\n"));
    }
    return performUniversalXMLSurgery(xml, multiTrackList(tracks), generateFileUID()).toUtf8();
}

} // namespace ostrel
