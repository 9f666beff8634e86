#include "delivery/report/take_list.h"

#include "platform/paths.h"
#include "platform/text/text.h"

#include <QMap>
#include <algorithm>
#include <tuple>

namespace ostrel {
namespace {

// Files with one key are one take. Empty: the file stands alone.
QString keyOf(const RecordingFacts& file) {
    const auto start = file.timeReference();
    if (!start || file.scene().isEmpty() || file.take().isEmpty()) return {};
    const QString family = file.ixml ? file.ixml->field("FILE_SET/FAMILY_UID") : QString();
    return QStringList{paths::parent(file.path),
                       file.tape(),
                       file.scene(),
                       file.take(),
                       QString::number(*start),
                       QString::number(file.layout.frames()),
                       family}
        .join(QChar(0));
}

bool isSet(const RecordingFacts& file, const char* element) {
    return file.ixml && file.ixml->field(element).compare(QStringLiteral("TRUE"), Qt::CaseInsensitive) == 0;
}

bool isCircled(const RecordingFacts& file) {
    if (isSet(file, "CIRCLED")) return true;
    if (file.ixml && file.ixml->field("TAKE_TYPE").contains(QStringLiteral("CIRCLED"), Qt::CaseInsensitive))
        return true;
    return file.bext &&
           file.bext->keys.value(QStringLiteral("CIRCLED")).compare(QStringLiteral("TRUE"), Qt::CaseInsensitive) == 0;
}

struct InputOfFile {
    int input;
    QString name;
};

// By the recorder's inputs, which a mono file of a set keeps.
QStringList namesByInput(const std::vector<const RecordingFacts*>& files) {
    std::vector<InputOfFile> inputs;
    bool isNamed = false;
    for (const RecordingFacts* file : files) {
        const int channels = file->layout.format ? file->layout.format->channels : 0;
        for (int channel = 1; channel <= channels; ++channel) {
            int input = static_cast<int>(inputs.size()) + 1;
            for (const IxmlTrackFacts& track : file->ixml ? file->ixml->tracks : std::vector<IxmlTrackFacts>()) {
                if (track.interleaveIndex == channel && track.channelIndex) input = *track.channelIndex;
            }
            inputs.push_back({input, file->trackName(channel)});
            isNamed = isNamed || !inputs.back().name.isEmpty();
        }
    }
    if (!isNamed) return {};
    std::stable_sort(inputs.begin(), inputs.end(), [](const auto& a, const auto& b) { return a.input < b.input; });
    QStringList names;
    for (const InputOfFile& each : inputs) names << each.name;
    return names;
}

// "A101_1.WAV" and "A101_2.WAV": "A101_X.WAV".
QString sharedName(const QStringList& files) {
    const QString first = paths::lastComponent(files.first());
    if (files.size() == 1) return first;
    qsizetype same = paths::stem(first).size();
    for (const QString& file : files) {
        const QString stem = paths::stem(file);
        qsizetype length = 0;
        while (length < std::min(same, stem.size()) && stem[length] == first[length]) ++length;
        same = length;
    }
    QString shared = first.first(same);
    // Back to where the part begins that tells the files apart: "_01" and "_02" share "_0", "_Tr1" and "_TrL" "_Tr".
    const auto isPart = [](QChar letter) { return letter.isLetterOrNumber(); };
    const auto before = std::find_if_not(shared.rbegin(), shared.rend(), isPart);
    if (before != shared.rend()) shared.truncate(shared.rend() - before);
    while (!shared.isEmpty() && !isPart(shared.back())) shared.chop(1);
    return shared + QStringLiteral("_X.") + paths::extension(first);
}

ReportedTake takeOf(std::vector<const RecordingFacts*> files) {
    std::sort(files.begin(), files.end(), [](const auto* a, const auto* b) { return naturalLess(a->path, b->path); });
    const RecordingFacts& first = *files.front();
    ReportedTake take;
    for (const RecordingFacts* file : files) {
        take.files << file->path;
        take.channels += file->layout.format ? file->layout.format->channels : 0;
        take.isCircled = take.isCircled || isCircled(*file);
        take.isWild = take.isWild || isSet(*file, "WILD_TRACK");
    }
    take.name = sharedName(take.files);
    take.tracks = namesByInput(files);
    take.scene = first.scene();
    take.take = first.take();
    take.tape = first.tape();
    take.note = first.note();
    take.user = first.ixml ? first.ixml->field("USER") : QString();
    take.date = first.bext ? QString::fromLatin1(first.bext->identity.originationDate) : QString();
    take.rate = first.timecodeRate();
    take.start = first.start();
    take.frames = first.layout.frames();
    if (first.layout.format) {
        take.sampleRate = first.layout.format->sampleRate;
        take.bits = first.layout.format->bits;
    }
    return take;
}

} // namespace

QString ReportedTake::endLabel() const {
    if (!start) return {};
    TimecodeOfDay end = *start;
    end.samples += frames;
    const qint64 first = start->frame();
    const qint64 behind = end.frame() == first ? (first + 1) % start->rate.framesPerDay() : end.frame();
    return TimecodeOfDay::labelOf(behind, start->rate);
}

std::vector<ReportedTake> takesOf(std::span<const RecordingFacts> files) {
    QMap<QString, std::vector<const RecordingFacts*>> sets;
    std::vector<ReportedTake> takes;
    for (const RecordingFacts& file : files) {
        if (!file.fault.isEmpty() || !file.layout.format) continue;
        if (const QString key = keyOf(file); !key.isEmpty()) {
            sets[key].push_back(&file);
        } else {
            takes.push_back(takeOf({&file}));
        }
    }
    for (const auto& set : sets) takes.push_back(takeOf(set));
    std::stable_sort(takes.begin(), takes.end(), [](const ReportedTake& a, const ReportedTake& b) {
        const auto time = [](const ReportedTake& take) { return take.start ? take.start->samples : 0; };
        if (a.tape != b.tape) return naturalLess(a.tape, b.tape);
        if (a.date != b.date) return a.date < b.date;
        return time(a) != time(b) ? time(a) < time(b) : naturalLess(a.name, b.name);
    });
    return takes;
}

} // namespace ostrel
