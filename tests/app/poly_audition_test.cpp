// Auditioning in the Poly Tools tab by clicks and keys, judged by the sound that comes out.
#include "app/window_test.h"

#include "app/blank_page.h"
#include "app/hearing/playback_transport.h"
#include "app/poly/batch/batch_poly_list.h"
#include "app/poly/batch/batch_poly_model.h"
#include "app/poly/split/poly_split_view.h"
#include "app/poly/split/split_channels_model.h"
#include "support/disk_output.h"
#include "support/sound.h"

#include <cmath>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

constexpr double kRate = 48'000;
constexpr int kLook = 4'800; // frames that are looked at: whole periods of every pitch

constexpr int kPeriod = 96; // frames: 500 Hz

double pitchOf(int channel) { return kRate / kPeriod * (channel + 1); }

class PolyAuditionTest : public ::testing::Test {
protected:
    PolyAuditionTest()
        : controller_(desktop_, &disk_.output()), updater_(desktop_, QString(), QStringLiteral("0.1.0")),
          tab_(new PolyToolsTabView(controller_, appearance_)),
          window_(desktop_, updater_, appearance_, {QStringLiteral("0.1.0"), {}, {}, {}},
                  {new BlankPage, tab_, new BlankPage}) {}

    // Every channel carries a pitch of its own.
    QString writePoly(const char* name, int channels) {
        std::vector<float> sine; // of the lowest pitch, one period: the others are its multiples
        for (int frame = 0; frame < kPeriod; ++frame)
            sine.push_back(0.1F * static_cast<float>(std::sin(2 * M_PI * frame / kPeriod)));
        return writeSound(folder_.path(QString::fromLatin1(name)), channels, kLong, [&](int channel, qint64 frame) {
            return sine[static_cast<std::size_t>(frame * (channel + 1) % kPeriod)];
        });
    }
    void open(const QStringList& urls) {
        window_.selectedTab = AppTab::polyTools;
        window_.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
        window_.handleGlobalDrop(urls);
        settle();
    }
    void settle() {
        ASSERT_TRUE(waitUntil([this] { return !controller_.hasRunningTask(); }));
        for (int turn = 0; turn < 3; ++turn) QCoreApplication::processEvents();
    }
    static void clickRow(QTableView& table, int row, int column) {
        const QModelIndex index = table.model()->index(row, column);
        table.scrollTo(index);
        QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, table.visualRect(index).center());
        QCoreApplication::processEvents();
    }
    void clickChannel(int row) { clickRow(tab_->splitView().channels(), row, SplitChannelsModel::TrackColumn); }
    void pressSpace() {
        QTest::keyClick(window_.windowHandle(), Qt::Key_Space);
        QCoreApplication::processEvents();
    }

    // The channels whose pitches come out of the output from here on.
    std::set<int> heardChannels(int channels) {
        EXPECT_TRUE(disk_.waitForMore(2 * kLook)); // past the blocks that were on their way
        const std::vector<float> sound = disk_.heard();
        std::set<int> heard;
        for (int channel = 0; channel < channels; ++channel) {
            double sine = 0;
            double cosine = 0;
            for (int i = 0; i < kLook; ++i) {
                const std::size_t frame = sound.size() / 2 - kLook + static_cast<std::size_t>(i);
                const double sample = sound[2 * frame] + sound[2 * frame + 1];
                sine += sample * std::sin(2 * M_PI * pitchOf(channel) * i / kRate);
                cosine += sample * std::cos(2 * M_PI * pitchOf(channel) * i / kRate);
            }
            if (std::hypot(sine, cosine) / kLook > 0.01) heard.insert(channel + 1);
        }
        return heard;
    }
    bool isSilent() {
        const auto before = disk_.heard().size();
        QTest::qWait(300);
        return disk_.heard().size() < before + 2 * kLook;
    }
    QString badge() {
        auto* transport = tab_->findChild<PolyToolsPlaybackTransport*>();
        for (const QLabel* label : transport->findChildren<QLabel*>()) {
            if (!label->isHidden() && !label->toolTip().isEmpty()) return label->text();
        }
        return {};
    }
    QString transportLabel() { return tab_->findChild<PolyToolsPlaybackTransport*>()->label(); }
    PreviewMixer& mixer() { return *controller_.preview().mixer(); }

    TestFolder folder_;
    ScriptedDesktop desktop_;
    DiskOutput disk_{48'000, 2, 1024, 6};
    QProperty<Appearance> appearance_{Appearance::system};
    PolyToolsViewModel controller_;
    Updater updater_;
    PolyToolsTabView* tab_;
    MainTabView window_;
};

using Set = std::set<int>;

TEST_F(PolyAuditionTest, AChannelIsHeardAloneAndAtASecondClickPauses) {
    open({writePoly("Take.wav", 4)});
    ASSERT_TRUE(mixer().isLoaded.value());
    EXPECT_EQ(transportLabel(), QStringLiteral("Select a channel to preview"));
    clickChannel(1);
    EXPECT_EQ(heardChannels(4), Set{2});
    EXPECT_EQ(badge(), QStringLiteral("T2"));
    EXPECT_EQ(transportLabel(), QStringLiteral("2: —"));
    clickChannel(3);
    EXPECT_EQ(heardChannels(4), Set{4});
    clickChannel(3);
    EXPECT_FALSE(mixer().isPlaying.value());
    EXPECT_TRUE(isSilent());
    clickChannel(3);
    EXPECT_EQ(heardChannels(4), Set{4});
}

TEST_F(PolyAuditionTest, ThePolyTakesOverWhereTheChannelWas) {
    open({writePoly("Take.wav", 4)});
    clickChannel(2);
    EXPECT_EQ(heardChannels(4), Set{3});
    const double before = mixer().currentTime.value();
    QTest::mouseClick(find<QAbstractButton>(tab_->splitView(), QStringLiteral("Play Poly")), Qt::LeftButton);
    QCoreApplication::processEvents();
    EXPECT_GE(mixer().currentTime.value(), before) << "nothing is started anew";
    EXPECT_TRUE(mixer().isPolySourceActive.value());
    EXPECT_EQ(heardChannels(4), (Set{1, 2})) << "as many as there are speakers, for none is told of";
    EXPECT_EQ(badge(), QStringLiteral("POLY"));
    clickChannel(0);
    EXPECT_EQ(heardChannels(4), Set{1});
}

TEST_F(PolyAuditionTest, TheSpaceBarPausesAndGoesOn) {
    open({writePoly("Take.wav", 2)});
    pressSpace();
    EXPECT_TRUE(mixer().isPlaying.value());
    EXPECT_EQ(heardChannels(2), (Set{1, 2}));
    pressSpace();
    EXPECT_FALSE(mixer().isPlaying.value());
    EXPECT_TRUE(isSilent());
    pressSpace();
    EXPECT_TRUE(mixer().isPlaying.value());
}

TEST_F(PolyAuditionTest, EnterOnARowPlaysIt) {
    open({writePoly("Take.wav", 2)});
    RecordTable& table = tab_->splitView().channels();
    table.setFocus();
    table.setCurrentIndex(table.model()->index(1, 0));
    QTest::keyClick(&table, Qt::Key_Return);
    EXPECT_EQ(heardChannels(2), Set{2});
}

TEST_F(PolyAuditionTest, ABatchPlaysPolysAndTheirChannels) {
    open({writePoly("One.wav", 2), writePoly("Two.wav", 4)});
    RecordTable& table = tab_->splitView().batch().table();
    const int name = BatchPolyModel::NameColumn;
    clickRow(table, 0, name);
    settle();
    EXPECT_EQ(controller_.selectedBatchPreviewIndex.value(), 0);
    EXPECT_EQ(heardChannels(4), (Set{1, 2}));
    EXPECT_EQ(transportLabel(), QStringLiteral("One"));
    EXPECT_EQ(badge(), QStringLiteral("POLY"));
    clickRow(table, 0, name);
    EXPECT_FALSE(mixer().isPlaying.value()) << "the poly that plays pauses";

    clickRow(table, 1, BatchPolyModel::ExpanderColumn);
    clickRow(table, 1 + 4, name); // the fourth channel of a poly that is not loaded yet
    settle();
    EXPECT_EQ(controller_.selectedBatchPreviewIndex.value(), 1);
    EXPECT_EQ(heardChannels(4), Set{4});
    EXPECT_EQ(badge(), QStringLiteral("T4"));
    const double before = mixer().currentTime.value();
    clickRow(table, 1, name); // its own poly, where it is
    EXPECT_GE(mixer().currentTime.value(), before);
    EXPECT_EQ(heardChannels(4), (Set{1, 2}));
    clickRow(table, 1 + 1, name);
    EXPECT_EQ(heardChannels(4), Set{1});
}

TEST_F(PolyAuditionTest, AChannelIsHeardOfThePolyThatIsShownWhateverAnotherModeLoaded) {
    open({writePoly("Take.wav", 2)});
    mixer().loadSingle(writePoly("Other.wav", 4));
    QTest::mouseClick(find<QAbstractButton>(tab_->splitView(), QStringLiteral("Play Poly")), Qt::LeftButton);
    EXPECT_EQ(heardChannels(4), (Set{1, 2}));
}

} // namespace
} // namespace ostrel::testing
