#include "platform/files/own_folder.h"

#include "platform/files/files.h"
#include "platform/files/standard_folders.h"
#include "support/test_folder.h"
#include "support/unprivileged.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::TestFolder;
using testing::Unprivileged;

const QString kName = QStringLiteral("Previews");

mode_t modeOf(const QString& path) {
    struct stat found {};
    EXPECT_EQ(::lstat(QFile::encodeName(path).constData(), &found), 0) << path.toStdString();
    return found.st_mode & 07777;
}

struct OwnFolderTest : ::testing::Test {
    TestFolder temporary;
    TestFolder caches;
    QByteArray temporaryBefore = qgetenv("TMPDIR");
    QByteArray cachesBefore = qgetenv("XDG_CACHE_HOME");
    QString usual = temporary.path() + QLatin1Char('/') + kName;
    QString other = caches.path() + QStringLiteral("/Ostrel/") + kName;

    void SetUp() override {
        qputenv("TMPDIR", temporary.path().toUtf8());
        qputenv("XDG_CACHE_HOME", caches.path().toUtf8());
    }
    void TearDown() override {
        qputenv("TMPDIR", temporaryBefore);
        cachesBefore.isNull() ? qunsetenv("XDG_CACHE_HOME") : qputenv("XDG_CACHE_HOME", cachesBefore);
    }

    void expectOtherPlace() {
        EXPECT_EQ(ownTemporaryFolder(kName), other);
        EXPECT_EQ(makeOwnTemporaryFolder(kName), other);
        EXPECT_EQ(modeOf(other), 0700U);
    }
};

TEST_F(OwnFolderTest, IsMadeUnderItsNameAndClosedToOthers) {
    EXPECT_EQ(ownTemporaryFolder(kName), usual);
    EXPECT_FALSE(QFile::exists(usual));
    const mode_t before = ::umask(0);
    EXPECT_EQ(makeOwnTemporaryFolder(kName), usual);
    ::umask(before);
    EXPECT_EQ(modeOf(usual), 0700U);
    EXPECT_EQ(makeOwnTemporaryFolder(kName), usual) << "a second time";
    EXPECT_FALSE(QFile::exists(other));
}

TEST_F(OwnFolderTest, OneOfOursThatOthersMayReadIsClosed) {
    ASSERT_EQ(::mkdir(usual.toUtf8().constData(), 0755), 0);
    EXPECT_EQ(makeOwnTemporaryFolder(kName), usual);
    EXPECT_EQ(modeOf(usual), 0700U);
}

TEST_F(OwnFolderTest, OneInWhichOthersMayHavePutFilesIsNotUsed) {
    ASSERT_EQ(::mkdir(usual.toUtf8().constData(), 0700), 0);
    ASSERT_EQ(::chmod(usual.toUtf8().constData(), 0777), 0);
    expectOtherPlace();
    EXPECT_EQ(modeOf(usual), 0777U) << "left as it was";
}

TEST_F(OwnFolderTest, ALinkIsNotFollowed) {
    const TestFolder elsewhere;
    ASSERT_EQ(::symlink(elsewhere.path().toUtf8().constData(), usual.toUtf8().constData()), 0);
    const mode_t before = modeOf(elsewhere.path());
    expectOtherPlace();
    EXPECT_EQ(modeOf(elsewhere.path()), before);
}

TEST_F(OwnFolderTest, ALinkToNowhereAndAFileAreNotUsed) {
    ASSERT_EQ(::symlink("/nowhere/at/all", usual.toUtf8().constData()), 0);
    expectOtherPlace();
    ASSERT_TRUE(QFile::remove(usual));
    temporary.write(kName, QByteArrayLiteral("x"));
    expectOtherPlace();
}

TEST_F(OwnFolderTest, AnotherUsersFolderIsNotUsed) {
    ASSERT_EQ(::mkdir(usual.toUtf8().constData(), 0700), 0);
    ASSERT_EQ(::chmod(caches.path().toUtf8().constData(), 0777), 0);
    const Unprivileged nobody(temporary.path());
    if (::getuid() != 0 || !nobody.isUnprivileged()) GTEST_SKIP() << "only root can act as two users";
    expectOtherPlace();
}

TEST_F(OwnFolderTest, SaysWhyNoneCouldBeMade) {
    qputenv("TMPDIR", temporary.write(QStringLiteral("file"), QByteArrayLiteral("x")).toUtf8());
    EXPECT_THROW(makeOwnTemporaryFolder(kName), FileError);
}

} // namespace
} // namespace ostrel
