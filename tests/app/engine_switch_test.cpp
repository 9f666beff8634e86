// The switch of the engine: chosen by mouse or key in each tool, remembered, and heeded by the job.
#include "app/window_test.h"

#include "app/controls/controls.h"

#include "support/wave_file.h"

#include <QDir>
#include <QSettings>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class EngineSwitchTest : public WindowTest {
protected:
    EngineSwitchTest() { QSettings().remove(QStringLiteral("engine")); }
    ~EngineSwitchTest() override { QSettings().remove(QStringLiteral("engine")); }

    void choose(const QWidget& view, const char* engine) {
        for (SegmentedControl* control : view.findChildren<SegmentedControl*>()) {
            if (control->accessibleName() != QStringLiteral("Engine") || !control->isVisible()) continue;
            QTest::mouseClick(control->segment(engine == QByteArray("Direct") ? 1 : 0), Qt::LeftButton);
            settle();
            return;
        }
        ADD_FAILURE() << "no switch to be seen";
    }
    QString remembered(const char* tool) {
        return QSettings().value(QStringLiteral("engine/") + QLatin1String(tool)).toString();
    }
};

TEST_F(EngineSwitchTest, EachToolHasItsOwn) {
    interleaver_.showOptions = true;
    show();
    choose(*mainView_, "Direct");
    EXPECT_EQ(interleaver_.engine.value(), EngineChoice::direct);
    EXPECT_EQ(remembered("interleaver"), QStringLiteral("direct"));
    EXPECT_EQ(polyTools_.engine.value(), EngineChoice::ffmpeg);
    EXPECT_EQ(validator_.engine.value(), EngineChoice::ffmpeg);
    choose(*mainView_, "ffmpeg");
    EXPECT_EQ(interleaver_.engine.value(), EngineChoice::ffmpeg);
    EXPECT_EQ(remembered("interleaver"), QStringLiteral("ffmpeg"));
}

TEST_F(EngineSwitchTest, IsRememberedByTheNextWindow) {
    interleaver_.showOptions = true;
    show();
    choose(*mainView_, "Direct");
    AppViewModel next(desktop_, audio_);
    MainView view(next, desktop_);
    EXPECT_EQ(next.engine.value(), EngineChoice::direct);
}

// The direct engine begins the audio at a page of the file.
TEST_F(EngineSwitchTest, TheJobTakesTheRoadThatWasChosen) {
    interleaver_.showOptions = true;
    show();
    for (const char* engine : {"ffmpeg", "Direct"}) {
        choose(*mainView_, engine);
        const QString folder = folder_.path(QString::fromLatin1(engine));
        QDir().mkpath(folder);
        for (int i = 0; i < 2; ++i) {
            folder_.write(
                QStringLiteral("%1/Rain.%2.wav").arg(QLatin1String(engine), QLatin1String(i == 0 ? "L" : "R")),
                waveBytes({.frames = 4800, .firstSignal = i}));
        }
        drop({folder});
        press(Qt::Key_S);
        ASSERT_TRUE(waitForInterleaver());
        press(Qt::Key_R);
        ASSERT_TRUE(waitForInterleaver());
        const QByteArray made = readAll(folder + QStringLiteral("/Interleaved/Rain.wav"));
        EXPECT_FALSE(made.isEmpty()) << engine;
        EXPECT_EQ(made.indexOf("data") + 8 == 4096, engine == QByteArray("Direct")) << engine;
    }
}

} // namespace
} // namespace ostrel::testing
