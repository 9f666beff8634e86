// What is switched while a run is under way is the next run's business.
#include "controller_fixture.h"

namespace ostrel {
namespace {

using testing::namesIn;

class RunSnapshot : public testing::PolyToolsController {
protected:
    void SetUp() override {
        PolyToolsController::SetUp();
        controller_->generateCSV = true;
        controller_->splitOutputFolder = path("out");
        controller_->joinOutputFolder = path("out");
    }
    // Whatever a person may reach while the first step of a run is still under way.
    void switchEverything() {
        controller_->generateCSV = false;
        controller_->skipIfExists = false;
        controller_->overwriteExisting = true;
        controller_->splitNamingPattern = SplitNamingPattern::channelLetter;
        controller_->splitKeepOriginalName = true;
        controller_->folderOrganization = FolderOrganization::byScene;
        controller_->recursiveScan = false;
        controller_->splitOutputFolder = path("elsewhere");
        controller_->joinOutputFolder = path("elsewhere");
        controller_->joinKeepOriginalName = true;
        controller_->joinChannelLayout = JoinChannelLayout::surround51;
        controller_->joinSourceFolder = path("elsewhere");
        controller_->channelRemovalRenameMap = RenameMap{{1, QStringLiteral("Wrong")}};
        controller_->channelRemovalFilter = std::nullopt;
        controller_->editPolyEditInPlace = true;
        controller_->source().updateOutputNames();
    }
    QString report() {
        const QString file = controller_->reportPath.value();
        EXPECT_FALSE(file.isEmpty()) << log().toStdString();
        EXPECT_FALSE(QFile::exists(path("elsewhere")));
        return file.isEmpty() ? QString() : QString::fromUtf8(testing::readAll(file));
    }
    void expectLine(const QString& report, const QString& line) const {
        EXPECT_TRUE(report.split(u'\n').contains(line)) << line.toStdString() << " in\n" << report.toStdString();
    }
    void takes(const char* folder) {
        for (const char* name : {"12A-T3_Boom.wav", "12A-T3_Lav.wav", "14B-T1_Boom.wav", "14B-T1_Lav.wav"}) {
            iso(QStringLiteral("%1/%2").arg(QLatin1String(folder), QLatin1String(name)));
        }
    }
};

TEST_F(RunSnapshot, ASplitOfOneFile) {
    controller_->source().analyzePolyFile(poly(QStringLiteral("12AT3.wav"), 3).url);
    ASSERT_TRUE(settled());
    controller_->splitNamingPattern = SplitNamingPattern::channelNumber;
    controller_->splitOutputFolder = path("out");
    controller_->source().updateOutputNames();
    controller_->split().run();
    switchEverything();
    ASSERT_TRUE(settled());
    EXPECT_EQ(namesIn(path("out/12A-T3")).filter(QStringLiteral(".wav")),
              QStringLiteral("12AT3_ch1.wav 12AT3_ch2.wav 12AT3_ch3.wav").split(u' '));
    const QString csv = report();
    expectLine(csv, QStringLiteral("# Naming Pattern: ") + rawText(SplitNamingPattern::channelNumber));
    expectLine(csv, QStringLiteral("3,—,12AT3_ch3.wav,48000 Hz,24-bit,Complete,"));
}

TEST_F(RunSnapshot, ASplitLeavesTheRowsOfAnotherFileAlone) {
    const QString other = poly(QStringLiteral("B.wav"), 3).url;
    controller_->source().analyzePolyFile(poly(QStringLiteral("A.wav"), 2).url);
    ASSERT_TRUE(settled());
    controller_->splitOutputFolder = path("out");
    controller_->split().run();
    controller_->source().analyzePolyFile(other);
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->successCount.value(), 2) << log().toStdString();
    ASSERT_EQ(controller_->channelItems.size(), 3u);
    for (const ChannelItem& item : controller_->channelItems) EXPECT_EQ(item.status, ItemStatus::pending);
    expectLine(report(), QStringLiteral("# Source File: A.wav"));
}

TEST_F(RunSnapshot, ASplitOfABatch) {
    poly(QStringLiteral("in/12AT3.wav"));
    poly(QStringLiteral("in/deep/12AT4.wav"));
    controller_->sourceFolder = path("in");
    controller_->split().runBatch();
    switchEverything();
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->successCount.value(), 2) << log().toStdString();
    const QString csv = report();
    expectLine(csv, QStringLiteral("# Source: ") + path("in"));
    expectLine(csv, QStringLiteral("# Recursive: Yes"));
    expectLine(csv, QStringLiteral("# Organization: ") + rawText(FolderOrganization::bySceneTake));
    expectLine(csv, QStringLiteral("# Output Folder: ") + path("out"));
}

TEST_F(RunSnapshot, AJoin) {
    const QStringList urls{iso(QStringLiteral("T1_a.wav"), 0).url, iso(QStringLiteral("T1_b.wav"), 1).url};
    controller_->join().analyzeISOFiles(urls);
    ASSERT_TRUE(settled());
    controller_->joinOutputName = QStringLiteral("Poly");
    controller_->join().run();
    switchEverything();
    ASSERT_TRUE(settled());
    EXPECT_TRUE(QFile::exists(path("out/Poly.wav"))) << log().toStdString();
    const QString csv = report();
    expectLine(csv, QStringLiteral("# Keep Original Name: No"));
    expectLine(csv, QStringLiteral("# Skip If Exists: Yes"));
    expectLine(csv, QStringLiteral("# Overwrite Existing: No"));
    expectLine(csv, QStringLiteral("# Channel Layout: ") + rawText(JoinChannelLayout::automatic));
}

TEST_F(RunSnapshot, AJoinOfABatch) {
    takes("in");
    controller_->applyIntelligentModeDetection({path("in")}, PolyMode::join);
    ASSERT_TRUE(settled());
    ASSERT_EQ(controller_->reviewedGroups.size(), 2u);
    controller_->join().runBatch();
    switchEverything();
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->successCount.value(), 2) << log().toStdString();
    const QString csv = report();
    expectLine(csv, QStringLiteral("# Source Folder: ") + path("in"));
    expectLine(csv, QStringLiteral("# Output Folder: ") + path("out"));
    expectLine(csv, QStringLiteral("# Keep Original Name: No"));
}

TEST_F(RunSnapshot, AnEdit) {
    controller_->applyIntelligentModeDetection({poly(QStringLiteral("in/A.wav"), 3).url}, PolyMode::editPoly);
    ASSERT_TRUE(settled());
    controller_->splitOutputFolder = path("out");
    ChannelFilterOptions filter;
    filter.selectedChannelIndices = {2};
    controller_->channelRemovalFilter = filter;
    controller_->edit().run();
    switchEverything();
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->successCount.value(), 1) << log().toStdString();
    const QString csv = report();
    expectLine(csv, QStringLiteral("# Mode: New File"));
    expectLine(csv, QStringLiteral("# Edits Applied: Channel removal (keeping: 1, 3)"));
    expectLine(csv, QStringLiteral("# Output Folder: ") + path("out"));
}

TEST_F(RunSnapshot, AScanTakesNothingFromARunThatWasStopped) {
    takes("in");
    takes("next");
    controller_->applyIntelligentModeDetection({path("in")}, PolyMode::join);
    ASSERT_TRUE(settled());
    controller_->join().runBatch();
    controller_->stopProcessing();
    controller_->joinSourceFolder = path("next");
    controller_->join().scanAndGroupISOs();
    EXPECT_TRUE(controller_->isCancelled.value()) << "the stopped run is still on its way out";
    ASSERT_TRUE(settled());
    ASSERT_TRUE(controller_->batchJoinResults.value());
    EXPECT_EQ(controller_->batchJoinResults.value()->totalPolysCreated, controller_->successCount.value());
    expectLine(report(), QStringLiteral("# Source Folder: ") + path("in"));
}

} // namespace
} // namespace ostrel
