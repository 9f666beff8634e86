// The shell of the Poly Tools tab: header, modes, keys, drops, what the log and the footer say.
#include "app/window_test.h"

#include "app/controls/controls.h"
#include "app/panels/activity_footer.h"
#include "app/panels/help_texts.h"
#include "app/panels/log_popover_view.h"
#include "app/poly/edit/poly_edit_view.h"
#include "app/poly/join/poly_join_view.h"
#include "app/poly/split/poly_split_view.h"

#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class PolyToolsTabTest : public WindowTest {
protected:
    bool says(const QString& text) {
        for (const QLabel* label : polyToolsView_->findChildren<QLabel*>()) {
            if (label->isVisible() && label->text() == text) return true;
        }
        for (const TruncatingText* line : polyToolsView_->findChildren<TruncatingText*>()) {
            if (line->isVisible() && line->text() == text) return true;
        }
        return false;
    }
    QString takes() { return samples() + QStringLiteral("/polys"); }
    void expectPage(const QWidget& page) {
        for (const QWidget* each : std::initializer_list<QWidget*>{
                 &polyToolsView_->splitView(), &polyToolsView_->joinView(), &polyToolsView_->editView()})
            EXPECT_EQ(each->isVisible(), each == &page) << each->accessibleName().toStdString();
    }
};

TEST_F(PolyToolsTabTest, EveryModeHasItsPageItsHintAndItsKey) {
    show(AppTab::polyTools);
    expectPage(polyToolsView_->splitView());
    EXPECT_TRUE(says(QStringLiteral("Drop files or folders • Batch scenes/takes supported")));
    press(Qt::Key_Period);
    EXPECT_EQ(polyTools_.mode.value(), PolyMode::join);
    expectPage(polyToolsView_->joinView());
    EXPECT_TRUE(says(QStringLiteral("Drop files or folders • Auto-groups by scene/take • Batch join supported")));
    press(Qt::Key_Slash);
    EXPECT_EQ(polyTools_.mode.value(), PolyMode::editPoly);
    expectPage(polyToolsView_->editView());
    EXPECT_TRUE(says(QStringLiteral("Drop files or folders • Batch scenes/takes supported • Channel removal")));
    press(Qt::Key_Comma);
    EXPECT_EQ(polyTools_.mode.value(), PolyMode::split);
    expectPage(polyToolsView_->splitView());
}

TEST_F(PolyToolsTabTest, ThePickerChoosesTheMode) {
    show(AppTab::polyTools);
    click(QStringLiteral("Edit Poly"));
    EXPECT_EQ(polyTools_.mode.value(), PolyMode::editPoly);
    click(QStringLiteral("Join ISOs → Poly"));
    EXPECT_EQ(polyTools_.mode.value(), PolyMode::join);
    click(QStringLiteral("Split Poly → ISOs"));
    EXPECT_EQ(polyTools_.mode.value(), PolyMode::split);
}

TEST_F(PolyToolsTabTest, TheModeStaysWhileAJobRuns) {
    show(AppTab::polyTools);
    polyTools_.isProcessing = true;
    settle();
    press(Qt::Key_Period);
    EXPECT_EQ(polyTools_.mode.value(), PolyMode::split);
    EXPECT_EQ(find<SegmentedControl>(*polyToolsView_, QStringLiteral("Mode"))->current(), 0);
    drop({takes()});
    EXPECT_TRUE(polyTools_.sourceFolder.value().isEmpty());
    press(Qt::Key_I);
    press(Qt::Key_O);
    EXPECT_TRUE(desktop_.openPanels.empty());
    polyTools_.isProcessing = false;
}

TEST_F(PolyToolsTabTest, InputAndOutputKeysOpenThePanelOfTheMode) {
    show(AppTab::polyTools);
    press(Qt::Key_I);
    ASSERT_EQ(desktop_.openPanels.size(), 1U);
    EXPECT_EQ(desktop_.openPanels.back().message, QString());
    press(Qt::Key_O);
    ASSERT_EQ(desktop_.openPanels.size(), 2U);
    desktop_.openPanelAnswer = {folder_.path()};
    press(Qt::Key_O);
    EXPECT_EQ(polyTools_.splitOutputFolder.value(), folder_.path());
    press(Qt::Key_Period);
    press(Qt::Key_O);
    EXPECT_EQ(polyTools_.joinOutputFolder.value(), folder_.path());
    desktop_.openPanelAnswer.clear();
    press(Qt::Key_I);
    EXPECT_EQ(desktop_.openPanels.back().message, QStringLiteral("Select ISO files or folder"));
}

TEST_F(PolyToolsTabTest, TheScanKeyOffersAnotherSourceWhereThereIsOne) {
    show(AppTab::polyTools);
    press(Qt::Key_S);
    EXPECT_TRUE(desktop_.openPanels.empty()) << "nothing is selected";
    polyTools_.selectedFiles = QStringList{folder_.path(QStringLiteral("a.wav"))};
    press(Qt::Key_S);
    EXPECT_EQ(desktop_.openPanels.size(), 1U);
    press(Qt::Key_Slash);
    press(Qt::Key_S);
    EXPECT_EQ(desktop_.openPanels.size(), 2U);
}

TEST_F(PolyToolsTabTest, TheScanKeyGroupsTheISOsOfAJoin) {
    show(AppTab::polyTools);
    press(Qt::Key_Period);
    const auto entries = polyTools_.logEntries.size();
    press(Qt::Key_S);
    EXPECT_EQ(polyTools_.logEntries.size(), entries) << "neither folder nor files";
    polyTools_.joinSourceFolder = samples() + QStringLiteral("/isos");
    press(Qt::Key_S);
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_EQ(polyTools_.reviewedGroups.size(), 3U);
}

TEST_F(PolyToolsTabTest, TheRunKeySaysWhyThereIsNoJoin) {
    show(AppTab::polyTools);
    press(Qt::Key_Period);
    press(Qt::Key_R);
    EXPECT_EQ(messages(polyTools_.logEntries).back(), QStringLiteral("⌘R: Can't join — load and scan ISOs first"));
    polyTools_.batchJoinMode = true;
    press(Qt::Key_R);
    EXPECT_EQ(messages(polyTools_.logEntries).back(), QStringLiteral("⌘R: Can't join — select an output folder first"));
    const ProcessingLogEntry& entry = polyTools_.logEntries.rows().back();
    EXPECT_EQ(entry.level, LogLevel::warning);
    EXPECT_EQ(entry.category, LogCategory::system);
    const auto entries = polyTools_.logEntries.size();
    press(Qt::Key_Slash);
    press(Qt::Key_R);
    EXPECT_EQ(polyTools_.logEntries.size(), entries) << "an edit that can't run says nothing";
}

TEST_F(PolyToolsTabTest, SwitchingModesKeepsTheSelectionOfEach) {
    const QString polys = takes();
    show(AppTab::polyTools);
    drop({polys});
    ASSERT_TRUE(waitForPolyTools());
    press(Qt::Key_Period);
    drop({polys + QStringLiteral("/../isos")});
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_TRUE(polyTools_.join().hasContent());
    press(Qt::Key_Comma);
    EXPECT_EQ(polyTools_.sourceFolder.value(), polys);
    EXPECT_EQ(polyTools_.batchPolyMetadata.size(), 3U);
    press(Qt::Key_Period);
    EXPECT_FALSE(polyTools_.joinSourceFolder.value().isEmpty());
}

TEST_F(PolyToolsTabTest, ADropGoesWhereTheModeWantsIt) {
    const QString polys = takes();
    show(AppTab::polyTools);
    press(Qt::Key_Slash);
    drop({polys + QStringLiteral("/12AT3.wav")});
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_TRUE(polyTools_.batchMode.value()) << "an edit is always a batch";
    press(Qt::Key_Comma);
    drop({polys + QStringLiteral("/12AT3.wav")});
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_FALSE(polyTools_.batchMode.value());
}

TEST_F(PolyToolsTabTest, AMissingToolIsTold) {
    show(AppTab::polyTools);
    EXPECT_FALSE(find<QWidget>(*polyToolsView_, missingFFmpegText())->isVisible());
    polyTools_.ffmpegAvailable = false;
    settle();
    EXPECT_TRUE(find<QWidget>(*polyToolsView_, missingFFmpegText())->isVisible());
    EXPECT_FALSE(find<QWidget>(*polyToolsView_, missingBwfmetaeditText())->isVisible());
}

TEST_F(PolyToolsTabTest, TheLogHasItsTitleAndItsActions) {
    show(AppTab::polyTools);
    auto* footer = polyToolsView_->findChild<ActivityFooter*>();
    footer->showLogPopover();
    ASSERT_NE(footer->popover(), nullptr);
    EXPECT_EQ(footer->popover()->accessibleName(), QStringLiteral("Poly Tools Log"));
    EXPECT_FALSE(polyTools_.logEntries.empty());
    QTest::mouseClick(find<QAbstractButton>(*footer->popover(), QStringLiteral("Clear Log")), Qt::LeftButton);
    EXPECT_TRUE(polyTools_.logEntries.empty());
    footer->popover()->dismiss();
}

TEST_F(PolyToolsTabTest, AJobIsAnnouncedFromItsBeginToItsEnd) {
    std::vector<bool> announced;
    QObject::connect(polyToolsView_, &TabPage::busyChanged, [&](bool isBusy) { announced.push_back(isBusy); });
    show(AppTab::polyTools);
    drop({takes() + QStringLiteral("/12AT3.wav")});
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_TRUE(announced.empty()) << "reading a file is no job";
    press(Qt::Key_R);
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_EQ(announced, (std::vector<bool>{true, false}));
}

TEST_F(PolyToolsTabTest, AnotherTabLeavesTheMixerAlone) {
    show(AppTab::polyTools);
    drop({takes() + QStringLiteral("/Concert-T02.wav")});
    ASSERT_TRUE(waitForPolyTools());
    ASSERT_TRUE(polyTools_.preview().mixer()->isLoaded.value());
    press(Qt::Key_Space, Qt::NoModifier);
    EXPECT_TRUE(polyTools_.preview().mixer()->isPlaying.value());
    press(Qt::Key_1);
    EXPECT_TRUE(polyTools_.preview().mixer()->isPlaying.value());
    press(Qt::Key_2);
    press(Qt::Key_Space, Qt::NoModifier);
    EXPECT_FALSE(polyTools_.preview().mixer()->isPlaying.value());
}

TEST(PolyToolsWithoutSound, TheTabIsThereWithoutAMixer) {
    ScriptedDesktop desktop;
    PolyToolsViewModel controller(desktop);
    QProperty<Appearance> appearance{Appearance::system};
    PolyToolsTabView view(controller, appearance);
    EXPECT_FALSE(view.isPreviewReady());
    view.togglePreview();
    view.skipPreview(5);
    view.resize(950, 640);
    view.show();
    EXPECT_TRUE(view.splitView().isVisible());
}

} // namespace
} // namespace ostrel::testing
