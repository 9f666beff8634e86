// Where a job says that it has put a channel.
#pragma once

#include <QString>

namespace ostrel {

struct ChannelPlace {
    QString file;
    int channel = 0; // 0-based

    bool operator<(const ChannelPlace& other) const {
        return file != other.file ? file < other.file : channel < other.channel;
    }
};

struct ChannelPair {
    ChannelPlace source;
    ChannelPlace output;
};

} // namespace ostrel
