// The channel layouts that the Interleaver knows and the channel tags in file names.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace ostrel {

struct ChannelLayout {
    QString id;
    QString displayName;
    QStringList channelTags; // the order of the channels in the multichannel file

    bool operator==(const ChannelLayout&) const = default;

    static const ChannelLayout stereo;
    static const ChannelLayout film51;
    static const ChannelLayout smpte51;
    static const ChannelLayout film71;
    static const ChannelLayout smpte71;
    static const std::vector<ChannelLayout>& allLayouts();

    // Nothing for an id that is none of the presets'.
    static std::optional<ChannelLayout> withId(const QString& id);

    // "Take1_LFE.wav" -> "Take1"; nothing for a name that has no separator and tag ahead of ".wav".
    static std::optional<QString> extractBaseName(const QString& fileName);

    // The first of the tags whose "{separator}{tag}.wav" the name holds, in any case; empty if none.
    static QString firstTag(const QString& fileName, const QStringList& tags);
};

} // namespace ostrel
