#include "foundation/tools/source_answers.h"

#include "support/test_folder.h"

#include <QFile>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::TestFolder;
using namespace std::chrono_literals;
using testing::operator""_s;

// The time of its last change, put back by so much.
void age(const QString& file, std::chrono::seconds by) {
    struct stat found;
    ASSERT_EQ(::stat(QFile::encodeName(file).constData(), &found), 0);
    timespec times[2] = {found.st_atim, found.st_mtim};
    times[1].tv_sec -= by.count();
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(file).constData(), times, 0), 0);
}

class SourceAnswersTest : public ::testing::Test {
protected:
    // Prints the file, or copies it to where "--to=" says, and notes each start. An empty file makes no document.
    SourceAnswersTest()
        : tool_(folder_.writeScript(QStringLiteral("tool"), QStringLiteral("echo \"$1\" >> '%1/calls'\n"
                                                                           "case \"$1\" in\n"
                                                                           "--out-iXML=-) cat \"$2\"; echo;;\n"
                                                                           "--*=*) [ ! -s \"$2\" ] || "
                                                                           "cp \"$2\" \"${1#*=}\";;\n"
                                                                           "touching) touch \"$2\"; cat \"$2\";;\n"
                                                                           "*) cat \"$2\";; esac")
                                                                .arg(folder_.path()))),
          file_(folder_.write(QStringLiteral("a.wav"), "one")) {
        age(file_, 60s);
    }

    qsizetype calls() const {
        QFile record(folder_.path() + QStringLiteral("/calls"));
        return record.open(QIODevice::ReadOnly) ? record.readAll().count('\n') : 0;
    }
    QByteArray printed(const QString& question = QStringLiteral("-show")) {
        return answers_.printed(tool_, {question}, file_).standardOutput;
    }
    std::optional<QByteArray> exported() {
        return answers_.exported(tool_, QStringLiteral("--out-iXML="), folder_.path(QStringLiteral("document")), file_)
            .bytes;
    }

    TestFolder folder_;
    QString tool_;
    QString file_;
    SourceAnswers answers_;
};

TEST_F(SourceAnswersTest, NobodyAsksTheSameOfAFileTwice) {
    EXPECT_EQ(printed(), "one");
    EXPECT_EQ(printed(), "one");
    EXPECT_EQ(calls(), 1);
    EXPECT_EQ(printed(QStringLiteral("-other")), "one");
    EXPECT_EQ(calls(), 2);
}

TEST_F(SourceAnswersTest, AFileThatChangedIsAskedAgain) {
    printed();
    folder_.write(QStringLiteral("a.wav"), "two"); // the same length
    age(file_, 30s);
    EXPECT_EQ(printed(), "two");
    EXPECT_EQ(calls(), 2);
}

TEST_F(SourceAnswersTest, AChangeThatHidesItsTimeIsSeen) {
    struct stat before;
    ASSERT_EQ(::stat(QFile::encodeName(file_).constData(), &before), 0);
    printed();
    folder_.write(QStringLiteral("a.wav"), "two");
    const timespec times[2] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(file_).constData(), times, 0), 0);
    EXPECT_EQ(printed(), "two");
}

TEST_F(SourceAnswersTest, AnotherFileOfTheNameIsAsked) {
    printed();
    const QString other = folder_.write(QStringLiteral("b.wav"), "two");
    age(other, 60s);
    ASSERT_EQ(::rename(QFile::encodeName(other).constData(), QFile::encodeName(file_).constData()), 0);
    EXPECT_EQ(printed(), "two");
    EXPECT_EQ(calls(), 2);
}

TEST_F(SourceAnswersTest, AFileThatWasWrittenAMomentAgoIsAskedEachTime) {
    SourceAnswers slow(std::chrono::hours(24));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(slow.printed(tool_, {QStringLiteral("-show")}, file_).standardOutput, "one");
    EXPECT_EQ(calls(), 3);
}

TEST_F(SourceAnswersTest, AFileThatComesFromTheFutureIsAskedEachTime) {
    age(file_, -24h);
    printed();
    printed();
    EXPECT_EQ(calls(), 2);
}

TEST_F(SourceAnswersTest, AFileThatChangesWhileItIsAskedIsAskedAgain) {
    SourceAnswers eager(0s);
    const auto ask = [&] { return eager.printed(tool_, {QStringLiteral("touching")}, file_); };
    ask();
    ask();
    EXPECT_EQ(calls(), 2);
}

TEST_F(SourceAnswersTest, AToolThatFailedIsAskedAgain) {
    const QString tool = folder_.writeScript(
        QStringLiteral("weak"), QStringLiteral("echo x >> '%1/calls'; echo half; exit 3").arg(folder_.path()));
    for (int i = 0; i < 2; ++i) EXPECT_EQ(answers_.printed(tool, {QStringLiteral("-show")}, file_).exitStatus, 3);
    EXPECT_EQ(calls(), 2);
    EXPECT_FALSE(answers_.exported(tool, QStringLiteral("--out="), folder_.path(QStringLiteral("d")), file_).bytes);
    EXPECT_EQ(calls(), 3);
}

TEST_F(SourceAnswersTest, TheFailureOfAChangedFileIsNoEarlierAnswer) {
    printed();
    ASSERT_TRUE(QFile::remove(file_));
    EXPECT_FALSE(answers_.printed(tool_, {QStringLiteral("-show")}, file_).succeeded());
    EXPECT_EQ(calls(), 2);
}

TEST_F(SourceAnswersTest, ADocumentIsGoneAfterItWasRead) {
    EXPECT_EQ(exported(), QByteArray("one"));
    EXPECT_FALSE(QFile::exists(folder_.path(QStringLiteral("document"))));
    EXPECT_EQ(exported(), QByteArray("one"));
    EXPECT_EQ(calls(), 1);
}

TEST_F(SourceAnswersTest, NoDocumentIsAnAnswerToo) {
    file_ = folder_.write(QStringLiteral("empty.wav"), "");
    age(file_, 60s);
    EXPECT_EQ(exported(), std::nullopt);
    EXPECT_EQ(exported(), std::nullopt);
    EXPECT_EQ(calls(), 1);
}

TEST_F(SourceAnswersTest, AnExportedIxmlIsPrintedWithALineBreak) {
    const QByteArray asked = answers_.printedIxml(tool_, file_).standardOutput;
    EXPECT_EQ(asked, "one\n");
    SourceAnswers others;
    others.exported(tool_, QStringLiteral("--out-iXML="), folder_.path(QStringLiteral("document")), file_);
    EXPECT_EQ(calls(), 2);
    EXPECT_EQ(others.printedIxml(tool_, file_).standardOutput, asked);
    EXPECT_EQ(calls(), 2);
}

} // namespace
} // namespace ostrel
