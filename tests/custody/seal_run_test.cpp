// Which folders of a run are sealed, and what their lists say of its files.
#include "custody/seal_notices.h"
#include "custody/seal_renewal.h"
#include "custody/seal_run.h"
#include "custody_folder.h"

#include <QDir>
#include <QFileInfo>

namespace ostrel {
namespace {

using namespace testing;

class SealedRun : public ::testing::Test {
protected:
    QString path(const QString& relative) const { return folder.path(relative); }
    static ItemOutcome made(const QStringList& outputs, const QString& source = QStringLiteral("/card/p.wav")) {
        return {.status = ProcessingStatus::completed(), .outputs = outputs, .sources = ItemOutcome::allKept({source})};
    }
    TestFolder folder;
};

TEST_F(SealedRun, TakesTheOutputFolderAsOne) {
    EXPECT_EQ(foldersToSeal({path(QStringLiteral("o/A/1.wav")), path(QStringLiteral("o/B/2.wav"))},
                            path(QStringLiteral("o"))),
              QStringList{path(QStringLiteral("o"))});
}

TEST_F(SealedRun, TakesEachFolderOnceAndNoneWithinAnother) {
    EXPECT_EQ(foldersToSeal({path(QStringLiteral("A/x/1.wav")), path(QStringLiteral("A/2.wav")),
                             path(QStringLiteral("AB/3.wav")), path(QStringLiteral("A/4.wav"))},
                            {}),
              (QStringList{path(QStringLiteral("A")), path(QStringLiteral("AB"))}));
}

TEST_F(SealedRun, GoesUpToTheNearestSealedFolder) {
    folder.write(QStringLiteral("Day/Roll/a.wav"), "a");
    sealFolder(path(QStringLiteral("Day")));
    sealFolder(path(QStringLiteral("Day/Roll")));
    EXPECT_EQ(foldersToSeal({path(QStringLiteral("Day/new/1.wav"))}, path(QStringLiteral("Day/new"))),
              QStringList{path(QStringLiteral("Day"))});
    EXPECT_EQ(foldersToSeal({path(QStringLiteral("Day/Roll/o/1.wav"))}, {}),
              QStringList{path(QStringLiteral("Day/Roll"))});
}

TEST_F(SealedRun, WritesDownWhereFilesComeFrom) {
    const QString output = folder.write(QStringLiteral("o/1.wav"), "one");
    ItemOutcome outcome = made({output});
    outcome.proof = ProofRecord{{{.output = output,
                                  .source = QStringLiteral("/card/p & q.wav"),
                                  .sourceChannel = 2,
                                  .hash = QStringLiteral("00ff")}}};
    const auto seals = sealRun({QStringLiteral("split"), path(QStringLiteral("o")), {outcome}});
    ASSERT_EQ(seals.size(), 1U);
    EXPECT_EQ(seals[0].generation, 1);
    const QByteArray list = readAll(seals[0].list);
    EXPECT_TRUE(
        list.contains("<metadata><o:made xmlns:o=\"urn:ostrel:custody:1\" job=\"split\" source1=\"p &amp; q.wav\" "
                      "channel1=\"3\" xxh128-1=\"00ff\"/></metadata>"))
        << list.toStdString();
    EXPECT_TRUE(differences(path(QStringLiteral("o"))).isEmpty());
}

TEST_F(SealedRun, LeavesFailedItemsAlone) {
    const QString output = folder.write(QStringLiteral("o/1.wav"), "one");
    ItemOutcome failed = made({output});
    failed.status = ProcessingStatus::failed(QStringLiteral("full"));
    EXPECT_TRUE(sealRun({QStringLiteral("split"), {}, {failed}}).empty());
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("o/ascmhl"))));
    EXPECT_EQ(sealRun({QStringLiteral("split"), {}, {failed, made({output})}}).size(), 1U);
}

TEST_F(SealedRun, TellsWhyAFolderIsRefusedAndWhatChanged) {
    const QString output = folder.write(QStringLiteral("o/1.wav"), "one");
    sealFolder(path(QStringLiteral("o")));
    append(output, "more");
    const auto changed = sealRun({QStringLiteral("edit"), {}, {made({output})}});
    ASSERT_EQ(changed.size(), 1U);
    EXPECT_EQ(changed[0].changed, QStringList{QStringLiteral("1.wav")});
    EXPECT_FALSE(changed[0].isWhole());
    append(changed[0].list, "damage");
    const auto refused = sealRun({QStringLiteral("edit"), {}, {made({output})}});
    ASSERT_EQ(refused.size(), 1U);
    EXPECT_EQ(refused[0].generation, 0);
    EXPECT_FALSE(refused[0].refused.isEmpty());
}

TEST_F(SealedRun, NamesNewFilesThatTheSealPassesOver) {
    folder.write(QStringLiteral("Day/a.wav"), "a");
    SealOptions options = sealOptions();
    options.ignore = {QStringLiteral("proxies/")};
    sealFolder(path(QStringLiteral("Day")), options);
    const QString hidden = folder.write(QStringLiteral("Day/proxies/p.wav"), "p");
    const QString seen = folder.write(QStringLiteral("Day/new.wav"), "n");
    const auto seals = sealRun({QStringLiteral("split"), {}, {made({hidden, seen})}});
    ASSERT_EQ(seals.size(), 1U);
    EXPECT_EQ(seals[0].generation, 2);
    EXPECT_EQ(seals[0].unlisted, QStringList{QStringLiteral("proxies/p.wav")});
    EXPECT_FALSE(seals[0].isWhole());
    EXPECT_TRUE(sealRun({QStringLiteral("split"), {}, {made({seen})}}).front().isWhole());
}

TEST_F(SealedRun, IsAnnounced) {
    const QString file = folder.write(QStringLiteral("Day/a.wav"), "a");
    EXPECT_TRUE(sealNotices({path(QStringLiteral("Day"))}, SealTouch::adds).isEmpty());
    sealFolder(path(QStringLiteral("Day")));
    const auto notice = [](const QString& place, SealTouch touch) { return sealNotices({place}, touch).join(u'\n'); };
    EXPECT_TRUE(
        notice(path(QStringLiteral("Day/new")), SealTouch::adds).contains(QStringLiteral("is sealed (1 generation)")));
    EXPECT_TRUE(notice(file, SealTouch::changes).contains(QStringLiteral("is changed there as changed")));
    // Also from above, where a job takes a folder of sealed folders.
    EXPECT_TRUE(notice(folder.path(), SealTouch::takesAway).contains(QStringLiteral("will miss what is moved")));
}

class RenewedSeal : public ::testing::Test {
protected:
    RenewedSeal() {
        folder.write(QStringLiteral("Day/a.wav"), "aaa");
        folder.write(QStringLiteral("Day/b.wav"), "bbbb");
        folder.write(QStringLiteral("Day/empty/x"), "");
        QFile::remove(path(QStringLiteral("Day/empty/x")));
        sealFolder(path(QStringLiteral("Day")));
    }
    QString path(const QString& relative) const { return folder.path(relative); }
    std::vector<RunSeal> renew(const QStringList& files) const {
        QStringList paths;
        for (const QString& file : files) paths << path(file);
        return renewSeals(QStringLiteral("edit"), paths);
    }
    TestFolder folder;
};

TEST_F(RenewedSeal, ListsTheTouchedFilesAlone) {
    append(path(QStringLiteral("Day/a.wav")), "more");
    append(path(QStringLiteral("Day/b.wav")), "rot"); // nobody's doing
    const auto seals = renew({QStringLiteral("Day/a.wav")});
    ASSERT_EQ(seals.size(), 1U);
    EXPECT_TRUE(seals[0].isWhole());
    EXPECT_EQ(seals[0].generation, 2);
    EXPECT_EQ(seals[0].renewed, QStringList{QStringLiteral("a.wav")});
    EXPECT_EQ(seals[0].rewritten, QStringList{QStringLiteral("a.wav")});
    const QByteArray list = readAll(seals[0].list);
    EXPECT_TRUE(list.contains("action=\"failed\"")) << list.toStdString();
    EXPECT_TRUE(list.contains("job=\"edit\""));
    EXPECT_FALSE(list.contains("b.wav"));
    EXPECT_FALSE(list.contains("roothash") || list.contains("directoryhash")) << list.toStdString();
    EXPECT_EQ(differences(path(QStringLiteral("Day"))),
              (QStringList{QStringLiteral("a.wav changed"), QStringLiteral("b.wav changed")}));
}

// What a job wrote down, and what came of itself, are told apart.
TEST_F(RenewedSeal, VerificationTellsARecordedChangeFromAnother) {
    append(path(QStringLiteral("Day/a.wav")), "more");
    append(path(QStringLiteral("Day/b.wav")), "rot");
    renew({QStringLiteral("Day/a.wav")});
    const VerifyResult known = verifyFolder(path(QStringLiteral("Day")));
    const QString said = QStringLiteral("a later generation tells it as it is now");
    EXPECT_TRUE(known.files[0].detail.contains(said)) << known.files[0].detail.toStdString();
    EXPECT_FALSE(known.files[1].detail.contains(said)) << known.files[1].detail.toStdString();
    append(path(QStringLiteral("Day/a.wav")), "rot");
    EXPECT_FALSE(verifyFolder(path(QStringLiteral("Day"))).files[0].detail.contains(said));
}

TEST_F(RenewedSeal, FollowsARename) {
    ASSERT_TRUE(QDir(path(QStringLiteral("Day"))).mkdir(QStringLiteral("Originals")));
    ASSERT_TRUE(QFile::rename(path(QStringLiteral("Day/a.wav")), path(QStringLiteral("Day/Originals/a.wav"))));
    const auto seals = renew({QStringLiteral("Day/Originals/a.wav")});
    ASSERT_EQ(seals.size(), 1U);
    EXPECT_TRUE(seals[0].rewritten.isEmpty());
    EXPECT_TRUE(readAll(seals[0].list).contains("<previousPath>a.wav</previousPath>"));
    EXPECT_TRUE(differences(path(QStringLiteral("Day"))).isEmpty());
}

// A generation of some files says nothing of the others, nor of folders: what is lost later is still missed.
TEST_F(RenewedSeal, ForgetsNothingThatItDoesNotList) {
    renew({QStringLiteral("Day/a.wav")});
    ASSERT_TRUE(QFile::remove(path(QStringLiteral("Day/b.wav"))));
    ASSERT_TRUE(QDir(path(QStringLiteral("Day"))).rmdir(QStringLiteral("empty")));
    EXPECT_EQ(differences(path(QStringLiteral("Day"))),
              (QStringList{QStringLiteral("b.wav missing"), QStringLiteral("empty/ missing")}));
    EXPECT_EQ(sealFolder(path(QStringLiteral("Day"))).count(SealedState::missing), 1);
}

TEST_F(RenewedSeal, GoesIntoTheNearestHistory) {
    folder.write(QStringLiteral("Day/Roll/c.wav"), "c");
    sealFolder(path(QStringLiteral("Day/Roll")));
    const auto seals = renew({QStringLiteral("Day/Roll/c.wav"), QStringLiteral("Day/b.wav")});
    ASSERT_EQ(seals.size(), 2U);
    EXPECT_EQ(seals[0].folder, path(QStringLiteral("Day")));
    EXPECT_EQ(seals[0].renewed, QStringList{QStringLiteral("b.wav")});
    EXPECT_EQ(seals[1].folder, path(QStringLiteral("Day/Roll")));
    EXPECT_TRUE(verifyFolder(path(QStringLiteral("Day"))).isWhole());
}

TEST_F(RenewedSeal, RefusesADamagedHistoryAndWritesNothing) {
    const QStringList before = QDir(path(QStringLiteral("Day/ascmhl"))).entryList(QDir::Files);
    append(path(QStringLiteral("Day/ascmhl/")) + before.first(), "damage");
    const auto seals = renew({QStringLiteral("Day/a.wav")});
    ASSERT_EQ(seals.size(), 1U);
    EXPECT_FALSE(seals[0].refused.isEmpty());
    EXPECT_FALSE(seals[0].isWhole());
    EXPECT_EQ(QDir(path(QStringLiteral("Day/ascmhl"))).entryList(QDir::Files), before);
    EXPECT_EQ(readAll(path(QStringLiteral("Day/a.wav"))), "aaa");
}

TEST_F(RenewedSeal, IsNotWrittenForWhatNoSealLists) {
    folder.write(QStringLiteral("Other/a.wav"), "a");
    EXPECT_TRUE(renew({QStringLiteral("Other/a.wav"), QStringLiteral("Day/gone.wav")}).empty());
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("Other/ascmhl"))));
}

TEST_F(RenewedSeal, TakesWhatOutcomesTellOfReplacedAndMovedSources) {
    using Kind = SourceFate::Kind;
    ItemOutcome replaced = {.status = ProcessingStatus::completed(),
                            .outputs = {QStringLiteral("/d/a.wav")},
                            .sources = {{QStringLiteral("/d/a.wav"), Kind::replaced, {}}}};
    ItemOutcome moved = {.status = ProcessingStatus::failed(QStringLiteral("full")),
                         .outputs = {},
                         .sources = {{QStringLiteral("/d/L.wav"), Kind::moved, QStringLiteral("/d/Originals/L.wav")},
                                     {QStringLiteral("/d/R.wav"), Kind::kept, {}},
                                     {QStringLiteral("/d/S.wav"), Kind::deleted, {}}}};
    EXPECT_EQ(touchedRecordings({replaced, moved}),
              (QStringList{QStringLiteral("/d/a.wav"), QStringLiteral("/d/Originals/L.wav")}));
}

// A run that seals what it edits in place has changed it knowingly; what else is not as it was still fails it.
TEST_F(RenewedSeal, AWholeSealTellsTheRunsOwnChangesApart) {
    append(path(QStringLiteral("Day/a.wav")), "more");
    const QString edited = path(QStringLiteral("Day/a.wav"));
    const ItemOutcome outcome = {.status = ProcessingStatus::completed(),
                                 .outputs = {edited},
                                 .sources = {{edited, SourceFate::Kind::replaced, {}}}};
    const auto own = sealRun({QStringLiteral("edit"), {}, {outcome}});
    ASSERT_EQ(own.size(), 1U);
    EXPECT_TRUE(own[0].isWhole());
    EXPECT_EQ(own[0].rewritten, QStringList{QStringLiteral("a.wav")});
    append(path(QStringLiteral("Day/b.wav")), "rot");
    const auto other = sealRun({QStringLiteral("edit"), {}, {outcome}});
    EXPECT_EQ(other[0].changed, QStringList{QStringLiteral("b.wav")});
    EXPECT_FALSE(other[0].isWhole());
}

TEST_F(SealedRun, IsToldWhereNewFilesWouldBePassedOver) {
    folder.write(QStringLiteral("Day/a.wav"), "a");
    SealOptions options = sealOptions();
    options.ignore = {QStringLiteral("proxies/")};
    sealFolder(path(QStringLiteral("Day")), options);
    const auto notices = [&](const QString& place) { return sealNotices({path(place)}, SealTouch::adds).join(u'\n'); };
    EXPECT_TRUE(notices(QStringLiteral("Day/proxies")).contains(QStringLiteral("passes over")));
    EXPECT_TRUE(notices(QStringLiteral("Day/proxies/new")).contains(QStringLiteral("passes over")));
    EXPECT_FALSE(notices(QStringLiteral("Day/new")).contains(QStringLiteral("passes over")));
}

// Two files to the disk, and one name to a person: each is a file of its own in the list.
TEST_F(SealedRun, KeepsNamesApartThatDifferInTheirComposition) {
    const QString composed = QStringLiteral("Caf\u00e9.wav");
    const QString decomposed = QStringLiteral("Cafe\u0301.wav");
    const QString one = folder.write(QStringLiteral("Day/") + composed, "one");
    folder.write(QStringLiteral("Day/") + decomposed, "two");
    const SealResult sealed = sealFolder(path(QStringLiteral("Day")));
    ASSERT_EQ(sealed.files.size(), 2U);
    EXPECT_NE(sealed.files[0].digest, sealed.files[1].digest);
    EXPECT_TRUE(differences(path(QStringLiteral("Day"))).isEmpty());
    append(one, "more");
    EXPECT_EQ(differences(path(QStringLiteral("Day"))), QStringList{composed + QStringLiteral(" changed")});
    ASSERT_TRUE(QFile::remove(one));
    EXPECT_EQ(differences(path(QStringLiteral("Day"))), QStringList{composed + QStringLiteral(" missing")});
}

} // namespace
} // namespace ostrel
