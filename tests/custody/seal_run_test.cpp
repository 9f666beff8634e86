// Which folders of a run are sealed, and what their lists say of its files.
#include "custody/seal_run.h"
#include "custody_folder.h"

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

TEST_F(SealedRun, IsAnnounced) {
    const QString file = folder.write(QStringLiteral("Day/a.wav"), "a");
    EXPECT_TRUE(sealedFolderNotice(path(QStringLiteral("Day"))).isEmpty());
    sealFolder(path(QStringLiteral("Day")));
    EXPECT_TRUE(sealedFolderNotice(path(QStringLiteral("Day/new"))).contains(QStringLiteral("(1 generation)")));
    EXPECT_TRUE(sealedChangeNotice(file).contains(QStringLiteral("in the sealed folder")));
}

} // namespace
} // namespace ostrel
