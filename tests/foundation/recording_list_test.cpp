// What a scan does with the files that an earlier run left under private names.
#include "foundation/run/recording_list.h"

#include "foundation/run/journal.h"
#include "platform/files/new_file.h"
#include "platform/paths.h"
#include "support/own_state.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

const QString kWords =
    QStringLiteral("A recording that an earlier run had not finished with was put back: %1 (it was %2)");

class RecordingListTest : public ::testing::Test {
protected:
    files::Listing scan(bool recursive = true) const {
        const auto listing = listRecordings(folder.path(), recursive, {QStringLiteral("wav")});
        EXPECT_TRUE(listing);
        return listing.value_or(files::Listing());
    }
    QString path(const char* name) const { return folder.path(QString::fromUtf8(name)); }
    QString write(const char* name, const QByteArray& contents) const {
        return folder.write(QString::fromUtf8(name), contents);
    }
    QString leftover(const QByteArray& contents) const {
        return folder.write(QStringLiteral(".ostrel-1b4e28ba-2fa1-11d2-883f-0016d3cca427.wav"), contents);
    }

    OwnState state;
    TestFolder folder;
};

TEST_F(RecordingListTest, WithoutLeftoversItIsAListing) {
    const QString a = write("a.wav", "a");
    write("b.txt", "b");
    const files::Listing listing = scan();
    EXPECT_EQ(listing.files, QStringList{a});
    EXPECT_TRUE(listing.unreadable.isEmpty() && listing.unfinished.isEmpty());
    EXPECT_FALSE(listRecordings(path("none"), true, {}));
}

TEST_F(RecordingListTest, AnUnfinishedFileIsRemovedAndTold) {
    const QString a = write("a.wav", "a");
    const QString half = write("deep/.ostrel-1b4e28ba-2fa1-11d2-883f-0016d3cca427.wav", "half");
    const QString temporary = write(".1b4e28ba-2fa1-11d2-883f-0016d3cca427_temp.wav", "half");
    files::Listing listing = scan();
    EXPECT_EQ(listing.files, QStringList{a});
    listing.unreadable.sort();
    QStringList told{QStringLiteral("Removed an unfinished file of an earlier run: ") + half,
                     QStringLiteral("Removed an unfinished file of an earlier run: ") + temporary};
    told.sort();
    EXPECT_EQ(listing.unreadable, told);
    EXPECT_FALSE(QFile::exists(half) || QFile::exists(temporary));
    EXPECT_TRUE(scan().unreadable.isEmpty());
}

TEST_F(RecordingListTest, WhatAnotherProgramIsWritingIsLeftToItUntold) {
    const QString a = write("a.wav", "a");
    const FolderHold hold(folder.path());
    const QString half = leftover("half");
    const files::Listing listing = scan();
    EXPECT_EQ(listing.files, QStringList{a});
    EXPECT_TRUE(listing.unreadable.isEmpty());
    EXPECT_EQ(readAll(half), "half");
}

TEST_F(RecordingListTest, ABackupThatIsTheOnlyCopyIsPutBack) {
    write("a.wav", "another of the same size");
    const QString backup = write(".1b4e28ba-2fa1-11d2-883f-0016d3cca427_backup.wav", "the recording that was a");
    const files::Listing listing = scan();
    const QString back = path("Recovered recording 1.wav");
    EXPECT_EQ(listing.files, (QStringList{path("a.wav"), back}));
    EXPECT_EQ(listing.unreadable, QStringList{kWords.arg(back, paths::lastComponent(backup))});
    EXPECT_EQ(readAll(back), "the recording that was a");
    EXPECT_FALSE(QFile::exists(backup));
    write(".1b4e28ba-2fa1-11d2-883f-0016d3cca428_backup.wav", "a second one");
    EXPECT_TRUE(scan().files.contains(path("Recovered recording 2.wav")));
}

TEST_F(RecordingListTest, ABackupWhoseRecordingStandsBesideItIsRemoved) {
    write("a.wav", "the recording");
    const QString backup = write(".1b4e28ba-2fa1-11d2-883f-0016d3cca427_backup.wav", "the recording");
    const files::Listing listing = scan();
    EXPECT_EQ(listing.files, QStringList{path("a.wav")});
    EXPECT_EQ(listing.unreadable,
              QStringList{QStringLiteral("Removed an unfinished file of an earlier run: ") + backup});
    EXPECT_FALSE(QFile::exists(backup));
}

// A deletion that was cut between its two halves.
class ParkedDeletion : public RecordingListTest {
protected:
    void cut() {
        write("a.wav", "the recording");
        before = fingerprintOf(path("a.wav"));
        inProgramThatEnds([&] {
            Journal(QStringLiteral("interleave")).begin(JournalOperation::remove, path("a.wav"), QString(), parked);
            QFile::rename(path("a.wav"), parked);
        });
        ASSERT_FALSE(QFile::exists(path("a.wav")));
    }
    QString parked = folder.path() + QStringLiteral("/.ostrel-1b4e28ba-2fa1-11d2-883f-0016d3cca427.wav");
    QString before;
};

TEST_F(ParkedDeletion, IsPutBackUnderItsName) {
    cut();
    const files::Listing listing = scan();
    EXPECT_EQ(listing.files, QStringList{path("a.wav")});
    EXPECT_EQ(fingerprintOf(path("a.wav")), before);
    EXPECT_EQ(listing.unreadable, QStringList{kWords.arg(path("a.wav"), paths::lastComponent(parked))});
    EXPECT_EQ(journalSteps(), QStringList{QStringLiteral("delete undone")});
    EXPECT_TRUE(Journal::tellUnfinished().isEmpty()); // it has an end now
}

TEST_F(ParkedDeletion, StaysWhereItsNameIsTaken) {
    cut();
    write("a.wav", "another by now");
    const files::Listing listing = scan();
    ASSERT_EQ(listing.unreadable.size(), 1);
    EXPECT_TRUE(
        listing.unreadable[0].startsWith(QStringLiteral("An earlier run left %1: Could not create").arg(parked)))
        << listing.unreadable[0].toStdString();
    EXPECT_EQ(readAll(parked), "the recording");
    EXPECT_EQ(readAll(path("a.wav")), "another by now");
}

TEST_F(ParkedDeletion, StaysWhereTheJournalCannotBeRead) {
    cut();
    state.blockJournal();
    const files::Listing listing = scan();
    EXPECT_EQ(listing.unreadable.size(), 1);
    EXPECT_EQ(readAll(parked), "the recording"); // nobody knows what it is
}

// A replacement that was cut: its private name holds the new contents, or the old ones, or what another program wrote.
class CutReplacement : public RecordingListTest {
protected:
    void cut(const std::function<void()>& step) {
        write("a.wav", "the old contents");
        parked = leftover("the new contents");
        inProgramThatEnds([&] {
            Journal(QStringLiteral("clean")).begin(JournalOperation::replace, path("a.wav"), path("a.wav"), parked);
            step();
        });
    }
    void exchange() {
        QFile::rename(path("a.wav"), path("x"));
        QFile::rename(parked, path("a.wav"));
        QFile::rename(path("x"), parked);
    }
    void expectRemoved(const QByteArray& contents) {
        const files::Listing listing = scan();
        EXPECT_EQ(listing.files, QStringList{path("a.wav")});
        EXPECT_EQ(readAll(path("a.wav")), contents);
        EXPECT_EQ(listing.unreadable,
                  QStringList{QStringLiteral("Removed an unfinished file of an earlier run: ") + parked});
        EXPECT_FALSE(QFile::exists(parked));
    }
    QString parked;
};

TEST_F(CutReplacement, AheadOfItsStepTheNewContentsGo) {
    cut([] {});
    expectRemoved("the old contents");
}

TEST_F(CutReplacement, BehindItsStepTheOldContentsGo) {
    cut([this] { exchange(); });
    expectRemoved("the new contents");
}

TEST_F(CutReplacement, WhatSomebodyElseWroteMeanwhileIsPutBack) {
    cut([this] {
        QFile other(path("a.wav"));
        if (other.open(QIODevice::Append)) other.write(", changed at the last moment");
        other.close();
        exchange();
    });
    const files::Listing listing = scan();
    EXPECT_EQ(listing.files, (QStringList{path("a.wav"), path("Recovered recording 1.wav")}));
    EXPECT_EQ(readAll(path("Recovered recording 1.wav")), "the old contents, changed at the last moment");
    EXPECT_EQ(readAll(path("a.wav")), "the new contents");
}

TEST_F(RecordingListTest, OneFolderIsClearedAlone) {
    const QString here = leftover("half");
    const QString below = write("sub/.ostrel-1b4e28ba-2fa1-11d2-883f-0016d3cca427.wav", "half");
    EXPECT_EQ(clearLeftoversIn(folder.path()).size(), 1);
    EXPECT_FALSE(QFile::exists(here));
    EXPECT_TRUE(QFile::exists(below));
    EXPECT_TRUE(clearLeftoversIn(path("none")).isEmpty());
    EXPECT_TRUE(clearLeftovers({here}).isEmpty()); // it is gone
}

} // namespace
} // namespace ostrel
