#include "delivery/report/sound_report.h"
#include "metadata/csv_table.h"

#include <algorithm>

namespace ostrel {
namespace {

QString lengthOf(double seconds) {
    const auto whole = static_cast<qint64>(seconds);
    const auto two = [](qint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    return two(whole / 3600) + u':' + two(whole / 60 % 60) + u':' + two(whole % 60);
}

QString yesOrEmpty(bool value) { return value ? QStringLiteral("Yes") : QString(); }

// "23.98 ND", as field recorders' programs write it.
QString rateOf(const ReportedTake& take) {
    if (!take.rate) return {};
    return take.rate->isDrop ? take.rate->name() : take.rate->name() + QStringLiteral(" ND");
}

} // namespace

// Texts in quotes, numbers without: so the reports that this one stands beside have it.
QString reportAsCsv(const SoundReport& report) {
    QStringList lines{QStringLiteral("SOUND REPORT")};
    const auto& fields = report.header.fields;
    for (std::size_t at = 0; at < fields.size(); at += 3) {
        QStringList cells;
        for (std::size_t i = at; i < std::min(at + 3, fields.size()); ++i) {
            cells << fields[i].first + u':' << quotedCell(fields[i].second);
        }
        lines << cells.join(u',');
    }
    lines << QString();
    qsizetype most = 0;
    for (const ReportedTake& take : report.takes) most = std::max<qsizetype>(most, take.tracks.size());
    QString head =
        QStringLiteral("File Name,Channels,Tape,Scene,Take,Sample Rate,Frame Rate,Bit Depth,Length,Start TC,Wild,"
                       "Circled,User,Notes");
    for (qsizetype i = 1; i <= most; ++i) head += QStringLiteral(",T%1").arg(i);
    lines << head;
    for (const ReportedTake& take : report.takes) {
        const QString kind = take.isPoly() ? QStringLiteral("POLY") : QStringLiteral("MONO");
        QStringList cells{quotedCell(take.name),
                          quotedCell(QStringLiteral("%1(%2)").arg(take.channels).arg(kind)),
                          quotedCell(take.tape),
                          quotedCell(take.scene),
                          quotedCell(take.take),
                          QString::number(take.sampleRate),
                          quotedCell(rateOf(take)),
                          QString::number(take.bits),
                          quotedCell(lengthOf(take.seconds())),
                          quotedCell(take.start ? take.start->label() : QString()),
                          quotedCell(yesOrEmpty(take.isWild)),
                          quotedCell(yesOrEmpty(take.isCircled)),
                          quotedCell(take.user),
                          quotedCell(take.note)};
        for (qsizetype i = 0; i < most; ++i) cells << quotedCell(take.tracks.value(i));
        lines << cells.join(u',');
    }
    return lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n");
}

} // namespace ostrel
