#include "delivery/rules/file_rules.h"

#include <QtEndian>

namespace ostrel {
namespace {

constexpr qsizetype kHead = 4; // two counts
constexpr qsizetype kRow = 40;

quint16 numberAt(const QByteArray& bytes, qsizetype offset) {
    return qFromLittleEndian<quint16>(bytes.constData() + offset);
}

} // namespace

// Rows of 40 bytes: the track from 1, a UID of 12 characters, and what is not looked at here. Rows of zeros are room.
void checkAudioDefinition(const RecordingFacts& file, Findings& findings) {
    if (!file.chna || file.chna->size() < kHead || !file.layout.format) return;
    const int channels = file.layout.format->channels;
    int rows = 0;
    for (qsizetype at = kHead; at + kRow <= file.chna->size(); at += kRow) {
        const int track = numberAt(*file.chna, at);
        const QByteArray uid = file.chna->mid(at + 2, 12);
        if (track == 0 && uid.count('\0') == uid.size()) continue;
        ++rows;
        const QString field = QStringLiteral("chna ") + QString::fromLatin1(uid);
        if (track < 1 || track > channels) {
            findings.add("chna.track", field, QString::number(track), QStringLiteral("1 to %1").arg(channels));
        }
        if (file.axml && !file.axml->contains(uid))
            findings.add("chna.uid", field, QString::fromLatin1(uid), QString());
    }
    if (const int told = numberAt(*file.chna, 2); told != rows) {
        findings.add("chna.counts", QStringLiteral("chna UIDs"), QString::number(told), QString::number(rows));
    }
}

} // namespace ostrel
