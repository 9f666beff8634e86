#include "polytools/records/ixml_track_list.h"

#include "metadata/ixml_text.h"
#include "platform/files/files.h"
#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"
#include "platform/text/text.h"

#include <QFile>
#include <QScopeGuard>

namespace ostrel {
namespace {

std::optional<int> interleaveIndex(const QString& block) { return numberInElement(block, u"INTERLEAVE_INDEX"); }

SourceTrack parseBlock(const QString& block, int position) {
    SourceTrack track;
    track.interleaveIndex = interleaveIndex(block).value_or(position);
    track.channelIndex = numberInElement(block, u"CHANNEL_INDEX").value_or(track.interleaveIndex);
    const auto name = elementOnOneLine(block, u"NAME");
    track.name =
        name ? decodeXMLText(name->innerText(block)).trimmed() : QStringLiteral("CH%1").arg(track.interleaveIndex);
    return track;
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

QString renamedBlock(const QString& block, const QString& name) {
    const QString element = QStringLiteral("<NAME>%1</NAME>").arg(encodeXMLText(name));
    QString result = block;
    if (const auto old = elementOnOneLine(block, u"NAME"))
        return result.replace(old->start, old->end - old->start, element);
    static const QString close = QStringLiteral("</TRACK>");
    return result.insert(result.size() - close.size(), element);
}

} // namespace

std::vector<SourceTrack> parseTrackBlocks(const QString& ixml) {
    std::vector<SourceTrack> result;
    for (const IxmlElement& block : allElementsAcrossLines(ixml, u"TRACK")) {
        result.push_back(parseBlock(block.wholeText(ixml), static_cast<int>(result.size()) + 1));
    }
    return result;
}

std::vector<SourceTrack> sequentialTracks(int channelCount) {
    std::vector<SourceTrack> result;
    for (int n = 1; n <= channelCount; ++n) result.push_back({n, n, QStringLiteral("CH%1").arg(n)});
    return result;
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

QString replaceTrackNames(const QString& ixml, const std::map<int, QString>& names) {
    QString result;
    qsizetype copied = 0;
    int position = 0;
    for (const IxmlElement& block : allElementsAcrossLines(ixml, u"TRACK")) {
        const QString text = block.wholeText(ixml);
        const auto name = names.find(interleaveIndex(text).value_or(++position));
        result += ixml.mid(copied, block.start - copied);
        result += name == names.end() ? text : renamedBlock(text, name->second);
        copied = block.end;
    }
    return result + ixml.mid(copied);
}

std::optional<QString> exportIXML(SourceAnswers& answers, const QString& bwfmetaeditPath, const QString& fileURL) {
    const QString path = files::temporaryPath(QStringLiteral("ixml.xml"));
    const ExportedDocument document = answers.exported(bwfmetaeditPath, QStringLiteral("--out-iXML="), path, fileURL);
    if (!document.result.succeeded()) return std::nullopt;
    return decodeUtf8(document.bytes.value_or(QByteArray())).value_or(QString()); // without iXML no document is made
}

bool importIXML(const QString& bwfmetaeditPath, const QString& ixml, const QString& fileURL) {
    const QString path = files::temporaryPath(QStringLiteral("xml"));
    const auto clean = qScopeGuard([&] { files::removeQuietly(path); });
    files::writeAtomically(path, ixml.toUtf8());
    return ChildProcess::runSilently(bwfmetaeditPath, {QStringLiteral("--in-iXML=") + path, fileURL},
                                     limitsByFileSize({fileURL}), ChildProcess::StandardError::dropped)
        .succeeded();
}

} // namespace ostrel
