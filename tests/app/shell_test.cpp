#include "app/window_test.h"

#include "app/blank_page.h"
#include "app/panels/help_texts.h"
#include "app/shell/check_for_updates.h"
#include "app/shell/spacebar_monitor.h"

#include <QDialog>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class ShellTest : public WindowTest {
protected:
    QAction* menuItem(const QString& menuTitle, const QString& text) {
        for (const QAction* top : window_.menuBar()->actions()) {
            if (QString(top->text()).remove(u'&') != menuTitle) continue;
            for (QAction* action : top->menu()->actions()) {
                if (QString(action->text()).remove(u'&') == text) return action;
            }
        }
        ADD_FAILURE() << "no item " << text.toStdString() << " in " << menuTitle.toStdString();
        return nullptr;
    }

    // A recording in the Interleaver's player.
    void loadPreview() {
        interleaver_.playbackManager().loadFile(folder_.write(QStringLiteral("tone.wav"), tone()), 48000, 16);
        ASSERT_TRUE(interleaver_.playbackManager().engine().isLoaded.value());
    }

    static QByteArray tone() {
        const int frames = 48000 * 5;
        QByteArray data(frames * 2, '\1');
        const auto number = [](quint32 value, int bytes) {
            QByteArray text;
            for (int byte = 0; byte < bytes; ++byte) text.append(static_cast<char>(value >> (8 * byte) & 255));
            return text;
        };
        const QByteArray format =
            number(1, 2) + number(1, 2) + number(48000, 4) + number(96000, 4) + number(2, 2) + number(16, 2);
        const QByteArray body =
            "WAVEfmt " + number(16, 4) + format + "data" + number(static_cast<quint32>(data.size()), 4) + data;
        return "RIFF" + number(static_cast<quint32>(body.size()), 4) + body;
    }
};

TEST_F(ShellTest, OpensOnTheInterleaverAtTheSmallestSizeThatShowsAll) {
    show();
    EXPECT_EQ(window_.selectedTab.value(), AppTab::interleave);
    EXPECT_EQ(window_.minimumSize(), QSize(950, 700));
    window_.resize(950, 700);
    settle();
    EXPECT_EQ(window_.size(), QSize(950, 700)) << "the tabs need no more room than that";
}

TEST_F(ShellTest, DigitsChooseTabsFromEveryTab) {
    show();
    press(Qt::Key_3);
    EXPECT_EQ(window_.selectedTab.value(), AppTab::stereoValidator);
    EXPECT_TRUE(validatorView_->isVisible());
    press(Qt::Key_2);
    EXPECT_EQ(window_.selectedTab.value(), AppTab::polyTools);
    EXPECT_TRUE(polyToolsView_->isVisible());
    press(Qt::Key_1);
    EXPECT_EQ(window_.selectedTab.value(), AppTab::interleave);
    EXPECT_TRUE(mainView_->isVisible());
}

TEST_F(ShellTest, TabButtonsChooseTabs) {
    show();
    QTest::mouseClick(find<QAbstractButton>(window_, QStringLiteral("Stereo Validator")), Qt::LeftButton);
    EXPECT_EQ(window_.selectedTab.value(), AppTab::stereoValidator);
}

TEST_F(ShellTest, CommaAndPointChooseTheInterleaversMode) {
    show();
    press(Qt::Key_Period);
    EXPECT_EQ(interleaver_.currentMode.value(), AppMode::deinterleave);
    press(Qt::Key_Comma);
    EXPECT_EQ(interleaver_.currentMode.value(), AppMode::interleave);
}

TEST_F(ShellTest, SlashOnTheInterleaverTabDoesNothing) {
    show();
    press(Qt::Key_Slash);
    EXPECT_EQ(interleaver_.currentMode.value(), AppMode::interleave);
    EXPECT_TRUE(interleaver_.logEntries.empty());
}

TEST_F(ShellTest, CommaOnTheStereoValidatorTabDoesNothing) {
    show(AppTab::stereoValidator);
    interleaver_.currentMode = AppMode::deinterleave;
    const auto entries = validator_.logEntries.size();
    press(Qt::Key_Comma);
    EXPECT_EQ(interleaver_.currentMode.value(), AppMode::deinterleave);
    EXPECT_EQ(validator_.logEntries.size(), entries);
}

TEST_F(ShellTest, SelectionKeysReachTheVisibleTab) {
    show();
    press(Qt::Key_I);
    ASSERT_EQ(desktop_.openPanels.size(), 1U);
    EXPECT_EQ(desktop_.openPanels.back().message, QStringLiteral("Select audio files or folders to process"));
    press(Qt::Key_O);
    ASSERT_EQ(desktop_.openPanels.size(), 2U);
    EXPECT_EQ(desktop_.openPanels.back().message, QStringLiteral("Select output folder for processed files"));
    press(Qt::Key_3);
    press(Qt::Key_I);
    ASSERT_EQ(desktop_.openPanels.size(), 3U);
    EXPECT_EQ(desktop_.openPanels.back().message, QStringLiteral("Select stereo audio files or folder"));
    press(Qt::Key_O);
    ASSERT_EQ(desktop_.openPanels.size(), 4U);
    EXPECT_EQ(desktop_.openPanels.back().message,
              QStringLiteral("Choose where to save analysis results and processed files"));
    press(Qt::Key_2);
    press(Qt::Key_I);
    ASSERT_EQ(desktop_.openPanels.size(), 5U);
    EXPECT_TRUE(desktop_.openPanels.back().canChooseFolders);
    press(Qt::Key_O);
    ASSERT_EQ(desktop_.openPanels.size(), 6U);
    EXPECT_EQ(desktop_.openPanels.back().message, QStringLiteral("Select output folder"));
}

TEST_F(ShellTest, CommandsWhoseRuleIsNotMetSayNothing) {
    show();
    press(Qt::Key_S);
    press(Qt::Key_R);
    EXPECT_TRUE(interleaver_.logEntries.empty());
    press(Qt::Key_3);
    const auto entries = validator_.logEntries.size();
    press(Qt::Key_S);
    press(Qt::Key_R);
    EXPECT_EQ(validator_.logEntries.size(), entries);
    EXPECT_FALSE(validator_.showCleanExportDialog.value());
}

TEST_F(ShellTest, DroppingOneFileOnTheInterleaverSetsThatVeryFile) {
    show();
    const QString file = folder_.write(QStringLiteral("a.L.wav"), "x");
    drop({file});
    EXPECT_EQ(interleaver_.sourceURL.value(), file);
    EXPECT_EQ(interleaver_.selectedFiles.value(), QStringList{file});
    EXPECT_TRUE(waitForInterleaver()); // the layout of a single file is looked for
}

TEST_F(ShellTest, DroppingTwoFilesOnTheInterleaverSetsTheirFolder) {
    show();
    const QStringList files{folder_.write(QStringLiteral("a.L.wav"), "x"),
                            folder_.write(QStringLiteral("a.R.wav"), "x")};
    drop(files);
    EXPECT_EQ(interleaver_.sourceURL.value(), folder_.path());
    EXPECT_EQ(interleaver_.selectedFiles.value(), files);
}

TEST_F(ShellTest, DroppingOneFolderAndOneWavOnTheValidatorKeepsJustTheWav) {
    show(AppTab::stereoValidator);
    const QString file = folder_.write(QStringLiteral("a.WAV"), "x");
    drop({folder_.path(), file, folder_.write(QStringLiteral("b.mp3"), "x")});
    EXPECT_EQ(validator_.selectedFiles.value(), std::optional(QStringList{file}));
    EXPECT_TRUE(validator_.sourceFolder.value().isEmpty());
}

TEST_F(ShellTest, DroppingOneFolderOnTheValidatorTakesTheFolder) {
    show(AppTab::stereoValidator);
    validator_.selectedFiles = QStringList{QStringLiteral("/x.wav")};
    drop({folder_.path()});
    EXPECT_EQ(validator_.sourceFolder.value(), folder_.path());
    EXPECT_FALSE(validator_.selectedFiles.value());
}

TEST_F(ShellTest, ADropOfNothingUsableChangesNothing) {
    show(AppTab::stereoValidator);
    drop({folder_.path()});
    drop({folder_.write(QStringLiteral("b.mp3"), "x"), folder_.write(QStringLiteral("c.txt"), "x")});
    EXPECT_EQ(validator_.sourceFolder.value(), folder_.path());
    window_.selectedTab = AppTab::interleave;
    drop({});
    EXPECT_TRUE(interleaver_.sourceURL.value().isEmpty());
}

TEST_F(ShellTest, TheOverlayLiesOverTheWholeWindowWhileADragHovers) {
    show();
    QWidget* overlay = find(window_, QStringLiteral("Drop files or folders here"));
    ASSERT_NE(overlay, nullptr);
    EXPECT_FALSE(overlay->isVisible());
    window_.isDragTargeted = true;
    EXPECT_TRUE(overlay->isVisible());
    EXPECT_EQ(overlay->size(), window_.size());
    window_.isDragTargeted = false;
    EXPECT_FALSE(overlay->isVisible());
}

TEST_F(ShellTest, SpacePlaysAndPausesThePreview) {
    show();
    loadPreview();
    press(Qt::Key_Space, Qt::NoModifier);
    EXPECT_TRUE(interleaver_.playbackManager().engine().isPlaying.value());
    EXPECT_TRUE(interleaver_.isAuditioning.value());
    press(Qt::Key_Space, Qt::NoModifier);
    EXPECT_FALSE(interleaver_.playbackManager().engine().isPlaying.value());
    EXPECT_FALSE(interleaver_.isAuditioning.value());
}

TEST_F(ShellTest, SpaceIsThePreviewsEvenWithAButtonInFocus) {
    show();
    loadPreview();
    window_.currentPage().firstFocus()->setFocus();
    press(Qt::Key_Space, Qt::NoModifier);
    EXPECT_TRUE(desktop_.openPanels.empty());
    EXPECT_TRUE(interleaver_.playbackManager().engine().isPlaying.value());
}

TEST_F(ShellTest, SpaceWithoutAPreviewPressesTheButtonInFocus) {
    show();
    window_.currentPage().firstFocus()->setFocus();
    press(Qt::Key_Space, Qt::NoModifier);
    EXPECT_EQ(desktop_.openPanels.size(), 1U);
}

TEST_F(ShellTest, ASpaceTypedIntoATextFieldReachesTheFieldAndStartsNoPreview) {
    show();
    loadPreview();
    QLineEdit line(mainView_);
    QPlainTextEdit text(mainView_);
    line.show();
    text.show();
    line.setFocus();
    press(Qt::Key_Space, Qt::NoModifier);
    EXPECT_EQ(line.text(), QStringLiteral(" "));
    text.setFocus();
    press(Qt::Key_Space, Qt::NoModifier);
    EXPECT_EQ(text.toPlainText(), QStringLiteral(" "));
    EXPECT_FALSE(interleaver_.playbackManager().engine().isPlaying.value());
}

TEST_F(ShellTest, SpaceWithAModifierIsPassedOn) {
    show();
    loadPreview();
    press(Qt::Key_Space, Qt::ShiftModifier);
    EXPECT_FALSE(interleaver_.playbackManager().engine().isPlaying.value());
}

TEST_F(ShellTest, SpaceUnderADialogIsTheDialogs) {
    show();
    loadPreview();
    QDialog dialog(&window_);
    dialog.setModal(true);
    dialog.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    press(Qt::Key_Space, Qt::NoModifier);
    EXPECT_FALSE(interleaver_.playbackManager().engine().isPlaying.value());
}

TEST_F(ShellTest, ATabChangeStopsTheInterleaversPreview) {
    show();
    loadPreview();
    press(Qt::Key_Space, Qt::NoModifier);
    press(Qt::Key_3);
    EXPECT_FALSE(interleaver_.playbackManager().engine().isPlaying.value());
    EXPECT_EQ(interleaver_.playbackManager().engine().currentTime.value(), 0);
    EXPECT_FALSE(interleaver_.isAuditioning.value());
}

TEST_F(ShellTest, ArrowsWithControlJumpInThePreview) {
    show();
    loadPreview();
    press(Qt::Key_Right);
    EXPECT_NEAR(interleaver_.playbackManager().engine().currentTime.value(), 5, 0.01);
    press(Qt::Key_Left);
    EXPECT_NEAR(interleaver_.playbackManager().engine().currentTime.value(), 0, 0.01);
}

TEST_F(ShellTest, TheAppearanceMenuAndItsKeysSetThePreferenceThatIsKept) {
    show();
    menuItem(QStringLiteral("Appearance"), QStringLiteral("Dark"))->trigger();
    EXPECT_EQ(interleaver_.appearance.value(), Appearance::dark);
    EXPECT_EQ(desktop_.appearances.back(), Appearance::dark);
    EXPECT_TRUE(menuItem(QStringLiteral("Appearance"), QStringLiteral("Dark"))->isChecked());
    press(Qt::Key_1, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(interleaver_.appearance.value(), Appearance::light);
    press(Qt::Key_2, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(AppViewModel(desktop_, audio_).appearance.value(), Appearance::dark);
    press(Qt::Key_0, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(interleaver_.appearance.value(), Appearance::system);
}

TEST_F(ShellTest, TheToggleGoesThroughTheAppearances) {
    show();
    click(QStringLiteral("Appearance: System"));
    EXPECT_EQ(interleaver_.appearance.value(), Appearance::light);
    click(QStringLiteral("Appearance: Light"));
    EXPECT_EQ(interleaver_.appearance.value(), Appearance::dark);
    click(QStringLiteral("Appearance: Dark"));
    EXPECT_EQ(interleaver_.appearance.value(), Appearance::system);
}

TEST_F(ShellTest, ShowsTheKeyboardShortcutsInThisDesktopsWords) {
    show();
    menuItem(QStringLiteral("Shortcuts"), QStringLiteral("Show Keyboard Shortcuts"))->trigger();
    ASSERT_EQ(desktop_.alerts.size(), 1U);
    EXPECT_EQ(desktop_.alerts[0].title, QStringLiteral("Keyboard Shortcuts"));
    EXPECT_EQ(desktop_.alerts[0].style, AlertRequest::Style::informational);
    EXPECT_EQ(desktop_.alerts[0].buttons, QStringList{QStringLiteral("OK")});
    const QString text = desktop_.alerts[0].text;
    EXPECT_TRUE(text.startsWith(QStringLiteral("Tab Navigation:\nCtrl+1 — Interleaver\n"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("Space — Play / Pause preview\n")));
    EXPECT_TRUE(text.contains(QStringLiteral("Ctrl+/ — Edit Poly (rename, remove, reorder channels)")));
    EXPECT_TRUE(text.endsWith(QStringLiteral("Ctrl+Shift+2 — Dark")));
    EXPECT_FALSE(text.contains(u'⌘'));
    press(Qt::Key_Question);
    EXPECT_EQ(desktop_.alerts.size(), 2U);
}

TEST_F(ShellTest, ShowsWhatEachTabIsFor) {
    show();
    for (const char* name : {"Interleaver", "Poly Tools", "Stereo Validator"}) {
        const QString title = QString::fromLatin1(name);
        menuItem(QStringLiteral("About"), QStringLiteral("About ") + title)->trigger();
        EXPECT_EQ(desktop_.alerts.back().title, title);
        EXPECT_TRUE(desktop_.alerts.back().text.contains(QStringLiteral("▸ ")));
    }
    EXPECT_EQ(desktop_.alerts.size(), 3U);
    EXPECT_TRUE(
        aboutStereoValidatorText().contains(QStringLiteral("whether to add a \"_mono\" suffix. Processes in batch.")));
}

TEST_F(ShellTest, ItemsWithoutAnAddressAreNotThere) {
    for (const QAction* action : window_.findChildren<QAction*>()) {
        for (const char16_t* name : {u"Website", u"Email Support", u"Check for Updates…"})
            EXPECT_NE(action->text(), QString::fromUtf16(name));
    }
}

TEST_F(ShellTest, TellsItsVersionItsLicenceAndItsLibraries) {
    menuItem(QStringLiteral("About"), QStringLiteral("About Ostrel"))->trigger();
    ASSERT_EQ(desktop_.alerts.size(), 1U);
    const QString text = desktop_.alerts[0].text;
    EXPECT_TRUE(text.startsWith(QStringLiteral("Version 0.1.0\n"))) << text.toStdString();
    for (const char* word : {"MIT licensed", "libsndfile", "OpenSSL"})
        EXPECT_TRUE(text.contains(QString::fromLatin1(word))) << word;
    EXPECT_TRUE(text.contains(QStringLiteral("Qt ") + QString::fromLatin1(qVersion())));
}

TEST_F(ShellTest, ToolsAreLookedForAgainOnRequest) {
    int requests = 0;
    window_.recheckTools = [&] { ++requests; };
    menuItem(QStringLiteral("Support"), QStringLiteral("Look for Tools Again"))->trigger();
    EXPECT_EQ(requests, 1);
}

TEST_F(ShellTest, SupportItemsOpenTheProductsAddresses) {
    const ProductSettings settings{QStringLiteral("1"), QStringLiteral("https://example.org/"),
                                   QStringLiteral("help@example.org"), QString()};
    MainTabView window(desktop_, updater_, interleaver_.appearance, settings,
                       {new BlankPage, new BlankPage, new BlankPage});
    for (QAction* action : window.findChildren<QAction*>()) {
        if (action->text() == QStringLiteral("Website") || action->text() == QStringLiteral("Email Support")) {
            action->trigger();
        }
    }
    EXPECT_EQ(desktop_.openedPages,
              (QStringList{QStringLiteral("https://example.org/"), QStringLiteral("mailto:help@example.org")}));
}

TEST_F(ShellTest, PolyToolsOpenInSplitMode) {
    show(AppTab::polyTools);
    EXPECT_EQ(polyTools_.mode.value(), PolyMode::split);
    EXPECT_EQ(find<SegmentedControl>(*polyToolsView_, QStringLiteral("Mode"))->current(), 0);
}

} // namespace
} // namespace ostrel::testing
