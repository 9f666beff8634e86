// What a person hears by: the waveform's zoom and selection, loop, shuttle, meter and the clocks.
#include "app/hearing/audio_preview_panel.h"
#include "app/hearing/level_meter.h"
#include "app/hearing/playback_transport.h"
#include "app/window_test.h"
#include "support/disk_output.h"
#include "support/sound.h"
#include "support/wave_file.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QWheelEvent>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

constexpr double kDuration = 50; // seconds of kLong frames

TEST(WaveformWindow, ZoomsAboutAPlaceAndStaysInsideTheFile) {
    WaveformWindow window;
    window.setDuration(100);
    EXPECT_TRUE(window.isWhole());
    window.zoom(4, 50);
    EXPECT_DOUBLE_EQ(window.from(), 37.5);
    EXPECT_DOUBLE_EQ(window.to(), 62.5);
    window.zoom(5, 40); // a tenth from the left, and there it stays
    EXPECT_DOUBLE_EQ(window.length(), 5);
    EXPECT_DOUBLE_EQ(window.from(), 39.5);
    window.scroll(1000);
    EXPECT_DOUBLE_EQ(window.to(), 100);
    window.scroll(-1000);
    EXPECT_DOUBLE_EQ(window.from(), 0);
    window.zoom(1e9, 0);
    EXPECT_DOUBLE_EQ(window.length(), WaveformWindow::kShortest);
    window.follow(50);
    EXPECT_TRUE(window.shows(50));
    window.zoom(1e-9, 50);
    EXPECT_TRUE(window.isWhole());
    EXPECT_DOUBLE_EQ(window.from(), 0);
    window.zoom(2, 50);
    window.setDuration(30);
    EXPECT_TRUE(window.isWhole()) << "another file";
}

class HearingTest : public ::testing::Test {
protected:
    HearingTest() : playback_(disk_.output()), panel_(playback_) {
        panel_.resize(900, 300);
        panel_.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&panel_));
    }

    // A click of one frame in the middle of faint noise.
    void loadClick() {
        const auto signal = [](int, qint64 frame) { return frame == kLong / 2 ? 0.9F : 0.01F; };
        playback_.loadFile(writeSound(folder_.path(QStringLiteral("click.wav")), 1, kLong, signal), 48000, 24);
        ASSERT_TRUE(waitUntil([this] { return !playback_.isGeneratingWaveform.value(); }));
        QCoreApplication::processEvents();
    }
    WaveformView& waveform() { return panel_.waveform(); }
    AudioPlaybackEngine& engine() { return playback_.engine(); }
    QPointF at(double time) {
        const WaveformWindow& shown = waveform().shown();
        return {6 + (time - shown.from()) / shown.length() * (waveform().width() - 12), 20};
    }
    void turnWheel(double time, QPoint angle, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QWheelEvent wheel(at(time), waveform().mapToGlobal(at(time)), {}, angle, Qt::NoButton, modifiers,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&waveform(), &wheel);
        EXPECT_TRUE(wheel.isAccepted());
    }
    void drag(double from, double to, Qt::MouseButton button, Qt::KeyboardModifiers modifiers) {
        const QPointF begin = at(from);
        const QPointF end = at(to);
        QTest::mousePress(&waveform(), button, modifiers, begin.toPoint());
        QMouseEvent move(QEvent::MouseMove, end, waveform().mapToGlobal(end), Qt::NoButton, button, modifiers);
        QApplication::sendEvent(&waveform(), &move);
        QTest::mouseRelease(&waveform(), button, modifiers, end.toPoint());
    }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(&waveform(), key, modifiers);
    }
    int bright(int x) { // rows of the waveform's colour in that column
        const QImage picture = waveform().grab().toImage();
        const QColor ground = picture.pixelColor(2, 8);
        int rows = 0;
        for (int y = 8; y < picture.height() - 8; ++y) rows += picture.pixelColor(x, y) != ground ? 1 : 0;
        return rows;
    }

    TestFolder folder_;
    DiskOutput disk_;
    PlaybackManager playback_;
    AudioPreviewPanel panel_;
};

TEST_F(HearingTest, TheWheelZoomsAboutThePointerUntilAClickStandsAlone) {
    loadClick();
    for (int notch = 0; notch < 30; ++notch) turnWheel(25, {0, 120});
    const WaveformWindow& shown = waveform().shown();
    EXPECT_LT(shown.length(), 0.1);
    EXPECT_TRUE(shown.shows(25));
    EXPECT_NEAR(at(25).x(), waveform().width() / 2.0, 2) << "it stayed where it was";
    ASSERT_TRUE(
        waitUntil([this] { return waveform().showsDetail() && bright(static_cast<int>(at(25).x()) - 12) < 30; }));
    EXPECT_GT(bright(static_cast<int>(at(25).x())), 60);
    for (int notch = 0; notch < 40; ++notch) turnWheel(25, {0, -120});
    EXPECT_TRUE(shown.isWhole());
}

TEST_F(HearingTest, ASidewaysWheelAndTheMiddleButtonScroll) {
    loadClick();
    for (int notch = 0; notch < 5; ++notch) turnWheel(25, {0, 120});
    const double before = waveform().shown().from();
    turnWheel(25, {-120, 0});
    EXPECT_GT(waveform().shown().from(), before);
    turnWheel(25, {0, 120}, Qt::ShiftModifier);
    EXPECT_NEAR(waveform().shown().from(), before, 1e-9);
    drag(25, 23, Qt::MiddleButton, {});
    EXPECT_NEAR(waveform().shown().from(), before + 2, 0.05);
    EXPECT_EQ(engine().currentTime.value(), 0) << "nothing was sought";
}

TEST_F(HearingTest, KeysZoomScrollSeekAndSelect) {
    loadClick();
    engine().seek(10);
    key(Qt::Key_Plus);
    key(Qt::Key_Equal);
    EXPECT_NEAR(waveform().shown().length(), kDuration / 4, 1e-9);
    EXPECT_TRUE(waveform().shown().shows(10));
    key(Qt::Key_Minus);
    EXPECT_NEAR(waveform().shown().length(), kDuration / 2, 1e-9);
    key(Qt::Key_PageDown);
    EXPECT_NEAR(waveform().shown().to(), kDuration, 1e-9);
    key(Qt::Key_0);
    EXPECT_TRUE(waveform().shown().isWhole());
    key(Qt::Key_Right);
    EXPECT_NEAR(engine().currentTime.value(), 11, 1e-6);
    for (int press = 0; press < 3; ++press) key(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(engine().travel.selection.value(), (TimeSpan{11, 14}));
    key(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_EQ(engine().travel.selection.value(), (TimeSpan{11, 13}));
    key(Qt::Key_Escape);
    EXPECT_FALSE(engine().travel.selection.value());
    key(Qt::Key_End);
    EXPECT_NEAR(engine().currentTime.value(), kDuration, 1e-6);
}

TEST_F(HearingTest, ADragWithShiftSelectsAndTheLoopButtonGoesAround) {
    loadClick();
    drag(30, 20, Qt::LeftButton, Qt::ShiftModifier);
    const auto selection = engine().travel.selection.value();
    ASSERT_TRUE(selection);
    EXPECT_NEAR(selection->from, 20, 0.1);
    EXPECT_NEAR(selection->to, 30, 0.1);
    EXPECT_EQ(engine().currentTime.value(), 0) << "what is heard goes on";
    auto* loop = find<QAbstractButton>(panel_, QStringLiteral("Loop"));
    ASSERT_NE(loop, nullptr);
    EXPECT_TRUE(loop->toolTip().contains(QStringLiteral("Ctrl+L")));
    QTest::mouseClick(loop, Qt::LeftButton);
    EXPECT_TRUE(loop->isChecked());
    engine().play();
    EXPECT_NEAR(engine().currentTime.value(), selection->from, 1e-3);
    QTest::mouseClick(loop, Qt::LeftButton);
    EXPECT_FALSE(engine().travel.loops.value());
    drag(5, 5, Qt::LeftButton, Qt::ShiftModifier);
    EXPECT_FALSE(engine().travel.selection.value()) << "a mere click takes it back";
}

TEST_F(HearingTest, WhilePlaybackRunsOutOfWhatIsShownTheWaveformFollowsButNotAPersonWhoLooksElsewhere) {
    loadClick();
    key(Qt::Key_Plus);
    key(Qt::Key_Plus);
    engine().seek(13);
    EXPECT_TRUE(waveform().shown().shows(13));
    EXPECT_NEAR(waveform().shown().from(), 13 - kDuration / 4 * 0.05, 0.01);
    key(Qt::Key_PageDown);
    key(Qt::Key_PageDown);
    const double looked = waveform().shown().from();
    engine().seek(14);
    EXPECT_EQ(waveform().shown().from(), looked);
}

TEST_F(HearingTest, AGoodWaveformStaysBesideAnErrorOfThePlayer) {
    loadClick();
    engine().loadError = QStringLiteral("The sound device is gone");
    EXPECT_EQ(waveform().accessibleDescription(), QString());
    EXPECT_EQ(panel_.hint(), QStringLiteral("The sound device is gone"));
    engine().play();
    EXPECT_EQ(panel_.hint(), QString());
}

TEST_F(HearingTest, TheMeterLooksOnlyWhileItPlaysAndShowsWhatWasHeard) {
    const auto loud = [](int, qint64) { return 0.5F; };
    playback_.loadFile(writeSound(folder_.path(QStringLiteral("loud.wav")), 1, kLong, loud), 48000, 24);
    LevelMeter& meter = panel_.transport().meter();
    EXPECT_FALSE(meter.isRunning());
    engine().play();
    EXPECT_TRUE(meter.isRunning());
    ASSERT_TRUE(waitUntil([&] { return !meter.levels().empty() && meter.levels()[0] > -20; }));
    EXPECT_EQ(meter.levels().size(), 2U);
    EXPECT_NEAR(meter.held()[0], -6.02, 0.01);
    engine().pause();
    EXPECT_FALSE(meter.isRunning());
    EXPECT_TRUE(meter.levels().empty());
    EXPECT_EQ(meter.accessibleDescription(), QStringLiteral("Silence"));
}

TEST_F(HearingTest, ThePeakIsHeldForAMomentAndThenFalls) {
    LevelMeter& meter = panel_.transport().meter();
    meter.take({1.0F}, 0.1);
    meter.take({0.0F}, 1.0);
    EXPECT_NEAR(meter.levels()[0], -20 / 1.7, 1e-6);
    EXPECT_EQ(meter.held()[0], 0);
    EXPECT_EQ(meter.accessibleDescription(), QStringLiteral("Peak 0 dB"));
    meter.take({0.0F}, 1.0);
    EXPECT_NEAR(meter.held()[0], -40 / 1.7, 1e-6);
    meter.take({0.0F}, 100);
    EXPECT_EQ(meter.levels()[0], LevelMeter::kFloor);
}

TEST_F(HearingTest, TheTimecodeOfDayStandsBesideTheTimeWhereTheRecordingHasOne) {
    const QByteArray ixml =
        "<BWFXML><SPEED><TIMECODE_RATE>25/1</TIMECODE_RATE><TIMECODE_FLAG>NDF</TIMECODE_FLAG></SPEED>"
        "</BWFXML>";
    const WaveSpec spec{.frames = 480'000,
                        .before = {{"bext", bextPayload({.timeReference = 48'000ULL * 36'000})}, {"iXML", ixml}}};
    auto* day = find<QLabel>(panel_, QStringLiteral("Timecode of day"));
    playback_.loadFile(folder_.write(QStringLiteral("day.wav"), waveBytes(spec)), 48000, 24);
    ASSERT_TRUE(waitUntil([&] { return day->text() == QStringLiteral("10:00:00:00"); })) << day->text().toStdString();
    engine().seek(1.5);
    EXPECT_EQ(day->text(), QStringLiteral("10:00:01:12"));
    EXPECT_EQ(day->toolTip(), QStringLiteral("Timecode of day at 25"));
    EXPECT_EQ(find<QLabel>(panel_, QStringLiteral("Playback time"))->text(), QStringLiteral("0:01 / 0:10"));
    loadClick();
    EXPECT_EQ(day->text(), QString()) << "a file that says nothing";
}

class ShuttleTest : public WindowTest {
protected:
    AudioPlaybackEngine& engine() { return interleaver_.playbackManager().engine(); }
    void load() {
        show();
        interleaver_.playbackManager().loadFile(writeSound(folder_.path(QStringLiteral("a.wav")), 1, kLong), 48000, 24);
        engine().seek(25);
    }
};

TEST_F(ShuttleTest, JKLGoBackwardsPauseAndForwards) {
    load();
    press(Qt::Key_L, Qt::NoModifier);
    EXPECT_TRUE(engine().isPlaying.value());
    EXPECT_TRUE(interleaver_.isAuditioning.value());
    press(Qt::Key_L, Qt::NoModifier);
    EXPECT_EQ(engine().travel.speed.value(), 2);
    EXPECT_EQ(find<QLabel>(*mainView_, QStringLiteral("Playback speed"))->text(), QStringLiteral("2×"));
    press(Qt::Key_J, Qt::NoModifier);
    EXPECT_EQ(engine().travel.speed.value(), -1);
    press(Qt::Key_K, Qt::NoModifier);
    EXPECT_FALSE(engine().isPlaying.value());
    EXPECT_FALSE(interleaver_.isAuditioning.value());
    EXPECT_EQ(find<QLabel>(*mainView_, QStringLiteral("Playback speed"))->text(), QString());
}

TEST_F(ShuttleTest, TheKeyOfTheLoopIsThatOfTheTabInSight) {
    load();
    press(Qt::Key_L);
    EXPECT_TRUE(engine().travel.loops.value());
    EXPECT_FALSE(engine().isPlaying.value());
    press(Qt::Key_2);
    press(Qt::Key_L);
    EXPECT_TRUE(engine().travel.loops.value());
    EXPECT_FALSE(polyTools_.preview().mixer()->travel.loops.value()) << "nothing is loaded there";
}

TEST_F(ShuttleTest, LettersThatAreTypedStayLetters) {
    load();
    QLineEdit line(mainView_);
    line.show();
    line.setFocus();
    for (const Qt::Key key : {Qt::Key_J, Qt::Key_K, Qt::Key_L}) press(key, Qt::NoModifier);
    EXPECT_EQ(line.text(), QStringLiteral("jkl"));
    EXPECT_FALSE(engine().isPlaying.value());
    press(Qt::Key_L, Qt::ShiftModifier);
    EXPECT_EQ(line.text(), QStringLiteral("jkll"));
}

TEST_F(ShuttleTest, ALetterWithinAWordThatFindsARowIsTheLists) {
    load();
    QListWidget list(mainView_);
    list.addItems({QStringLiteral("Kate"), QStringLiteral("Take 1"), QStringLiteral("Talk 2")});
    list.show();
    list.setFocus();
    for (const Qt::Key key : {Qt::Key_T, Qt::Key_A, Qt::Key_L}) QTest::keyClick(window_.windowHandle(), key);
    EXPECT_EQ(list.currentRow(), 2);
    EXPECT_FALSE(engine().isPlaying.value());
}

} // namespace
} // namespace ostrel::testing
