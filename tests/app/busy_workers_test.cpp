// The window while every worker of the background pool is busy.
#include "app/poly/join/poly_join_view.h"
#include "app/window_test.h"

#include "support/blocked_workers.h"

#include <QPainter>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class BusyWorkersTest : public WindowTest {
protected:
    // Whether the whole window was drawn anew, by the event loop, since the call.
    bool repaints() {
        struct Watch : QObject {
            bool eventFilter(QObject*, QEvent* event) override {
                if (event->type() == QEvent::Paint) ++paints;
                return false;
            }
            int paints = 0;
        } watch;
        window_.centralWidget()->installEventFilter(&watch);
        window_.update();
        window_.centralWidget()->update();
        return waitUntil([&] { return watch.paints > 0; });
    }
};

// Large gradients and images are what Qt's painter hands to threads of its own pool, and waits for.
TEST_F(BusyWorkersTest, TheWindowStillPaints) {
    show();
    const BlockedWorkers workers;
    window_.resize(1600, 1000);
    EXPECT_TRUE(repaints());
    const QImage shown = window_.grab().toImage();
    EXPECT_EQ(shown.size(), window_.size() * window_.devicePixelRatio());

    QImage image(3000, 3000, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QConicalGradient gradient(1500, 1500, 0);
    gradient.setColorAt(0, Qt::red);
    gradient.setColorAt(1, Qt::blue);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.fillRect(image.rect(), gradient);
    painter.drawImage(QRect(0, 0, 2900, 2900), shown);
    painter.end();
    EXPECT_NE(image.pixelColor(2990, 2990), QColor(Qt::white));
    const QImage scaled = image.convertToFormat(QImage::Format_RGBA64)
                              .scaled(2000, 2000, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    EXPECT_EQ(scaled.width(), 2000);
}

TEST_F(BusyWorkersTest, AClickOnStopReachesTheController) {
    show();
    BlockedWorkers workers;
    interleaver_.select({folder_.path()});
    press(Qt::Key_S);
    ASSERT_TRUE(interleaver_.isScanning.value());
    click(QStringLiteral("Stop"));
    EXPECT_TRUE(interleaver_.isCancelled.value());
    EXPECT_FALSE(interleaver_.isScanning.value());
    EXPECT_TRUE(interleaver_.hasRunningTask());
    EXPECT_TRUE(repaints());
    workers.letGo();
    EXPECT_TRUE(waitForInterleaver());
    EXPECT_TRUE(messages(interleaver_.logEntries).contains(QStringLiteral("Scan cancelled - results not populated")));
}

TEST_F(BusyWorkersTest, AClickOnStopReachesThePolyTools) {
    show(AppTab::polyTools);
    BlockedWorkers workers;
    polyTools_.mode = PolyMode::join;
    settle();
    drop({folder_.write(QStringLiteral("a.wav"), "x"), folder_.write(QStringLiteral("b.wav"), "x")});
    ASSERT_TRUE(polyTools_.isScanningJoinISOs.value());
    auto* stop = find<QAbstractButton>(polyToolsView_->joinView(), QStringLiteral("Stop"));
    ASSERT_TRUE(stop && stop->isEnabled());
    QTest::mouseClick(stop, Qt::LeftButton);
    settle();
    EXPECT_TRUE(polyTools_.isCancelled.value());
    EXPECT_FALSE(polyTools_.isScanningJoinISOs.value());
    EXPECT_TRUE(repaints());
    workers.letGo();
    EXPECT_TRUE(waitForPolyTools());
    EXPECT_FALSE(polyTools_.groupingResult.value());
}

} // namespace
} // namespace ostrel::testing
