// What an iXML document (BWFXML 1.5 to 3.01) says, by the path of each element. Read with a parser, so that what
// editors can't read is told apart from what they can.
#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <optional>
#include <vector>

namespace ostrel {

struct IxmlTrackFacts {
    std::optional<int> channelIndex;    // of the recorder's input
    std::optional<int> interleaveIndex; // of the channel in the file, from 1
    QString name;
    QString function;
};

struct IxmlFacts {
    bool isReadable = false;       // the bytes are text in what the document declares
    bool isWellFormed = false;     // up to its end
    QMap<QString, QString> fields; // "SCENE", "SPEED/TIMECODE_RATE"; the text trimmed; below BWFXML, without the tracks
    std::vector<IxmlTrackFacts> tracks;

    QString field(const char* path) const { return fields.value(QString::fromLatin1(path)); }
    // Digits and nothing else.
    std::optional<qint64> number(const char* path) const;
    // SPEED/TIMESTAMP_SAMPLES_SINCE_MIDNIGHT, or the copy in BEXT where there is none. Some recorders write the low
    // word with a sign.
    std::optional<quint64> timestamp() const;
};

// Of a chunk's payload. What stands ahead of a fault in the document is kept.
IxmlFacts ixmlFactsOf(const QByteArray& chunk);

} // namespace ostrel
