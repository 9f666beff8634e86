// Corrections of a recording's header where a rule has one right answer: which bytes would change, told ahead, and the
// change itself, made in a copy that is compared whole with the recording. Audio never changes, nor the size of
// anything.
#pragma once

#include "delivery/rules/rule.h"
#include "foundation/run/journal.h"
#include "foundation/run/run_ledger.h"
#include "metadata/chunks/byte_edits.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

struct HeaderFix {
    const Rule* rule = nullptr;
    QString field;
    QString before;
    QString after;
};

struct HeaderFixes {
    std::vector<HeaderFix> fixes; // what will be other than it is
    std::vector<ByteEdit> edits;  // the same, as bytes of the file
    QStringList left;             // sentences: what has one answer, but no room for it
};

// Reads headers. Nothing is changed. Blocks on the disk; for any thread.
HeaderFixes planFixes(const QString& recording, Reader reader);

// A corrected copy under that name, which nothing may have yet. Throws FileError.
void writeFixedCopy(const QString& recording, const HeaderFixes& plan, const QString& output);

// The recording itself, replaced in one step by the corrected copy. `seen` is the file as it was ahead of the plan.
// Throws FileError; the recording is whole then.
void fixInPlace(const QString& recording, const HeaderFixes& plan, const FileStamp& seen, Journal& journal);

} // namespace ostrel
