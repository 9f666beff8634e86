#include "metadata/ixml_fitting.h"

#include "metadata/ixml/ixml_text.h"
#include "metadata/ixml_surgery.h"
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

TrackIndices trackIn(const QString& element, int index) {
    return {index, numberInElement(element, u"CHANNEL_INDEX").value_or(0), extractValue(element, u"NAME").trimmed(),
            extractValue(element, u"FUNCTION").trimmed()};
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

std::vector<TrackIndices> tracksOf(const QString& document, int count) {
    std::vector<TrackIndices> tracks(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) tracks[static_cast<std::size_t>(i)].interleaveIndex = i + 1;
    int place = 0;
    for (const IxmlElement& element : allElementsAcrossLines(document, u"TRACK")) {
        const QString text = element.wholeText(document);
        ++place;
        const int index = numberInElement(text, u"INTERLEAVE_INDEX").value_or(place);
        if (index < 1 || index > count) continue;
        tracks[static_cast<std::size_t>(index) - 1] = trackIn(text, index);
    }
    return tracks;
}

std::optional<TrackIndices> onlyTrack(const QString& document) {
    const std::vector<IxmlElement> elements = allElementsAcrossLines(document, u"TRACK");
    if (elements.size() != 1) return std::nullopt;
    return trackIn(elements.front().wholeText(document), 1);
}

QByteArray fittedIxml(const QByteArray& chunk, std::vector<TrackIndices> tracks, const IxmlPlace& place) {
    const auto document = decodedIxml(chunk);
    if (!document || !document->contains(QStringLiteral("</BWFXML>"))) return chunk;
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        if (tracks[i].channelIndex == 0) tracks[i].channelIndex = static_cast<int>(i) + 1;
    }
    return placedIxml(performUniversalXMLSurgery(*document, multiTrackList(tracks), generateFileUID()), place).toUtf8();
}

} // namespace ostrel
