#include "app/tables/arranged_rows.h"

#include "app/controls/item_roles.h"
#include "app/panels/row_menu.h"
#include "app/tables/filter_bar.h"
#include "app/tables/record_table.h"
#include "support/scripted_desktop.h"

#include <QApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QStandardItemModel>
#include <QTimer>
#include <QUrl>
#include <QtTest/QtTest>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

// Name, a number told as text, a state.
class ArrangedRowsTest : public ::testing::Test {
protected:
    ArrangedRowsTest() {
        add("Take 10", 2.5, "Ready");
        add("Take 9", -1, "Failed");
        add("take 1", 10, "Ready");
        add("Boom", 10, "Completed");
    }
    void add(const char* name, double number, const char* state) {
        auto* seconds = new QStandardItem(QString::number(number) + QStringLiteral(" s"));
        seconds->setData(number, SortRole);
        list_.appendRow(
            {new QStandardItem(QString::fromLatin1(name)), seconds, new QStandardItem(QString::fromLatin1(state))});
    }
    static QString names(const QAbstractItemModel& rows) {
        QStringList names;
        for (int row = 0; row < rows.rowCount(); ++row) names << rows.index(row, 0).data().toString();
        return names.join(u'|');
    }

    QStandardItemModel list_;
};

TEST_F(ArrangedRowsTest, SortsTextsAsAPersonCountsNumbersByValueAndEqualsAsTheyStand) {
    ArrangedRows rows(list_, {}, nullptr);
    EXPECT_EQ(names(rows), QStringLiteral("Take 10|Take 9|take 1|Boom"));
    rows.sort(0);
    EXPECT_EQ(names(rows), QStringLiteral("Boom|take 1|Take 9|Take 10"));
    rows.sort(1);
    EXPECT_EQ(names(rows), QStringLiteral("Take 9|Take 10|take 1|Boom"));
    rows.sort(1, Qt::DescendingOrder);
    EXPECT_EQ(names(rows), QStringLiteral("take 1|Boom|Take 10|Take 9")) << "equals keep the order of the list";
    rows.sort(-1);
    EXPECT_EQ(names(rows), QStringLiteral("Take 10|Take 9|take 1|Boom"));
}

TEST_F(ArrangedRowsTest, AFilterFindsEveryWordInTheColumnsThatItSearches) {
    ArrangedRows rows(list_, {.filterColumns = {0, 2}, .headOf = {}, .files = {}}, nullptr);
    rows.setFilter(QStringLiteral("READY take"));
    EXPECT_EQ(names(rows), QStringLiteral("Take 10|take 1"));
    EXPECT_EQ(rows.hiddenCount(), 2);
    EXPECT_EQ(rows.recordOf(1), 2);
    EXPECT_EQ(rows.shownOf(3), -1);
    rows.setFilter(QStringLiteral("2.5"));
    EXPECT_EQ(rows.rowCount(), 0) << "that column is not searched";
    rows.setFilter({});
    EXPECT_EQ(rows.rowCount(), 4);
}

TEST_F(ArrangedRowsTest, WhatAViewHoldsOnToGoesByItsRecord) {
    ArrangedRows rows(list_, {}, nullptr);
    rows.sort(0);
    const QPersistentModelIndex boom = rows.index(0, 0);
    const QPersistentModelIndex ten = rows.index(3, 0);
    rows.sort(0, Qt::DescendingOrder);
    EXPECT_EQ(boom.data().toString(), QStringLiteral("Boom"));
    list_.insertRow(0, new QStandardItem(QStringLiteral("Aaa")));
    EXPECT_EQ(names(rows), QStringLiteral("Take 10|Take 9|take 1|Boom|Aaa"));
    EXPECT_EQ(boom.data().toString(), QStringLiteral("Boom"));
    list_.removeRow(1); // Take 10
    EXPECT_FALSE(ten.isValid());
    EXPECT_EQ(boom.data().toString(), QStringLiteral("Boom"));
    EXPECT_EQ(rows.recordOf(boom.row()), 3);
}

TEST_F(ArrangedRowsTest, AChangeThatMovesNothingIsOneRowsAndOneThatDoesArrangesAgain) {
    ArrangedRows rows(list_, {}, nullptr);
    rows.sort(0);
    rows.setFilter(QStringLiteral("ready"));
    QSignalSpy layouts(&rows, &QAbstractItemModel::layoutChanged);
    QSignalSpy changes(&rows, &QAbstractItemModel::dataChanged);
    list_.item(0, 1)->setText(QStringLiteral("3 s"));
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes[0][0].toModelIndex().row(), rows.shownOf(0));
    QTest::qWait(1);
    EXPECT_EQ(layouts.size(), 0);
    list_.item(1, 2)->setText(QStringLiteral("Ready"));
    EXPECT_TRUE(layouts.wait());
    EXPECT_EQ(names(rows), QStringLiteral("take 1|Take 9|Take 10"));
}

// Two files of two channels each.
TEST_F(ArrangedRowsTest, LinesOfAnotherGoWithIt) {
    list_.clear();
    for (const char* name : {"B", "b2", "b1", "A", "a2", "a1"}) add(name, 0, "");
    ArrangedRows rows(list_, {.filterColumns = {0}, .headOf = [](int row) { return row / 3 * 3; }, .files = {}},
                      nullptr);
    rows.sort(0);
    EXPECT_EQ(names(rows), QStringLiteral("A|a2|a1|B|b2|b1"));
    rows.sort(0, Qt::DescendingOrder);
    EXPECT_EQ(names(rows), QStringLiteral("B|b2|b1|A|a2|a1"));
    rows.setFilter(QStringLiteral("a"));
    EXPECT_EQ(names(rows), QStringLiteral("A|a2|a1"));
    EXPECT_EQ(rows.hiddenCount(), 1);
}

TEST_F(ArrangedRowsTest, RowsGoOutAsFilesToBeCopiedOnly) {
    ArrangedRows rows(list_,
                      {.filterColumns = {},
                       .headOf = {},
                       .files = [](int record) { return QStringList(QStringLiteral("/takes/%1 a.wav").arg(record)); }},
                      nullptr);
    rows.sort(0);
    const std::unique_ptr<QMimeData> data(
        rows.mimeData({rows.index(0, 0), rows.index(0, 1), rows.index(3, 0), rows.index(3, 2)}));
    EXPECT_EQ(data->urls(), (QList<QUrl>{QUrl::fromLocalFile(QStringLiteral("/takes/3 a.wav")),
                                         QUrl::fromLocalFile(QStringLiteral("/takes/0 a.wav"))}));
    EXPECT_EQ(rows.supportedDragActions(), Qt::CopyAction);
    EXPECT_TRUE(rows.flags(rows.index(0, 0)).testFlag(Qt::ItemIsDragEnabled));
}

class RowMenuTest : public ArrangedRowsTest {
protected:
    RowMenuTest() : table_(new RecordTable(QStringLiteral("Takes"))) {
        table_->setRecords(list_, {});
        RowMenu menu;
        menu.sources = [](int record) { return QStringList(QStringLiteral("/takes/%1.wav").arg(record)); };
        menu.error = [this](int record) {
            const QString state = list_.item(record, 2)->text();
            return state == QStringLiteral("Failed") ? QStringLiteral("The disk is full") : QString();
        };
        menu.canRetry = [this](int record) { return list_.item(record, 2)->text() == QStringLiteral("Failed"); };
        menu.retry = [this](const QList<int>& records) { retried_ << records; };
        addRowMenu(*table_, desktop_, std::move(menu));
        whole_.reset(withFilter(*table_));
        whole_->resize(500, 300);
        whole_->show();
        bar_ = whole_->findChild<FilterBar*>();
    }
    // Chooses an entry of the menu that the Menu key opens; false: not there, or off.
    bool choose(const QString& text) {
        bool isChosen = false;
        QTimer::singleShot(0, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu) return;
            for (QAction* action : menu->actions()) {
                if (action->text() != text || !action->isEnabled()) continue;
                isChosen = true;
                action->trigger();
            }
            menu->close();
        });
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(), QPoint());
        QApplication::sendEvent(table_, &event);
        return isChosen;
    }

    ScriptedDesktop desktop_;
    QList<int> retried_;
    std::unique_ptr<QWidget> whole_;
    RecordTable* table_;
    FilterBar* bar_ = nullptr;
};

TEST_F(RowMenuTest, ItsEntriesAreForTheRecordHoweverItIsSorted) {
    table_->horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    table_->selectRow(2);
    ASSERT_TRUE(choose(QStringLiteral("Copy Path")));
    EXPECT_EQ(desktop_.pasteboard.back(), QStringLiteral("/takes/1.wav")) << "Take 9";
    ASSERT_TRUE(choose(QStringLiteral("Reveal in Files")));
    EXPECT_EQ(desktop_.revealed, QStringList(QStringLiteral("/takes/1.wav")));
    ASSERT_TRUE(choose(QStringLiteral("Copy Error")));
    EXPECT_EQ(desktop_.pasteboard.back(), QStringLiteral("The disk is full"));
    ASSERT_TRUE(choose(QStringLiteral("Retry")));
    EXPECT_EQ(retried_, QList<int>{1});
    table_->selectRow(0);
    EXPECT_FALSE(choose(QStringLiteral("Retry")));
    EXPECT_FALSE(choose(QStringLiteral("Copy Error")));
}

TEST_F(RowMenuTest, AllSelectedRowsAreMeantInTheOrderThatIsSeen) {
    table_->horizontalHeader()->setSortIndicator(0, Qt::DescendingOrder);
    table_->selectAll();
    ASSERT_TRUE(choose(QStringLiteral("Copy Path")));
    EXPECT_EQ(desktop_.pasteboard.back(), QStringLiteral("/takes/0.wav\n/takes/1.wav\n/takes/2.wav\n/takes/3.wav"));
    ASSERT_TRUE(choose(QStringLiteral("Retry")));
    EXPECT_EQ(retried_, QList<int>{1}) << "what has not failed is left alone";
}

TEST_F(RowMenuTest, CtrlFFiltersAndEscapeClearsAndCloses) {
    table_->setFocus();
    EXPECT_FALSE(bar_->isVisible());
    QTest::keyClick(table_, Qt::Key_F, Qt::ControlModifier);
    ASSERT_TRUE(bar_->isVisible());
    QTest::keyClicks(&bar_->field(), QStringLiteral("failed"));
    EXPECT_EQ(names(*table_->model()), QStringLiteral("Take 9"));
    EXPECT_EQ(bar_->says(), QStringLiteral("3 rows hidden; a run takes them too"));
    QTest::keyClick(&bar_->field(), Qt::Key_Return);
    EXPECT_EQ(table_->currentRecord(), 1);
    QTest::keyClick(&bar_->field(), Qt::Key_Escape);
    EXPECT_FALSE(bar_->isVisible());
    EXPECT_EQ(table_->model()->rowCount(), 4);
    EXPECT_EQ(table_->currentRecord(), 1) << "what was found stays chosen";
}

TEST_F(RowMenuTest, AHiddenRowIsNotSelectedAnyMore) {
    table_->selectAll();
    bar_->open();
    bar_->field().setText(QStringLiteral("take"));
    EXPECT_EQ(table_->selectedRecords(), (QList<int>{0, 1, 2}));
    bar_->close();
    EXPECT_EQ(table_->selectedRecords(), (QList<int>{0, 1, 2}));
}

} // namespace
} // namespace ostrel::testing
