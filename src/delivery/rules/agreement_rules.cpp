#include "delivery/rules/file_rules.h"

namespace ostrel {
namespace {

// Numbers that differ in leading zeros alone are one: recorders pad them here and not there.
bool isSame(const QString& a, const QString& b) {
    bool areNumbers = true;
    bool isNumber = false;
    const qlonglong first = a.toLongLong(&isNumber);
    areNumbers = areNumbers && isNumber;
    const qlonglong second = b.toLongLong(&isNumber);
    return areNumbers && isNumber ? first == second : a == b;
}

void compareField(const char* id, const RecordingFacts& file, const char* name, Findings& findings) {
    const QString element = file.ixml->field(name);
    const QString key = file.bext->keys.value(QString::fromLatin1(name));
    // A Description has room for 256 bytes, and recorders cut what does not go in.
    if (element.isEmpty() || key.isEmpty() || isSame(element, key) || element.startsWith(key)) return;
    findings.add(id, QStringLiteral("bext Description ") + QString::fromLatin1(name), key, element);
}

void compareTracks(const RecordingFacts& file, Findings& findings) {
    for (const IxmlTrackFacts& track : file.ixml->tracks) {
        if (!track.channelIndex || track.name.isEmpty()) continue;
        const QString number = QString::number(*track.channelIndex);
        const QString key = file.bext->keys.value(QStringLiteral("TRK") + number);
        if (key.isEmpty() || key == track.name || track.name.startsWith(key)) continue;
        findings.add("agree.track-name", QStringLiteral("bext Description TRK") + number, key, track.name);
    }
}

} // namespace

void checkAgreement(const RecordingFacts& file, Findings& findings) {
    if (!file.ixml || !file.ixml->isReadable || !file.bext) return;
    compareField("agree.scene", file, "SCENE", findings);
    compareField("agree.take", file, "TAKE", findings);
    compareField("agree.tape", file, "TAPE", findings);
    compareTracks(file, findings);
    const auto start = file.ixml->timestamp();
    if (start && *start != file.bext->identity.timeReference) {
        findings.add("agree.start", QStringLiteral("iXML TIMESTAMP_SAMPLES_SINCE_MIDNIGHT"), QString::number(*start),
                     QString::number(file.bext->identity.timeReference));
    }
    const auto told =
        TimecodeRate::of(file.ixml->field("SPEED/TIMECODE_RATE"), file.ixml->field("SPEED/TIMECODE_FLAG"));
    const auto key = TimecodeRate::of(file.bext->keys.value(QStringLiteral("SPEED")));
    if (told && key && *told != *key) {
        findings.add("agree.timecode-rate", QStringLiteral("bext Description SPEED"), key->name(), told->name());
    }
}

} // namespace ostrel
