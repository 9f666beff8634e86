// Avid Log Exchange: text in which tabs part, a heading, a row of column names, and a row for each clip.
#include "delivery/report/sound_report.h"
#include "platform/paths.h"

#include <algorithm>

namespace ostrel {
namespace {

// Neither a tab nor a line break may stand in a value.
QString plainCell(QString text) {
    for (QChar& letter : text) {
        if (letter < u' ') letter = u' ';
    }
    return text.trimmed();
}

QString audioFormat(const std::vector<const ReportedTake*>& takes) {
    const quint32 rate = takes.empty() ? 48000 : takes.front()->sampleRate;
    return QString::number(rate / 1000.0) + QStringLiteral("khz");
}

QString trackLetters(int channels) {
    QString text;
    for (int i = 1; i <= channels; ++i) text += QStringLiteral("A%1").arg(i);
    return text;
}

} // namespace

std::vector<TimecodeRate> ratesOf(const SoundReport& report) {
    std::vector<TimecodeRate> rates;
    for (const ReportedTake& take : report.takes) {
        if (take.start && std::find(rates.begin(), rates.end(), take.start->rate) == rates.end())
            rates.push_back(take.start->rate);
    }
    std::sort(rates.begin(), rates.end(),
              [](const TimecodeRate& a, const TimecodeRate& b) { return a.name() < b.name(); });
    return rates;
}

QString reportAsAle(const SoundReport& report, const TimecodeRate& rate) {
    std::vector<const ReportedTake*> takes;
    for (const ReportedTake& take : report.takes) {
        if (take.start && take.start->rate == rate) takes.push_back(&take);
    }
    TimecodeRate counted = rate; // drop frame shows in the labels, the heading has the rate alone
    counted.isDrop = false;
    QStringList lines{QStringLiteral("Heading"),
                      QStringLiteral("FIELD_DELIM\tTABS"),
                      QStringLiteral("VIDEO_FORMAT\t1080"),
                      QStringLiteral("AUDIO_FORMAT\t") + audioFormat(takes),
                      QStringLiteral("FPS\t") + counted.name(),
                      QString(),
                      QStringLiteral("Column"),
                      QStringLiteral("Name\tTracks\tStart\tEnd\tTape\tScene\tTake"),
                      QString(),
                      QStringLiteral("Data")};
    for (const ReportedTake* take : takes) {
        lines << QStringList{plainCell(paths::stem(take->name)),
                             trackLetters(take->channels),
                             take->start->label(),
                             take->endLabel(),
                             plainCell(take->tape),
                             plainCell(take->scene),
                             plainCell(take->take)}
                     .join(u'\t');
    }
    return lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n");
}

std::vector<std::pair<QString, QString>> aleFilesOf(const SoundReport& report, const QString& path) {
    const std::vector<TimecodeRate> rates = ratesOf(report);
    std::vector<std::pair<QString, QString>> files;
    for (const TimecodeRate& rate : rates) {
        const QString name = QStringLiteral("%1 %2.ale").arg(paths::stem(path), rate.name().replace(u' ', u'-'));
        files.emplace_back(rates.size() == 1 ? path : paths::append(paths::parent(path), name),
                           reportAsAle(report, rate));
    }
    return files;
}

} // namespace ostrel
