// The controller over thousands of files.
#include "controller_fixture.h"

#include <QFile>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace ostrel {
namespace {

// Answers for any mono file, by the shell alone: eight thousand launches have to be quick.
constexpr const char* kQuickProbe =
    R"(case "$*" in *stream=channels*) echo 1;; *sample_rate*) echo 48000;; *bits_per*) echo 24;; *) echo 60.5;; esac)";

class LimitedDescriptors {
public:
    explicit LimitedDescriptors(rlim_t most) {
        getrlimit(RLIMIT_NOFILE, &old_);
        const rlimit low{most, old_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &low);
    }
    ~LimitedDescriptors() { setrlimit(RLIMIT_NOFILE, &old_); }
    LimitedDescriptors(const LimitedDescriptors&) = delete;
    LimitedDescriptors& operator=(const LimitedDescriptors&) = delete;

private:
    rlimit old_{};
};

class ManyFiles : public testing::PolyToolsController {
protected:
    void SetUp() override {
        PolyToolsController::SetUp();
        controller_->mode = PolyMode::join;
    }
};

TEST_F(ManyFiles, TwoThousandLooseIsosOfAFolderBecomeTheirTakes) {
    const QString model = iso(QStringLiteral("model.wav")).url; // copied: links would be one recording
    for (int i = 0; i < 2000; ++i) {
        const QString name = QStringLiteral("in/%1A-T%2_%3.wav").arg(i / 80).arg(i / 8 % 10).arg(i % 8);
        ASSERT_TRUE(QFile::copy(model, folder_.path(name)));
    }
    controller_->ffprobePath = folder_.writeScript(QStringLiteral("tools/ffprobe"), QString::fromUtf8(kQuickProbe));
    controller_->bwfmetaeditPath = QString(); // the names alone tell the takes
    int filesRead = 0;
    const auto watched = controller_->groupingProgress.addNotifier([&] {
        if (const auto& progress = controller_->groupingProgress.value()) {
            filesRead = std::max(filesRead, progress->first);
        }
    });
    const LimitedDescriptors limited(64);
    controller_->applyIntelligentModeDetection({path("in")}, PolyMode::join);
    ASSERT_TRUE(settled());
    EXPECT_EQ(filesRead, 2000);
    EXPECT_TRUE(controller_->ungroupedFiles.empty());
    ASSERT_EQ(controller_->reviewedGroups.size(), 250u);
    for (const ISOGroupCandidate& group : controller_->reviewedGroups) {
        ASSERT_EQ(group.isoFiles.size(), 8u) << group.scene.toStdString() << group.take.toStdString();
    }
    EXPECT_EQ(controller_->groupingResult.value()->mediumConfidenceCount, 250);
    EXPECT_EQ(controller_->reviewedGroups[0].scene + controller_->reviewedGroups[0].take, QStringLiteral("0A0"));
    EXPECT_EQ(controller_->reviewedGroups[249].scene + controller_->reviewedGroups[249].take, QStringLiteral("24A9"));
    EXPECT_TRUE(controller_->showGroupReview.value());
    EXPECT_FALSE(controller_->groupingProgress.value());
}

TEST_F(ManyFiles, AClickInAListOfTwentyThousandAnnouncesItsRowAlone) {
    std::vector<ISOFile> files(20'000);
    for (std::size_t i = 0; i < files.size(); ++i) {
        files[i].fileName = QStringLiteral("ISO %1.wav").arg(i);
        files[i].url = QStringLiteral("/r/") + files[i].fileName;
        files[i].isSelected = false;
    }
    controller_->isoFiles.assign(std::move(files));
    int rows = 0;
    int resets = 0;
    QObject::connect(&controller_->isoFiles, &RecordListSignals::rowChanged, [&] { ++rows; });
    QObject::connect(&controller_->isoFiles, &RecordListSignals::reset, [&] { ++resets; });
    for (int row = 0; row < 20'000; ++row) controller_->join().setSelected(row, row % 2 == 0);
    EXPECT_EQ(rows, 20'000);
    EXPECT_EQ(resets, 0);
    EXPECT_EQ(std::ranges::count_if(controller_->isoFiles, &ISOFile::isSelected), 10'000);

    for (int row = 19'999; row > 19'899; --row) controller_->join().moveISOUp(row);
    EXPECT_EQ(controller_->isoFiles[19'899].fileName, QStringLiteral("ISO 19999.wav"));
    EXPECT_EQ(controller_->isoFiles[19'899].channelIndex, 19'900);
    controller_->join().setAllSelected(true);
    EXPECT_EQ(std::ranges::count_if(controller_->isoFiles, &ISOFile::isSelected), 20'000);
}

} // namespace
} // namespace ostrel
