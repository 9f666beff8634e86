// The lines of a bext Description (EBU Tech 3285) in which recorders repeat what the iXML says: "sTRK2=Boom" names the
// track of CHANNEL_INDEX 2, "sFILENAME=A101_3.WAV" the file. The letter ahead of the key is the recorder's own.
#pragma once

#include <QByteArray>
#include <QString>
#include <vector>

namespace ostrel {

struct NamedChannel {
    int number = 0; // CHANNEL_INDEX
    QString name;   // as a person reads it
};

// Of the tracks that an iXML chunk lists; none where it can't be decoded or names none.
std::vector<NamedChannel> namedChannelsOf(const QByteArray& ixml);

// The field (256 bytes) for a file of these channels: their lines tell their names, lines of other channels go, and
// channels without a line get one if the field names tracks at all. A name that was made up for want of one ("CH2")
// takes no other's place. Without channels those lines stay. `fileName` empty: that line stays. Everything else stays
// as it is, line ends and what stands behind the text included, and what would go past the end of the field is left
// out: the iXML has it.
QByteArray fittedDescription(const QByteArray& field, const std::vector<NamedChannel>& channels,
                             const QString& fileName);

} // namespace ostrel
