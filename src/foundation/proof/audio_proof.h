// Whether outputs hold what their sources hold: the whole comparison ahead of any removal, and the glance at a few
// blocks that every other job takes.
//
// Both block on the disk and are for any thread but the main one.
#pragma once

#include "foundation/proof/sample_reader.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

struct ChannelPlace {
    QString file;
    int channel = 0; // 0-based

    bool operator<(const ChannelPlace& other) const {
        return file != other.file ? file < other.file : channel < other.channel;
    }
};

// Where a job says that it has put a channel.
struct ChannelPair {
    ChannelPlace source;
    ChannelPlace output;
};

// The proof that sources may go: every frame of every channel of every source stands in an output, bit for bit (as
// decoded samples where the containers differ), all lengths are equal, everything could be read to its end, and no
// header leaves bytes unexplained. Made once, by reading all files once.
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

// What a glance at one pair showed.
struct ChannelFinding {
    enum class Kind {
        equal,
        different, // some samples are not those of the source: converted, clipped
        unlike,    // hardly a sample is: another channel, silence, noise
        unread     // the output can't be read
    };
    ChannelPair pair;
    Kind kind = Kind::equal;
};

struct Glance {
    std::vector<ChannelFinding> findings; // of the pairs that could be compared
    QStringList brokenOutputs;            // one sentence each: the file does not end where its head says
    QStringList shortOutputs;             // one sentence each: fewer frames than the shortest source
    QStringList unequalSources;           // one sentence for all: sources of unequal length; else empty
    QStringList oddSources;               // files whose samples stand in more bytes than they need

    bool has(ChannelFinding::Kind kind) const;
    // A source of an odd container whose samples the output hardly has: the tool took them for something else.
    bool misread() const { return has(ChannelFinding::Kind::unlike) && !oddSources.isEmpty(); }
    // The last components of the sources or outputs (whichever files are mono) with a finding of that kind.
    QStringList names(ChannelFinding::Kind kind, bool ofOutputs) const;
};

// Why an output of which `misread` is true fails its item.
QString misreadSentence(const QStringList& sources);

// Compares the lengths and some blocks spread over the files, in a few milliseconds whatever their length. Pairs with a
// lossy side, or a source that can't be decoded here, are left out. Integer samples have to be equal bit for bit; a
// float sample may move by less than the step of a 32-bit integer.
Glance glanceAt(const std::vector<ChannelPair>& pairs);

} // namespace ostrel
