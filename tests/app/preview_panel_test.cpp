#include "app/hearing/audio_preview_panel.h"
#include "app/hearing/playback_transport.h"
#include "app/window_test.h"
#include "preview/preview_mixer.h"
#include "support/sound.h"

#include <QComboBox>
#include <QLabel>
#include <QProcess>
#include <QSlider>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class PreviewPanelTest : public ::testing::Test {
protected:
    PreviewPanelTest() : playback_(audio_), panel_(playback_) {
        panel_.resize(900, AudioPreviewPanel::reservedHeight);
        panel_.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&panel_));
    }

    MultiChannelSource source(const ChannelLayout& layout) {
        const int channels = static_cast<int>(layout.channelTags.size());
        MultiChannelSource source =
            MultiChannelSource::make(writeSound(folder_.path(QStringLiteral("poly.wav")), channels, 96000), layout);
        source.channels = channels;
        return source;
    }
    void load(const MultiChannelSource& source) {
        playback_.loadStereoFile(source, AppMode::deinterleave, 48000, 24);
        ASSERT_TRUE(waitUntil([this] { return !playback_.isGeneratingWaveform.value(); }));
        QCoreApplication::processEvents();
    }
    bool isShown(const char* name) { return find(panel_, QString::fromLatin1(name))->isVisible(); }

    TestFolder folder_;
    AudioOutput audio_;
    PlaybackManager playback_;
    AudioPreviewPanel panel_;
};

TEST_F(PreviewPanelTest, EmptyItSaysSoAndEverythingIsOff) {
    EXPECT_EQ(panel_.waveform().accessibleDescription(), QStringLiteral("No waveform"));
    EXPECT_FALSE(find<QAbstractButton>(panel_, QStringLiteral("Play"))->isEnabled());
    EXPECT_FALSE(find<QAbstractButton>(panel_, QStringLiteral("Stop"))->isEnabled());
    EXPECT_FALSE(find<QSlider>(panel_, QStringLiteral("Playback position"))->isEnabled());
}

TEST_F(PreviewPanelTest, TheModeToggleIsNotShownForASingleMonoFile) {
    playback_.loadFile(writeSound(folder_.path(QStringLiteral("mono.wav")), 1, 48000), 48000, 24);
    EXPECT_FALSE(isShown("Preview mode"));
    EXPECT_FALSE(isShown("Channels"));
    load(source(ChannelLayout::stereo));
    EXPECT_TRUE(isShown("Preview mode"));
    QStringList modes;
    for (int index = 0; index < panel_.modeToggle().count(); ++index)
        modes << panel_.modeToggle().segment(index)->text();
    EXPECT_EQ(modes.join(u'|'), QStringLiteral("Source|L Channel|R Channel"));
}

TEST_F(PreviewPanelTest, AModeIsChosenByItsButton) {
    load(source(ChannelLayout::stereo));
    QTest::mouseClick(panel_.modeToggle().segment(1), Qt::LeftButton);
    EXPECT_TRUE(playback_.isGeneratingStereoPreview.value());
    EXPECT_FALSE(panel_.modeToggle().isEnabled()) << "while the preview is made";
    EXPECT_TRUE(waitUntil([this] { return playback_.previewMode.value() == PreviewMode::leftChannel; }));
    EXPECT_TRUE(waitUntil([this] { return !playback_.isGeneratingStereoPreview.value(); }));
    EXPECT_EQ(panel_.modeToggle().current(), 1);
}

TEST_F(PreviewPanelTest, RoutingCannotBeChangedWithNoChannelSelected) {
    load(source(ChannelLayout::stereo));
    EXPECT_FALSE(panel_.routing().isEnabled());
    EXPECT_EQ(panel_.routing().toolTip(), QStringLiteral("Select a channel to enable routing options"));
    QTest::mouseClick(panel_.auditionButtons().segment(1), Qt::LeftButton);
    EXPECT_TRUE(waitUntil([this] { return playback_.selectedChannelTag.value() == QStringLiteral("R"); }));
    EXPECT_TRUE(panel_.routing().isEnabled());
    EXPECT_EQ(panel_.routing().toolTip(), QStringLiteral("Plays through default output like a normal mono file"));
    bool isTold = false;
    for (const QLabel* label : panel_.findChildren<QLabel*>())
        isTold |= label->text() == QStringLiteral("R channel (mono)");
    EXPECT_TRUE(isTold);
    QTest::mouseClick(panel_.auditionButtons().segment(1), Qt::LeftButton);
    EXPECT_TRUE(waitUntil([this] { return playback_.selectedChannelTag.value().isEmpty(); })) << "the second click";
}

TEST_F(PreviewPanelTest, ASurroundFileInAShortPanelShowsOneLaneAndTheHintAndLanesOnceItIsHigher) {
    load(source(ChannelLayout::film51));
    EXPECT_FALSE(panel_.waveform().showsLanes());
    EXPECT_EQ(panel_.hint(), QStringLiteral("6 channels • Expand preview to see individual lanes"));
    EXPECT_EQ(panel_.waveform().toolTip(), QStringLiteral("Expand preview for larger waveforms"));
    panel_.resize(900, 330);
    QCoreApplication::processEvents();
    EXPECT_TRUE(panel_.waveform().showsLanes());
    EXPECT_EQ(panel_.hint(), QString());
    EXPECT_FALSE(playback_.isGeneratingWaveform.value()) << "nothing is read again";
}

TEST_F(PreviewPanelTest, AClickAndADragInTheWaveformSeek) {
    load(source(ChannelLayout::stereo));
    WaveformView& waveform = panel_.waveform();
    const QPoint middle = waveform.rect().center();
    QTest::mousePress(&waveform, Qt::LeftButton, {}, middle);
    EXPECT_NEAR(playback_.engine().currentTime.value(), 1.0, 0.02);
    QMouseEvent move(QEvent::MouseMove, QPointF(waveform.width() - 6, middle.y()), QPointF(), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&waveform, &move);
    EXPECT_NEAR(playback_.engine().currentTime.value(), 2.0, 0.02);
    waveform.setFocus();
    QTest::keyClick(&waveform, Qt::Key_Left);
    EXPECT_NEAR(playback_.engine().currentTime.value(), 1.0, 0.02);
}

TEST_F(PreviewPanelTest, TheTransportPlaysPausesStopsAndScrubs) {
    load(source(ChannelLayout::stereo));
    auto* play = find<QAbstractButton>(panel_, QStringLiteral("Play"));
    EXPECT_EQ(play->toolTip(), QStringLiteral("Play (Space)"));
    QTest::mouseClick(play, Qt::LeftButton);
    EXPECT_TRUE(playback_.engine().isPlaying.value());
    EXPECT_EQ(play->toolTip(), QStringLiteral("Pause (Space)"));
    QTest::mouseClick(play, Qt::LeftButton);
    EXPECT_FALSE(playback_.engine().isPlaying.value());
    auto* scrubber = find<QSlider>(panel_, QStringLiteral("Playback position"));
    EXPECT_EQ(scrubber->toolTip(), QStringLiteral("Scrub playback position (Ctrl+← Ctrl+→ to jump)"));
    scrubber->setFocus();
    QTest::keyClick(scrubber, Qt::Key_End);
    EXPECT_NEAR(playback_.engine().currentTime.value(), 2.0, 0.02);
    QTest::mouseClick(find<QAbstractButton>(panel_, QStringLiteral("Stop")), Qt::LeftButton);
    EXPECT_EQ(playback_.engine().currentTime.value(), 0);
}

TEST_F(PreviewPanelTest, AFileThatCannotBePlayedSaysWhy) {
    playback_.loadFile(folder_.write(QStringLiteral("broken.wav"), "not a recording"), 48000, 24);
    const auto isTold = [this] {
        return panel_.waveform().accessibleDescription().startsWith(QStringLiteral("Cannot preview: "));
    };
    EXPECT_TRUE(waitUntil(isTold)) << panel_.waveform().accessibleDescription().toStdString();
}

TEST_F(PreviewPanelTest, WhileAFileIsDecodedTheTransportSaysSoInPlaceOfTheTime) {
    const QString ffmpeg = installedTool(QStringLiteral("ffmpeg"));
    const QString compressed = folder_.path(QStringLiteral("a.m4a"));
    ASSERT_EQ(QProcess::execute(ffmpeg, {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"),
                                         writeSound(folder_.path(QStringLiteral("a.wav")), 1, 48000), compressed}),
              0);
    AudioPlaybackEngine engine(audio_);
    engine.setFFmpegPath(ffmpeg);
    SimplePlaybackTransport transport(engine);
    const auto* time = find<QLabel>(transport, QStringLiteral("Playback time"));
    engine.load(compressed);
    EXPECT_EQ(time->text(), QStringLiteral("Loading..."));
    ASSERT_TRUE(waitUntil([&] { return engine.isLoaded.value(); }));
    EXPECT_TRUE(time->text().startsWith(QStringLiteral("0:00 / "))) << time->text().toStdString();
}

TEST(PolyToolsTransport, TellsWhatIsHeard) {
    AudioOutput audio;
    PreviewMixer mixer(audio);
    PolyToolsPlaybackTransport transport(mixer);
    const auto badge = [&transport] {
        for (const QLabel* label : transport.findChildren<QLabel*>()) {
            if (!label->isHidden() && !label->toolTip().isEmpty()) return label->text() + u'|' + label->toolTip();
        }
        return QString();
    };
    transport.setSource(QStringLiteral("12A T3"), std::nullopt, true);
    EXPECT_EQ(badge(), QStringLiteral("POLY|Playing original poly file"));
    transport.setSource(QStringLiteral("12A T3"), 5, false);
    EXPECT_EQ(badge(), QStringLiteral("T5|Listening to channel T5"));
    EXPECT_EQ(transport.label(), QStringLiteral("12A T3"));
    transport.setSource(QStringLiteral("12A T3"), std::nullopt, false);
    EXPECT_EQ(badge(), QString());
}

} // namespace
} // namespace ostrel::testing
