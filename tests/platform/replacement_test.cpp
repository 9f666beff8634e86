#include "platform/files/replacement.h"

#include "platform/files_fixture.h"
#include "support/system_calls.h"
#include "support/unprivileged.h"

#include <QtEndian>
#include <cerrno>
#include <gtest/gtest.h>
#include <sys/xattr.h>

namespace ostrel {
namespace {

using namespace testing;

// One row of an access list as Linux keeps it: tag, rights, id. And its head, the version.
QByteArray access(std::initializer_list<std::tuple<int, int, quint32>> rows) {
    QByteArray bytes(4, '\0');
    qToLittleEndian<quint32>(2, bytes.data());
    for (const auto& [tag, rights, id] : rows) {
        QByteArray row(8, '\0');
        qToLittleEndian<quint16>(static_cast<quint16>(tag), row.data());
        qToLittleEndian<quint16>(static_cast<quint16>(rights), row.data() + 2);
        qToLittleEndian<quint32>(id, row.data() + 4);
        bytes += row;
    }
    return bytes;
}

constexpr quint32 kNobody = 65534;
constexpr quint32 kNone = 0xFFFFFFFF;

// The owner writes, a person of number 65534 reads, others nothing.
QByteArray listWithGuest() {
    return access({{0x01, 6, kNone}, {0x02, 4, kNobody}, {0x04, 0, kNone}, {0x10, 4, kNone}, {0x20, 0, kNone}});
}

constexpr const char* kAccess = "system.posix_acl_access";
constexpr const char* kInherited = "system.posix_acl_default";

class ReplacementTest : public ::testing::Test {
protected:
    ReplacementTest() : recording(folder.write(QStringLiteral("a.wav"), "the old contents")), before(stamp()) {
        ::chmod(encoded(), 0640);
        file = std::make_unique<NewFile>(recording);
        QFile made(file->path());
        EXPECT_TRUE(made.open(QIODevice::WriteOnly));
        made.write("new");
    }
    const char* encoded() const { return pathBytes.constData(); }
    FileStamp stamp() const { return FileStamp::of(recording).value(); }
    void replace() { replaceRecording(*file, before); }
    void append(const QByteArray& more) const {
        QFile changed(recording);
        ASSERT_TRUE(changed.open(QIODevice::Append));
        changed.write(more);
    }
    struct stat status() const {
        struct stat found;
        EXPECT_EQ(::stat(encoded(), &found), 0);
        return found;
    }
    QByteArray attribute(const char* name) const {
        QByteArray value(1000, '\0');
        const ssize_t size = ::getxattr(encoded(), name, value.data(), 1000);
        return size < 0 ? QByteArray() : value.first(size);
    }
    // The recording alone, with these contents.
    void expectOnly(const QByteArray& contents) {
        file.reset();
        EXPECT_EQ(readAll(recording), contents);
        EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("a.wav")});
    }
    QString refusal(const QString& why) const { return QStringLiteral("Could not replace %1: %2").arg(recording, why); }

    TestFolder folder;
    QString recording;
    QByteArray pathBytes = QFile::encodeName(recording);
    FileStamp before;
    std::unique_ptr<NewFile> file;
};

TEST_F(ReplacementTest, TakesTheNameInOneStepFromTheOldWholeFile) {
    int steps = 0;
    const OnSystemCall onStep(SystemCall::renameat2, [&](const QByteArray&, const QByteArray&) {
        ++steps;
        EXPECT_EQ(readAll(recording), "the old contents");
        EXPECT_EQ(readAll(file->path()), "new");
        return 0;
    });
    replace();
    EXPECT_EQ(steps, 1);
    expectOnly("new");
}

TEST_F(ReplacementTest, WithoutAnExchangeOfNamesItGoesOverTheOldOne) {
    const OnSystemCall unknown(SystemCall::renameat2, EINVAL);
    replace();
    expectOnly("new");
}

TEST_F(ReplacementTest, ModeAndAttributesGoOver) {
    ::chmod(encoded(), 0604);
    if (::setxattr(encoded(), "user.note", "rain\0roof", 9, 0) != 0) GTEST_SKIP() << "no extended attributes here";
    replace();
    EXPECT_EQ(status().st_mode & 07777, 0604u);
    EXPECT_EQ(attribute("user.note"), QByteArray("rain\0roof", 9));
    expectOnly("new");
}

TEST_F(ReplacementTest, TheAccessListGoesOver) {
    const QByteArray list = listWithGuest();
    if (::setxattr(encoded(), kAccess, list.constData(), static_cast<std::size_t>(list.size()), 0) != 0) {
        GTEST_SKIP() << "no access lists here";
    }
    replace();
    EXPECT_EQ(attribute(kAccess), list);
    expectOnly("new");
}

TEST_F(ReplacementTest, TheFoldersListForNewFilesOpensNothing) {
    const QByteArray list = listWithGuest();
    const QByteArray place = QFile::encodeName(folder.path());
    if (::setxattr(place.constData(), kInherited, list.constData(), static_cast<std::size_t>(list.size()), 0) != 0) {
        GTEST_SKIP() << "no access lists here";
    }
    QFile::remove(file->path());
    file = std::make_unique<NewFile>(recording);
    QFile made(file->path());
    ASSERT_TRUE(made.open(QIODevice::WriteOnly));
    made.write("new");
    made.close();
    ASSERT_GT(::getxattr(QFile::encodeName(file->path()).constData(), kAccess, nullptr, 0),
              0); // it came with the folder
    replace();
    EXPECT_EQ(attribute(kAccess), QByteArray());
    EXPECT_EQ(status().st_mode & 07777, 0640u);
}

TEST_F(ReplacementTest, TheOwnerGoesOver) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
    ASSERT_EQ(::chown(encoded(), 1234, 2345), 0);
    ::chmod(encoded(), 06750); // a change of owner takes the upper bits
    replace();
    EXPECT_EQ(status().st_uid, 1234u);
    EXPECT_EQ(status().st_gid, 2345u);
    EXPECT_EQ(status().st_mode & 07777, 06750u);
    expectOnly("new");
}

TEST_F(ReplacementTest, AFileOfAnotherPersonStaysTheirs) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
    ::chmod(encoded(), 0666);
    ASSERT_EQ(::chmod(QFile::encodeName(folder.path()).constData(), 0777), 0);
    ASSERT_EQ(::chown(QFile::encodeName(file->path()).constData(), kNobody, kNobody), 0);
    {
        const Unprivileged nobody(folder.path());
        ASSERT_EQ(::chmod(QFile::encodeName(file->path()).constData(), 0600), 0);
        const QString error = errorOf([&] { replace(); });
        EXPECT_TRUE(error.startsWith(refusal(QStringLiteral("its owner or group can't be kept"))))
            << error.toStdString();
    }
    expectOnly("the old contents");
}

TEST_F(ReplacementTest, WhoMayNotWriteItMayNotReplaceIt) {
    ::chmod(encoded(), 0444);
    const Unprivileged nobody(folder.path());
    if (!nobody.isUnprivileged()) GTEST_SKIP() << "nobody can't be acted as here";
    EXPECT_EQ(errorOf([&] { requireReplaceable(recording); }), refusal(QStringLiteral("Permission denied")));
    EXPECT_EQ(errorOf([&] { replace(); }), refusal(QStringLiteral("Permission denied")));
    EXPECT_EQ(readAll(recording), "the old contents");
}

TEST_F(ReplacementTest, ASecondHardLinkWouldKeepTheOldContents) {
    const QString second = folder.path(QStringLiteral("elsewhere/b.wav"));
    ASSERT_EQ(::link(encoded(), QFile::encodeName(second).constData()), 0);
    const QString why = refusal(QStringLiteral("it has 2 hard links, and the others would keep the old contents"));
    EXPECT_EQ(errorOf([&] { requireReplaceable(recording); }), why);
    EXPECT_EQ(errorOf([&] { replace(); }), why);
    QFile::remove(second);
    expectOnly("the old contents");
}

TEST_F(ReplacementTest, AMissingRecordingIsNotReplaced) {
    QFile::remove(recording);
    EXPECT_EQ(errorOf([&] { replace(); }), refusal(QStringLiteral("it is not there")));
    EXPECT_FALSE(QFile::exists(recording));
}

TEST_F(ReplacementTest, AChangedRecordingStays) {
    append(" and more");
    EXPECT_EQ(errorOf([&] { replace(); }), refusal(QStringLiteral("it was changed meanwhile")));
    expectOnly("the old contents and more");
}

TEST_F(ReplacementTest, AnotherFileUnderItsNameStays) {
    QFile::rename(recording, folder.path(QStringLiteral("sub/moved.wav")));
    folder.write(QStringLiteral("a.wav"), "the old contents"); // the same in all but its identity
    EXPECT_EQ(errorOf([&] { replace(); }), refusal(QStringLiteral("it was changed meanwhile")));
    expectOnly("the old contents");
}

TEST_F(ReplacementTest, ARecordingThatChangesAtTheStepComesBack) {
    int steps = 0;
    const OnSystemCall change(SystemCall::renameat2, [&](const QByteArray&, const QByteArray&) {
        if (++steps == 1) append(" and more");
        return 0;
    });
    EXPECT_EQ(errorOf([&] { replace(); }), refusal(QStringLiteral("it was changed meanwhile")));
    expectOnly("the old contents and more");
}

TEST_F(ReplacementTest, WhatCannotComeBackIsToldOfWithItsPlace) {
    int steps = 0;
    const OnSystemCall change(SystemCall::renameat2, [&](const QByteArray&, const QByteArray&) {
        if (++steps == 1) append(" and more");
        return steps == 2 ? EIO : 0;
    });
    const QString place = file->path();
    EXPECT_TRUE(errorOf([&] { replace(); }).endsWith(QStringLiteral("What stood there is at ") + place));
    file.reset();
    EXPECT_EQ(readAll(place), "the old contents and more");
    EXPECT_EQ(readAll(recording), "new");
}

TEST_F(ReplacementTest, ADiskThatDoesNotTakeTheNewFileKeepsTheOld) {
    const OnSystemCall broken(SystemCall::fsync, EIO);
    EXPECT_THROW(replace(), FileError);
    expectOnly("the old contents");
}

TEST_F(ReplacementTest, AFolderThatDoesNotTakeTheStepKeepsTheOld) {
    const OnSystemCall broken(SystemCall::fsync, [&](const QByteArray& path, const QByteArray&) {
        return path == QFile::encodeName(folder.path()) ? EIO : 0;
    });
    EXPECT_TRUE(errorOf([&] { replace(); }).contains(QStringLiteral("Input/output error")));
    expectOnly("the old contents");
}

TEST_F(ReplacementTest, AFailedStepLeavesOnlyTheOld) {
    for (const int error : {EIO, EINVAL}) { // the second: the step is unknown, and then the other way fails
        const OnSystemCall noExchange(SystemCall::renameat2, error);
        const OnSystemCall noRename(SystemCall::rename, EIO);
        EXPECT_THROW(replace(), FileError);
        EXPECT_EQ(readAll(recording), "the old contents");
        QFile made(file->path());
        EXPECT_FALSE(made.exists());
        ASSERT_TRUE(made.open(QIODevice::WriteOnly));
        made.write("new");
    }
    file.reset();
}

} // namespace
} // namespace ostrel
