#include "polytools/records/ixml_track_list.h"

#include "foundation/chunks/shown_recording.h"
#include "platform/files/files.h"
#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"
#include "platform/text/text.h"

#include <QFile>
#include <QScopeGuard>
#include <algorithm>

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
    if (const auto function = elementOnOneLine(block, u"FUNCTION"))
        track.function = function->innerText(block).trimmed();
    return track;
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

std::vector<SourceTrack> tracksInChannelOrder(const QString& ixml) {
    std::vector<SourceTrack> tracks = parseTrackBlocks(ixml);
    std::ranges::stable_sort(tracks, {}, &SourceTrack::interleaveIndex);
    return tracks;
}

std::vector<SourceTrack> sequentialTracks(int channelCount) {
    std::vector<SourceTrack> result;
    for (int n = 1; n <= channelCount; ++n) result.push_back({n, n, QStringLiteral("CH%1").arg(n)});
    return result;
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
