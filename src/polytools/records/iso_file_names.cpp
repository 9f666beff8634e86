#include "polytools/records/iso_file_names.h"

#include "platform/files/file_name.h"
#include "platform/paths.h"

#include <QSet>
#include <algorithm>

namespace ostrel {
namespace {

// Of a track name beside a poly's name that leaves no room for it: without it nobody could tell the ISOs apart.
constexpr qsizetype kLeastTrackBytes = 64;

QString sanitised(QString name) {
    name.replace(u' ', u'_');
    for (const QChar character : QStringLiteral("/:\\")) name.replace(character, u'-');
    for (const QChar character : QStringLiteral("?*\"<>")) name.remove(character);
    return name.replace(u'|', u'-');
}

QString numbered(int channelIndex) { return QStringLiteral("_ch%1.wav").arg(channelIndex + 1); }

QString lettered(int channelIndex) {
    if (channelIndex < 0 || channelIndex >= 26) return QStringLiteral("_%1.wav").arg(channelIndex + 1);
    return QStringLiteral("_%1.wav").arg(QChar(u'A' + channelIndex));
}

} // namespace

QString trackFileName(const QString& baseName, const QString& track) {
    const QString wav = QStringLiteral(".wav");
    const qsizetype room = kMostNameBytes - baseName.toUtf8().size() - 1 - wav.size();
    return fittedFileName(baseName, u'_' + fittedText(track, std::max(room, kLeastTrackBytes)) + wav);
}

QString isoOutputName(const QString& baseName, int channelIndex, SplitNamingPattern pattern, const QString& trackName) {
    if (pattern == SplitNamingPattern::channelLetter) return fittedFileName(baseName, lettered(channelIndex));
    // What Avid takes for the track's number when it imports a set of mono files.
    if (pattern == SplitNamingPattern::takeNumber)
        return fittedFileName(baseName, QStringLiteral("_%1.wav").arg(channelIndex + 1));
    if (pattern == SplitNamingPattern::trackName && isUsableTrackName(trackName)) {
        const QString name = sanitised(trackName);
        if (!name.isEmpty()) return trackFileName(baseName, name);
    }
    return fittedFileName(baseName, numbered(channelIndex));
}

QStringList isoOutputNames(const QString& baseName, const std::vector<IsoNameRequest>& channels,
                           SplitNamingPattern pattern, bool keepOriginalName, const QStringList& taken) {
    QSet<QString> used;
    for (const QString& name : taken) used.insert(fileNameKey(name));
    QStringList result;
    for (const IsoNameRequest& channel : channels) {
        QString name = keepOriginalName ? fittedFileName(baseName, QStringLiteral(".wav"))
                                        : isoOutputName(baseName, channel.channelIndex, pattern, channel.trackName);
        const QString stem = name.chopped(4);
        for (qsizetype suffix = result.size() + 1; used.contains(fileNameKey(name)); ++suffix) {
            name = fittedFileName(stem, QStringLiteral("_%1.wav").arg(suffix));
        }
        used.insert(fileNameKey(name));
        result << name;
    }
    return result;
}

QStringList isoNamesOf(const QString& polyUrl, const QString& folder, const std::vector<IsoNameRequest>& channels,
                       SplitNamingPattern pattern, bool keepOriginalName) {
    const bool isBeside = paths::absolute(folder) == paths::parent(paths::absolute(polyUrl));
    const QStringList taken = isBeside ? QStringList(paths::lastComponent(polyUrl)) : QStringList();
    return isoOutputNames(paths::stem(polyUrl), channels, pattern, keepOriginalName, taken);
}

} // namespace ostrel
