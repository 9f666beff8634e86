#include "roads/own_documents.h"

#include "foundation/chunks/chunk_bytes.h"
#include "metadata/bext_identity.h"
#include "metadata/csv_table.h"
#include "metadata/ixml_fitting.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <QStringList>
#include <QtEndian>
#include <algorithm>
#include <array>

namespace ostrel {
namespace {

constexpr qsizetype kFixedBext = 602; // bytes ahead of the coding history
constexpr std::array kColumns{"FileName",
                              "Description",
                              "Originator",
                              "OriginatorReference",
                              "OriginationDate",
                              "OriginationTime",
                              "TimeReference (translated)",
                              "TimeReference",
                              "BextVersion",
                              "UMID",
                              "LoudnessValue",
                              "LoudnessRange",
                              "MaxTruePeakLevel",
                              "MaxMomentaryLoudness",
                              "MaxShortTermLoudness",
                              "CodingHistory"};

// "hh:mm:ss.mmm" since midnight.
QString timeOfDay(quint64 samples, quint32 rate) {
    if (rate == 0) return {};
    const quint64 milliseconds = samples / rate * 1000 + samples % rate * 1000 / rate;
    const auto two = [](quint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    return QStringLiteral("%1:%2:%3.%4")
        .arg(two(milliseconds / 3'600'000), two(milliseconds / 60'000 % 60), two(milliseconds / 1000 % 60))
        .arg(milliseconds % 1000, 3, 10, QLatin1Char('0'));
}

// Hundredths, of version 2 and later; the highest number is none.
QString loudnessAt(const QByteArray& bext, qsizetype offset, int version) {
    constexpr qint16 kUnset = 0x7FFF;
    const auto hundredths = qFromLittleEndian<qint16>(bext.constData() + offset);
    return version < 2 || hundredths == kUnset ? QString() : QString::number(hundredths / 100.0, 'f', 2);
}

// As the tool writes texts of every origin.
QString withPlainLineEnds(QString text) {
    return text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');
}

// Recorders of the years before UTF-8 wrote Latin-1, and the chunk does not say which.
QString fieldText(const QByteArray& bytes) {
    return bytes.isValidUtf8() ? QString::fromUtf8(bytes) : QString::fromLatin1(bytes);
}

// In hex. A basic UMID is half as long as the field, the rest zeros (SMPTE 330M); before version 1 there is none.
QString umidText(QByteArray field, int version) {
    const auto isZero = [](const QByteArray& bytes) { return bytes.count('\0') == bytes.size(); };
    if (version == 0 || isZero(field)) return {};
    if (isZero(field.mid(32))) field.truncate(32);
    return QString::fromLatin1(field.toHex().toUpper());
}

// Behind the file's name; nothing where the file has no bext chunk.
QStringList bextCells(const QString& file, const QByteArray& bext) {
    const auto identity = readBextIdentity(file);
    if (!identity || bext.size() < kFixedBext) return {};
    const auto layout = readWaveLayout(QFile::encodeName(file).toStdString());
    const quint32 rate = layout && layout->format ? layout->format->sampleRate : 0;
    const int version = qFromLittleEndian<quint16>(bext.constData() + 346);
    const QByteArray history = bext.mid(kFixedBext);
    QStringList cells{fieldText(identity->description),         fieldText(identity->originator),
                      fieldText(identity->originatorReference), fieldText(identity->originationDate),
                      fieldText(identity->originationTime),     timeOfDay(identity->timeReference, rate),
                      QString::number(identity->timeReference), QString::number(version),
                      umidText(bext.mid(348, 64), version)};
    for (const qsizetype offset : {412, 414, 416, 418, 420}) cells << loudnessAt(bext, offset, version);
    return cells << fieldText(history.left(history.indexOf('\0')));
}

QByteArray coreCsv(const QString& file, const QByteArray& bext) {
    QStringList head;
    for (const char* column : kColumns) head << QString::fromLatin1(column);
    QStringList row = QStringList(file) + bextCells(file, bext);
    while (row.size() < head.size()) row << QString();
    std::ranges::transform(row, row.begin(), [](const QString& cell) { return quotedCell(withPlainLineEnds(cell)); });
    return (head.join(u',') + u'\n' + row.join(u',')).toUtf8();
}

} // namespace

std::optional<QByteArray> ownDocument(const QString& option, const QString& file) {
    const WaveChunks chunks(file);
    if (option == QStringLiteral("--out-iXML=")) {
        const auto chunk = chunks.bytes("iXML");
        const auto text = chunk ? decodedIxml(*chunk) : std::nullopt;
        return text ? std::optional(withPlainLineEnds(*text).toUtf8()) : chunk;
    }
    if (option != QStringLiteral("--out-core=") || !chunks.isWave()) return std::nullopt;
    return coreCsv(file, chunks.bytes("bext").value_or(QByteArray()));
}

std::shared_ptr<SourceAnswers> answersFromBytes() { return std::make_shared<SourceAnswers>(ownDocument); }

} // namespace ostrel
