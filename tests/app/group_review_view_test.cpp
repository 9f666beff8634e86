// The review: groups as cards, what a person changes about them, what is heard on the way, and the polys at the end.
#include "app/join_fixture.h"

#include "app/hearing/iso_waveforms.h"
#include "app/poly/join/group_card_view.h"
#include "app/poly/join/group_picker.h"

#include <QMimeData>
#include <QScrollBar>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

using Levels = std::vector<double>;
using Action = GroupCardView::Action;

class GroupReviewViewTest : public JoinFixture {
protected:
    GroupTree& tree() { return view_.review().tree(); }
    GroupTreeModel& groups() { return view_.review().groups(); }
    // The card of that name, or one of its files.
    QModelIndex card(const char* name) {
        for (int row = 0; row < groups().rowCount(); ++row) {
            const QModelIndex index = groups().index(row, 0);
            if (index.data().toString() == QLatin1String(name)) return index;
        }
        ADD_FAILURE() << "no group " << name;
        return {};
    }
    QModelIndex file(const char* cardName, const char* name) {
        const QModelIndex group = card(cardName);
        for (int row = 0; row < groups().rowCount(group); ++row) {
            const QModelIndex index = groups().index(row, 0, group);
            if (index.data().toString() == QLatin1String(name)) return index;
        }
        ADD_FAILURE() << "no file " << name << " in " << cardName;
        return {};
    }
    void clickSymbol(const QModelIndex& group, Action action) {
        tree().scrollTo(group);
        settle();
        QTest::mouseClick(tree().viewport(), Qt::LeftButton, {},
                          GroupCardView::actionRect(tree().visualRect(group), action).center());
        settle();
    }
    QStringList cards() {
        QStringList names;
        for (int row = 0; row < groups().rowCount(); ++row) names << groups().index(row, 0).data().toString();
        names.sort();
        return names;
    }
    QString ungrouped() const {
        QStringList names;
        for (const ISOFile& file : model_.ungroupedFiles) names << file.fileName;
        return names.join(u' ');
    }
    // Takes 3 and 4 of two ISOs each, told by iXML, and take 5 by its names alone.
    void review(int frames = 4800) {
        take("3", 0.1, frames);
        take("4", 0.3, frames);
        iso(QStringLiteral("in/7BT5_Boom.wav"), 0.5, {}, frames);
        iso(QStringLiteral("in/7BT5_Lav.wav"), 0.6, {}, frames);
        choose({folder_.path(QStringLiteral("in"))});
        ASSERT_TRUE(model_.showGroupReview.value());
        ASSERT_EQ(cards(), (QStringList{QStringLiteral("12A-T3_poly"), QStringLiteral("12A-T4_poly"),
                                        QStringLiteral("7B-T5_poly")}));
    }
    QString output(const char* name) const { return folder_.path(QStringLiteral("out/") + QLatin1String(name)); }
    static std::vector<ISOGroupCandidate> manyGroups(int count, int isosEach) {
        std::vector<ISOGroupCandidate> groups;
        for (int number = 0; number < count; ++number) {
            ISOGroupCandidate group;
            group.scene = QStringLiteral("S");
            group.take = QString::number(number);
            group.confidence = GroupConfidence::high;
            group.groupingMethod = GroupingMethod::metadataSceneTake;
            group.timecode = QStringLiteral("10:00:00:00");
            for (int track = 0; track < isosEach; ++track) {
                ISOFile iso;
                iso.fileName = QStringLiteral("S-T%1_%2.wav").arg(number).arg(track);
                iso.metadataChannelIndex = track;
                group.isoFiles.push_back(iso);
            }
            groups.push_back(std::move(group));
        }
        return groups;
    }
};

TEST_F(GroupReviewViewTest, ACardTellsWhatItsGroupIs) {
    review();
    EXPECT_TRUE(shows(QStringLiteral("Total Groups: 3")));
    EXPECT_NE(find(view_, QStringLiteral("0 Ungrouped")), nullptr);
    EXPECT_EQ(card("12A-T3_poly").data(Qt::AccessibleTextRole).toString(),
              QStringLiteral("12A-T3_poly, High, Metadata Scene/Take, 2 channels"));
    EXPECT_EQ(card("7B-T5_poly").data(Qt::AccessibleTextRole).toString(),
              QStringLiteral("7B-T5_poly, Medium, Filename Pattern, 2 channels"));
    EXPECT_EQ(card("7B-T5_poly").data(Qt::ToolTipRole).toString(), QStringLiteral("Click to expand options"));
    const QModelIndex boom = file("12A-T3_poly", "T3_Boom.wav");
    EXPECT_EQ(boom.row(), 0) << "in channel order";
    EXPECT_EQ(boom.data(Qt::ToolTipRole).toString(), QStringLiteral("Click to load group and preview this ISO"));
    click(QStringLiteral("Keep original name (no suffix)"));
    EXPECT_EQ(cards().first(), QStringLiteral("12A-T3"));
    EXPECT_TRUE(shows(QStringLiteral("⚠️ Output files will use ISO base name (no '_poly' suffix)")));
}

TEST_F(GroupReviewViewTest, AClickUnfoldsACardAndAnotherFoldsIt) {
    review();
    const int folded = tree().visualRect(card("12A-T3_poly")).height();
    clickRow(tree(), card("12A-T3_poly"));
    EXPECT_TRUE(tree().isExpanded(card("12A-T3_poly")));
    EXPECT_GT(tree().visualRect(card("12A-T3_poly")).height(), folded) << "it says what stands below";
    clickRow(tree(), card("12A-T3_poly"));
    EXPECT_FALSE(tree().isExpanded(card("12A-T3_poly")));
    key(tree(), Qt::Key_Right);
    EXPECT_TRUE(tree().isExpanded(card("12A-T3_poly")));
    click(QStringLiteral("Expand All"));
    EXPECT_TRUE(tree().isExpanded(card("7B-T5_poly")));
    click(QStringLiteral("Collapse All"));
    EXPECT_FALSE(tree().isExpanded(card("12A-T3_poly")));
}

TEST_F(GroupReviewViewTest, RunWaitsForAnOutputFolder) {
    review();
    EXPECT_TRUE(shows(QStringLiteral("Select an output folder first")));
    EXPECT_FALSE(view_.runRow().runButton().isEnabled());
    EXPECT_EQ(view_.runRow().runButton().toolTip(), QStringLiteral("Join all reviewed groups into poly files"));
    chooseOutput(folder_.path(QStringLiteral("out")));
    settle();
    EXPECT_TRUE(view_.runRow().runButton().isEnabled());
    EXPECT_FALSE(shows(QStringLiteral("Select an output folder first")));
    model_.isBatchJoining = true;
    settle();
    EXPECT_FALSE(view_.runRow().runButton().isEnabled());
    tree().setCurrentIndex(card("12A-T3_poly"));
    EXPECT_FALSE(button(QStringLiteral("Delete Group")).isEnabled());
    model_.isBatchJoining = false;
    view_.resize(1600, 900);
    settle();
    EXPECT_EQ(view_.runRow().runButton().text(), QStringLiteral("Join All Groups"));
    view_.resize(800, 700);
    settle();
    EXPECT_EQ(view_.runRow().runButton().text(), QStringLiteral("Join All"));
}

TEST_F(GroupReviewViewTest, DeletesAGroupMovesFilesAndJoinsTheRest) {
    review();
    chooseOutput(folder_.path(QStringLiteral("out")));
    // Take 4 goes; one of its files is moved from the ungrouped ones to take 3, by keys alone.
    clickSymbol(card("12A-T4_poly"), Action::remove);
    EXPECT_EQ(cards(), (QStringList{QStringLiteral("12A-T3_poly"), QStringLiteral("7B-T5_poly")}));
    EXPECT_EQ(ungrouped(), QStringLiteral("T4_Boom.wav T4_Lav.wav"));
    EXPECT_TRUE(shows(QStringLiteral("2 files could not be automatically grouped")));
    key(view_.review().ungrouped(), Qt::Key_Down);
    view_.review().ungrouped().selectRow(1);
    key(button(QStringLiteral("Move to Group...")), Qt::Key_Space);
    ASSERT_NE(view_.review().picker(), nullptr);
    auto* word = find<QLineEdit>(*view_.review().picker(), QStringLiteral("Find a group"));
    QTest::keyClicks(word, QStringLiteral("t3"));
    QTest::keyClick(word, Qt::Key_Return);
    settle();
    EXPECT_EQ(ungrouped(), QStringLiteral("T4_Boom.wav"));
    EXPECT_EQ(groups().rowCount(card("12A-T3_poly")), 3);
    EXPECT_TRUE(card("12A-T3_poly").data(Qt::AccessibleTextRole).toString().contains(QStringLiteral("Manual")));

    key(button(QStringLiteral("Join All Groups")), Qt::Key_Space);
    ASSERT_TRUE(wait());
    EXPECT_EQ(view_.runRow().results().text(),
              QStringLiteral("Batch Join Complete  Polys created: 2  Success: 2  Skipped: 0"));
    const QStringList made = QDir(folder_.path(QStringLiteral("out"))).entryList(QDir::Files, QDir::Name);
    EXPECT_EQ(made, (QStringList{QStringLiteral("12A-T3_poly.wav"), QStringLiteral("7B-T5_poly.wav")}));
    EXPECT_EQ(levels(output("7B-T5_poly.wav")), (Levels{0.6, 0.5})) << "booms come last where no number tells";
    Levels third = levels(output("12A-T3_poly.wav"));
    EXPECT_EQ(third.front(), 0.1) << "the boom stays the first channel";
    std::ranges::sort(third);
    EXPECT_EQ(third, (Levels{0.1, 0.2, 0.4}));
    EXPECT_TRUE(card("7B-T5_poly").data(Qt::AccessibleTextRole).toString().endsWith(QStringLiteral("Completed")));
}

TEST_F(GroupReviewViewTest, FilesOfAGroupMakeANewOneAndComeOut) {
    review();
    click(QStringLiteral("Expand All"));
    clickRow(tree(), file("12A-T3_poly", "T3_Lav.wav"));
    click(QStringLiteral("New Group"));
    EXPECT_EQ(groups().rowCount(), 4);
    EXPECT_EQ(groups().rowCount(card("T3_Lav")), 1);
    EXPECT_TRUE(tree().isExpanded(card("T3_Lav")));
    EXPECT_TRUE(tree().isExpanded(card("7B-T5_poly"))) << "the other cards stay as they were";
    clickRow(tree(), file("12A-T4_poly", "T4_Lav.wav"));
    key(tree(), Qt::Key_Delete);
    EXPECT_EQ(ungrouped(), QStringLiteral("T4_Lav.wav"));
    tree().setCurrentIndex(card("7B-T5_poly"));
    key(tree(), Qt::Key_Delete);
    EXPECT_EQ(ungrouped(), QStringLiteral("T4_Lav.wav 7BT5_Boom.wav 7BT5_Lav.wav"));
    EXPECT_TRUE(find(view_, QStringLiteral("3 Ungrouped"))->isVisible());
}

TEST_F(GroupReviewViewTest, DraggedFilesGoWhereTheyAreDropped) {
    review();
    const std::unique_ptr<QMimeData> lav(groups().mimeData({file("12A-T3_poly", "T3_Lav.wav")}));
    groups().dropMimeData(lav.get(), Qt::MoveAction, -1, -1, file("12A-T4_poly", "T4_Boom.wav"));
    EXPECT_EQ(groups().rowCount(card("12A-T4_poly")), 3);
    EXPECT_EQ(groups().rowCount(card("12A-T3_poly")), 1);
    QAbstractItemModel& files = *view_.review().ungrouped().model();
    files.dropMimeData(lav.get(), Qt::MoveAction, -1, -1, QModelIndex());
    EXPECT_EQ(ungrouped(), QStringLiteral("T3_Lav.wav"));
    const std::unique_ptr<QMimeData> loose(files.mimeData({files.index(0, 0)}));
    groups().dropMimeData(loose.get(), Qt::MoveAction, -1, -1, QModelIndex());
    EXPECT_EQ(groups().rowCount(), 4) << "beside the groups: a new one";
    EXPECT_FALSE(groups().flags(card("12A-T4_poly")).testFlag(Qt::ItemIsDragEnabled));
}

TEST_F(GroupReviewViewTest, AClickOnAFileLoadsItsGroupAndPlaysIt) {
    review(kLong);
    click(QStringLiteral("Expand All"));
    clickRow(tree(), file("12A-T4_poly", "T4_Boom.wav"));
    EXPECT_EQ(model_.previewedGroupOutputName.value(), QStringLiteral("12A-T4_poly"));
    const auto both = [](double level) { return std::pair(level, level); };
    EXPECT_EQ(heardNow(), both(std::round(0.3 * kTrim * 1000) / 1000));
    EXPECT_TRUE(groups().isHeard(file("12A-T4_poly", "T4_Boom.wav")));
    tree().setCurrentIndex(file("12A-T4_poly", "T4_Lav.wav"));
    key(tree(), Qt::Key_Return);
    EXPECT_EQ(heardNow(), both(std::round(0.4 * kTrim * 1000) / 1000));
    EXPECT_EQ(model_.preview().join().previewGroupDisplayLabel(), QStringLiteral("2: T4_Lav.wav"));

    ASSERT_TRUE(wait());
    clickSymbol(card("12A-T4_poly"), Action::play);
    EXPECT_EQ(heardNow(), std::pair(0.3, 0.4)) << "the poly of that group";
    clickSymbol(card("12A-T3_poly"), Action::load);
    EXPECT_FALSE(model_.preview().mixer()->isPlaying.value());
    EXPECT_EQ(model_.previewedGroupOutputName.value(), QStringLiteral("12A-T3_poly"));
    tree().setCurrentIndex(card("12A-T3_poly"));
    ASSERT_TRUE(wait());
    click(QStringLiteral("Play All"));
    EXPECT_EQ(heardNow(), std::pair(0.1, 0.2));
    key(tree(), Qt::Key_Delete);
    EXPECT_FALSE(model_.preview().mixer()->isLoaded.value()) << "a group that is gone is heard no more";
}

TEST_F(GroupReviewViewTest, TheIsosOfALoadedGroupStandOneAboveTheOtherWithTheirNames) {
    review(kLong);
    auto* waveforms = find<IsoWaveforms>(view_, QStringLiteral("Waveforms of the group"));
    ASSERT_NE(waveforms, nullptr);
    EXPECT_FALSE(waveforms->isVisible()) << "nothing is loaded";
    clickSymbol(card("12A-T4_poly"), Action::load);
    settle();
    EXPECT_TRUE(waveforms->isVisible());
    WaveformView& waveform = waveforms->waveform();
    ASSERT_TRUE(waitUntil([&] { return waveform.laneCount() == 2; }));
    EXPECT_TRUE(waveform.showsLanes());
    EXPECT_EQ(waveform.tags(), (QStringList{QStringLiteral("T4_Boom.wav"), QStringLiteral("T4_Lav.wav")}));
    QTest::mouseClick(&waveform, Qt::LeftButton, {}, waveform.rect().center());
    EXPECT_NEAR(model_.preview().mixer()->currentTime.value(), 25, 0.2);
    key(waveform, Qt::Key_Plus);
    ASSERT_TRUE(waitUntil([&] { return waveform.showsDetail(); }));
    clickSymbol(card("12A-T3_poly"), Action::load);
    ASSERT_TRUE(waitUntil([&] { return waveform.tags().value(0) == QStringLiteral("T3_Boom.wav"); }));
    tree().setCurrentIndex(card("12A-T3_poly"));
    key(tree(), Qt::Key_Delete);
    settle();
    EXPECT_FALSE(waveforms->isVisible());
}

TEST_F(GroupReviewViewTest, WithoutGroupsItSaysSo) {
    model_.showGroupReview = true;
    settle();
    EXPECT_TRUE(shows(QStringLiteral("Total Groups: 0")));
    for (const auto* name : {u"Expand All", u"Load", u"Move to Group...", u"New Group", u"Ungroup", u"Delete Group"})
        EXPECT_FALSE(button(QString::fromUtf16(name)).isEnabled());
}

// What it takes in milliseconds, bench-window tells.
TEST_F(GroupReviewViewTest, TwoThousandGroupsAreUnfoldedScrolledAndChanged) {
    model_.showGroupReview = true;
    QSignalSpy resets(&groups(), &QAbstractItemModel::modelReset);
    model_.reviewedGroups.assign(manyGroups(2000, 10));
    settle();
    click(QStringLiteral("Expand All"));
    QScrollBar& bar = *tree().verticalScrollBar();
    for (int page = 0; page <= 20; ++page) {
        bar.setValue(page * bar.maximum() / 20);
        settle();
    }
    const QModelIndex last = groups().index(9, 0, groups().index(1999, 0));
    EXPECT_TRUE(tree().viewport()->rect().intersects(tree().visualRect(last)));
    clickSymbol(groups().index(1900, 0), Action::remove);
    EXPECT_EQ(groups().rowCount(), 1999);
    EXPECT_TRUE(tree().isExpanded(groups().index(1500, 0)));
    EXPECT_EQ(resets.size(), 0) << "rows come and go, the list is never laid out anew";
}

TEST_F(GroupReviewViewTest, RealTakesOfTwoRecordersAreJoined) {
    const QString source = samplesFolder();
    if (source.isEmpty()) GTEST_SKIP() << "no sample recordings here";
    const auto copyAll = [&](const QString& folder) {
        const QDir from(source + folder);
        for (const QString& name : from.entryList({QStringLiteral("*.WAV"), QStringLiteral("*.wav")}, QDir::Files)) {
            const QString copy = folder_.path(QStringLiteral("in/") + name);
            EXPECT_TRUE(QFile::copy(from.filePath(name), copy));
            QFile(copy).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        }
    };
    copyAll(QStringLiteral("/recorders/metacorder-isos-take-2C-01"));
    copyAll(QStringLiteral("/recorders/zoom-f8-discrete-take"));
    choose({folder_.path(QStringLiteral("in"))});
    ASSERT_TRUE(model_.showGroupReview.value());
    const auto all = model_.reviewedGroups.rows();
    const auto joinable = std::ranges::count_if(all, [](const auto& group) { return group.isoFiles.size() >= 2; });
    EXPECT_GE(joinable, 1);
    chooseOutput(folder_.path(QStringLiteral("out")));
    click(QStringLiteral("Join All Groups"));
    ASSERT_TRUE(wait());
    EXPECT_EQ(model_.successCount.value(), joinable);
    for (const GroupJoinResult& result : model_.batchJoinResults.value()->groupResults) {
        const auto group = std::ranges::find(all, result.groupId, &ISOGroupCandidate::id);
        EXPECT_EQ(decodedByFfmpeg(result.outcome.outputs.value(0)).size(), group->isoFiles.size());
    }
}

} // namespace
} // namespace ostrel::testing
