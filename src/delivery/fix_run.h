// Corrections of many recordings, one after the other: corrected copies, or the recordings themselves, with each change
// told before and after.
//
//   FixRun run(recordings, options);
//   per recording: run.take(recording)
//
// Blocks; for any thread, one at a time.
#pragma once

#include "delivery/header_fixes.h"
#include "foundation/run/journal.h"
#include "foundation/run/run_ledger.h"

#include <QString>
#include <QStringList>

namespace ostrel {

struct FixOptions {
    Reader reader = Reader::anybody;
    QString output;       // folder of the copies; empty: "Corrected" beside each recording
    bool inPlace = false; // instead of copies
    bool dryRun = false;  // tells, and writes nothing
};

struct FixedRecording {
    QString path;
    HeaderFixes plan;
    QString status; // a word or two for a person: what happened on disk
    bool hasFailed = false;
    bool isCorrected = false; // where it stands
    QString error;            // a sentence, of a failure
    QString output;           // the copy; empty: none was written
    QStringList remarks;      // of the folder that was written to
};

class FixRun {
public:
    // All recordings of the run: none is ever written over by the copy of another.
    FixRun(const QStringList& recordings, FixOptions options) : options_(std::move(options)), ledger_(recordings) {}

    FixedRecording take(const QString& recording);

private:
    void carryOut(FixedRecording& fixed, const FileStamp& seen);
    void writeCopy(FixedRecording& fixed);

    const FixOptions options_;
    RunLedger ledger_;
    Journal journal_{QStringLiteral("check --fix")};
};

} // namespace ostrel
