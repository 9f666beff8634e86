// The record of every move, deletion and replacement of a source: `{state}/Ostrel/journal`, one JSON object a line.
//
// A step is written down, and is on the disk, before it is taken, and again when it has ended: so whatever happens in
// between, the next start can tell where both files are. Lines are appended with one write each, by any number of
// programs at once; nothing is ever rewritten. A line that can't be read (a program was killed as it wrote) is passed
// over. Blocks on the disk; one object may be used from several threads.
#pragma once

#include "platform/files/file_stamp.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <mutex>
#include <optional>
#include <vector>

namespace ostrel {

enum class JournalOperation { move, remove, replace };
QString rawText(JournalOperation operation); // "move", "delete", "replace"

// A step as the journal tells it.
struct JournalStep {
    enum class State { begun, done, failed, undone };

    QString run;
    int number = 0; // within the run, from 1
    JournalOperation operation = JournalOperation::move;
    State state = State::begun;
    QString job;    // "interleave"
    QString from;   // the source
    QString to;     // where a moved one goes; what a replaced one is replaced by is its own name
    QString parked; // the private name that a step uses on its way; empty: none
    QString detail; // why it failed, or what is to be known of it
    QDateTime begunAt;
    std::optional<FileStamp> stamp; // of the source ahead of the step
    bool isRunning = false;         // the program that began it still works
    bool wasTold = false;           // a later start has told of its missing end
};
QString rawText(JournalStep::State state); // "begun", "done", "failed", "undone"

class Journal {
public:
    // A run of a job. Nothing is written before the first step.
    explicit Journal(const QString& job);
    // Goes on with a run that the journal knows: for taking its moves back.
    Journal(const QString& job, const QString& run, int lastNumber);

    QString run() const { return run_; }

    // Throws FileError where the journal can't be written: then the step must not be taken. Gives the step's number.
    // `detail` says what is not to be seen from the paths: what of a recording goes on purpose.
    int begin(JournalOperation operation, const QString& from, const QString& to, const QString& parked = QString(),
              const QString& detail = QString());
    // These never throw: what was done stays done. False where the line could not be written.
    bool end(int number);
    bool fail(int number, const QString& why);
    bool markUndone(int number);
    bool markTold(int number);

    static QString path();

    // All steps in the order in which they began. Nothing where there is no journal; throws FileError where it can't be
    // read.
    static std::vector<JournalStep> read();

    // Steps that were begun by a program which is gone, and have no end.
    static std::vector<JournalStep> unfinished();

    // One sentence for each such step that was not told yet, with where both files are; they count as told then.
    static QStringList tellUnfinished();

private:
    bool append(const QByteArray& line, QString* why = nullptr);
    bool note(int number, const char* phase, const QString& detail = QString());

    QString job_;
    QString run_;
    int lastNumber_ = 0;
    std::mutex mutex_;
};

} // namespace ostrel
