// XXH128 of the channels that an item is made of: taken as a road reads its sources, or from a reading of their own.
//
// Never from what was written. Belongs to one item and one thread at a time; reading blocks on the disk.
#pragma once

#include "foundation/proof/channel_pair.h"
#include "platform/files/file_stamp.h"
#include "wave/channel_copy.h"

#include <QStringList>
#include <map>
#include <memory>
#include <optional>

namespace ostrel {

class SourceHashes {
public:
    SourceHashes();
    ~SourceHashes();
    SourceHashes(const SourceHashes&) = delete;
    SourceHashes& operator=(const SourceHashes&) = delete;

    // For the copying of a plan: hashes every source channel that goes into a target, as it is read. Lives as long as
    // this, or until the next plan.
    CopyWitness& witness(const CopyPlan& plan);
    // The plan was carried out: what the witness saw counts from now on, of sources that are still what they were.
    void takeOver();

    // Of the channel's first `frames`: as it was seen, otherwise by reading the file, once for all of its channels.
    // Throws FileError; also for a file that was changed since it was read.
    QString of(const ChannelPlace& place, qint64 frames);

private:
    struct Seen {
        FileStamp stamp;
        qint64 frames = 0;
        QStringList channels; // empty for a channel that nobody wanted
    };
    class Witness;

    std::map<QString, Seen> seen_; // by file
    std::unique_ptr<Witness> witness_;
};

} // namespace ostrel
