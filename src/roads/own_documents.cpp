#include "roads/own_documents.h"

#include "foundation/chunks/chunk_bytes.h"
#include "metadata/ixml_fitting.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <QStringList>
#include <QtEndian>
#include <algorithm>

namespace ostrel {
namespace {

constexpr qsizetype kFixedBext = 602; // bytes ahead of the coding history

QString cell(QString text) {
    const bool needsQuotes =
        std::ranges::any_of(text, [](QChar c) { return c == u'"' || c == u',' || c == u'\n' || c == u'\r'; });
    if (!needsQuotes) return text;
    return u'"' + text.replace(u'"', QStringLiteral("\"\"")) + u'"';
}

QString textAt(const QByteArray& bext, qsizetype offset, qsizetype size) {
    const QByteArray field = bext.mid(offset, size);
    const qsizetype end = field.indexOf('\0');
    return QString::fromUtf8(end < 0 ? field : field.first(end));
}

// "hh:mm:ss.mmm" since midnight.
QString timeOfDay(quint64 samples, quint32 rate) {
    if (rate == 0) return {};
    const quint64 milliseconds = samples / rate * 1000 + samples % rate * 1000 / rate;
    const auto two = [](quint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    return QStringLiteral("%1:%2:%3.%4")
        .arg(two(milliseconds / 3'600'000), two(milliseconds / 60'000 % 60), two(milliseconds / 1000 % 60))
        .arg(milliseconds % 1000, 3, 10, QLatin1Char('0'));
}

// Hundredths, of version 2 and later.
QString loudnessAt(const QByteArray& bext, qsizetype offset, int version) {
    const auto hundredths = qFromLittleEndian<qint16>(bext.constData() + offset);
    return version < 2 || hundredths == 0 ? QString() : QString::number(hundredths / 100.0, 'f', 2);
}

QByteArray coreCsv(const QByteArray& bext, const QString& file, quint32 rate) {
    const auto timeReference = qFromLittleEndian<quint64>(bext.constData() + 338);
    const int version = qFromLittleEndian<quint16>(bext.constData() + 346);
    const QByteArray umid = bext.mid(348, 64);
    const bool hasUmid = umid.count('\0') != umid.size();
    QStringList row{file,
                    textAt(bext, 0, 256),
                    textAt(bext, 256, 32),
                    textAt(bext, 288, 32),
                    textAt(bext, 320, 10),
                    textAt(bext, 330, 8),
                    timeOfDay(timeReference, rate),
                    QString::number(timeReference),
                    QString::number(version),
                    hasUmid ? QString::fromLatin1(umid.toHex().toUpper()) : QString()};
    for (const qsizetype offset : {412, 414, 416, 418, 420}) row << loudnessAt(bext, offset, version);
    row << textAt(bext, kFixedBext, bext.size());
    std::ranges::transform(row, row.begin(), cell);
    return "FileName,Description,Originator,OriginatorReference,OriginationDate,OriginationTime,"
           "TimeReference (translated),TimeReference,BextVersion,UMID,LoudnessValue,LoudnessRange,MaxTruePeakLevel,"
           "MaxMomentaryLoudness,MaxShortTermLoudness,CodingHistory\n" +
           row.join(u',').toUtf8();
}

} // namespace

std::optional<QByteArray> ownDocument(const QString& option, const QString& file) {
    const WaveChunks chunks(file);
    if (option == QStringLiteral("--out-iXML=")) {
        const auto chunk = chunks.bytes("iXML");
        const auto text = chunk ? decodedIxml(*chunk) : std::nullopt;
        return text ? std::optional(text->toUtf8()) : chunk;
    }
    const auto bext = option == QStringLiteral("--out-core=") ? chunks.bytes("bext") : std::nullopt;
    if (!bext || bext->size() < kFixedBext) return std::nullopt;
    const auto layout = readWaveLayout(QFile::encodeName(file).toStdString());
    return coreCsv(*bext, file, layout && layout->format ? layout->format->sampleRate : 0);
}

std::shared_ptr<SourceAnswers> answersFromBytes() { return std::make_shared<SourceAnswers>(ownDocument); }

} // namespace ostrel
