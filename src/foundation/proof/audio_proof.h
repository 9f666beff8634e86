// The proof that sources may go: the whole comparison ahead of any removal.
#pragma once

#include "foundation/proof/channel_pair.h"
#include "platform/files/file_stamp.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

// Every frame of every channel of every source stands in an output, bit for bit (as decoded samples where the
// containers differ), all lengths are equal, everything could be read to its end, and no header leaves bytes
// unexplained. Made once, by reading all files once, on a few threads side by side; blocks, so for any thread but the
// main one.
class AudioProof {
public:
    // `channelNames` gives a source's channels names for the sentences; files that it does not name get numbers.
    static AudioProof of(const QStringList& sources, const std::vector<ChannelPair>& pairs,
                         const QMap<QString, QStringList>& channelNames = {});

    // Why not; empty where the proof holds and all files still are the ones that were compared: asked of the disk anew.
    QString objection() const;
    bool holds() const { return objection().isEmpty(); }

    // Whether this is one of the sources whose every channel was looked for.
    bool covers(const QString& source) const { return sources_.contains(source); }

private:
    QStringList sources_;
    QString failure_ = QStringLiteral("nothing was compared"); // of the comparison; empty: it found all
    QMap<QString, FileStamp> stamps_;
};

} // namespace ostrel
