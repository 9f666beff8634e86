// Any text as an iXML document, through everything that reads or edits one.
#include "metadata/ixml/ixml_text.h"
#include "metadata/ixml_parser.h"
#include "metadata/ixml_surgery.h"
#include "polytools/grouping/iso_evidence.h"

#include <cstdlib>

using namespace ostrel;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

void checkElements(const QString& xml) {
    qsizetype end = 0;
    for (const IxmlElement& element : allElementsAcrossLines(xml, u"TRACK")) {
        require(element.start >= end &&
                element.wholeText(xml) == QStringLiteral("<TRACK>%1</TRACK>").arg(element.innerText(xml)));
        end = element.end;
    }
    if (const auto element = plainElement(xml, u"NAME", true)) require(!element->innerText(xml).contains(u'<'));
    if (const auto number = numberInElement(xml, u"CHANNEL_INDEX")) require(*number >= 0);
}

void checkSurgery(const QString& xml) {
    const QString list = singleTrackList({1, 2, QStringLiteral("$1 \\0 & %1")});
    const QString result = performUniversalXMLSurgery(xml, list, QStringLiteral("NEW"));
    const auto oldList = elementAcrossLines(xml, u"TRACK_LIST");
    require(!oldList || result.contains(list));
    if (xml.contains(QStringLiteral("UID>")) || xml.contains(QStringLiteral("<IXML_VERSION>"))) return;
    // Without anything that holds an identity, the first track list is all that changes; a document that has none gets
    // one.
    const qsizetype end = xml.lastIndexOf(QStringLiteral("</BWFXML>"));
    if (!oldList) return require(result == (end < 0 ? xml : xml.first(end) + list + u'\n' + xml.sliced(end)));
    require(result == xml.first(oldList->start) + list + xml.sliced(oldList->end));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString xml = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    checkElements(xml);
    checkSurgery(xml);
    parseTrackIndicesFromiXML(xml);
    parseSceneTakeInfo(xml);
    parseTimecodeInfo(xml);
    sceneTakeFromIxml(xml);
    const TrackSearch search = findTrack(xml, QStringLiteral("12AT3_Boom.wav"));
    require(search.messages.size() >= 3);
    if (const auto ixml = parseIxmlXml(xml)) {
        for (const IXMLTrack& track : ixml->trackList) require(!track.name.isEmpty() && track.interleaveIndex >= 0);
    }
    return 0;
}
