#include "metadata/bext_csv.h"

#include "metadata/csv_table.h"

#include <QStringList>
#include <algorithm>
#include <cmath>

namespace ostrel {
namespace {

using Log = std::function<void(const QString&)>;

void assign(QString& field, const QString& value) { field = value; }

void assign(std::optional<quint64>& field, const QString& value) {
    bool isNumber = false;
    const quint64 number = value.toULongLong(&isNumber);
    if (isNumber) field = number;
}

void assign(std::optional<int>& field, const QString& value) {
    bool isNumber = false;
    const int number = value.toInt(&isNumber);
    if (isNumber) field = number;
}

// "nan" and "inf" are words that a number parser takes and JSON can't hold.
void assign(std::optional<double>& field, const QString& value) {
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    if (isNumber && std::isfinite(number)) field = number;
}

void assignColumn(BEXTMetadata& bext, const QString& header, const QString& value) {
    const auto column = [&](QStringView name, auto& field) {
        if (header == name) assign(field, value);
    };
    column(u"Description", bext.description);
    column(u"Originator", bext.originator);
    column(u"OriginatorReference", bext.originatorReference);
    column(u"OriginationDate", bext.originationDate);
    column(u"OriginationTime", bext.originationTime);
    column(u"TimeReference", bext.timeReference);
    column(u"TimeReference (translated)", bext.timecode);
    column(u"BextVersion", bext.version);
    column(u"UMID", bext.umid);
    column(u"LoudnessValue", bext.loudnessValue);
    column(u"LoudnessRange", bext.loudnessRange);
    column(u"MaxTruePeakLevel", bext.maxTruePeakLevel);
    column(u"MaxMomentaryLoudness", bext.maxMomentaryLoudness);
    column(u"MaxShortTermLoudness", bext.maxShortTermLoudness);
}

QString orWords(const QString& text, const char16_t* words) {
    return text.isEmpty() ? QString::fromUtf16(words) : text;
}

void takeDescription(BEXTMetadata& bext, const Log& log) {
    SoundDevicesDescription parsed = parseSoundDevicesDescription(bext.description);
    bext.scene = parsed.scene;
    bext.take = parsed.take;
    bext.tape = parsed.tape;
    bext.speed = parsed.speed;
    bext.note = parsed.note;
    if (!parsed.scene.isEmpty()) {
        log(QStringLiteral("✅ Parsed Sound Devices Description: scene=%1, take=%2, tape=%3, tracks=%4")
                .arg(orWords(parsed.scene, u"no scene"), orWords(parsed.take, u"no take"),
                     orWords(parsed.tape, u"no tape"), QString::number(parsed.tracks.size())));
    }
    if (!parsed.tracks.empty()) bext.soundDevicesTracks = std::move(parsed.tracks);
}

QString summary(const BEXTMetadata& bext) {
    return QStringLiteral("originator=%1, timeReference=%2, scene=%3, take=%4")
        .arg(orWords(bext.originator, u"none"),
             bext.timeReference ? QString::number(*bext.timeReference) : QStringLiteral("none"),
             orWords(bext.scene, u"no scene"), orWords(bext.take, u"no take"));
}

// Every character that ends a line somewhere.
bool isNewline(QChar c) {
    return (c >= u'\n' && c <= u'\r') || c == QChar(0x85) || c == QChar(0x2028) || c == QChar(0x2029);
}

QStringList trimmedLines(const QString& text) {
    QStringList lines;
    const auto end = text.end();
    for (auto from = text.begin();; ++from) {
        const auto to = std::find_if(from, end, isNewline);
        lines << QString(from, to - from).trimmed();
        if (to == end) return lines;
        from = to;
    }
}

void takeTrackLine(SoundDevicesDescription& result, const QString& keyRest, const QString& value) {
    const QStringList pieces = keyRest.split(u' ', Qt::SkipEmptyParts);
    bool isNumber = false;
    const int channel = pieces.value(0).toInt(&isNumber);
    if (isNumber) result.tracks.push_back({channel, value});
}

void takeLine(SoundDevicesDescription& result, const QString& key, const QString& value) {
    if (key == u"sSCENE") result.scene = value;
    if (key == u"sTAKE") result.take = value;
    if (key == u"sTAPE") result.tape = value;
    if (key == u"sSPEED") result.speed = value;
    if (key == u"sNOTE") result.note = value;
    if (key.startsWith(u"sTRK")) takeTrackLine(result, key.sliced(4), value);
}

} // namespace

BEXTMetadata parseBextCsv(const QString& csv, const Log& log) {
    const std::vector<QStringList> rows = parseCSV(csv);
    BEXTMetadata bext;
    if (rows.size() < 2) {
        log(QStringLiteral("⚠️ BEXT CSV has fewer than 2 rows, returning empty"));
        return bext;
    }
    const QStringList& headers = rows[0];
    const QStringList& values = rows[1];
    if (headers.size() != values.size()) {
        log(QStringLiteral("⚠️ BEXT CSV header/value count mismatch: headers=%1, values=%2")
                .arg(headers.size())
                .arg(values.size()));
    }
    for (qsizetype i = 0; i < std::min(headers.size(), values.size()); ++i) {
        assignColumn(bext, headers[i].trimmed(), values[i].trimmed());
    }
    if (!bext.description.isEmpty()) takeDescription(bext, log);
    log(QStringLiteral("✅ BEXT metadata built: ") + summary(bext));
    return bext;
}

SoundDevicesDescription parseSoundDevicesDescription(const QString& description) {
    SoundDevicesDescription result;
    for (const QString& line : trimmedLines(description)) {
        const qsizetype equals = line.indexOf(u'=');
        if (equals <= 0 || equals == line.size() - 1) continue;
        takeLine(result, line.first(equals), line.sliced(equals + 1));
    }
    std::ranges::stable_sort(result.tracks, {}, &SoundDevicesTrackMap::channelNumber);
    return result;
}

} // namespace ostrel
