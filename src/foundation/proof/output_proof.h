// The proof that a job's new files hold what their sources held, for a person who asks for it: every channel of every
// output, read back from the disk, against the channel of the source that it was made of.
//
//     OutputProof proof(options.proves);
//     road.make(planned, ..., proof.sources());
//     ...                                             // metadata completed, nothing is written any more
//     outcome.proof = proof.of(pairs, names);
//
// Trusts nothing of what made the files: what the sources hold is hashed as it is read from them, what the outputs hold
// as it is read from them. Belongs to one item and one thread at a time; blocks on the disk.
#pragma once

#include "foundation/proof/channel_pair.h"
#include "foundation/proof/source_hashes.h"
#include "foundation/records/proof_record.h"

#include <QMap>
#include <QString>
#include <optional>
#include <stdexcept>
#include <vector>

namespace ostrel {

// In place of a source's channel: a mix of all that the file has.
constexpr int kMixedChannels = -1;

// A proof found that files differ; `what()` is a sentence for the person.
class ProofError : public std::runtime_error {
public:
    explicit ProofError(const ProofRecord& found) : std::runtime_error(found.failure().toStdString()), record(found) {}
    ProofRecord record;
};

class OutputProof {
public:
    explicit OutputProof(bool isWanted) {
        if (isWanted) sources_.emplace();
    }

    // For the road that reads the sources; null where no proof is wanted.
    SourceHashes* sources() { return sources_ ? &*sources_ : nullptr; }

    // `pairs`: the channels of each output, all that it has. `names`: what the outputs' private names will be. Each
    // file goes to the disk and out of memory first, as far as the system does that. Nothing where no proof is wanted.
    //
    // Channels of one coding are compared by their hashes, others as decoded samples. "Identical" says that all of the
    // source's channel is there, to its last frame, and nothing else. "Differs": an output can't be read, has other
    // samples, or a length that is not that of its shortest source. All else is unproven: lossy files, files that can't
    // be read here, samples rounded by a change of their coding, an end that the shortest source cut off, bytes that a
    // source's header does not explain.
    std::optional<ProofRecord> of(const std::vector<ChannelPair>& pairs, const QMap<QString, QString>& names);

private:
    std::optional<SourceHashes> sources_;
};

} // namespace ostrel
