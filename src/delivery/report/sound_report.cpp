#include "delivery/report/sound_report.h"

#include <QMap>
#include <algorithm>

namespace ostrel {
namespace {

// What most say; the first by letter in case of doubt. Empty texts do not count.
class Votes {
public:
    void add(const QString& text) {
        if (!text.isEmpty()) ++counts_[text];
    }
    QString winner() const {
        const auto most = std::max_element(counts_.begin(), counts_.end());
        return most == counts_.end() ? QString() : most.key();
    }

private:
    QMap<QString, int> counts_;
};

QString fileType(const std::vector<ReportedTake>& takes) {
    const bool hasPolys =
        std::any_of(takes.begin(), takes.end(), [](const ReportedTake& take) { return take.isPoly(); });
    const bool hasMonos =
        std::any_of(takes.begin(), takes.end(), [](const ReportedTake& take) { return !take.isPoly(); });
    if (hasPolys && hasMonos) return QStringLiteral("WAV (POLY, MONO)");
    return takes.empty() ? QString() : hasPolys ? QStringLiteral("WAV (POLY)") : QStringLiteral("WAV (MONO)");
}

} // namespace

QStringList ReportHeader::names() {
    return {QStringLiteral("Project"),      QStringLiteral("Producer"),   QStringLiteral("Director"),
            QStringLiteral("Job"),          QStringLiteral("Date"),       QStringLiteral("Location"),
            QStringLiteral("Sound Mixer"),  QStringLiteral("Phone"),      QStringLiteral("Email"),
            QStringLiteral("Client"),       QStringLiteral("Boom Op"),    QStringLiteral("Prod.Co"),
            QStringLiteral("Prod.Co. Tel"), QStringLiteral("Mics"),       QStringLiteral("Comments"),
            QStringLiteral("Roll"),         QStringLiteral("Media"),      QStringLiteral("File Type"),
            QStringLiteral("Bit Depth"),    QStringLiteral("Frame Rate"), QStringLiteral("Sample Rate"),
            QStringLiteral("Tone/dB")};
}

QString ReportHeader::value(const QString& name) const {
    for (const auto& [each, text] : fields) {
        if (each == name) return text;
    }
    return {};
}

bool ReportHeader::set(const QString& name, const QString& value) {
    for (auto& [each, text] : fields) {
        if (each.compare(name, Qt::CaseInsensitive) != 0) continue;
        text = value;
        return true;
    }
    return false;
}

SoundReport soundReportOf(std::span<const RecordingFacts> files) {
    SoundReport report{.takes = takesOf(files)};
    for (const QString& name : ReportHeader::names()) report.header.fields.emplace_back(name, QString());
    Votes project, date, roll, location, bits, rate, sampleRate;
    for (const RecordingFacts& file : files) {
        if (!file.ixml) continue;
        project.add(file.ixml->field("PROJECT"));
        location.add(file.ixml->field("LOCATION/LOCATION_NAME"));
    }
    for (const ReportedTake& take : report.takes) {
        date.add(take.date);
        roll.add(take.tape);
        if (take.bits > 0) bits.add(QString::number(take.bits));
        if (take.sampleRate > 0) sampleRate.add(QString::number(take.sampleRate));
        if (take.rate) rate.add(take.rate->name());
    }
    const auto set = [&report](const char* name, const QString& value) {
        report.header.set(QString::fromLatin1(name), value);
    };
    set("Project", project.winner());
    set("Date", date.winner());
    set("Location", location.winner());
    set("Roll", roll.winner());
    set("File Type", fileType(report.takes));
    set("Bit Depth", bits.winner());
    set("Frame Rate", rate.winner());
    set("Sample Rate", sampleRate.winner());
    return report;
}

} // namespace ostrel
