#include "platform/files/files.h"

#include "support/test_folder.h"
#include "support/unprivileged.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::TestFolder;

const QStringList kWav{QStringLiteral("wav")};

// What a listing found, below the folder.
QStringList names(const TestFolder& folder, const files::Listing& listing) {
    QStringList result;
    for (const QString& file : listing.files) result << file.mid(folder.path().size() + 1);
    return result;
}

QStringList names(const TestFolder& folder, bool recursive, const QStringList& extensions = kWav) {
    return names(folder, files::list(folder.path(), recursive, extensions).value());
}

void writeBytesName(const QByteArray& path) {
    const int descriptor = ::open(path.constData(), O_CREAT | O_WRONLY, 0600);
    ASSERT_GE(descriptor, 0);
    ::close(descriptor);
}

TEST(FilesList, TakesFilesByExtensionInAnyCase) {
    const TestFolder folder;
    for (const char* name : {"a.wav", "b.WAV", "c.Wav", "d.aif", "wav", ".wav", "e.wav.bak", "-f 'g' \"h\"\n🎬%1.wav"})
        folder.write(QString::fromUtf8(name), "x");
    EXPECT_EQ(names(folder, false), QStringList({QStringLiteral("-f 'g' \"h\"\n🎬%1.wav"), QStringLiteral("a.wav"),
                                                 QStringLiteral("b.WAV"), QStringLiteral("c.Wav")}));
    EXPECT_EQ(names(folder, false, {}).size(), 7); // all but the hidden one
}

TEST(FilesList, NaturalOrderOverThePaths) {
    const TestFolder folder;
    for (const char* name : {"T10/b.wav", "T2/a.wav", "T2.wav", "T1.wav", "T10.wav", "T2/A10.wav", "T2/a9.wav"})
        folder.write(QString::fromUtf8(name), "x");
    EXPECT_EQ(names(folder, true),
              QStringList({QStringLiteral("T1.wav"), QStringLiteral("T2.wav"), QStringLiteral("T2/a.wav"),
                           QStringLiteral("T2/a9.wav"), QStringLiteral("T2/A10.wav"), QStringLiteral("T10.wav"),
                           QStringLiteral("T10/b.wav")}));
}

TEST(FilesList, SubfoldersOnlyWhereAskedFor) {
    const TestFolder folder;
    folder.write(QStringLiteral("a.wav"), "x");
    folder.write(QStringLiteral("sub/deep/b.wav"), "x");
    EXPECT_EQ(names(folder, false), QStringList{QStringLiteral("a.wav")});
    EXPECT_EQ(names(folder, true), QStringList({QStringLiteral("a.wav"), QStringLiteral("sub/deep/b.wav")}));
}

TEST(FilesList, HiddenEntriesLinksAndWhatIsNoFileStayOut) {
    const TestFolder folder;
    const QString real = folder.write(QStringLiteral("real.wav"), "x");
    folder.write(QStringLiteral(".hidden.wav"), "x");
    folder.write(QStringLiteral(".hidden/b.wav"), "x");
    folder.write(QStringLiteral("x.wav/inside.wav"), "x"); // a folder with a file's name
    ASSERT_TRUE(QFile::link(real, folder.path(QStringLiteral("link.wav"))));
    ASSERT_TRUE(QFile::link(QStringLiteral("/nowhere"), folder.path(QStringLiteral("dangling.wav"))));
    ASSERT_TRUE(QFile::link(folder.path(), folder.path(QStringLiteral("loop"))));
    ASSERT_EQ(::mkfifo(folder.path(QStringLiteral("pipe.wav")).toUtf8().constData(), 0600), 0);
    EXPECT_EQ(names(folder, true), QStringList({QStringLiteral("real.wav"), QStringLiteral("x.wav/inside.wav")}));
    EXPECT_EQ(names(folder, false), QStringList{QStringLiteral("real.wav")});
}

TEST(FilesList, AFolderGivenAsALinkIsRead) {
    const TestFolder folder;
    folder.write(QStringLiteral("real/a.wav"), "x");
    const QString link = folder.path(QStringLiteral("link"));
    ASSERT_TRUE(QFile::link(folder.path(QStringLiteral("real")), link));
    EXPECT_EQ(files::list(link, true, kWav)->files, QStringList{link + QStringLiteral("/a.wav")});
    EXPECT_EQ(files::list(folder.path(QStringLiteral("real/")), true, kWav)->files,
              QStringList{folder.path(QStringLiteral("real/a.wav"))}); // one slash, however many were given
}

TEST(FilesList, ANameThatIsNotUtf8GivesASentence) {
    const TestFolder folder;
    const QByteArray root = folder.path().toUtf8();
    folder.write(QStringLiteral("good.wav"), "x");
    writeBytesName(root + "/caf\xe9.WAV");
    writeBytesName(root + "/caf\xe9.txt"); // none of the files asked for
    ASSERT_EQ(::mkdir((root + "/d\xe9p\xf4t").constData(), 0700), 0);
    writeBytesName(root + "/d\xe9p\xf4t/a.wav");
    const files::Listing listing = files::list(folder.path(), true, kWav).value();
    // Qt can't remove what it has no name for.
    for (const char* name : {"/caf\xe9.WAV", "/caf\xe9.txt", "/d\xe9p\xf4t/a.wav"}) ::unlink((root + name).constData());
    ::rmdir((root + "/d\xe9p\xf4t").constData());
    EXPECT_EQ(names(folder, listing), QStringList{QStringLiteral("good.wav")});
    EXPECT_THAT(listing.unreadable,
                ::testing::UnorderedElementsAre(
                    QStringLiteral("The name is not valid UTF-8, please rename it: %1/caf%E9.WAV").arg(folder.path()),
                    QStringLiteral("The name is not valid UTF-8, please rename it: %1/d%E9p%F4t").arg(folder.path())));
}

TEST(FilesList, AnUnreadableSubfolderGivesASentenceAndTheRestIsListed) {
    const TestFolder folder;
    folder.write(QStringLiteral("good/a.wav"), "x");
    folder.write(QStringLiteral("locked/b.wav"), "x");
    QFile::setPermissions(folder.path(QStringLiteral("good")), QFile::Permissions(0x7755));
    const QString locked = folder.path(QStringLiteral("locked"));
    ASSERT_EQ(::chmod(locked.toUtf8().constData(), 0), 0);
    std::optional<files::Listing> above;
    std::optional<files::Listing> itself;
    bool isUnprivileged = false;
    {
        const testing::Unprivileged nobody(folder.path());
        isUnprivileged = nobody.isUnprivileged();
        above = files::list(folder.path(), true, kWav);
        itself = files::list(locked, true, kWav);
    }
    ASSERT_EQ(::chmod(locked.toUtf8().constData(), 0700), 0);
    if (!isUnprivileged) GTEST_SKIP() << "can't act as somebody without rights here";
    ASSERT_TRUE(above);
    EXPECT_EQ(names(folder, *above), QStringList{QStringLiteral("good/a.wav")});
    EXPECT_EQ(above->unreadable,
              QStringList{QStringLiteral("Folder can't be read: %1 (Permission denied)").arg(locked)});
    EXPECT_FALSE(itself);
}

TEST(FilesList, AFolderThatIsNotThereOrIsAFileGivesNothing) {
    const TestFolder folder;
    EXPECT_FALSE(files::list(folder.path() + QStringLiteral("/none"), true, kWav));
    EXPECT_FALSE(files::list(folder.write(QStringLiteral("a.wav"), "x"), true, kWav));
    EXPECT_FALSE(files::list(QString(), true, kWav));
    QDir().mkpath(folder.path(QStringLiteral("empty")));
    EXPECT_TRUE(files::list(folder.path(QStringLiteral("empty")), true, kWav));
}

TEST(FilesList, TwentyThousandFilesInOrder) {
    // In memory, where there is such a place: a disk takes seconds to make them.
    const QString memory = QStringLiteral("/dev/shm");
    const QTemporaryDir folder((QFileInfo(memory).isWritable() ? memory : QDir::tempPath()) +
                               QStringLiteral("/ostrel-test-XXXXXX"));
    constexpr int folders = 20;
    constexpr int perFolder = 1000;
    for (int i = 0; i < folders; ++i) {
        const QByteArray sub = folder.filePath(QStringLiteral("reel%1/")).arg(i).toUtf8();
        ASSERT_EQ(::mkdir(sub.constData(), 0700), 0);
        for (int k = 0; k < perFolder; ++k) writeBytesName(sub + "T" + QByteArray::number(k) + ".wav");
    }
    const files::Listing listing = files::list(folder.path(), true, kWav).value();
    ASSERT_EQ(listing.files.size(), folders * perFolder);
    EXPECT_TRUE(listing.files.first().endsWith(QStringLiteral("/reel0/T0.wav")));
    EXPECT_TRUE(listing.files[10'999].endsWith(QStringLiteral("/reel10/T999.wav")));
    EXPECT_TRUE(listing.files.last().endsWith(QStringLiteral("/reel19/T999.wav")));
}

} // namespace
} // namespace ostrel
