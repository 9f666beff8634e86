// Conversions that take the place of their source: nothing of it may be lost but the channel that was to go.
#include "foundation/run/recording_list.h"
#include "stereovalidator/conversion_fixture.h"
#include "support/killed_at.h"
#include "support/own_state.h"
#include "support/wave_file.h"

#include <QFileInfo>
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::ConversionTest;
using testing::fingerprintOf;
using testing::namesIn;
using testing::OnSystemCall;
using testing::SystemCall;

class InPlaceTest : public ConversionTest {
protected:
    // Its only reason, with everything in the folder as it was.
    QString refusal(const MonoRequest& asked, const QStringList& tools = {}) {
        const QStringList before = testing::fingerprint(paths::parent(asked.file));
        const QString why = failure(asked, tools);
        EXPECT_EQ(testing::fingerprint(paths::parent(asked.file)), before);
        return why;
    }
    QString script(const QString& body) { return folder_.writeScript(QStringLiteral("bin/bwfmetaedit"), body); }
};

TEST_F(InPlaceTest, ReplacesTheSourceAndWritesItDown) {
    const QString source = writeSource();
    Journal journal(QStringLiteral("clean"));
    RunLedger ledger({source});
    MonoRequest right = inPlace(source);
    right.useLeftChannel = false;
    const ItemOutcome outcome = StereoProcessingEngine(QString(), {}).convertToMono(right, ledger, journal);
    EXPECT_EQ(outcome.status, ProcessingStatus::completed());
    EXPECT_EQ(outcome.outputs, QStringList{source});
    EXPECT_EQ(outcome.sources, std::vector({SourceFate{source, SourceFate::Kind::replaced, QString()}}));
    EXPECT_TRUE(outcome.warnings.isEmpty());
    EXPECT_TRUE(holdsChannel(source, 1));
    EXPECT_EQ(namesIn(folder_.path()), QStringList{QStringLiteral("a.wav")});

    const JournalStep step = Journal::read().back();
    EXPECT_EQ(step.run, journal.run());
    EXPECT_EQ(step.operation, JournalOperation::replace);
    EXPECT_EQ(step.state, JournalStep::State::done);
    EXPECT_EQ(step.from, source);
    EXPECT_EQ(step.detail, QStringLiteral("the right channel stays, the left one goes"));
    EXPECT_EQ(paths::parent(step.parked), folder_.path());
}

TEST_F(InPlaceTest, KnowsTheSourceBehindALinkedOutputFolder) {
    const QString source = writeSource(QStringLiteral("takes/a.wav"));
    ASSERT_TRUE(QFile::link(folder_.path(QStringLiteral("takes")), folder_.path(QStringLiteral("link"))));
    MonoRequest asked = inPlace(source);
    asked.outputFolder = folder_.path(QStringLiteral("link"));
    EXPECT_EQ(resultOf(asked), source);
    EXPECT_TRUE(holdsChannel(source, 0));
    EXPECT_EQ(namesIn(folder_.path(QStringLiteral("takes"))), QStringList{QStringLiteral("a.wav")});
}

TEST_F(InPlaceTest, ReplacesASourceUnderItsOwnNameHoweverItsExtensionIsWritten) {
    const QString source = writeSource(QStringLiteral("X.WAV"));
    const QString other = folder_.write(QStringLiteral("X.wav"), "another recording");
    EXPECT_EQ(resultOf(inPlace(source)), source);
    EXPECT_TRUE(holdsChannel(source, 0));
    EXPECT_EQ(testing::readAll(other), "another recording");
    EXPECT_EQ(namesIn(folder_.path()).size(), 2);
}

TEST_F(InPlaceTest, ReplacesWhatALinkLeadsTo) {
    const QString real = writeSource(QStringLiteral("real/r.wav"));
    const QString source = folder_.path(QStringLiteral("takes/a.wav"));
    ASSERT_TRUE(QFile::link(real, source));
    EXPECT_EQ(resultOf(inPlace(source)), source);
    EXPECT_TRUE(QFileInfo(source).isSymLink());
    EXPECT_TRUE(holdsChannel(real, 0));
}

TEST_F(InPlaceTest, GivesModeAndAttributesToTheResult) {
    const QString source = writeSource();
    const QByteArray path = source.toUtf8();
    ASSERT_EQ(::chmod(path.constData(), 0640), 0);
    const bool hasAttributes = ::setxattr(path.constData(), "user.rating", "5", 1, 0) == 0;
    EXPECT_EQ(resultOf(inPlace(source)), source);
    struct stat found {};
    ASSERT_EQ(::stat(path.constData(), &found), 0);
    EXPECT_EQ(found.st_mode & 07777u, 0640u);
    char value = 0;
    if (!hasAttributes) GTEST_SKIP() << "this file system knows no attributes";
    EXPECT_EQ(::getxattr(path.constData(), "user.rating", &value, 1), 1);
    EXPECT_EQ(value, '5');
}

TEST_F(InPlaceTest, ComparesEveryFrameOfTheKeptChannel) {
    // Between the blocks that a glance takes.
    const QString tool = script(QStringLiteral("printf x | dd of=\"$3\" bs=1 seek=30001 conv=notrunc 2>/dev/null"));
    EXPECT_EQ(refusal(inPlace(writeSource(QStringLiteral("takes/a.wav"))), {tool}),
              wrapped(QStringLiteral("Originals kept: the samples of the new file are not those of a.wav")));
    const QString cut = script(QStringLiteral("truncate -s 70000 \"$3\""));
    EXPECT_TRUE(refusal(inPlace(folder_.path(QStringLiteral("takes/a.wav"))), {cut})
                    .contains(QStringLiteral("Originals kept: the lengths differ: ")));
}

TEST_F(InPlaceTest, KeepsASourceOfMoreBitsThanItsFloatsHold) {
    testing::WaveSpec wave{.channels = 2, .bitDepth = 32, .frames = 9000};
    const QString source = folder_.write(QStringLiteral("takes/a.wav"), testing::waveBytes(wave));
    EXPECT_EQ(refusal(inPlace(source)),
              wrapped(QStringLiteral("Originals kept: the samples of the new file are not those of a.wav (which hold "
                                     "more bits than the floats of a mono file)")));
    wave.signal = [](int channel, int frame) { return testing::noise(channel, frame, 24) * 256; };
    folder_.write(QStringLiteral("takes/a.wav"), testing::waveBytes(wave));
    EXPECT_EQ(resultOf(inPlace(source)), source) << "24 bits of sound in 32";
}

TEST_F(InPlaceTest, KeepsASourceThatItsHeaderDoesNotExplain) {
    QByteArray bytes = testing::waveBytes({.channels = 2, .frames = 40'000});
    bytes.replace(40, 4, testing::littleEndian32(60'000)); // a quarter of the audio
    EXPECT_EQ(refusal(inPlace(folder_.write(QStringLiteral("a.wav"), bytes))),
              wrapped(QStringLiteral("Originals kept: about 0.6 s of audio may lie behind the declared end")));
}

TEST_F(InPlaceTest, KeepsASourceThatWasChangedSinceItWasAnalyzed) {
    MonoRequest asked = inPlace(writeSource());
    asked.analyzed = FileStamp::of(asked.file);
    // Another recording of the same size takes the name, with the old one's time.
    const QString other = testing::writeSound(folder_.path(QStringLiteral("b.wav")), 2, kFrames);
    struct stat found {};
    ASSERT_EQ(::stat(asked.file.toUtf8().constData(), &found), 0);
    const timespec times[2] = {found.st_atim, found.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, other.toUtf8().constData(), times, 0), 0);
    ASSERT_EQ(::rename(other.toUtf8().constData(), asked.file.toUtf8().constData()), 0);
    EXPECT_EQ(refusal(asked), wrapped(QStringLiteral("Originals kept: a.wav was changed since it was analyzed")));

    MonoRequest beside = asked;
    beside.addSuffix = true;
    const ItemOutcome outcome = convert(beside);
    EXPECT_TRUE(outcome.succeeded()) << "the source is left alone";
    EXPECT_EQ(outcome.warnings, QStringList{QStringLiteral("a.wav was changed since it was analyzed")});
}

TEST_F(InPlaceTest, KeepsWhatAnotherProgramWritesMeanwhile) {
    const QString source = writeSource(QStringLiteral("takes/a.wav"));
    const QString tool = script(QStringLiteral("printf 'their words' >> \"$2\""));
    EXPECT_TRUE(failure(inPlace(source), {tool}).contains(QStringLiteral("it was changed meanwhile")));
    EXPECT_TRUE(testing::readAll(source).endsWith("their words"));
    EXPECT_EQ(namesIn(folder_.path(QStringLiteral("takes"))), QStringList{QStringLiteral("a.wav")});
    EXPECT_EQ(Journal::read().back().state, JournalStep::State::failed);
}

// Between the last look at the source and the step itself.
TEST_F(InPlaceTest, PutsBackWhatWasChangedAtTheLastMoment) {
    const QString source = writeSource();
    {
        bool isFirst = true; // the second step puts the recording back
        const OnSystemCall call(SystemCall::renameat2, [&](const QByteArray&, const QByteArray&) {
            QFile file(source);
            if (std::exchange(isFirst, false) && file.open(QIODevice::Append)) file.write("their words");
            return 0;
        });
        EXPECT_TRUE(failure(inPlace(source)).contains(QStringLiteral("it was changed meanwhile")));
    }
    EXPECT_TRUE(testing::readAll(source).endsWith("their words"));
    EXPECT_EQ(namesIn(folder_.path()), QStringList{QStringLiteral("a.wav")});
}

TEST_F(InPlaceTest, RefusesARecordingWithASecondName) {
    const QString source = writeSource(QStringLiteral("takes/a.wav"));
    const QString second = folder_.path(QStringLiteral("second.wav"));
    ASSERT_EQ(::link(source.toUtf8().constData(), second.toUtf8().constData()), 0);
    EXPECT_EQ(refusal(inPlace(source)),
              QStringLiteral("Could not replace %1: it has 2 hard links, and the others would keep the old contents")
                  .arg(source));
    EXPECT_TRUE(paths::isSameFile(source, second));
}

TEST_F(InPlaceTest, RefusesARecordingThatThisUserMayNotWrite) {
    const QString source = writeSource(QStringLiteral("takes/a.wav"));
    ASSERT_EQ(::chmod(source.toUtf8().constData(), 0444), 0);
    ASSERT_EQ(::chmod(folder_.path().toUtf8().constData(), 0755), 0);
    ASSERT_EQ(::chmod(folder_.path(QStringLiteral("takes")).toUtf8().constData(), 0777), 0);
    const QString before = fingerprintOf(source);
    const pid_t child = ::fork(); // who may write it is asked for the real user, not the effective one
    if (child == 0) {
        const bool isNobody = ::geteuid() != 0 || ::setuid(65534) == 0;
        const QString why = failure(inPlace(source));
        ::_exit(isNobody && why == QStringLiteral("Could not replace %1: Permission denied").arg(source) ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fingerprintOf(source), before);
    EXPECT_EQ(namesIn(folder_.path(QStringLiteral("takes"))), QStringList{QStringLiteral("a.wav")});
}

TEST_F(InPlaceTest, DoesNothingThatTheJournalCannotHold) {
    const QString source = writeSource(QStringLiteral("takes/a.wav"));
    const testing::OwnState state;
    state.blockJournal();
    EXPECT_TRUE(refusal(inPlace(source)).startsWith(QStringLiteral("The journal ")));
}

// Whichever of its flushes fails: a failure leaves the source, and a success has the new file.
TEST_F(InPlaceTest, TakesAFailedFlushForAFailure) {
    const QString source = writeSource();
    const QString before = fingerprintOf(source);
    int failures = 0;
    for (int moment = 1;; ++moment) {
        int flushes = 0;
        ItemOutcome outcome;
        {
            const OnSystemCall call(
                SystemCall::fsync, [&](const QByteArray&, const QByteArray&) { return ++flushes == moment ? EIO : 0; });
            outcome = convert(inPlace(source));
        }
        EXPECT_EQ(namesIn(folder_.path()), QStringList{QStringLiteral("a.wav")});
        if (!outcome.failed()) {
            // The file was replaced, and only the journal's last line is missing; or no flush was left to fail.
            EXPECT_EQ(outcome.warnings.size(), flushes >= moment ? 1 : 0);
            EXPECT_TRUE(holdsChannel(source, 0));
            break;
        }
        ++failures;
        EXPECT_EQ(fingerprintOf(source), before) << "flush " << moment;
        EXPECT_EQ(outcome.sources, ItemOutcome::allKept({source}));
        EXPECT_TRUE(outcome.outputs.isEmpty());
    }
    EXPECT_GE(failures, 4) << "of the writer, the journal, the whole file, and its folder";
}

TEST_F(InPlaceTest, IsOldOrNewWhenTheProgramIsKilledAtAnyMoment) {
    const QString source = writeSource();
    const QByteArray before = testing::readAll(source);
    bool wasOld = false;
    bool wasNew = false;
    int moment = 1;
    while (testing::isKilledAt(moment, [&] { convert(inPlace(source)); })) {
        const bool isNew = testing::readAll(source) != before;
        EXPECT_TRUE(!isNew || holdsChannel(source, 0)) << "moment " << moment;
        (isNew ? wasNew : wasOld) = true;
        // The next run takes the recording and nothing else, and clears the folder.
        const auto listing =
            listRecordings(folder_.path(), true, {QStringLiteral("wav")}, files::HiddenEntries::included);
        EXPECT_EQ(listing->files, QStringList{source});
        EXPECT_EQ(namesIn(folder_.path()), QStringList{QStringLiteral("a.wav")}) << "moment " << moment;
        folder_.write(QStringLiteral("a.wav"), before);
        ++moment;
    }
    EXPECT_TRUE(wasOld && wasNew);
    EXPECT_GT(moment, 10);
    EXPECT_FALSE(Journal::tellUnfinished().isEmpty());
    EXPECT_TRUE(holdsChannel(source, 0)) << "the last one came to its end";
}

TEST_F(InPlaceTest, LeavesNoStumpBesideItsSourceWhenTheProgramIsKilled) {
    const QString source = writeSource();
    const QString output = folder_.path(QStringLiteral("a_mono.wav"));
    const QString before = fingerprintOf(source);
    int moment = 1;
    for (; testing::isKilledAt(moment, [&] { convert(request(source)); }); ++moment) {
        EXPECT_TRUE(!QFile::exists(output) || holdsChannel(output, 0)) << "moment " << moment;
        EXPECT_EQ(fingerprintOf(source), before);
        QFile::remove(output);
        EXPECT_TRUE(holdsChannel(resultOf(request(source)), 0));
        EXPECT_EQ(namesIn(folder_.path()).size(), 2) << "the run behind it clears the folder";
        QFile::remove(output);
    }
    EXPECT_GT(moment, 5);
}

} // namespace
} // namespace ostrel
