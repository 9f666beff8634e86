#include "platform/files_fixture.h"

#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "platform/text/regular_expression.h"
#include "support/test_folder.h"
#include "support/unprivileged.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::errorOf;
using testing::fingerprint;
using testing::OtherFileSystem;
using testing::readAll;
using testing::TestFolder;

qint64 modified(const QString& path) { return QFileInfo(path).lastModified().toMSecsSinceEpoch(); }

TEST(Files, MoveKeepsContentsAndTime) {
    const TestFolder folder;
    const QString from = folder.write(QStringLiteral("-a 'b'\n🎬.wav"), "recording");
    const QString to = folder.path(QStringLiteral("sub/b.wav"));
    const qint64 time = modified(from);
    files::move(from, to);
    EXPECT_EQ(readAll(to), "recording");
    EXPECT_EQ(modified(to), time);
    EXPECT_FALSE(QFile::exists(from));
}

TEST(Files, MoveNeverReplaces) {
    const TestFolder folder;
    const QString from = folder.write(QStringLiteral("a.wav"), "one");
    const QString to = folder.write(QStringLiteral("b.wav"), "two");
    const QStringList before = fingerprint(folder.path());
    EXPECT_EQ(errorOf([&] { files::move(from, to); }),
              QStringLiteral("Could not move %1 to %2: File exists").arg(from, to));
    EXPECT_EQ(fingerprint(folder.path()), before);
}

TEST(Files, MoveDoesNotReplaceALinkThatLeadsNowhere) {
    const TestFolder folder;
    const QString from = folder.write(QStringLiteral("a.wav"), "one");
    const QString to = folder.path(QStringLiteral("link.wav"));
    ASSERT_TRUE(QFile::link(QStringLiteral("/nowhere/at all"), to));
    EXPECT_THROW(files::move(from, to), FileError);
    EXPECT_EQ(readAll(from), "one");
    EXPECT_TRUE(QFileInfo(to).isSymLink());
}

TEST(Files, MoveOfAMissingFileOrIntoAMissingFolderSaysSo) {
    const TestFolder folder;
    const QString none = folder.path(QStringLiteral("none.wav"));
    const QString to = folder.path(QStringLiteral("b.wav"));
    EXPECT_EQ(errorOf([&] { files::move(none, to); }),
              QStringLiteral("Could not move %1 to %2: No such file or directory").arg(none, to));
    const QString from = folder.write(QStringLiteral("a.wav"), "one");
    EXPECT_THROW(files::move(from, folder.path() + QStringLiteral("/no folder/b.wav")), FileError);
    EXPECT_EQ(readAll(from), "one");
}

TEST(Files, MoveAcrossFileSystemsKeepsContentsAndTime) {
    const TestFolder folder;
    const OtherFileSystem other;
    if (!other.isOther(folder)) GTEST_SKIP() << "/dev/shm is no other file system here";
    const QString from = folder.write(QStringLiteral("a.wav"), QByteArray(300'000, 'r'));
    const timespec times[2] = {{1'000'000'000, 0}, {1'234'567'890, 123'000'000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(from).constData(), times, 0), 0);
    const QString to = other.path(QStringLiteral("b.wav"));
    files::move(from, to);
    EXPECT_EQ(readAll(to), QByteArray(300'000, 'r'));
    EXPECT_EQ(modified(to), 1'234'567'890'123);
    EXPECT_FALSE(QFile::exists(from));
    EXPECT_EQ(other.entries(), QStringList{QStringLiteral("b.wav")});
}

TEST(Files, MoveAcrossFileSystemsTakesTheLongestName) {
    const TestFolder folder;
    const OtherFileSystem other;
    if (!other.isOther(folder)) GTEST_SKIP() << "/dev/shm is no other file system here";
    const QString from = folder.write(QStringLiteral("a.wav"), "recording");
    const QString name = QString(251, u'x') + QStringLiteral(".wav");
    files::move(from, other.path(name));
    EXPECT_EQ(readAll(other.path(name)), "recording");
    EXPECT_EQ(other.entries(), QStringList{name});
}

TEST(Files, MoveAcrossFileSystemsNeverReplaces) {
    const TestFolder folder;
    const OtherFileSystem other;
    if (!other.isOther(folder)) GTEST_SKIP() << "/dev/shm is no other file system here";
    const QString from = folder.write(QStringLiteral("a.wav"), "one");
    const QString to = other.path(QStringLiteral("b.wav"));
    files::writeAtomically(to, "two");
    EXPECT_EQ(errorOf([&] { files::move(from, to); }), QStringLiteral("Could not create %1: File exists").arg(to));
    EXPECT_EQ(readAll(from), "one");
    EXPECT_EQ(readAll(to), "two");
    EXPECT_EQ(other.entries(), QStringList{QStringLiteral("b.wav")});
}

TEST(Files, MoveToAFullFileSystemLeavesTheSourceAndNoRest) {
    const TestFolder folder;
    const OtherFileSystem other;
    if (!other.isOther(folder)) GTEST_SKIP() << "/dev/shm is no other file system here";
    const QString from = folder.write(QStringLiteral("a.wav"), QByteArray(200'000, 'r'));
    const QStringList before = fingerprint(folder.path());
    // A limit on the size of files stands for the full disk.
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit tight{100'000, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &tight);
    const QString error = errorOf([&] { files::move(from, other.path(QStringLiteral("b.wav"))); });
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_TRUE(error.startsWith(QStringLiteral("Could not copy %1: ").arg(from))) << error.toStdString();
    EXPECT_EQ(fingerprint(folder.path()), before);
    EXPECT_EQ(other.entries(), QStringList());
}

TEST(Files, RemoveTakesOneFileAndNamesAMissingOne) {
    const TestFolder folder;
    const QString file = folder.write(QStringLiteral("a.wav"), "one");
    const QString kept = folder.write(QStringLiteral("b.wav"), "two");
    files::remove(file);
    EXPECT_FALSE(QFile::exists(file));
    EXPECT_EQ(readAll(kept), "two");
    EXPECT_EQ(errorOf([&] { files::remove(file); }),
              QStringLiteral("Could not remove %1: No such file or directory").arg(file));
    EXPECT_THROW(files::remove(folder.path()), FileError);
    files::removeQuietly(file);
    files::removeFolderQuietly(file);
}

TEST(Files, RemovingALinkLeavesWhatItLeadsTo) {
    const TestFolder folder;
    const QString file = folder.write(QStringLiteral("real/a.wav"), "one");
    const QString link = folder.path(QStringLiteral("temporary/link.wav"));
    ASSERT_TRUE(QFile::link(file, link));
    ASSERT_TRUE(QFile::link(folder.path(QStringLiteral("real")), folder.path(QStringLiteral("temporary/folder"))));
    files::remove(link);
    files::removeFolderQuietly(folder.path(QStringLiteral("temporary")));
    EXPECT_FALSE(QFile::exists(folder.path() + QStringLiteral("/temporary")));
    EXPECT_EQ(readAll(file), "one");
}

TEST(Files, CreateFolderMakesParentsAndRefusesAFile) {
    const TestFolder folder;
    const QString deep = folder.path() + QStringLiteral("/x/y/-z 🎬");
    files::createFolder(deep);
    files::createFolder(deep);
    EXPECT_TRUE(paths::isFolder(deep));
    const QString file = folder.write(QStringLiteral("file"), "one");
    EXPECT_EQ(errorOf([&] { files::createFolder(file); }),
              QStringLiteral("Could not create folder %1: a file of that name is there").arg(file));
    EXPECT_THROW(files::createFolder(file + QStringLiteral("/below")), FileError);
    EXPECT_EQ(readAll(file), "one");
}

TEST(Files, CreateFolderWhereNothingMayBeWrittenSaysSo) {
    const TestFolder folder;
    const QString path = folder.path(QStringLiteral("locked/new"));
    ASSERT_EQ(::chmod(paths::parent(path).toUtf8().constData(), 0555), 0);
    const testing::Unprivileged nobody(folder.path());
    if (!nobody.isUnprivileged()) GTEST_SKIP() << "can't act as somebody without rights here";
    EXPECT_EQ(errorOf([&] { files::createFolder(path); }),
              QStringLiteral("Could not create folder %1: Permission denied").arg(path));
}

TEST(Files, ReadGivesBytesOrASentence) {
    const TestFolder folder;
    EXPECT_EQ(files::read(folder.write(QStringLiteral("a"), QByteArray("\0\xff\n", 3))), QByteArray("\0\xff\n", 3));
    const QString none = folder.path(QStringLiteral("none"));
    EXPECT_EQ(errorOf([&] { files::read(none); }),
              QStringLiteral("Could not read %1: No such file or directory").arg(none));
    EXPECT_THROW(files::read(folder.path()), FileError);
}

TEST(Files, WriteAtomicallyReplacesWholeOrNotAtAll) {
    const TestFolder folder;
    const QString path = folder.write(QStringLiteral("report.csv"), "old");
    files::writeAtomically(path, "new");
    EXPECT_EQ(readAll(path), "new");
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit tight{1000, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &tight);
    const QString error = errorOf([&] { files::writeAtomically(path, QByteArray(100'000, 'x')); });
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_TRUE(error.startsWith(QStringLiteral("Could not write %1: ").arg(path))) << error.toStdString();
    EXPECT_EQ(readAll(path), "new");
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    EXPECT_THROW(files::writeAtomically(folder.path() + QStringLiteral("/none/x"), "x"), FileError);
}

TEST(Files, TemporaryPathsAreFreshUuids) {
    const QString path = files::temporaryPath(QStringLiteral("xml"));
    EXPECT_EQ(paths::parent(path), temporaryFolder());
    EXPECT_TRUE(RegularExpression(QStringLiteral("^[0-9A-F-]{36}\\.xml$")).matches(paths::lastComponent(path)));
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_NE(files::temporaryPath(QStringLiteral("xml")), path);
}

} // namespace
} // namespace ostrel
