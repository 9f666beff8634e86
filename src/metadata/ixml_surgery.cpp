#include "metadata/ixml_surgery.h"

#include "metadata/ixml_text.h"

#include <QStringList>
#include <algorithm>
#include <chrono>

namespace ostrel {
namespace {

QString trackElement(int channelIndex, int interleaveIndex, const QString& trackName) {
    return QStringLiteral("      <TRACK>\n"
                          "         <CHANNEL_INDEX>%1</CHANNEL_INDEX>\n"
                          "         <INTERLEAVE_INDEX>%2</INTERLEAVE_INDEX>\n"
                          "         <NAME>%3</NAME>\n"
                          "      </TRACK>")
        .arg(QString::number(channelIndex), QString::number(interleaveIndex), trackName);
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
    } else if (const auto file = elementOnOneLine(xml, u"FILE_UID")) {
        insertBehind(xml, *file, element);
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

QString singleTrackList(int channelIndex, int interleaveIndex, const QString& trackName) {
    return trackList(1, trackElement(channelIndex, interleaveIndex, trackName));
}

QString multiTrackList(const std::vector<TrackIndices>& tracks) {
    QStringList elements;
    for (const TrackIndices& track : tracks) {
        elements << trackElement(track.channelIndex, static_cast<int>(elements.size()) + 1, track.trackName);
    }
    return trackList(elements.size(), elements.join(u'\n'));
}

QString performUniversalXMLSurgery(const QString& sourceXML, const QString& newTrackList, const QString& newFileUID) {
    const QString oldFileUID = extractValue(sourceXML, u"FILE_UID");
    const QString oldFamilyUID = extractValue(sourceXML, u"FAMILY_UID");
    QString xml = sourceXML;
    if (const auto list = elementAcrossLines(xml, u"TRACK_LIST")) replace(xml, *list, newTrackList);
    renewFileUID(xml, newFileUID);
    if (!oldFileUID.isEmpty()) setParentUID(xml, oldFileUID);
    if (!oldFamilyUID.isEmpty()) keepFamilyUID(xml, oldFamilyUID);
    return xml;
}

QString fileUID(quint64 microseconds) {
    return QStringLiteral("USSDVKA%1").arg(microseconds, 16, 16, QLatin1Char('0')).toUpper();
}

QString generateFileUID() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return fileUID(static_cast<quint64>(std::chrono::duration_cast<std::chrono::microseconds>(now).count()));
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
    return TrackIndices{*interleaveIndex, *channelIndex, name.trimmed()};
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
