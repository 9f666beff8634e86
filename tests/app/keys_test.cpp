// What keys do in the window and in its dialogs, and that the control in focus is seen.
#include "app/window_test.h"

#include "app/controls/alert_dialog.h"
#include "app/controls/ostrel_style.h"
#include "app/shell/window_keys.h"
#include "app/validator/classification_badge.h"
#include "app/validator/clean_export_dialog_view.h"

#include <QCheckBox>
#include <QComboBox>
#include <QPixmap>
#include <QPushButton>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class KeysTest : public WindowTest {
protected:
    void pressReturn(QWidget& focus) {
        focus.setFocus();
        settle();
        ASSERT_TRUE(focus.hasFocus());
        press(Qt::Key_Return, Qt::NoModifier);
    }
};

TEST_F(KeysTest, ReturnPressesAButton) {
    show();
    pressReturn(*find<QAbstractButton>(*mainView_, QStringLiteral("Source: Select...")));
    EXPECT_EQ(desktop_.openPanels.size(), 1U);
}

TEST_F(KeysTest, ReturnTurnsASwitch) {
    show();
    auto* report = find<QAbstractButton>(*mainView_, QStringLiteral("Generate CSV Report"));
    const bool before = report->isChecked();
    pressReturn(*report);
    EXPECT_EQ(report->isChecked(), !before);
    pressReturn(*report);
    EXPECT_EQ(report->isChecked(), before);
}

TEST_F(KeysTest, ReturnChoosesAModeAndATab) {
    show();
    pressReturn(*find<QAbstractButton>(*mainView_, QStringLiteral("De-interleave")));
    EXPECT_EQ(interleaver_.currentMode.value(), AppMode::deinterleave);
    pressReturn(*find<QAbstractButton>(window_, QStringLiteral("Stereo Validator")));
    EXPECT_EQ(window_.selectedTab.value(), AppTab::stereoValidator);
}

TEST_F(KeysTest, ReturnOpensAPicker) {
    show();
    auto* layouts = find<QComboBox>(*mainView_, QStringLiteral("Channel layout"));
    pressReturn(*layouts);
    EXPECT_TRUE(waitUntil([] { return QApplication::activePopupWidget() != nullptr; }));
    layouts->hidePopup();
}

TEST_F(KeysTest, AHeldReturnPressesOnce) {
    show();
    auto* report = find<QAbstractButton>(*mainView_, QStringLiteral("Generate CSV Report"));
    const bool before = report->isChecked();
    pressReturn(*report);
    QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
    QApplication::sendEvent(report, &repeated);
    EXPECT_EQ(report->isChecked(), !before);
}

TEST(WindowKeys, KnowTheRowOfDigitsByItsPlaces) {
    for (const char* platform : {"xcb", "wayland", "wayland-egl"}) {
        const QString name = QString::fromLatin1(platform);
        EXPECT_EQ(WindowKeys::digitOfRow(10, name), 1);
        EXPECT_EQ(WindowKeys::digitOfRow(11, name), 2);
        EXPECT_EQ(WindowKeys::digitOfRow(18, name), 9);
        EXPECT_EQ(WindowKeys::digitOfRow(19, name), 0);
        EXPECT_EQ(WindowKeys::digitOfRow(9, name), -1) << "Escape";
        EXPECT_EQ(WindowKeys::digitOfRow(20, name), -1) << "behind the 0";
        EXPECT_EQ(WindowKeys::digitOfRow(0, name), -1) << "made by a program";
    }
    EXPECT_EQ(WindowKeys::digitOfRow(10, QStringLiteral("offscreen")), -1);
}

// One action, one sequence: of two that one press can mean Qt fires neither.
TEST_F(KeysTest, EveryActionOfTheMenusHasOneSequence) {
    QHash<QString, QString> owners;
    for (const QAction* action : window_.findChildren<QAction*>()) {
        EXPECT_LE(action->shortcuts().size(), 1) << action->text().toStdString();
        const QString keys = action->shortcut().toString();
        if (keys.isEmpty() || action->shortcutContext() != Qt::WindowShortcut) continue;
        EXPECT_FALSE(owners.contains(keys)) << keys.toStdString() << " of " << action->text().toStdString();
        owners.insert(keys, action->text());
    }
    EXPECT_TRUE(owners.contains(QStringLiteral("Ctrl+?")));
}

class AlertKeys : public ::testing::Test {
protected:
    // The answer that a key gives, with a button in focus where one is named.
    static int answer(Qt::Key key, const QString& focus = QString()) {
        AlertRequest request;
        request.title = QStringLiteral("Delete?");
        request.buttons = {QStringLiteral("Delete"), QStringLiteral("Rename"), QStringLiteral("Cancel")};
        request.defaultButton = 1;
        request.destructiveButton = 0;
        AlertDialog dialog(request);
        dialog.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
        if (!focus.isEmpty()) find<QAbstractButton>(dialog, focus)->setFocus();
        QTest::keyClick(dialog.windowHandle(), key);
        EXPECT_TRUE(waitUntil([&] { return !dialog.isVisible(); }));
        return dialog.choice();
    }
};

TEST_F(AlertKeys, ReturnTakesTheDefault) { EXPECT_EQ(answer(Qt::Key_Return), 1); }
TEST_F(AlertKeys, EscapeClosesWithTheLastAnswer) { EXPECT_EQ(answer(Qt::Key_Escape), 2); }
TEST_F(AlertKeys, ReturnOnAnotherButtonPressesThatOne) {
    EXPECT_EQ(answer(Qt::Key_Return, QStringLiteral("Cancel")), 2);
    EXPECT_EQ(answer(Qt::Key_Return, QStringLiteral("Delete")), 0);
}

// --- what is seen

// The fill in the middle of the left part, where no letter stands.
QColor fillOf(QWidget& button) { return button.grab().toImage().pixelColor(6, button.height() / 2); }

// How many pixels stand out clearly from what was there without the focus.
int ringPixels(QWidget& control) {
    QWidget* window = control.window();
    window->setFocus();
    const QImage without = control.grab().toImage();
    control.setFocus();
    const QImage with = control.grab().toImage();
    int count = 0;
    for (int y = 0; y < with.height(); ++y) {
        for (int x = 0; x < with.width(); ++x) {
            const QColor before = without.pixelColor(x, y);
            const QColor after = with.pixelColor(x, y);
            count += before != after && contrastRatio(before, after) >= 2.9;
        }
    }
    return count;
}

class FocusRing : public ::testing::TestWithParam<Shade> {
protected:
    FocusRing() { QApplication::setPalette(paletteFor(GetParam())); }
    ~FocusRing() override { QApplication::setPalette(paletteFor(Shade::light)); }
};

TEST_P(FocusRing, IsSeenOnEveryKindOfButton) {
    QWidget window;
    window.setFocusPolicy(Qt::StrongFocus);
    auto* column = new QVBoxLayout(&window);
    QPushButton* plain = pushButton(QStringLiteral("Scan"), QStringLiteral("magnifyingglass"));
    QPushButton* primary = pushButton(QStringLiteral("Run"));
    makePrimary(*primary);
    QPushButton* destructive = pushButton(QStringLiteral("Replace Originals"));
    makeDestructive(*destructive);
    auto* segments = new SegmentedControl(QStringLiteral("Mode"), SegmentedControl::Size::large);
    segments->addSegment(QStringLiteral("Interleave"));
    segments->addSegment(QStringLiteral("De-interleave"));
    auto* symbol = new SymbolButton(QStringLiteral("xmark"), QStringLiteral("Clear"), QStringLiteral("Clear"));
    auto* badge = new ClassificationBadge(StereoClassification::broken, 3);
    auto* check = new QCheckBox(QStringLiteral("Include subfolders"));
    auto* picker = new QComboBox;
    picker->addItem(QStringLiteral("Smart"));
    for (QWidget* widget :
         std::initializer_list<QWidget*>{plain, primary, destructive, segments, symbol, badge, check, picker}) {
        column->addWidget(widget, 0, Qt::AlignLeft);
    }
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    for (QWidget* widget : std::initializer_list<QWidget*>{plain, primary, destructive, segments->segment(0),
                                                           segments->segment(1), symbol, badge, check, picker}) {
        const int around = widget->width() + widget->height(); // a half of the outline
        EXPECT_GE(ringPixels(*widget), around)
            << widget->metaObject()->className() << " " << widget->accessibleName().toStdString();
    }
}

TEST_P(FocusRing, ADestructiveButtonIsRedAndTheDefaultIsNot) {
    AlertRequest request;
    request.buttons = {QStringLiteral("Enable Delete"), QStringLiteral("Cancel")};
    request.defaultButton = 1;
    request.destructiveButton = 0;
    AlertDialog dialog(request);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    EXPECT_EQ(fillOf(*find<QAbstractButton>(dialog, QStringLiteral("Enable Delete"))), theme(GetParam()).danger);
    EXPECT_EQ(fillOf(*find<QAbstractButton>(dialog, QStringLiteral("Cancel"))), theme(GetParam()).accent);
}

INSTANTIATE_TEST_SUITE_P(Shades, FocusRing, ::testing::Values(Shade::light, Shade::dark),
                         [](const auto& each) { return each.param == Shade::dark ? "dark" : "light"; });

} // namespace
} // namespace ostrel::testing
