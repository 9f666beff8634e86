#include "platform/files/new_file.h"

#include "platform/files_fixture.h"
#include "platform/paths.h"
#include "support/system_calls.h"

#include <QProcess>
#include <cerrno>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;
using Over = NewFile::Over;

class NewFileTest : public ::testing::Test {
protected:
    void write(const QString& path, const QByteArray& contents) const {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents);
    }
    QStringList entries() const {
        return QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    TestFolder folder;
    QString final = folder.path(QStringLiteral("Take 1.WAV"));
};

TEST_F(NewFileTest, StandsUnderAPrivateNameUntilItIsPublished) {
    NewFile file(final);
    EXPECT_EQ(entries(), QStringList());
    EXPECT_EQ(file.finalPath(), final);
    EXPECT_EQ(paths::parent(file.path()), folder.path());
    EXPECT_TRUE(isPrivateName(paths::lastComponent(file.path())));
    EXPECT_EQ(paths::extension(file.path()), QStringLiteral("WAV"));
    write(file.path(), "audio");
    EXPECT_FALSE(QFile::exists(final) || file.isPublished());
    file.publish(Over::nothing);
    EXPECT_TRUE(file.isPublished());
    EXPECT_EQ(readAll(final), "audio");
    EXPECT_EQ(entries(), QStringList{QStringLiteral("Take 1.WAV")});
}

TEST_F(NewFileTest, AnUnfinishedFileGoesAndAPublishedOneStays) {
    {
        const NewFile file(final);
        write(file.path(), "half");
        const NewFile never(folder.path(QStringLiteral("other.wav"))); // nobody wrote it
    }
    EXPECT_EQ(entries(), QStringList());
    {
        NewFile file(final);
        write(file.path(), "whole");
        file.publish(Over::nothing);
    }
    EXPECT_EQ(readAll(final), "whole");
}

TEST_F(NewFileTest, ANameThatIsTakenMeanwhileIsAnErrorAndBothStay) {
    {
        NewFile file(final);
        write(file.path(), "ours");
        write(final, "another's");
        EXPECT_THROW(file.publish(Over::nothing), NameTakenError);
        EXPECT_FALSE(file.isPublished());
        EXPECT_EQ(readAll(final), "another's");
        EXPECT_EQ(readAll(file.path()), "ours");
        file.withdraw(); // there is nothing of ours to take back
    }
    EXPECT_EQ(readAll(final), "another's");
    EXPECT_EQ(entries().size(), 1);
}

TEST_F(NewFileTest, TakesTheOldFilesPlaceWhereItMay) {
    write(final, "old");
    NewFile file(final);
    write(file.path(), "new");
    file.publish(Over::oldFile);
    EXPECT_EQ(readAll(final), "new");
    EXPECT_EQ(entries().size(), 1);
    file.withdraw(); // nothing would come back
    EXPECT_EQ(readAll(final), "new");
    EXPECT_TRUE(file.isPublished());
}

TEST_F(NewFileTest, WithdrawTakesOnlyWhatItPublished) {
    {
        NewFile file(final);
        write(file.path(), "ours");
        file.publish(Over::oldFile); // over nothing after all
        file.withdraw();
        EXPECT_FALSE(file.isPublished());
        EXPECT_EQ(entries(), QStringList());
    }
    NewFile file(final);
    write(file.path(), "ours");
    file.publish(Over::nothing);
    QFile::remove(final);
    write(final, "another's");
    file.withdraw();
    EXPECT_EQ(readAll(final), "another's");
}

TEST_F(NewFileTest, AReleasedFileIsNoLongerItsToRemove) {
    QString path;
    {
        NewFile file(final);
        write(file.path(), "kept");
        file.release();
        path = file.path();
    }
    EXPECT_EQ(readAll(path), "kept");
}

TEST_F(NewFileTest, ADurableFileIsOnTheDiskAheadOfItsNameAndItsNameAfter) {
    QStringList steps;
    const OnSystemCall onFlush(SystemCall::fsync, [&](const QByteArray& path, const QByteArray&) {
        steps << QStringLiteral("flush ") +
                     (path == QFile::encodeName(folder.path()) ? QStringLiteral("folder") : QStringLiteral("file"));
        return 0;
    });
    const OnSystemCall onRename(SystemCall::renameat2, [&](const QByteArray&, const QByteArray&) {
        steps << QStringLiteral("name");
        return 0;
    });
    NewFile file(final);
    write(file.path(), "audio");
    file.publish(Over::nothing, true);
    EXPECT_EQ(steps.join(u'|'), QStringLiteral("flush file|name|flush folder"));
}

TEST_F(NewFileTest, WhatTheDiskDoesNotTakeIsNeverPublished) {
    {
        NewFile file(final);
        write(file.path(), "audio");
        const OnSystemCall broken(SystemCall::fsync, EIO);
        EXPECT_THROW(file.publish(Over::nothing, true), FileError);
        EXPECT_FALSE(file.isPublished());
    }
    EXPECT_EQ(entries(), QStringList());
}

TEST_F(NewFileTest, ANameThatTheDiskDoesNotTakeIsTakenBack) {
    const OnSystemCall broken(SystemCall::fsync, [&](const QByteArray& path, const QByteArray&) {
        return path == QFile::encodeName(folder.path()) ? EIO : 0;
    });
    {
        NewFile file(final);
        write(file.path(), "audio");
        EXPECT_THROW(file.publish(Over::nothing, true), FileError);
        EXPECT_FALSE(file.isPublished());
    }
    EXPECT_EQ(entries(), QStringList());
}

TEST_F(NewFileTest, ASignalsEndTakesUnfinishedFilesAlone) {
    NewFile done(final);
    write(done.path(), "whole");
    done.publish(Over::nothing);
    const NewFile running(folder.path(QStringLiteral("b.wav")));
    write(running.path(), "half");
    inFlight::endAtOnce();
    EXPECT_EQ(entries(), QStringList{QStringLiteral("Take 1.WAV")});
}

// Whether the lock is free for somebody else.
bool isFreeForOthers(const QString& folder) {
    return QProcess::execute(QStringLiteral("flock"),
                             {QStringLiteral("-n"), QStringLiteral("-x"), folder, QStringLiteral("true")}) == 0;
}

TEST_F(NewFileTest, ItsFolderIsHeldForAsLongAsItIsWritten) {
    EXPECT_FALSE(isHeld(folder.path()));
    EXPECT_TRUE(isFreeForOthers(folder.path()));
    {
        NewFile first(final);
        const NewFile second(folder.path(QStringLiteral("b.wav")));
        EXPECT_TRUE(isHeld(folder.path()));
        EXPECT_FALSE(isFreeForOthers(folder.path()));
        write(first.path(), "audio");
        first.publish(Over::nothing);
        EXPECT_TRUE(isHeld(folder.path())); // by the second
    }
    EXPECT_FALSE(isHeld(folder.path()));
    EXPECT_TRUE(isFreeForOthers(folder.path()));
}

TEST_F(NewFileTest, AnotherProgramsHoldIsSeenAndEndsWithIt) {
    QProcess other;
    other.start(QStringLiteral("flock"), {QStringLiteral("-s"), folder.path(), QStringLiteral("sh"),
                                          QStringLiteral("-c"), QStringLiteral("echo held; read line")});
    ASSERT_TRUE(other.waitForReadyRead(60'000));
    EXPECT_TRUE(isHeld(folder.path()));
    const NewFile ours(final); // many may hold one folder
    other.write("\n");
    ASSERT_TRUE(other.waitForFinished(60'000));
    EXPECT_TRUE(isHeld(folder.path()));
}

TEST(FolderHold, AFolderThatIsNotThereCountsAsHeld) {
    const TestFolder folder;
    EXPECT_TRUE(isHeld(folder.path() + QStringLiteral("/none")));
}

TEST(PrivateNames, Table) {
    struct Row {
        const char* name;
        bool isPrivate;
        bool isBackup;
    };
    const std::vector<Row> rows{
        {".ostrel-1b4e28ba-2fa1-11d2-883f-0016d3cca427.wav", true, false},
        {".ostrel-1b4e28ba-2fa1-11d2-883f-0016d3cca427", true, false},
        {".1B4E28BA-2FA1-11D2-883F-0016D3CCA427_temp.wav", true, false},
        {".1b4e28ba-2fa1-11d2-883f-0016d3cca427_temp", true, false},
        {".1b4e28ba-2fa1-11d2-883f-0016d3cca427_backup.WAV", true, true},
        {".1b4e28ba-2fa1-11d2-883f-0016d3cca427.wav", false, false},
        {".1b4e28ba-2fa1-11d2-883f-0016d3cca42_temp.wav", false, false}, // a digit less
        {".1b4e28ba-2fa1-11d2-883f-0016d3cca427_temperature.wav", false, false},
        {"1b4e28ba-2fa1-11d2-883f-0016d3cca427_temp.wav", false, false},
        {"Take.1b4e28ba-2fa1-11d2-883f-0016d3cca427_temp.wav", false, false},
        {"ostrel-take.wav", false, false},
        {".ostrel.wav", false, false},
        {".ostrel-notes.wav", false, false},
        {".ostrel-1b4e28ba-2fa1-11d2-883f-0016d3cca427.wav.bak", false, false},
        {".hidden.wav", false, false},
        {"Take_backup.wav", false, false},
        {"", false, false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(isPrivateName(QString::fromLatin1(row.name)), row.isPrivate) << row.name;
        EXPECT_EQ(isBackupName(QString::fromLatin1(row.name)), row.isBackup) << row.name;
    }
    const QString made = privatePath(QStringLiteral("/a"), QStringLiteral("wav"));
    EXPECT_TRUE(isPrivateName(paths::lastComponent(made)));
    EXPECT_NE(made, privatePath(QStringLiteral("/a"), QStringLiteral("wav")));
    EXPECT_FALSE(privatePath(QStringLiteral("/a"), QString()).endsWith(u'.'));
}

TEST(PrivateNames, AreListedApartWhateverIsAskedFor) {
    const TestFolder folder;
    const QString ours = folder.write(QStringLiteral("sub/.ostrel-1b4e28ba-2fa1-11d2-883f-0016d3cca427.wav"), "x");
    const QString earlier = folder.write(QStringLiteral(".1b4e28ba-2fa1-11d2-883f-0016d3cca427_backup.wav"), "x");
    const QString hidden = folder.write(QStringLiteral(".hidden.wav"), "x");
    const QString plain = folder.write(QStringLiteral("a.wav"), "x");
    const QString within = folder.write(QStringLiteral(".ostrel-folder/b.wav"), "x"); // a person's own
    for (const auto& extensions :
         {QStringList(), QStringList{QStringLiteral("wav")}, QStringList{QStringLiteral("aif")}}) {
        for (const files::HiddenEntries entries : {files::HiddenEntries::leftOut, files::HiddenEntries::included}) {
            auto listing = files::list(folder.path(), true, extensions, entries);
            ASSERT_TRUE(listing);
            listing->unfinished.sort();
            EXPECT_EQ(listing->unfinished, (QStringList{earlier, ours}));
            EXPECT_FALSE(listing->files.contains(ours) || listing->files.contains(earlier));
            const bool wantsWav = extensions.value(0) != QStringLiteral("aif");
            EXPECT_EQ(listing->files.contains(plain), wantsWav);
            EXPECT_EQ(listing->files.contains(hidden), wantsWav && entries == files::HiddenEntries::included);
            EXPECT_EQ(listing->files.contains(within), wantsWav && entries == files::HiddenEntries::included);
        }
    }
    EXPECT_EQ(files::list(folder.path(), false, {})->unfinished, QStringList{earlier});
}

} // namespace
} // namespace ostrel
