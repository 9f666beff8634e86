// The sound report of a day: what a mixer hands to the cutting room along with the recordings. One content, three
// forms: CSV in the columns of field recorders' own reports, a page to print, and Avid Log Exchange. Pure.
#pragma once

#include "delivery/report/take_list.h"

#include <QString>
#include <QStringList>
#include <utility>
#include <vector>

namespace ostrel {

// What stands above the takes. The names in the order of the reports of field recorders.
struct ReportHeader {
    std::vector<std::pair<QString, QString>> fields;

    QString value(const QString& name) const;
    // Of one of `names()`; false for another.
    bool set(const QString& name, const QString& value);
    static QStringList names();
};

struct SoundReport {
    ReportHeader header;
    std::vector<ReportedTake> takes;
};

// Project, date, roll, location and formats are taken from the recordings: what most of them say.
SoundReport soundReportOf(std::span<const RecordingFacts> files);

QString reportAsCsv(const SoundReport& report); // UTF-8 text, lines end with CR LF
QString reportAsHtml(const SoundReport& report);

// The rates at which takes start, in order of name; those without a timecode are in none.
std::vector<TimecodeRate> ratesOf(const SoundReport& report);
// The takes of one rate: a file has room for one.
QString reportAsAle(const SoundReport& report, const TimecodeRate& rate);
// Names and texts of the files that a report takes: `path` itself where all takes are of one rate, otherwise one a
// rate, "Day 1 25.ale" and "Day 1 29.97-DF.ale".
std::vector<std::pair<QString, QString>> aleFilesOf(const SoundReport& report, const QString& path);

} // namespace ostrel
