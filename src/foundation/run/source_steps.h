// The steps that take sources away after a proven job: moves and deletions, all of one item's or none of them.
//
// Each step is written into the journal ahead of it and after it. A deletion first gives every source a private name,
// so that the first comes back if the second can't follow. Block on the disk; for any thread but the main one.
#pragma once

#include "foundation/proof/audio_proof.h"
#include "foundation/records/item_outcome.h"
#include "foundation/run/journal.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

struct SourceOrder {
    QString source;
    QString destination; // the whole new path; empty: the source is deleted
};

struct SourceStepsResult {
    std::vector<SourceFate> fates; // one for each order, in order: what is on disk now
    QString failure;               // why not all went; empty where they did
    QStringList warnings;          // what is to be told although they did

    bool allKept() const;
};

// What stands at a destination is never replaced. The proof is asked again ahead of the first step; a source that is no
// longer what it was stays, and so do the others.
SourceStepsResult takeSourcesAway(const std::vector<SourceOrder>& orders, const AudioProof& proof, Journal& journal);

// Takes the moves of a run back, last first: each file goes to where it was, if nothing stands there and it is what was
// moved. One sentence for each step that could not be taken back. Throws FileError where the journal can't be used.
struct UndoResult {
    std::vector<SourceFate> undone; // `source` is where it stands again, `movedTo` where it was until now
    QStringList failures;
};
UndoResult undoMoves(const QString& run);

} // namespace ostrel
