// Recordings that were never closed, in any table.
#include "app/panels/row_menu.h"
#include "app/tables/record_table.h"
#include "support/scripted_desktop.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QStandardItemModel>
#include <QTimer>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class UnclosedRowsTest : public ::testing::Test {
protected:
    UnclosedRowsTest() {
        const QByteArray good = waveBytes({.channels = 2, .frames = 48'000});
        files_ << folder_.write(u"card/good.wav"_s, good);
        files_ << folder_.write(u"card/open.wav"_s, withDataSize(good, 0));
        for (const QString& file : files_) list_.appendRow(new QStandardItem(file));
        table_.setRecords(list_, {});
        RowMenu menu;
        menu.sources = [this](int record) { return QStringList(files_[record]); };
        addRowMenu(table_, desktop_, std::move(menu));
        table_.resize(700, 200);
        table_.setColumnWidth(0, 600);
        table_.show();
    }
    // The entries of the menu on this row; `chosen` is triggered.
    QStringList menuOn(int row, const QString& chosen = {}) {
        QStringList entries;
        table_.selectRow(row);
        QTimer::singleShot(0, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu) return;
            for (QAction* action : menu->actions()) {
                entries << action->text();
                if (action->text() == chosen) action->trigger();
            }
            menu->close();
        });
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(), QPoint());
        QApplication::sendEvent(&table_, &event);
        return entries;
    }

    TestFolder folder_;
    ScriptedDesktop desktop_;
    QStringList files_;
    QStandardItemModel list_;
    RecordTable table_{QStringLiteral("Takes")};
};

TEST_F(UnclosedRowsTest, ARowSaysSoAndOffersACopy) {
    const QByteArray before = readAll(files_[1]);
    ASSERT_TRUE(waitUntil([this] { return !table_.rows()->noteOf(1).isEmpty(); }));
    EXPECT_TRUE(table_.rows()->noteOf(1).startsWith(u"Unclosed: "_s)) << table_.rows()->noteOf(1).toStdString();
    EXPECT_TRUE(table_.rows()->noteOf(0).isEmpty());
    const QModelIndex cell = table_.shownIndex(1);
    EXPECT_EQ(cell.data(Qt::ToolTipRole).toString(), table_.rows()->noteOf(1));
    EXPECT_EQ(cell.data(Qt::AccessibleDescriptionRole).toString(), table_.rows()->noteOf(1));
    EXPECT_FALSE(menuOn(0).contains(u"Rescue a Copy..."_s));

    desktop_.openPanelAnswer = {folder_.path(u"out"_s)};
    EXPECT_TRUE(menuOn(1, u"Rescue a Copy..."_s).contains(u"Rescue a Copy..."_s));
    ASSERT_TRUE(waitUntil([this] { return !desktop_.alerts.empty(); }));
    const QString copy = folder_.path(u"out/open_rescued.wav"_s);
    EXPECT_EQ(chunkOf(readAll(copy), "data"), chunkOf(readAll(files_[0]), "data"));
    EXPECT_TRUE(desktop_.alerts.back().text.contains(copy)) << "it says where";
    EXPECT_EQ(desktop_.revealed, QStringList(copy)) << "its first button";
    EXPECT_EQ(readAll(files_[1]), before);
}

TEST_F(UnclosedRowsTest, WithoutAFolderNothingHappens) {
    ASSERT_TRUE(waitUntil([this] { return !table_.rows()->noteOf(1).isEmpty(); }));
    menuOn(1, u"Rescue a Copy..."_s);
    ASSERT_TRUE(waitUntil([this] { return !desktop_.openPanels.empty(); }));
    EXPECT_TRUE(desktop_.alerts.empty());
    EXPECT_EQ(namesIn(folder_.path(u"card"_s)), (QStringList{u"good.wav"_s, u"open.wav"_s}));
}

} // namespace
} // namespace ostrel
