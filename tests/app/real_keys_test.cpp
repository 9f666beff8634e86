// Presses of keys as a keyboard makes them, through the X server and its layout. They need a display of their own,
// which tests/app/real-keys makes for each layout: elsewhere they are skipped.
#include "app/window_test.h"

#include <QProcess>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

// Keys by their place: numbers of X11, which are the kernel's plus 8.
enum Place {
    one = 10,
    two = 11,
    three = 12,
    seven = 16,
    zero = 19,
    backspaceLeft = 20, // "-" on a US keyboard, "ß" on a German one
    control = 37,
    shift = 50,
    m = 58,
    comma = 59,
    period = 60,
    slash = 61,
    returnKey = 36,
    tab = 23,
};

class RealKeysTest : public WindowTest {
protected:
    void SetUp() override {
        if (!qEnvironmentVariableIsSet("OSTREL_REAL_KEYS"))
            GTEST_SKIP() << "no keyboard of its own: see tests/app/real-keys";
        layout_ = qEnvironmentVariable("OSTREL_REAL_KEYS");
        window_.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window_, 60'000));
    }

    // All down in order, then up.
    void strike(const QList<int>& places) {
        QStringList keys;
        for (const int place : places) keys << QString::number(place);
        ASSERT_EQ(QProcess::execute(QStringLiteral("xdotool"), {QStringLiteral("key"), keys.join(u'+')}), 0);
    }

    template <class Condition>
    void expectAfter(const QList<int>& places, Condition holds, const char* what) {
        strike(places);
        EXPECT_TRUE(waitUntil(holds, 60'000)) << what << " on " << layout_.toStdString();
    }

    QList<int> questionMark() const {
        if (layout_ == QStringLiteral("de")) return {shift, backspaceLeft};
        if (layout_ == QStringLiteral("fr")) return {shift, m};
        return {shift, slash};
    }
    QList<int> modeKey(int index) const {
        const bool isFrench = layout_ == QStringLiteral("fr");
        const bool isGerman = layout_ == QStringLiteral("de");
        if (index == 0) return {isFrench ? m : comma};
        if (index == 1) return isFrench ? QList<int>{shift, comma} : QList<int>{period};
        if (isFrench) return {shift, period};
        return isGerman ? QList<int>{shift, seven} : QList<int>{slash};
    }

    QString layout_;
};

TEST_F(RealKeysTest, TabsAndAppearancesByTheRowOfDigits) {
    const int digits[] = {one, two, three};
    for (const int index : {1, 2, 0}) {
        expectAfter(
            {control, digits[index]}, [&] { return window_.selectedTab.value() == static_cast<AppTab>(index); },
            "Ctrl and a digit");
    }
    const std::pair<int, Appearance> appearances[] = {
        {two, Appearance::dark}, {one, Appearance::light}, {zero, Appearance::system}};
    for (const auto& [place, appearance] : appearances) {
        expectAfter(
            {control, shift, place}, [&, wanted = appearance] { return interleaver_.appearance.value() == wanted; },
            "Ctrl, Shift and a digit");
        EXPECT_EQ(window_.selectedTab.value(), AppTab::interleave) << "that one is of the appearance alone";
    }
}

TEST_F(RealKeysTest, TheQuestionMarkShowsTheShortcuts) {
    expectAfter(
        QList<int>{control} + questionMark(), [&] { return desktop_.alerts.size() == 1; }, "Ctrl+?");
    ASSERT_FALSE(desktop_.alerts.empty());
    EXPECT_EQ(desktop_.alerts[0].title, QStringLiteral("Keyboard Shortcuts"));
}

TEST_F(RealKeysTest, CommaPointAndSlashChooseModes) {
    window_.selectedTab = AppTab::polyTools;
    const PolyMode modes[] = {PolyMode::split, PolyMode::join, PolyMode::editPoly};
    for (const int index : {1, 2, 0}) {
        expectAfter(
            QList<int>{control} + modeKey(index), [&] { return polyTools_.mode.value() == modes[index]; },
            "a mode's key");
    }
}

TEST_F(RealKeysTest, ReturnPressesWhatHasTheFocus) {
    window_.currentPage().firstFocus()->setFocus();
    expectAfter(
        {returnKey}, [&] { return desktop_.openPanels.size() == 1; }, "Return");
}

} // namespace
} // namespace ostrel::testing
