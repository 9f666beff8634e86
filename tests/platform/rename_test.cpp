// New names that replace nothing, on file systems that can and that can't, and moves from one file system to another.
#include "platform/files_fixture.h"

#include "platform/paths.h"
#include "support/system_calls.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

// As a file system answers that knows no RENAME_NOREPLACE, and perhaps no hard links either.
class PoorFileSystem : public ::testing::TestWithParam<bool> {
protected:
    PoorFileSystem() {
        if (GetParam()) noLinks_ = std::make_unique<OnSystemCall>(SystemCall::link, EPERM);
    }
    const OnSystemCall noFlag_{SystemCall::renameat2, EINVAL};
    std::unique_ptr<OnSystemCall> noLinks_;
    TestFolder folder;
};

TEST_P(PoorFileSystem, AFileGetsItsName) {
    const QString from = folder.write(QStringLiteral(".new.wav"), "recording");
    const QString to = folder.path(QStringLiteral("a.wav"));
    files::renameWithoutReplacing(from, to);
    EXPECT_EQ(readAll(to), "recording");
    EXPECT_FALSE(QFile::exists(from));
    EXPECT_GT(noFlag_.count(), 0);
}

TEST_P(PoorFileSystem, ANameThatIsTakenStaysAndSoDoesTheFile) {
    const QString from = folder.write(QStringLiteral(".new.wav"), "new");
    const QString to = folder.write(QStringLiteral("a.wav"), "old");
    const QStringList before = fingerprint(folder.path());
    EXPECT_THROW(files::renameWithoutReplacing(from, to), NameTakenError);
    EXPECT_EQ(errorOf([&] { files::move(from, to); }),
              QStringLiteral("Could not move %1 to %2: File exists").arg(from, to));
    EXPECT_EQ(fingerprint(folder.path()), before);
}

TEST_P(PoorFileSystem, AFailedRenameLeavesNoPlaceholder) {
    const QString from = folder.write(QStringLiteral(".new.wav"), "new");
    const QString to = folder.path(QStringLiteral("a.wav"));
    const QStringList before = fingerprint(folder.path());
    const OnSystemCall broken(SystemCall::rename, EIO);
    const OnSystemCall noUnlink(SystemCall::unlink, [&](const QByteArray& path, const QByteArray&) {
        return path == QFile::encodeName(from) ? EIO : 0;
    });
    EXPECT_EQ(errorOf([&] { files::renameWithoutReplacing(from, to); }),
              QStringLiteral("Could not create %1: Input/output error").arg(to));
    EXPECT_EQ(fingerprint(folder.path()), before);
}

TEST_P(PoorFileSystem, AMissingFileLeavesNoPlaceholder) {
    const QString to = folder.path(QStringLiteral("a.wav"));
    EXPECT_THROW(files::renameWithoutReplacing(folder.path(QStringLiteral("none.wav")), to), FileError);
    EXPECT_FALSE(QFile::exists(to));
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutLinks, PoorFileSystem, ::testing::Bool());

TEST(Rename, AnErrorThatSaysMoreIsNoReasonToTryOtherWays) {
    const TestFolder folder;
    const QString from = folder.write(QStringLiteral("a.wav"), "one");
    const OnSystemCall full(SystemCall::renameat2, ENOSPC);
    const OnSystemCall links(SystemCall::link, 0);
    EXPECT_THROW(files::renameWithoutReplacing(from, folder.path(QStringLiteral("b.wav"))), FileError);
    EXPECT_EQ(links.count(), 0);
    EXPECT_EQ(readAll(from), "one");
}

TEST(Rename, OverAnOldFile) {
    const TestFolder folder;
    const QString from = folder.write(QStringLiteral("a.wav"), "new");
    const QString to = folder.write(QStringLiteral("b.wav"), "old");
    files::renameOver(from, to);
    EXPECT_EQ(readAll(to), "new");
    EXPECT_FALSE(QFile::exists(from));
    EXPECT_EQ(errorOf([&] { files::renameOver(from, to); }),
              QStringLiteral("Could not replace %1: No such file or directory").arg(to));
}

TEST(Files, FlushTellsWhatTheDiskDidNotTake) {
    const TestFolder folder;
    const QString file = folder.write(QStringLiteral("a.wav"), "one");
    files::flush(file);
    files::flush(folder.path());
    const OnSystemCall broken(SystemCall::fsync, EIO);
    EXPECT_EQ(errorOf([&] { files::flush(file); }), QStringLiteral("Could not write %1: Input/output error").arg(file));
    EXPECT_THROW(files::flush(folder.path()), FileError);
    EXPECT_THROW(files::flush(folder.path(QStringLiteral("none.wav"))), FileError);
}

TEST(Files, SameBytesLooksToTheEnd) {
    const TestFolder folder;
    QByteArray bytes(3'000'000, 'r');
    const QString a = folder.write(QStringLiteral("a"), bytes);
    EXPECT_TRUE(files::sameBytes(a, folder.write(QStringLiteral("b"), bytes)));
    bytes.back() = 's';
    EXPECT_FALSE(files::sameBytes(a, folder.write(QStringLiteral("c"), bytes)));
    EXPECT_FALSE(files::sameBytes(a, folder.write(QStringLiteral("d"), bytes.first(2'999'999))));
    EXPECT_THROW(files::sameBytes(a, folder.path(QStringLiteral("none"))), FileError);
    EXPECT_THROW(files::sameBytes(folder.path(), a), FileError);
}

// Moves of one file to another file system.
class MoveAcross : public ::testing::Test {
protected:
    void SetUp() override {
        if (!other.isOther(folder)) GTEST_SKIP() << "/dev/shm is no other file system here";
        from = folder.write(QStringLiteral("a.wav"), QByteArray(200'000, 'r'));
        to = other.path(QStringLiteral("b.wav"));
    }
    static OnSystemCall::Answer when(const QString& path, const std::function<void()>& action) {
        return [=](const QByteArray& first, const QByteArray& second) {
            if (first == QFile::encodeName(path) || second == QFile::encodeName(path)) action();
            return 0;
        };
    }
    void append(const QString& path) const {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::Append));
        file.write("more");
    }

    TestFolder folder;
    OtherFileSystem other;
    QString from;
    QString to;
};

TEST_F(MoveAcross, TheCopyIsOnTheDiskAheadOfTheOriginalsEnd) {
    QStringList steps;
    const OnSystemCall onFlush(SystemCall::fsync, [&](const QByteArray& path, const QByteArray&) {
        steps << QStringLiteral("flush ") +
                     (path.contains("/.ostrel-") ? QStringLiteral("copy") : QStringLiteral("folder"));
        return 0;
    });
    const OnSystemCall onRename(SystemCall::renameat2, [&](const QByteArray&, const QByteArray& name) {
        steps << QStringLiteral("name ") + paths::lastComponent(QFile::decodeName(name));
        return 0;
    });
    const OnSystemCall onUnlink(SystemCall::unlink, [&](const QByteArray& path, const QByteArray&) {
        steps << QStringLiteral("remove ") + paths::lastComponent(QFile::decodeName(path));
        return 0;
    });
    files::move(from, to);
    steps.removeDuplicates();
    EXPECT_EQ(steps, QStringLiteral("name b.wav|flush copy|flush folder|remove a.wav").split(u'|'))
        << steps.join(u'|').toStdString(); // the first is the attempt on one file system
}

TEST_F(MoveAcross, ACopyThatDiffersIsNoCopy) {
    const OnSystemCall spoil(SystemCall::fsync, [&](const QByteArray& path, const QByteArray&) {
        QFile copy(QFile::decodeName(path));
        if (copy.open(QIODevice::ReadWrite)) {
            copy.seek(199'999);
            copy.write("x");
        }
        return 0;
    });
    EXPECT_EQ(errorOf([&] { files::move(from, to); }), QStringLiteral("Could not copy %1: the copy differs").arg(from));
    EXPECT_EQ(readAll(from), QByteArray(200'000, 'r'));
    EXPECT_EQ(other.entries(), QStringList());
}

TEST_F(MoveAcross, AnOriginalThatChangedMeanwhileStays) {
    int names = 0;
    const OnSystemCall change(SystemCall::renameat2, when(to, [&] {
                                  if (++names == 2) append(from); // as the copy gets its name
                              }));
    EXPECT_EQ(errorOf([&] { files::move(from, to); }),
              QStringLiteral("Could not move %1: it was changed meanwhile").arg(from));
    EXPECT_EQ(readAll(from), QByteArray(200'000, 'r') + "more");
    EXPECT_EQ(other.entries(), QStringList());
}

TEST_F(MoveAcross, AnOriginalThatCannotGoStaysAlone) {
    const OnSystemCall kept(SystemCall::unlink, [&](const QByteArray& path, const QByteArray&) {
        return path == QFile::encodeName(from) ? EPERM : 0;
    });
    EXPECT_EQ(errorOf([&] { files::move(from, to); }),
              QStringLiteral("Could not remove %1: Operation not permitted").arg(from));
    EXPECT_TRUE(QFile::exists(from));
    EXPECT_EQ(other.entries(), QStringList());
}

TEST_F(MoveAcross, TheCopyOfAnOriginalThatSomebodyTookAwayStays) {
    const OnSystemCall taken(SystemCall::unlink, when(from, [&] { QFile::remove(from); }));
    files::move(from, to);
    EXPECT_EQ(readAll(to), QByteArray(200'000, 'r'));
}

TEST_F(MoveAcross, ADiskThatDoesNotTakeTheCopyKeepsTheOriginal) {
    const OnSystemCall broken(SystemCall::fsync, EIO);
    EXPECT_THROW(files::move(from, to), FileError);
    EXPECT_TRUE(QFile::exists(from));
    EXPECT_EQ(other.entries(), QStringList());
}

TEST_F(MoveAcross, AFolderThatDoesNotTakeTheNameKeepsTheOriginal) {
    const OnSystemCall broken(SystemCall::fsync, [](const QByteArray& path, const QByteArray&) {
        return path.contains("/.ostrel-") ? 0 : EIO;
    });
    EXPECT_THROW(files::move(from, to), FileError);
    EXPECT_TRUE(QFile::exists(from));
    EXPECT_EQ(other.entries(), QStringList());
}

} // namespace
} // namespace ostrel
