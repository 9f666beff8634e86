// What Edit Poly lets one hear, on a driver that writes it down.
#include "app/poly/batch/batch_poly_list.h"
#include "app/poly/batch/batch_poly_model.h"
#include "poly_edit_test.h"
#include "support/disk_output.h"
#include "support/sound.h"

#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

constexpr float kTrimmed = 0.5011872F; // a channel beside others
constexpr qint64 kRamp = 240;          // frames

class EditAuditionTest : public ::testing::Test {
protected:
    EditAuditionTest() {
        tab_.resize(1200, 900);
        tab_.show();
        model_.mode = PolyMode::editPoly;
        tab_.acceptDrop({writeSound(folder_.path(QStringLiteral("Take.wav")), 3, kLong)});
        EXPECT_TRUE(waitUntil([this] { return !model_.hasRunningTask() && !model_.batchPolyMetadata.empty(); }));
        BatchPolyModel& lines = list().model();
        lines.setExpanded(0, true);
        EXPECT_EQ(lines.rowCount(), 4);
    }

    BatchPolyList& list() { return tab_.editView().polys(); }
    PreviewMixer& mixer() { return *model_.preview().mixer(); }
    void clickRow(int row) {
        RecordTable& table = list().table();
        const QRect cell = table.visualRect(table.model()->index(row, BatchPolyModel::NameColumn));
        QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, cell.center());
        QCoreApplication::processEvents();
    }
    bool waitForPlaying() {
        return waitUntil([this] { return mixer().isPlaying.value(); });
    }
    // Whether what came out last was this channel alone, zero-based, wherever in the file.
    bool endsWith(int channel) {
        const std::vector<float> heard = disk_.heard(0);
        constexpr std::size_t length = 2'000;
        if (heard.size() < length) return false;
        const auto first = heard.size() - length;
        for (qint64 start = 0; start < static_cast<qint64>(heard.size()) + 48'000; ++start) {
            std::size_t at = 0;
            while (at < length && std::abs(heard[first + at] -
                                           kTrimmed * markedSample(channel, start + static_cast<qint64>(at))) < 1e-6F)
                ++at;
            if (at == length) return true;
        }
        return false;
    }

    TestFolder folder_;
    ScriptedDesktop desktop_;
    DiskOutput disk_;
    PolyToolsViewModel model_{desktop_, &disk_.output()};
    QProperty<Appearance> appearance_{Appearance::light};
    PolyToolsTabView tab_{model_, appearance_};
};

TEST_F(EditAuditionTest, AClickOnAChannelPlaysItAloneAndAnotherClickPauses) {
    clickRow(2);
    ASSERT_TRUE(waitForPlaying());
    EXPECT_EQ(model_.selectedBatchChannelForPlayback.value(), 1);
    ASSERT_TRUE(disk_.waitForMore(20'000));
    clickRow(2);
    EXPECT_FALSE(mixer().isPlaying.value());
    EXPECT_TRUE(endsWith(1));
    clickRow(2);
    EXPECT_TRUE(mixer().isPlaying.value());
    clickRow(3);
    EXPECT_TRUE(mixer().isPlaying.value());
    ASSERT_TRUE(disk_.waitForMore(20'000 + kRamp));
    clickRow(3);
    EXPECT_FALSE(mixer().isPlaying.value());
    EXPECT_TRUE(endsWith(2));
}

TEST_F(EditAuditionTest, AClickOnAPolyPlaysItWhole) {
    clickRow(0);
    ASSERT_TRUE(waitForPlaying());
    EXPECT_TRUE(mixer().isPolySourceActive.value());
    EXPECT_FALSE(model_.selectedBatchChannelForPlayback.value());
    clickRow(1);
    EXPECT_FALSE(mixer().isPolySourceActive.value());
    EXPECT_EQ(model_.selectedBatchChannelForPlayback.value(), 0);
}

} // namespace
} // namespace ostrel::testing
