// The whole window over real controllers, with a scripted desktop and recordings made by `ostrel-cli samples`.
#pragma once

#include "app/interleaver/main_view.h"
#include "app/poly/poly_tools_tab_view.h"
#include "app/shell/main_tab_view.h"
#include "app/shell/updater.h"
#include "app/tables/record_table.h"
#include "app/validator/stereo_validator_tab_view.h"
#include "platform/paths.h"
#include "preview/playback_manager.h"
#include "support/scripted_desktop.h"
#include "support/test_folder.h"

#include <QApplication>
#include <QtTest/QtTest>
#include <gtest/gtest.h>

namespace ostrel::testing {

constexpr int kLong = 2'400'000; // frames of a sound that is not over before a test gets to act, however late that is

// The one visible or hidden widget of that type and accessible name.
template <class Widget = QWidget>
Widget* find(const QWidget& parent, const QString& accessibleName) {
    for (Widget* widget : parent.findChildren<Widget*>()) {
        if (widget->accessibleName() == accessibleName) return widget;
    }
    ADD_FAILURE() << "no control named " << accessibleName.toStdString();
    return nullptr;
}

class WindowTest : public ::testing::Test {
protected:
    WindowTest();

    // A folder of demo recordings that belongs to this test.
    QString samples();

    void show(AppTab tab = AppTab::interleave);
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::ControlModifier);
    void click(const QString& accessibleName);
    void clickRow(QTableView& table, int row, int column);
    void drop(const QStringList& urls);

    // Runs the event loop until nothing is under way.
    bool waitForInterleaver();
    bool waitForAnalysis();
    bool waitForPolyTools();
    static void settle();

    QStringList messages(const RecordList<ProcessingLogEntry>& entries) const;

    TestFolder folder_;
    ScriptedDesktop desktop_;
    AudioOutput audio_;
    AppViewModel interleaver_;
    PolyToolsViewModel polyTools_;
    StereoValidatorViewModel validator_;
    Updater updater_;
    MainView* mainView_;
    StereoValidatorTabView* validatorView_;
    PolyToolsTabView* polyToolsView_;
    MainTabView window_;
};

} // namespace ostrel::testing
