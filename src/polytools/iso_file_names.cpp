#include "polytools/iso_file_names.h"

#include <QSet>

namespace ostrel {
namespace {

QString sanitised(QString name) {
    name.replace(u' ', u'_');
    for (const QChar character : QStringLiteral("/:\\")) name.replace(character, u'-');
    for (const QChar character : QStringLiteral("?*\"<>")) name.remove(character);
    return name.replace(u'|', u'-');
}

QString numbered(const QString& baseName, int channelIndex) {
    return QStringLiteral("%1_ch%2.wav").arg(baseName).arg(channelIndex + 1);
}

QString lettered(const QString& baseName, int channelIndex) {
    if (channelIndex < 0 || channelIndex >= 26) return QStringLiteral("%1_%2.wav").arg(baseName).arg(channelIndex + 1);
    return QStringLiteral("%1_%2.wav").arg(baseName).arg(QChar(u'A' + channelIndex));
}

// File systems take names of up to 255 bytes; iXML takes longer track names.
QString shortened(const QString& baseName, QString trackName) {
    const auto name = [&] { return QStringLiteral("%1_%2.wav").arg(baseName, trackName); };
    while (name().toUtf8().size() > 255 && trackName.size() > 1) trackName.chop(1);
    return name();
}

} // namespace

QString isoOutputName(const QString& baseName, int channelIndex, SplitNamingPattern pattern, const QString& trackName) {
    if (pattern == SplitNamingPattern::channelLetter) return lettered(baseName, channelIndex);
    if (pattern == SplitNamingPattern::trackName && isUsableTrackName(trackName)) {
        const QString name = sanitised(trackName);
        if (!name.isEmpty()) return shortened(baseName, name);
    }
    return numbered(baseName, channelIndex);
}

QStringList isoOutputNames(const QString& baseName, const std::vector<IsoNameRequest>& channels,
                           SplitNamingPattern pattern, bool keepOriginalName, const QStringList& taken) {
    QSet<QString> used;
    for (const QString& name : taken) used.insert(name.toCaseFolded());
    QStringList result;
    for (const IsoNameRequest& channel : channels) {
        QString name = keepOriginalName ? baseName + QStringLiteral(".wav")
                                        : isoOutputName(baseName, channel.channelIndex, pattern, channel.trackName);
        const QString stem = name.chopped(4);
        for (qsizetype suffix = result.size() + 1; used.contains(name.toCaseFolded()); ++suffix) {
            name = QStringLiteral("%1_%2.wav").arg(stem).arg(suffix);
        }
        used.insert(name.toCaseFolded());
        result << name;
    }
    return result;
}

} // namespace ostrel
