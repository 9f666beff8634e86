// The window closed, and the session ended, while jobs run.
#include "app/window_test.h"

#include "app/shell/orderly_quit.h"
#include "support/blocked_workers.h"
#include "support/held_tool.h"

#include <QMenuBar>
#include <QSessionManager>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

// Ahead of the controllers, which look for their tools when they are made.
struct HeldFFmpeg {
    HeldFFmpeg() {
        const QString entry = ffmpeg_.environment().first();
        qputenv("OSTREL_RESOURCE_FOLDER", entry.section(u'=', 1).toUtf8());
    }
    ~HeldFFmpeg() { qunsetenv("OSTREL_RESOURCE_FOLDER"); }
    HeldTool ffmpeg_{QStringLiteral("ffmpeg")};
};

class OrderlyQuitTest : protected HeldFFmpeg, public WindowTest {
protected:
    void TearDown() override {
        ffmpeg_.letGo();
        EXPECT_TRUE(waitForInterleaver());
    }

    // Three pairs, the first of which ffmpeg has in hand.
    void startJob() {
        show();
        pairs_ = samples() + QStringLiteral("/pairs");
        interleaver_.select({pairs_});
        ASSERT_TRUE(waitForInterleaver());
        press(Qt::Key_S);
        ASSERT_TRUE(waitForInterleaver());
        press(Qt::Key_R);
        ASSERT_TRUE(ffmpeg_.waitForStarts(1));
    }
    QStringList made() const {
        QStringList names;
        QDirIterator walk(pairs_, {QStringLiteral("*.wav")}, QDir::Files, QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            if (const QString path = walk.next(); path.contains(QStringLiteral("/Interleaved/"))) names << path;
        }
        return names;
    }
    void close() {
        window_.close();
        settle();
    }
    bool isStoppingShown() {
        const QWidget* banner = nullptr;
        for (const QWidget* each : window_.findChildren<QWidget*>()) {
            if (each->accessibleName().startsWith(QStringLiteral("Stopping after the item"))) banner = each;
        }
        return banner && banner->isVisible();
    }
    bool waitForClosed() {
        return waitUntil([this] { return !window_.isVisible(); });
    }

    QString pairs_;
};

TEST_F(OrderlyQuitTest, ClosesAtOnceWhereNothingRuns) {
    show();
    close();
    EXPECT_FALSE(window_.isVisible());
    EXPECT_TRUE(desktop_.alerts.empty());
}

TEST_F(OrderlyQuitTest, AsksAndGoesOnIfThatIsTheAnswer) {
    startJob();
    desktop_.alertAnswer = 1;
    close();
    ASSERT_EQ(desktop_.alerts.size(), 1u);
    EXPECT_EQ(desktop_.alerts[0].buttons,
              (QStringList{QStringLiteral("Stop after this item and quit"), QStringLiteral("Keep running")}));
    EXPECT_EQ(desktop_.alerts[0].defaultButton, 1);
    EXPECT_TRUE(window_.isVisible());
    EXPECT_FALSE(isStoppingShown());
    EXPECT_TRUE(interleaver_.isProcessing.value());
    EXPECT_FALSE(interleaver_.isCancelled.value());
    ffmpeg_.letGo();
    ASSERT_TRUE(waitForInterleaver());
    EXPECT_GT(made().size(), 1);
    close();
    EXPECT_FALSE(window_.isVisible());
    EXPECT_EQ(desktop_.alerts.size(), 1u);
}

TEST_F(OrderlyQuitTest, StopsBehindTheItemAndClosesThen) {
    startJob();
    close();
    EXPECT_TRUE(interleaver_.isCancelled.value());
    EXPECT_TRUE(window_.isVisible());
    EXPECT_TRUE(isStoppingShown());
    close();
    EXPECT_TRUE(window_.isVisible());
    EXPECT_EQ(desktop_.alerts.size(), 1u) << "asked twice";
    // Nothing begins any more.
    ASSERT_TRUE(interleaver_.canRun());
    press(Qt::Key_R);
    press(Qt::Key_S);
    drop({pairs_});
    EXPECT_FALSE(interleaver_.isProcessing.value() || interleaver_.isScanning.value());
    ffmpeg_.letGo();
    EXPECT_TRUE(waitForClosed());
    EXPECT_EQ(ffmpeg_.starts(), 1);
    EXPECT_EQ(made().size(), 1);
}

TEST_F(OrderlyQuitTest, TheMenuAsksToo) {
    startJob();
    desktop_.alertAnswer = 1;
    for (QAction* action : window_.findChildren<QAction*>()) {
        if (action->text() == QStringLiteral("Quit")) action->trigger();
    }
    press(Qt::Key_Q);
    EXPECT_EQ(desktop_.alerts.size(), 2u);
    EXPECT_TRUE(window_.isVisible());
}

TEST_F(OrderlyQuitTest, WaitsUnaskedForTheEndOfAStoppedJob) {
    startJob();
    click(QStringLiteral("Stop"));
    close();
    EXPECT_TRUE(desktop_.alerts.empty());
    EXPECT_TRUE(window_.isVisible());
    EXPECT_TRUE(isStoppingShown());
    ffmpeg_.letGo();
    EXPECT_TRUE(waitForClosed());
}

TEST_F(OrderlyQuitTest, ClosesAtOnceIfTheJobEndedWhileTheQuestionStood) {
    startJob();
    desktop_.duringAlert = [this] {
        ffmpeg_.letGo();
        EXPECT_TRUE(waitForInterleaver());
    };
    close();
    EXPECT_FALSE(window_.isVisible());
}

TEST_F(OrderlyQuitTest, ASignalWhileTheQuestionStandsNeedsNoAnswer) {
    startJob();
    desktop_.alertAnswer = 1;
    desktop_.duringAlert = [this] {
        window_.orderlyQuit().stopAndQuit();
        ffmpeg_.letGo();
        EXPECT_TRUE(waitForInterleaver());
    };
    close();
    EXPECT_FALSE(window_.isVisible());
    EXPECT_EQ(made().size(), 1);
}

TEST_F(OrderlyQuitTest, TheSessionsEndWaitsForTheItemAndAsksNothing) {
    startJob();
    auto* session = qApp->findChild<QSessionManager*>();
    ASSERT_NE(session, nullptr);
    QTimer::singleShot(100, &window_, [this] {
        EXPECT_TRUE(window_.isVisible());
        EXPECT_TRUE(interleaver_.isCancelled.value());
        ffmpeg_.letGo();
    });
    Q_EMIT qGuiApp->commitDataRequest(*session);
    EXPECT_TRUE(desktop_.alerts.empty());
    EXPECT_EQ(made().size(), 1);
    EXPECT_TRUE(waitForClosed());
}

TEST_F(OrderlyQuitTest, ASessionThatMayEndClosesNoIdleWindow) {
    show();
    Q_EMIT qGuiApp->commitDataRequest(*qApp->findChild<QSessionManager*>());
    settle();
    EXPECT_TRUE(window_.isVisible());
}

TEST_F(OrderlyQuitTest, SaysWhenNothingRunsAnyMore) {
    startJob();
    int ended = 0;
    QObject::connect(&window_.orderlyQuit(), &OrderlyQuit::ended, [&] { ++ended; });
    window_.orderlyQuit().stopAndQuit();
    settle();
    EXPECT_EQ(ended, 0);
    ffmpeg_.letGo();
    EXPECT_TRUE(waitUntil([&] { return ended > 0; }));
    EXPECT_TRUE(desktop_.alerts.empty());
}

TEST_F(OrderlyQuitTest, AnAnalysisIsAJob) {
    show(AppTab::stereoValidator);
    BlockedWorkers workers;
    validator_.select({folder_.write(QStringLiteral("a.wav"), "x")});
    validator_.startAnalysis();
    close();
    EXPECT_EQ(desktop_.alerts.size(), 1u);
    EXPECT_TRUE(window_.isVisible());
    workers.letGo();
    EXPECT_TRUE(waitForClosed());
}

TEST_F(OrderlyQuitTest, AGroupingIsAJobAndAPreviewIsNone) {
    show(AppTab::polyTools);
    BlockedWorkers workers;
    const QStringList isos{folder_.write(QStringLiteral("a.wav"), "x"), folder_.write(QStringLiteral("b.wav"), "x")};
    polyTools_.applyIntelligentModeDetection(isos, PolyMode::join);
    close();
    EXPECT_EQ(desktop_.alerts.size(), 1u);
    EXPECT_TRUE(window_.isVisible());
    workers.letGo();
    EXPECT_TRUE(waitForClosed());
}

TEST_F(OrderlyQuitTest, NobodyWaitsForWhatIsOnlyRead) {
    show(AppTab::polyTools);
    BlockedWorkers workers;
    polyTools_.source().analyzePolyFile(folder_.write(QStringLiteral("a.wav"), "x"));
    ASSERT_TRUE(polyTools_.hasRunningTask());
    close();
    EXPECT_TRUE(desktop_.alerts.empty());
    EXPECT_FALSE(window_.isVisible());
    workers.letGo();
    EXPECT_TRUE(waitForPolyTools());
}

} // namespace
} // namespace ostrel::testing
