#include "delivery/report/sound_report.h"
#include "platform/text/text.h"

namespace ostrel {
namespace {

// Black on white and landscape: it is printed.
constexpr const char* kStyle = R"(
@page { size: A4 landscape; margin: 12mm; }
body { font: 10pt/1.35 sans-serif; color: #111; background: #fff; margin: 1.5em; }
h1 { font-size: 1.4em; margin: 0 0 .5em; }
dl { display: grid; grid-template-columns: repeat(3, max-content 1fr); gap: .15em 1em; margin: 0 0 1em; }
dt { color: #444; } dd { margin: 0; overflow-wrap: anywhere; }
table { border-collapse: collapse; width: 100%; }
td, th { border: 1px solid #999; padding: .2em .4em; text-align: left; vertical-align: top; overflow-wrap: anywhere; }
th { background: #eee; white-space: nowrap; } td:first-child { white-space: nowrap; } thead { display: table-header-group; } tr { break-inside: avoid; }
td.n { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
tr.circled td:first-child { font-weight: bold; }
footer { margin-top: 1em; color: #444; font-size: .9em; }
)";

QString tableCell(const QString& text, const char* kind = "") {
    return QStringLiteral("<td%1>%2</td>")
        .arg(QLatin1String(kind), text.toHtmlEscaped().replace(u'\n', QStringLiteral("<br>")));
}

QString takeRow(const ReportedTake& take) {
    constexpr const char* kNumber = " class=\"n\"";
    QStringList tracks;
    for (qsizetype i = 0; i < take.tracks.size(); ++i) tracks << QStringLiteral("%1 %2").arg(i + 1).arg(take.tracks[i]);
    const QString start = take.start ? take.start->label() : QString();
    return QStringLiteral("<tr%1>").arg(take.isCircled ? QStringLiteral(" class=\"circled\"") : QString()) +
           tableCell(take.isCircled ? QStringLiteral("● ") + take.take : take.take) + tableCell(take.scene) +
           tableCell(take.tape) + tableCell(take.name) + tableCell(start, kNumber) +
           tableCell(clockText(take.seconds()), kNumber) +
           tableCell(QStringLiteral("%1 %2")
                         .arg(take.channels)
                         .arg(take.isPoly() ? QStringLiteral("poly") : QStringLiteral("mono")),
                     kNumber) +
           tableCell(tracks.join(QStringLiteral(" · "))) +
           tableCell(take.rate ? take.rate->name() : QString(), kNumber) +
           tableCell(QStringLiteral("%1/%2").arg(take.sampleRate).arg(take.bits), kNumber) +
           tableCell(take.isWild ? QStringLiteral("Wild. ") + take.note : take.note) + QStringLiteral("</tr>\n");
}

} // namespace

QString reportAsHtml(const SoundReport& report) {
    QString page = QStringLiteral("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>Sound "
                                  "Report</title>\n<style>") +
                   QString::fromLatin1(kStyle) +
                   QStringLiteral("</style>\n</head>\n<body>\n<h1>Sound Report</h1>\n<dl>\n");
    for (const auto& [name, value] : report.header.fields) {
        if (!value.isEmpty()) page += QStringLiteral("<dt>%1</dt><dd>%2</dd>\n").arg(name, value.toHtmlEscaped());
    }
    page += QStringLiteral("</dl>\n<table>\n<thead><tr>");
    for (const char* name :
         {"Take", "Scene", "Tape", "File", "Start", "Length", "Channels", "Tracks", "Frames/s", "Hz/bits", "Notes"}) {
        page += QStringLiteral("<th>%1</th>").arg(QLatin1String(name));
    }
    page += QStringLiteral("</tr></thead>\n<tbody>\n");
    double seconds = 0;
    for (const ReportedTake& take : report.takes) {
        page += takeRow(take);
        seconds += take.seconds();
    }
    return page + QStringLiteral("</tbody>\n</table>\n<footer>%1 %2, %3. ● circled.</footer>\n</body>\n</html>\n")
                      .arg(report.takes.size())
                      .arg(plural("take", static_cast<qsizetype>(report.takes.size())), clockText(seconds));
}

} // namespace ostrel
