#include "metadata/ixml_surgery.h"

#include "metadata/ixml/ixml_place.h"
#include "metadata/ixml/ixml_text.h"

#include <QStringList>
#include <algorithm>
#include <atomic>
#include <chrono>

namespace ostrel {
namespace {

// A track without a function has no element for it: better none than a blank one.
QString trackElement(const TrackIndices& track) {
    const QString function =
        track.function.isEmpty() ? QString() : QStringLiteral("         <FUNCTION>%1</FUNCTION>\n").arg(track.function);
    return QStringLiteral("      <TRACK>\n"
                          "         <CHANNEL_INDEX>%1</CHANNEL_INDEX>\n"
                          "         <INTERLEAVE_INDEX>%2</INTERLEAVE_INDEX>\n"
                          "         <NAME>%3</NAME>\n"
                          "%4"
                          "      </TRACK>")
        .arg(QString::number(track.channelIndex), QString::number(track.interleaveIndex), track.trackName, function);
}

QString trackList(qsizetype count, const QString& tracks) {
    return QStringLiteral("   <TRACK_LIST>\n"
                          "      <TRACK_COUNT>%1</TRACK_COUNT>\n"
                          "%2\n"
                          "   </TRACK_LIST>")
        .arg(QString::number(count), tracks);
}

QString uidElement(const char16_t* tag, const QString& uid) {
    return QStringLiteral("<%1>%2</%1>").arg(QStringView(tag), uid);
}

void replace(QString& xml, const IxmlElement& element, const QString& replacement) {
    xml.replace(element.start, element.end - element.start, replacement);
}

void insertBehind(QString& xml, const IxmlElement& element, const QString& inserted) {
    xml.insert(element.end, QStringLiteral("\n\t") + inserted);
}

void setTrackList(QString& xml, const QString& list) {
    const qsizetype end = xml.lastIndexOf(QStringLiteral("</BWFXML>"));
    if (const auto old = elementAcrossLines(xml, u"TRACK_LIST")) {
        replace(xml, *old, list);
    } else if (end >= 0 && !list.isEmpty()) {
        xml.insert(end, list + u'\n');
    }
}

void renewFileUID(QString& xml, const QString& newFileUID) {
    const QString element = uidElement(u"FILE_UID", newFileUID);
    if (const auto old = elementOnOneLine(xml, u"FILE_UID")) {
        replace(xml, *old, element);
    } else if (const auto version = elementOnOneLine(xml, u"IXML_VERSION")) {
        insertBehind(xml, *version, element);
    }
}

void setParentUID(QString& xml, const QString& parentUID) {
    const QString element = uidElement(u"PARENT_UID", parentUID);
    if (const auto old = elementOnOneLine(xml, u"PARENT_UID")) {
        replace(xml, *old, element);
    } else {
        setInGroup(xml, u"HISTORY", u"PARENT_UID", parentUID);
    }
}

void keepFamilyUID(QString& xml, const QString& familyUID) {
    if (xml.contains(u"<FAMILY_UID>")) return;
    if (const auto file = elementOnOneLine(xml, u"FILE_UID")) {
        insertBehind(xml, *file, uidElement(u"FAMILY_UID", familyUID));
    }
}

std::optional<QString> valueOf(const QString& xml, QStringView tag) {
    const auto element = elementOnOneLine(xml, tag);
    return element ? std::optional(element->innerText(xml)) : std::nullopt;
}

// Some recorders write the 32 bits of the low word as a signed number.
quint64 timestampSamples(const QString& text) {
    bool isNumber = false;
    const quint64 samples = text.trimmed().toULongLong(&isNumber);
    if (isNumber) return samples;
    return static_cast<quint32>(text.trimmed().toInt());
}

int sampleRateOf(const QString& xml) {
    bool isNumber = false;
    const int rate = extractValue(xml, u"TIMESTAMP_SAMPLE_RATE").trimmed().toInt(&isNumber);
    return isNumber && rate > 0 ? rate : TimecodeInfo().sampleRate;
}

} // namespace

QString extractValue(const QString& xml, QStringView tag) { return valueOf(xml, tag).value_or(QString()); }

QString singleTrackList(const TrackIndices& track) { return trackList(1, trackElement(track)); }

QString multiTrackList(const std::vector<TrackIndices>& tracks) {
    QStringList elements;
    for (TrackIndices track : tracks) {
        track.interleaveIndex = static_cast<int>(elements.size()) + 1;
        elements << trackElement(track);
    }
    return trackList(elements.size(), elements.join(u'\n'));
}

QString performUniversalXMLSurgery(const QString& sourceXML, const QString& newTrackList, const QString& newFileUID) {
    const QString oldFileUID = extractValue(sourceXML, u"FILE_UID");
    const QString oldFamilyUID = extractValue(sourceXML, u"FAMILY_UID");
    QString xml = sourceXML;
    setTrackList(xml, newTrackList);
    renewFileUID(xml, newFileUID);
    if (!oldFileUID.isEmpty()) setParentUID(xml, oldFileUID);
    if (!oldFamilyUID.isEmpty()) keepFamilyUID(xml, oldFamilyUID);
    return xml;
}

QString fileUID(quint64 microseconds) {
    return QStringLiteral("USSDVKA%1").arg(microseconds, 16, 16, QLatin1Char('0')).toUpper();
}

// Never the same twice, however fast files are made.
QString generateFileUID() {
    static std::atomic<quint64> last{0};
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto microseconds = static_cast<quint64>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
    quint64 before = last.load();
    while (!last.compare_exchange_weak(before, std::max(microseconds, before + 1))) {
    }
    return fileUID(std::max(microseconds, before + 1));
}

std::optional<TrackIndices> parseTrackIndicesFromiXML(const QString& xml) {
    const std::optional<int> interleaveIndex = numberInElement(xml, u"INTERLEAVE_INDEX");
    const std::optional<int> channelIndex = numberInElement(xml, u"CHANNEL_INDEX");
    if (!interleaveIndex || !channelIndex) return std::nullopt;
    // Some writers (Nuendo) name a dozen attributes ahead of the tracks, so a name inside the first track goes first.
    const auto track = elementAcrossLines(xml, u"TRACK");
    const QString trackText = track ? track->wholeText(xml) : QString();
    const bool isNamed = elementOnOneLine(trackText, u"NAME").has_value();
    const QString name = extractValue(isNamed ? trackText : xml, u"NAME");
    return TrackIndices{*interleaveIndex, *channelIndex, name.trimmed(),
                        extractValue(trackText, u"FUNCTION").trimmed()};
}

std::optional<SceneTakeInfo> parseSceneTakeInfo(const QString& xml) {
    const std::optional<QString> scene = valueOf(xml, u"SCENE");
    const std::optional<QString> take = valueOf(xml, u"TAKE");
    if (!scene || !take) return std::nullopt;
    return SceneTakeInfo{extractValue(xml, u"PROJECT"), *scene, *take, extractValue(xml, u"TAPE")};
}

std::optional<TimecodeInfo> parseTimecodeInfo(const QString& xml) {
    const std::optional<QString> rate = valueOf(xml, u"TIMECODE_RATE");
    const std::optional<QString> samples = valueOf(xml, u"TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO");
    if (!rate || !samples) return std::nullopt;
    return TimecodeInfo{timestampSamples(*samples), sampleRateOf(xml), *rate, extractValue(xml, u"TIMECODE_FLAG")};
}

} // namespace ostrel
