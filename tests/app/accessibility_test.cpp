#include "app/window_test.h"

#include "app/desktop/open_panel.h"
#include "app/poly/edit/batch_channel_removal_config_view.h"
#include "app/poly/edit/poly_edit_view.h"
#include "app/validator/clean_export_dialog_view.h"

#include <QAbstractSlider>
#include <QCheckBox>
#include <QComboBox>
#include <QScrollBar>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

// Parts of a control that are reached through it.
bool isInnerPart(const QWidget& widget) {
    if (widget.objectName().startsWith(QStringLiteral("qt_"))) return true;
    if (qobject_cast<const QScrollBar*>(&widget) || widget.inherits("QComboBoxPrivateContainer")) return true;
    for (const QWidget* parent = widget.parentWidget(); parent; parent = parent->parentWidget()) {
        if (parent->inherits("QComboBoxPrivateContainer") || qobject_cast<const QComboBox*>(parent)) return true;
        if (parent->inherits("QTabBar")) return true;
    }
    return widget.inherits("QMenuBarExtension") || widget.inherits("QToolBarExtension") || widget.inherits("QMenu") ||
           widget.inherits("QTableCornerButton");
}

bool isControl(const QWidget& widget) {
    return qobject_cast<const QAbstractButton*>(&widget) || qobject_cast<const QComboBox*>(&widget) ||
           qobject_cast<const QAbstractSlider*>(&widget) || qobject_cast<const QAbstractItemView*>(&widget) ||
           widget.focusPolicy() != Qt::NoFocus;
}

void expectNames(const QWidget& root) {
    for (const QWidget* widget : root.findChildren<QWidget*>()) {
        if (isInnerPart(*widget) || !isControl(*widget) || qobject_cast<const QLabel*>(widget)) continue;
        const QString name = widget->accessibleName();
        EXPECT_FALSE(name.isEmpty()) << widget->metaObject()->className() << " in "
                                     << widget->parentWidget()->metaObject()->className() << " of "
                                     << widget->parentWidget()->accessibleName().toStdString();
    }
}

class AccessibilityTest : public WindowTest {
protected:
    void expectTabGoesDown(QWidget* first);
};

TEST_F(AccessibilityTest, EveryControlHasAName) {
    show();
    interleaver_.select({samples()});
    interleaver_.selectedLayout = ChannelLayout::stereo;
    EXPECT_TRUE(waitForInterleaver());
    expectNames(window_);
}

TEST_F(AccessibilityTest, EveryControlOfPolyToolsHasANameInEveryMode) {
    show(AppTab::polyTools);
    const QString recordings = samples();
    for (const PolyMode mode : kAllPolyModes) {
        polyTools_.mode = mode;
        const bool isJoin = mode == PolyMode::join;
        drop({recordings + (isJoin ? QStringLiteral("/isos") : QStringLiteral("/polys"))});
        EXPECT_TRUE(waitForPolyTools());
        if (isJoin) press(Qt::Key_S);
        EXPECT_TRUE(waitForPolyTools());
        expectNames(*polyToolsView_);
    }
}

TEST_F(AccessibilityTest, EveryControlOfTheDialogsHasAName) {
    const auto none = [] { return std::vector<StereoValidatorResult>(); };
    CleanExportDialogView dialog(validator_, 0, none, &window_);
    expectNames(dialog);
    ChannelEdits edits;
    edits.tracks = sequentialTracks(4);
    BatchChannelRemovalConfigView removal(edits, &window_);
    expectNames(removal);
    OpenPanelRequest request;
    request.canChooseFolders = true;
    request.canCreateFolders = true;
    OpenPanel panel(request, {}, &window_);
    expectNames(panel);
}

// From control to control by Tab: down the page, and round to the first again.
void AccessibilityTest::expectTabGoesDown(QWidget* first) {
    std::vector<int> heights;
    first->setFocus();
    for (int step = 0; step < 60; ++step) {
        const QWidget* focus = QApplication::focusWidget();
        ASSERT_NE(focus, nullptr);
        heights.push_back(focus->mapTo(&window_, QPoint(0, focus->height() / 2)).y());
        press(Qt::Key_Tab, Qt::NoModifier);
        if (QApplication::focusWidget() == first) break;
    }
    EXPECT_EQ(QApplication::focusWidget(), first);
    int upwards = 0;
    for (std::size_t i = 1; i < heights.size(); ++i) upwards += heights[i] < heights[i - 1] - 40;
    EXPECT_LE(upwards, 3) << "once round the window, and between the columns of the options";
}

TEST_F(AccessibilityTest, TabGoesDownThePage) {
    show();
    expectTabGoesDown(find<QAbstractButton>(*mainView_, QStringLiteral("Source: Select...")));
}

TEST_F(AccessibilityTest, TabGoesDownThePageOfASplit) {
    show(AppTab::polyTools);
    expectTabGoesDown(find<QAbstractButton>(*polyToolsView_, QStringLiteral("Source Poly File(s): Choose File(s)...")));
}

TEST_F(AccessibilityTest, TabGoesDownThePageOfAnEdit) {
    show(AppTab::polyTools);
    press(Qt::Key_Slash);
    drop({samples() + QStringLiteral("/polys")});
    EXPECT_TRUE(waitForPolyTools());
    expectTabGoesDown(find<QAbstractButton>(polyToolsView_->editView(), QStringLiteral("Source: Select...")));
}

} // namespace
} // namespace ostrel::testing
