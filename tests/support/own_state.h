// A state folder of a test's own, and in it a journal of its own, for as long as this lives.
#pragma once

#include "foundation/run/journal.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostrel::testing {

class OwnState {
public:
    OwnState() : old_(qgetenv("XDG_STATE_HOME")) { qputenv("XDG_STATE_HOME", folder_.path().toUtf8()); }
    ~OwnState() { qputenv("XDG_STATE_HOME", old_); }
    OwnState(const OwnState&) = delete;
    OwnState& operator=(const OwnState&) = delete;

    QString folder() const { return folder_.path(); }

    // From now on nothing can be written into the journal, not even by root.
    void blockJournal() const {
        QFile::remove(Journal::path());
        folder_.path(QStringLiteral("Ostrel/journal/in the way"));
    }

private:
    TestFolder folder_;
    QByteArray old_;
};

// What a program does that is gone by the time this returns, without any of its ends.
inline void inProgramThatEnds(const std::function<void()>& action) {
    const pid_t child = ::fork();
    if (child == 0) {
        try {
            action();
        } catch (...) {
            ::_exit(1);
        }
        ::_exit(0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

// "move begun", one a step.
inline QStringList journalSteps() {
    QStringList steps;
    for (const JournalStep& step : Journal::read()) {
        steps << QStringLiteral("%1 %2").arg(rawText(step.operation), rawText(step.state));
    }
    return steps;
}

} // namespace ostrel::testing
