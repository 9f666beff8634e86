#include "app/panels/activity_footer.h"
#include "app/panels/log_popover_view.h"
#include "app/window_test.h"

#include <QFile>
#include <QScrollBar>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class LogViewsTest : public WindowTest {
protected:
    ActivityFooter& footer() { return *window_.currentPage().findChild<ActivityFooter*>(); }
    QString footerMessage() { return footer().findChild<TruncatingText*>()->text(); }
    LogPopoverView* open() {
        click(QStringLiteral("View full activity log"));
        EXPECT_NE(footer().popover(), nullptr);
        return footer().popover();
    }
    void log(LogLevel level, const QString& message) {
        ProcessingLogEntry entry;
        entry.level = level;
        entry.message = message;
        interleaver_.logEntries.append(entry);
        settle();
    }
    bool footerSays(const char* state) {
        for (const QWidget* widget : footer().findChildren<QWidget*>()) {
            if (widget->accessibleName() == QLatin1String(state)) return true;
        }
        return false;
    }
};

TEST_F(LogViewsTest, AnEmptyLogShowsNoActivityAndNoEntriesYet) {
    show();
    EXPECT_EQ(footerMessage(), QStringLiteral("No activity"));
    EXPECT_TRUE(footerSays("Ready"));
    const LogPopoverView* popover = open();
    EXPECT_EQ(const_cast<LogPopoverView*>(popover)->list().placeholderText(), QStringLiteral("No log entries yet"));
    EXPECT_TRUE(const_cast<LogPopoverView*>(popover)->list().toPlainText().isEmpty());
}

TEST_F(LogViewsTest, TheFooterShowsTheLatestEntry) {
    show();
    log(LogLevel::info, QStringLiteral("one"));
    log(LogLevel::warning, QStringLiteral("two"));
    EXPECT_EQ(footerMessage(), QStringLiteral("two"));
}

TEST_F(LogViewsTest, ThePopoverShowsAllEntriesAndFollowsTheLatest) {
    show();
    for (int line = 0; line < 200; ++line) log(LogLevel::info, QStringLiteral("line %1").arg(line));
    LogPopoverView* popover = open();
    EXPECT_EQ(popover->list().document()->blockCount(), 200);
    EXPECT_EQ(popover->list().verticalScrollBar()->value(), popover->list().verticalScrollBar()->maximum());
    log(LogLevel::error, QStringLiteral("the last"));
    EXPECT_TRUE(popover->list().toPlainText().endsWith(QStringLiteral("ERROR\tSYSTEM\tthe last")));
    EXPECT_EQ(popover->list().verticalScrollBar()->value(), popover->list().verticalScrollBar()->maximum());
    popover->list().verticalScrollBar()->setValue(0);
    log(LogLevel::info, QStringLiteral("more"));
    EXPECT_EQ(popover->list().verticalScrollBar()->value(), 0) << "a person reads further up";
}

TEST_F(LogViewsTest, EntriesHaveTheColourOfTheirLevel) {
    show();
    log(LogLevel::error, QStringLiteral("bad"));
    LogPopoverView* popover = open();
    QTextCursor cursor(popover->list().document());
    cursor.movePosition(QTextCursor::End);
    EXPECT_EQ(cursor.charFormat().foreground().color(), themeOf(popover->palette()).red);
}

TEST_F(LogViewsTest, ClearsAndSavesTheLog) {
    show();
    log(LogLevel::info, QStringLiteral("a line"));
    LogPopoverView* popover = open();
    const QString path = folder_.path(QStringLiteral("log.txt"));
    desktop_.savePanelAnswer = path;
    QTest::mouseClick(find<QAbstractButton>(*popover, QStringLiteral("Save Log...")), Qt::LeftButton);
    settle();
    EXPECT_TRUE(QString::fromUtf8(readAll(path)).contains(QStringLiteral("[INFO] [SYSTEM] a line")));
    EXPECT_EQ(footer().popover(), nullptr) << "it goes before a panel opens";
    popover = open();
    QTest::mouseClick(find<QAbstractButton>(*popover, QStringLiteral("Clear Log")), Qt::LeftButton);
    settle();
    EXPECT_TRUE(interleaver_.logEntries.empty());
    EXPECT_EQ(footerMessage(), QStringLiteral("No activity"));
    QTest::keyClick(popover, Qt::Key_Escape);
    settle();
    EXPECT_EQ(footer().popover(), nullptr);
}

TEST_F(LogViewsTest, EachTabHasItsOwnTitle) {
    show();
    EXPECT_EQ(open()->accessibleName(), QStringLiteral("Activity Log"));
    footer().popover()->dismiss();
    settle();
    press(Qt::Key_3);
    EXPECT_EQ(open()->accessibleName(), QStringLiteral("Stereo Validator Log"));
}

TEST_F(LogViewsTest, StateAndProgressFollowTheJob) {
    show();
    interleaver_.isScanning = true;
    settle();
    EXPECT_TRUE(footerSays("Scanning"));
    interleaver_.isScanning = false;
    interleaver_.isProcessing = true;
    interleaver_.progress = 0.426;
    settle();
    EXPECT_TRUE(footerSays("Running"));
    EXPECT_EQ(find<QLabel>(footer(), QStringLiteral("Progress"))->text(), QStringLiteral("42%"));
    interleaver_.isProcessing = false;
    interleaver_.progress = 1;
    settle();
    EXPECT_TRUE(footerSays("Done"));
    EXPECT_EQ(find<QLabel>(footer(), QStringLiteral("Progress"))->text(), QString());
    InterleaveGroup failed;
    failed.status = ProcessingStatus::failed(QStringLiteral("disk full"));
    interleaver_.interleaveGroups.assign({failed});
    settle();
    EXPECT_TRUE(footerSays("Error"));
    EXPECT_EQ(open()->statusText(), QStringLiteral("Done with errors"));
}

} // namespace
} // namespace ostrel::testing
