// One mono file, as Poly Tools handle it.
#pragma once

#include <QString>
#include <QStringList>
#include <QUuid>
#include <optional>

namespace ostrel {

struct ISOFile {
    QUuid id = QUuid::createUuid();
    QString url;
    QString fileName;
    int channelCount = 1;
    int sampleRate = 0; // Hz; this and the next two are 0 where they could not be read
    int bitDepth = 0;
    double duration = 0;  // seconds
    quint64 fileSize = 0; // bytes
    int channelIndex = 1; // the position that the person chose, 1-based
    bool isSelected = true;
    std::optional<int> metadataInterleaveIndex; // INTERLEAVE_INDEX, CHANNEL_INDEX and NAME of the file's own iXML
    std::optional<int> metadataChannelIndex;
    QString metadataTrackName; // optional
    // Of the same track, in order: each begins at the sample where the one before it ends. Duration and size are those
    // of all.
    QStringList laterParts;

    QStringList files() const { return QStringList(url) + laterParts; }

    bool operator==(const ISOFile&) const = default;
};

} // namespace ostrel
