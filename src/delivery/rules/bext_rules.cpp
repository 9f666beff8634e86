#include "delivery/rules/file_rules.h"
#include "platform/text/regular_expression.h"

#include <QStringList>

namespace ostrel {
namespace {

// As EBU Tech 3285 has it, or as it is told by other separators than those.
void checkForm(const char* id, const QString& field, const QByteArray& value, QChar separator, Findings& findings) {
    static const RegularExpression kNumbers(QStringLiteral("^(\\d{2,4})[-_:. ](\\d\\d)[-_:. ](\\d\\d)$"));
    const QString text = QString::fromLatin1(value);
    if (text.isEmpty()) return; // not told
    const auto found = kNumbers.firstMatch(text);
    const QString right =
        found ? QStringList{found->text(1), found->text(2), found->text(3)}.join(separator) : QString();
    if (text != right) findings.add(id, field, text, right);
}

void checkStart(const RecordingFacts& file, Findings& findings) {
    const QString field = QStringLiteral("bext TimeReference");
    const quint64 start = file.bext->identity.timeReference;
    const quint32 rate = file.layout.format ? file.layout.format->sampleRate : 0;
    if (start == 0) {
        findings.add("bext.start-zero", field, QStringLiteral("0"), QString());
        return;
    }
    if (rate == 0) return;
    // Labels of 23.976 and 29.97 make a longer day.
    const auto timecode = file.timecodeRate();
    quint64 day = quint64{86400} * rate;
    if (timecode) day = std::max(day, TimecodeOfDay::sampleOf(timecode->framesPerDay(), rate, *timecode));
    if (start >= day) {
        findings.add("bext.start-past-midnight", field, QString::number(start),
                     QStringLiteral("less than %1").arg(day));
    }
}

QString channelsWord(int channels) {
    return channels == 1 ? QStringLiteral("mono") : channels == 2 ? QStringLiteral("stereo") : QString();
}

// "A=PCM,F=48000,W=24,M=stereo,T=..."
void checkHistory(const RecordingFacts& file, Findings& findings) {
    static const RegularExpression kPart(QStringLiteral("(?:^|,)\\s*([AFWM])=([^,]*)"));
    const QString field = QStringLiteral("bext CodingHistory");
    const QString text = QString::fromLatin1(file.bext->codingHistory).trimmed();
    if (text.isEmpty()) {
        findings.add("bext.history-missing", field, QString(), QStringLiteral("A=PCM,F=...,W=...,M=..."));
        return;
    }
    if (!file.layout.format) return;
    const QString last = text.split(u'\n').last().trimmed();
    QMap<QString, QString> parts;
    for (const auto& match : kPart.allMatches(last)) parts.insert(match.text(1), match.text(2).trimmed().toLower());
    if (!parts.value(QStringLiteral("A")).startsWith(QStringLiteral("pcm"))) return; // of an analogue or coded step
    const WaveFormat& format = *file.layout.format;
    const auto compare = [&](const char* key, const QString& expected) {
        const QString told = parts.value(QString::fromLatin1(key));
        if (told.isEmpty() || expected.isEmpty() || told == expected) return;
        findings.add("bext.coding-history", field, QString::fromLatin1(key) + u'=' + told,
                     QString::fromLatin1(key) + u'=' + expected);
    };
    compare("F", QString::number(format.sampleRate));
    compare("W", QString::number(format.bits));
    const QString mode = parts.value(QStringLiteral("M"));
    const bool isPlain = mode == QStringLiteral("mono") || mode == QStringLiteral("stereo");
    if (isPlain && format.channels <= 2) compare("M", channelsWord(format.channels));
}

} // namespace

void checkBext(const RecordingFacts& file, Findings& findings) {
    if (!file.bext) {
        const char* id = findings.reader() == Reader::archive ? "bext.archive-missing" : "bext.missing";
        findings.add(id, QStringLiteral("bext"), QString(), QString());
        return;
    }
    const BextFacts& bext = *file.bext;
    checkForm("bext.date-form", QStringLiteral("bext OriginationDate"), bext.identity.originationDate, u'-', findings);
    checkForm("bext.time-form", QStringLiteral("bext OriginationTime"), bext.identity.originationTime, u':', findings);
    checkStart(file, findings);
    checkHistory(file, findings);
    if (bext.hasBareLineEnds && !bext.keys.isEmpty()) {
        findings.add("bext.line-ends", QStringLiteral("bext Description"), QStringLiteral("LF or CR alone"),
                     QStringLiteral("CR LF"));
    }
    const bool hasUmid = bext.umid.count('\0') != bext.umid.size();
    if (hasUmid && !bext.umid.startsWith(QByteArray::fromHex("060a2b34"))) {
        findings.add("bext.umid-form", QStringLiteral("bext UMID"),
                     QString::fromLatin1(bext.umid.first(16).toHex()) + QStringLiteral("..."),
                     QStringLiteral("060a2b34..."));
    }
}

} // namespace ostrel
