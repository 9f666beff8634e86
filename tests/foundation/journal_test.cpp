#include "foundation/run/journal.h"

#include "platform/files/files.h"
#include "platform/paths.h"
#include "support/own_state.h"
#include "support/system_calls.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

namespace ostrel {
namespace {

using namespace testing;
using State = JournalStep::State;

const QString kFrom = QStringLiteral("/in/a \"b\"\n🎬.wav");
const QString kTo = QStringLiteral("/in/Originals/a.wav");

class JournalTest : public ::testing::Test {
protected:
    static void append(const QByteArray& bytes) {
        QFile file(Journal::path());
        ASSERT_TRUE(file.open(QIODevice::Append));
        file.write(bytes);
    }
    static JournalStep only() {
        const std::vector<JournalStep> steps = Journal::read();
        EXPECT_EQ(steps.size(), 1u);
        return steps.empty() ? JournalStep() : steps[0];
    }

    OwnState state;
    TestFolder folder;
};

TEST_F(JournalTest, WithoutAStepThereIsNone) {
    const Journal journal(QStringLiteral("interleave"));
    EXPECT_EQ(Journal::path(), state.folder() + QStringLiteral("/Ostrel/journal"));
    EXPECT_FALSE(QFile::exists(Journal::path()));
    EXPECT_TRUE(Journal::read().empty());
    EXPECT_TRUE(Journal::unfinished().empty());
    EXPECT_TRUE(Journal::tellUnfinished().isEmpty());
    EXPECT_FALSE(QFile::exists(Journal::path()));
}

TEST_F(JournalTest, ABegunStepIsALineOnTheDisk) {
    const QString source = folder.write(QStringLiteral("a.wav"), "audio");
    Journal journal(QStringLiteral("interleave"));
    QByteArray flushed;
    const OnSystemCall onFlush(SystemCall::fsync, [&](const QByteArray& path, const QByteArray&) {
        if (path == QFile::encodeName(Journal::path())) flushed = readAll(Journal::path());
        return 0;
    });
    EXPECT_EQ(journal.begin(JournalOperation::remove, source, QString(), kTo), 1);
    EXPECT_FALSE(flushed.isEmpty()); // with the line
    EXPECT_EQ(readAll(Journal::path()), flushed);
    const auto line = nlohmann::json::parse(flushed.trimmed().toStdString());
    EXPECT_EQ(line["run"], journal.run().toStdString());
    EXPECT_EQ(line["step"], 1);
    EXPECT_EQ(line["phase"], "begin");
    EXPECT_EQ(line["op"], "delete");
    EXPECT_EQ(line["job"], "interleave");
    EXPECT_EQ(line["from"], source.toStdString());
    EXPECT_EQ(line["to"], "");
    EXPECT_EQ(line["parked"], kTo.toStdString());
    EXPECT_EQ(line["stamp"]["size"], 5);
    EXPECT_EQ(line["process"], ::getpid());
    struct stat status;
    ASSERT_EQ(::stat(QFile::encodeName(Journal::path()).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u); // it tells what a person works on
}

TEST_F(JournalTest, StepsComeBackAsTheyWere) {
    const QString source = folder.write(QStringLiteral("a.wav"), "audio");
    Journal journal(QStringLiteral("deinterleave"));
    EXPECT_EQ(journal.begin(JournalOperation::move, kFrom, kTo), 1);
    EXPECT_EQ(journal.begin(JournalOperation::replace, source, source, QStringLiteral("/in/.ostrel-1.wav")), 2);
    EXPECT_EQ(journal.begin(JournalOperation::remove, kFrom, QString(), kTo), 3);
    EXPECT_EQ(journal.begin(JournalOperation::move, kFrom, kTo), 4);
    EXPECT_TRUE(journal.end(1));
    EXPECT_TRUE(journal.fail(3, QStringLiteral("no room")));
    EXPECT_TRUE(journal.end(4));
    EXPECT_TRUE(journal.markUndone(4));
    const std::vector<JournalStep> steps = Journal::read();
    ASSERT_EQ(steps.size(), 4u);
    EXPECT_EQ(journalSteps(), (QStringList{QStringLiteral("move done"), QStringLiteral("replace begun"),
                                           QStringLiteral("delete failed"), QStringLiteral("move undone")}));
    EXPECT_EQ(steps[0].from, kFrom);
    EXPECT_EQ(steps[0].to, kTo);
    EXPECT_EQ(steps[0].run, journal.run());
    EXPECT_EQ(steps[0].number, 1);
    EXPECT_EQ(steps[0].job, QStringLiteral("deinterleave"));
    EXPECT_FALSE(steps[0].stamp); // there is no such file
    EXPECT_LT(std::abs(steps[0].begunAt.secsTo(QDateTime::currentDateTimeUtc())), 600);
    EXPECT_EQ(steps[1].parked, QStringLiteral("/in/.ostrel-1.wav"));
    EXPECT_EQ(steps[1].stamp, FileStamp::of(source));
    EXPECT_EQ(steps[2].detail, QStringLiteral("no room"));
    EXPECT_TRUE(steps[1].isRunning); // this program lives
}

TEST_F(JournalTest, RunsHaveNamesOfTheirOwn) {
    Journal first(QStringLiteral("interleave"));
    Journal second(QStringLiteral("interleave"));
    EXPECT_NE(first.run(), second.run());
    first.begin(JournalOperation::move, kFrom, kTo);
    second.begin(JournalOperation::move, kFrom, kTo);
    second.end(1);
    EXPECT_EQ(journalSteps(), (QStringList{QStringLiteral("move begun"), QStringLiteral("move done")}));
    Journal again(QStringLiteral("interleave"), first.run(), 1);
    EXPECT_EQ(again.begin(JournalOperation::move, kFrom, kTo), 2);
    EXPECT_EQ(Journal::read().at(2).run, first.run());
}

TEST_F(JournalTest, ATornLineIsPassedOverAndSpoilsNoOther) {
    Journal journal(QStringLiteral("interleave"));
    journal.begin(JournalOperation::move, kFrom, kTo);
    append("\n{\"run\":\"" + journal.run().toUtf8() + "\",\"step\":2,\"phase\":\"beg");
    EXPECT_EQ(journalSteps(), QStringList{QStringLiteral("move begun")});
    EXPECT_TRUE(journal.end(1));
    append("\n[1]\nnull\n{}\n{\"phase\":7}\n{\"run\":\"x\",\"step\":\"1\",\"phase\":\"begin\"}");
    journal.begin(JournalOperation::remove, kFrom, QString());
    const std::vector<JournalStep> steps = Journal::read();
    EXPECT_EQ(steps.front().state, State::done);
    EXPECT_EQ(steps.back().operation, JournalOperation::remove);
}

TEST_F(JournalTest, TwoProgramsAppendAtOnce) {
    constexpr int kSteps = 25;
    const auto write = [](const char* job) {
        Journal journal(QString::fromLatin1(job));
        const QString longPath = QStringLiteral("/in/") + QString(3000, u'x');
        for (int i = 0; i < kSteps; ++i) journal.end(journal.begin(JournalOperation::move, longPath, kTo));
    };
    const pid_t other = ::fork();
    if (other == 0) {
        write("other");
        ::_exit(0);
    }
    write("ours");
    int status = -1;
    ASSERT_EQ(::waitpid(other, &status, 0), other);
    std::map<QString, int> done;
    for (const JournalStep& step : Journal::read()) {
        EXPECT_EQ(step.state, State::done);
        EXPECT_EQ(step.number, ++done[step.job]);
    }
    EXPECT_EQ(done, (std::map<QString, int>{{QStringLiteral("other"), kSteps}, {QStringLiteral("ours"), kSteps}}));
}

TEST_F(JournalTest, AStepWhoseProgramIsGoneIsToldOnceWithBothPlaces) {
    const QString from = folder.write(QStringLiteral("a.wav"), "audio");
    const QString to = folder.path(QStringLiteral("Originals/a.wav"));
    inProgramThatEnds([&] {
        Journal journal(QStringLiteral("interleave"));
        journal.begin(JournalOperation::move, from, to);
        journal.end(journal.begin(JournalOperation::move, from, to));
    });
    Journal own(QStringLiteral("interleave"));
    own.begin(JournalOperation::move, from, to); // at work
    ASSERT_EQ(Journal::unfinished().size(), 1u);
    EXPECT_EQ(
        Journal::tellUnfinished(),
        QStringList{QStringLiteral("An earlier run began to move a.wav and did not end: %1 is there; %2 is not there")
                        .arg(from, to)});
    EXPECT_TRUE(Journal::tellUnfinished().isEmpty());
    EXPECT_EQ(Journal::unfinished().size(), 1u); // it still has no end
}

TEST_F(JournalTest, TheSentenceOfADeletionNamesThePrivatePlaceWhereSomethingIs) {
    const QString from = folder.path(QStringLiteral("a.wav"));
    const QString parked = folder.write(QStringLiteral(".ostrel-1.wav"), "audio");
    inProgramThatEnds([&] { Journal(QStringLiteral("x")).begin(JournalOperation::remove, from, QString(), parked); });
    EXPECT_EQ(
        Journal::tellUnfinished(),
        QStringList{QStringLiteral("An earlier run began to delete a.wav and did not end: %1 is not there; %2 is there")
                        .arg(from, parked)});
}

TEST_F(JournalTest, AnotherProgramOfTheSameNumberIsAnotherProgram) {
    Journal(QStringLiteral("x")).begin(JournalOperation::move, kFrom, kTo);
    QByteArray lines = readAll(Journal::path());
    EXPECT_TRUE(only().isRunning);
    lines.replace("\"processBegin\":", "\"processBegin\":1");
    files::writeAtomically(Journal::path(), lines);
    EXPECT_FALSE(only().isRunning);
    EXPECT_EQ(Journal::unfinished().size(), 1u);
}

TEST_F(JournalTest, AStepThatCannotBeWrittenDownMustNotBeTaken) {
    Journal journal(QStringLiteral("interleave"));
    ASSERT_EQ(journal.begin(JournalOperation::move, kFrom, kTo), 1);
    {
        const OnSystemCall broken(SystemCall::fsync, EIO);
        EXPECT_THROW(journal.begin(JournalOperation::move, kFrom, kTo), FileError);
        EXPECT_FALSE(journal.end(1));
    }
    state.blockJournal();
    try {
        journal.begin(JournalOperation::move, kFrom, kTo);
        FAIL();
    } catch (const FileError& error) {
        EXPECT_EQ(error.description,
                  QStringLiteral("The journal %1 can't be written: Is a directory").arg(Journal::path()));
    }
    EXPECT_FALSE(journal.end(1) || journal.fail(1, QString()) || journal.markUndone(1));
    EXPECT_THROW(Journal::read(), FileError);
    EXPECT_EQ(Journal::tellUnfinished().size(), 1); // that it can't be read
}

TEST_F(JournalTest, ALinkInItsPlaceIsNotFollowed) {
    const QString elsewhere = folder.write(QStringLiteral("elsewhere"), "precious");
    QDir().mkpath(paths::parent(Journal::path()));
    ASSERT_TRUE(QFile::link(elsewhere, Journal::path()));
    EXPECT_THROW(Journal(QStringLiteral("x")).begin(JournalOperation::move, kFrom, kTo), FileError);
    EXPECT_EQ(readAll(elsewhere), "precious");
}

} // namespace
} // namespace ostrel
