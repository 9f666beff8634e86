// The glance at a few blocks of a new file that every job takes, whether or not its sources stay: is this the sound
// that it was made of? Blocks on the disk, a few milliseconds whatever the length; for any thread but the main one.
#pragma once

#include "foundation/proof/channel_pair.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

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
