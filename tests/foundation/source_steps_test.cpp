#include "foundation/run/source_steps.h"

#include "platform/files/new_file.h"
#include "platform/paths.h"
#include "support/own_state.h"
#include "support/system_calls.h"
#include "support/wave_file.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

// A pair and the stereo file that holds both.
class SourceStepsTest : public ::testing::Test {
protected:
    SourceStepsTest() {
        WaveSpec spec;
        left = folder.write(QStringLiteral("a.L.wav"), waveBytes(spec));
        spec.firstSignal = 1;
        right = folder.write(QStringLiteral("a.R.wav"), waveBytes(spec));
        spec.firstSignal = 0;
        spec.channels = 2;
        merged = folder.write(QStringLiteral("Interleaved/a.wav"), waveBytes(spec));
        movedLeft = folder.path() + QStringLiteral("/Originals/a.L.wav");
        movedRight = folder.path() + QStringLiteral("/Originals/a.R.wav");
        before = {fingerprintOf(left), fingerprintOf(right)};
    }
    AudioProof proof() const {
        return AudioProof::of({left, right}, {{{left, 0}, {merged, 0}}, {{right, 0}, {merged, 1}}});
    }
    SourceStepsResult move() { return takeSourcesAway({{left, movedLeft}, {right, movedRight}}, proof(), journal); }
    SourceStepsResult remove() { return takeSourcesAway({{left, QString()}, {right, QString()}}, proof(), journal); }
    void expectAsBefore(const SourceStepsResult& result) const {
        EXPECT_EQ((QStringList{fingerprintOf(left), fingerprintOf(right)}), before);
        EXPECT_EQ(result.fates, ItemOutcome::allKept({left, right}));
        EXPECT_TRUE(result.allKept());
        EXPECT_FALSE(result.failure.isEmpty());
        EXPECT_TRUE(privateFiles().isEmpty());
    }
    QStringList privateFiles() const {
        QStringList found;
        for (const QString& name : QDir(folder.path()).entryList(QDir::Files | QDir::Hidden)) {
            if (isPrivateName(name)) found << paths::append(folder.path(), name);
        }
        return found;
    }
    // Fails the calls that are about a file.
    static OnSystemCall::Answer failing(const QString& file, int error) {
        return [name = QFile::encodeName(file), error](const QByteArray& from, const QByteArray& to) {
            return from == name || to == name ? error : 0;
        };
    }

    OwnState state;
    TestFolder folder;
    Journal journal{QStringLiteral("interleave")};
    QString left;
    QString right;
    QString merged;
    QString movedLeft;
    QString movedRight;
    QStringList before;
};

TEST_F(SourceStepsTest, MovesBothAndWritesItDownAheadAndAfter) {
    QStringList atEachStep;
    const OnSystemCall onStep(SystemCall::renameat2, [&](const QByteArray&, const QByteArray&) {
        atEachStep << journalSteps().join(u'|');
        return 0;
    });
    const SourceStepsResult result = move();
    EXPECT_EQ(result.failure, QString());
    EXPECT_TRUE(result.warnings.isEmpty());
    EXPECT_EQ(result.fates, (std::vector<SourceFate>{{left, SourceFate::Kind::moved, movedLeft},
                                                     {right, SourceFate::Kind::moved, movedRight}}));
    EXPECT_EQ(atEachStep,
              (QStringList{QStringLiteral("move begun|move begun"), QStringLiteral("move begun|move begun")}));
    EXPECT_EQ(journalSteps().join(u'|'), QStringLiteral("move done|move done"));
    EXPECT_EQ(Journal::read()[1].to, movedRight);
    EXPECT_FALSE(QFile::exists(left) || QFile::exists(right));
    EXPECT_TRUE(QFile::exists(movedLeft) && QFile::exists(movedRight));
}

TEST_F(SourceStepsTest, DeletesBothOnlyWhenBothCanGo) {
    QStringList atEachEnd;
    const OnSystemCall onUnlink(SystemCall::unlink, [&](const QByteArray& path, const QByteArray&) {
        EXPECT_TRUE(isPrivateName(paths::lastComponent(QFile::decodeName(path)))) << path.toStdString();
        EXPECT_FALSE(QFile::exists(left) || QFile::exists(right));
        EXPECT_TRUE(isHeld(folder.path())); // a scan must not clear them away, or put them back
        atEachEnd << journalSteps().join(u'|');
        return 0;
    });
    const SourceStepsResult result = remove();
    EXPECT_EQ(result.failure, QString());
    EXPECT_EQ(result.fates[0], (SourceFate{left, SourceFate::Kind::deleted, QString()}));
    EXPECT_EQ(result.fates[1], (SourceFate{right, SourceFate::Kind::deleted, QString()}));
    EXPECT_EQ(atEachEnd,
              (QStringList{QStringLiteral("delete begun|delete begun"), QStringLiteral("delete begun|delete begun")}));
    EXPECT_EQ(journalSteps().join(u'|'), QStringLiteral("delete done|delete done"));
    EXPECT_TRUE(privateFiles().isEmpty());
    EXPECT_FALSE(isHeld(folder.path()));
}

TEST_F(SourceStepsTest, TheFirstComesBackWhereTheSecondsPlaceIsTaken) {
    const QString older = folder.write(QStringLiteral("Originals/a.R.wav"), "older");
    const SourceStepsResult result = move();
    expectAsBefore(result);
    EXPECT_EQ(result.failure, QStringLiteral("Could not move %1 to %2: File exists").arg(right, movedRight));
    EXPECT_EQ(readAll(older), "older");
    EXPECT_FALSE(QFile::exists(movedLeft));
    EXPECT_EQ(journalSteps().join(u'|'), QStringLiteral("move undone|move failed"));
}

TEST_F(SourceStepsTest, TheFirstComesBackWhereTheSecondCannotFollow) {
    const OnSystemCall broken(SystemCall::renameat2, failing(right, EIO));
    expectAsBefore(remove());
    EXPECT_EQ(journalSteps().join(u'|'), QStringLiteral("delete undone|delete failed"));
    expectAsBefore(move());
}

TEST_F(SourceStepsTest, TheFirstComesBackWhereTheSecondCannotBeWrittenDown) {
    int lines = 0;
    const OnSystemCall full(SystemCall::fsync, [&](const QByteArray& path, const QByteArray&) {
        return path == QFile::encodeName(Journal::path()) && ++lines == 2 ? ENOSPC : 0;
    });
    const SourceStepsResult result = move();
    expectAsBefore(result);
    EXPECT_TRUE(result.failure.endsWith(QStringLiteral("can't be written: No space left on device")));
}

TEST_F(SourceStepsTest, WithoutAJournalNothingGoes) {
    state.blockJournal();
    expectAsBefore(move());
    expectAsBefore(remove());
}

TEST_F(SourceStepsTest, AnEndThatCannotBeWrittenDownIsToldAndChangesNothing) {
    int lines = 0;
    const OnSystemCall full(SystemCall::fsync, [&](const QByteArray& path, const QByteArray&) {
        return path == QFile::encodeName(Journal::path()) && ++lines > 2 ? ENOSPC : 0; // behind both beginnings
    });
    const SourceStepsResult result = move();
    EXPECT_EQ(result.failure, QString());
    EXPECT_EQ(result.warnings, QStringList{QStringLiteral("The end of a step could not be written into the journal")});
    EXPECT_EQ(result.fates[1].kind, SourceFate::Kind::moved);
    EXPECT_TRUE(QFile::exists(movedLeft) && QFile::exists(movedRight));
}

TEST_F(SourceStepsTest, WhatCannotComeBackIsToldOfWithItsPlace) {
    int steps = 0;
    const OnSystemCall broken(SystemCall::renameat2,
                              [&](const QByteArray&, const QByteArray&) { return ++steps >= 2 ? EIO : 0; });
    const SourceStepsResult result = move();
    EXPECT_FALSE(result.allKept());
    EXPECT_TRUE(result.failure.contains(QStringLiteral("; a.L.wav is at ") + movedLeft))
        << result.failure.toStdString();
    EXPECT_EQ(result.fates, (std::vector<SourceFate>{{left, SourceFate::Kind::moved, movedLeft},
                                                     {right, SourceFate::Kind::kept, QString()}}));
    EXPECT_TRUE(QFile::exists(movedLeft) && QFile::exists(right));
}

TEST_F(SourceStepsTest, ADeletionThatFailsAtItsLastMomentLeavesTheSource) {
    int unlinked = 0;
    const OnSystemCall broken(SystemCall::unlink, [&](const QByteArray&, const QByteArray&) {
        return ++unlinked == 2 ? EPERM : 0; // the first is gone for good by then
    });
    const SourceStepsResult result = remove();
    EXPECT_EQ(result.fates, (std::vector<SourceFate>{{left, SourceFate::Kind::deleted, QString()},
                                                     {right, SourceFate::Kind::kept, QString()}}));
    EXPECT_FALSE(result.allKept() || result.failure.isEmpty());
    EXPECT_EQ(fingerprintOf(right), before[1]);
    EXPECT_EQ(journalSteps().join(u'|'), QStringLiteral("delete done|delete undone"));
}

TEST_F(SourceStepsTest, NothingIsDeletedWhereTheFirstCannotBe) {
    int unlinked = 0;
    const OnSystemCall broken(SystemCall::unlink,
                              [&](const QByteArray&, const QByteArray&) { return ++unlinked == 1 ? EPERM : 0; });
    const SourceStepsResult result = remove();
    expectAsBefore(result);
    EXPECT_EQ(unlinked, 1);
    EXPECT_TRUE(result.failure.startsWith(QStringLiteral("a.L.wav can't be removed (")))
        << result.failure.toStdString();
    EXPECT_FALSE(result.failure.contains(QStringLiteral("deleted by then")));
    EXPECT_EQ(journalSteps().join(u'|'), QStringLiteral("delete undone|delete undone"));
}

TEST_F(SourceStepsTest, AKillBetweenTheTwoIsToldOfBothAndCanBeTakenBack) {
    inProgramThatEnds([&] {
        int steps = 0;
        const OnSystemCall killed(SystemCall::renameat2, [&](const QByteArray&, const QByteArray&) {
            if (++steps == 2) ::_exit(0);
            return 0;
        });
        move();
    });
    ASSERT_TRUE(QFile::exists(movedLeft) && QFile::exists(right));
    const QStringList told = Journal::tellUnfinished();
    ASSERT_EQ(told.size(), 2);
    EXPECT_TRUE(told[0].contains(movedLeft + QStringLiteral(" is there"))) << told[0].toStdString();
    EXPECT_TRUE(told[1].contains(right + QStringLiteral(" is there"))) << told[1].toStdString();
    const UndoResult back = undoMoves(Journal::read().front().run);
    EXPECT_TRUE(back.failures.isEmpty()) << back.failures.join(u';').toStdString();
    EXPECT_EQ((QStringList{fingerprintOf(left), fingerprintOf(right)}), before);
}

TEST_F(SourceStepsTest, WhatTheProofDoesNotCoverStays) {
    const QString third = folder.write(QStringLiteral("a.C.wav"), readAll(left));
    const SourceStepsResult result = takeSourcesAway(
        {{left, movedLeft}, {third, folder.path(QStringLiteral("Originals/a.C.wav"))}}, proof(), journal);
    EXPECT_EQ(result.failure, QStringLiteral("a.C.wav took no part in the comparison"));
    EXPECT_TRUE(result.allKept());
    EXPECT_TRUE(QFile::exists(left) && QFile::exists(third));
    EXPECT_EQ(takeSourcesAway({{left, QString()}}, AudioProof(), journal).failure,
              QStringLiteral("nothing was compared"));
    EXPECT_TRUE(QFile::exists(left));
    EXPECT_TRUE(Journal::read().empty());
}

TEST_F(SourceStepsTest, AProofThatFailedTakesNothing) {
    const AudioProof failed = AudioProof::of({left, right}, {{{left, 0}, {merged, 0}}});
    const SourceStepsResult result = takeSourcesAway({{left, QString()}, {right, QString()}}, failed, journal);
    expectAsBefore(result);
    EXPECT_EQ(result.failure, QStringLiteral("channel a.R.wav is in no output"));
}

TEST_F(SourceStepsTest, ASourceThatChangesBetweenTheStepsKeepsBoth) {
    const OnSystemCall change(SystemCall::renameat2, [&](const QByteArray& from, const QByteArray&) {
        QFile other(right);
        if (from == QFile::encodeName(left) && other.open(QIODevice::Append)) other.write("more");
        return 0;
    });
    const SourceStepsResult result = move();
    EXPECT_EQ(result.failure, right + QStringLiteral(" was changed meanwhile"));
    EXPECT_TRUE(result.allKept());
    EXPECT_EQ(fingerprintOf(left), before[0]);
    EXPECT_TRUE(readAll(right).endsWith("more"));
}

// What a run has moved comes back.
class UndoTest : public SourceStepsTest {
protected:
    UndoTest() {
        EXPECT_EQ(move().failure, QString());
        EXPECT_FALSE(QFile::exists(left));
    }
};

TEST_F(UndoTest, TakesMovesBackLastFirst) {
    QStringList order;
    const OnSystemCall onStep(SystemCall::renameat2, [&](const QByteArray&, const QByteArray& to) {
        order << paths::lastComponent(QFile::decodeName(to));
        return 0;
    });
    const UndoResult result = undoMoves(journal.run());
    EXPECT_TRUE(result.failures.isEmpty());
    EXPECT_EQ(order, (QStringList{QStringLiteral("a.R.wav"), QStringLiteral("a.L.wav")}));
    ASSERT_EQ(result.undone.size(), 2u);
    EXPECT_EQ(result.undone[1], (SourceFate{left, SourceFate::Kind::moved, movedLeft}));
    EXPECT_EQ((QStringList{fingerprintOf(left), fingerprintOf(right)}), before);
    EXPECT_EQ(journalSteps().join(u'|'), QStringLiteral("move undone|move undone"));
    EXPECT_TRUE(undoMoves(journal.run()).undone.empty()); // once
    EXPECT_TRUE(undoMoves(QStringLiteral("no such run")).undone.empty());
}

TEST_F(UndoTest, ReplacesNothingAndTakesNothingElse) {
    folder.write(QStringLiteral("a.L.wav"), "another by now");
    folder.write(QStringLiteral("Originals/a.R.wav"), "edited since");
    const UndoResult result = undoMoves(journal.run());
    EXPECT_TRUE(result.undone.empty());
    EXPECT_EQ(result.failures,
              (QStringList{movedRight + QStringLiteral(": changed since it was moved"),
                           QStringLiteral("Could not move %1 to %2: File exists").arg(movedLeft, left)}));
    EXPECT_EQ(readAll(left), "another by now");
    QFile::remove(left);
    QFile::remove(movedRight);
    const UndoResult later = undoMoves(journal.run());
    EXPECT_EQ(later.failures, QStringList{movedRight + QStringLiteral(": not there")});
    EXPECT_EQ(later.undone.size(), 1u);
    EXPECT_EQ(fingerprintOf(left), before[0]);
}

TEST_F(UndoTest, MakesTheFolderAgainThatIsGone) {
    const QString deep = folder.path(QStringLiteral("deep/b.wav"));
    ASSERT_TRUE(QFile::copy(merged, deep));
    Journal other(QStringLiteral("x"));
    const QString away = folder.path(QStringLiteral("away/b.wav"));
    EXPECT_EQ(takeSourcesAway({{deep, away}},
                              AudioProof::of({deep}, {{{deep, 0}, {merged, 0}}, {{deep, 1}, {merged, 1}}}), other)
                  .failure,
              QString());
    ASSERT_TRUE(QDir().rmdir(paths::parent(deep)));
    EXPECT_EQ(undoMoves(other.run()).undone.size(), 1u);
    EXPECT_TRUE(QFile::exists(deep));
    EXPECT_FALSE(QFile::exists(left)); // that was another run
}

TEST_F(SourceStepsTest, DeletionsAreNotTakenBack) {
    EXPECT_EQ(remove().failure, QString());
    const UndoResult result = undoMoves(journal.run());
    EXPECT_TRUE(result.undone.empty());
    EXPECT_EQ(result.failures, (QStringList{right + QStringLiteral(" was deleted and can't be taken back"),
                                            left + QStringLiteral(" was deleted and can't be taken back")}));
}

TEST_F(SourceStepsTest, AMoveThatWasBegunAndDoneWithoutItsEndComesBackToo) {
    inProgramThatEnds([&] {
        Journal killed(QStringLiteral("killed"));
        killed.begin(JournalOperation::move, left, movedLeft);
        QDir().mkpath(paths::parent(movedLeft));
        QFile::rename(left, movedLeft);
    });
    EXPECT_EQ(undoMoves(Journal::read().at(0).run).undone.size(), 1u);
    EXPECT_EQ(fingerprintOf(left), before[0]);
}

} // namespace
} // namespace ostrel
