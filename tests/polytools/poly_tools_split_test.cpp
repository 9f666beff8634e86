// The Split face of the controller: selection, automatic modes, names, runs, reports.
#include "controller_fixture.h"
#include "platform/paths.h"
#include "support/blocked_workers.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::ixmlOf;
using testing::namesIn;

class SplitFace : public testing::PolyToolsController {};

TEST_F(SplitFace, StartsWithItsDefaults) {
    EXPECT_EQ(controller_->mode.value(), PolyMode::split);
    EXPECT_EQ(rawText(PolyMode::split), QStringLiteral("Split Poly → ISOs"));
    EXPECT_EQ(rawText(PolyMode::join), QStringLiteral("Join ISOs → Poly"));
    EXPECT_EQ(rawText(PolyMode::editPoly), QStringLiteral("Edit Poly"));
    EXPECT_EQ(controller_->splitNamingPattern.value(), SplitNamingPattern::trackName);
    EXPECT_EQ(controller_->folderOrganization.value(), FolderOrganization::bySceneTake);
    EXPECT_TRUE(controller_->recursiveScan.value() && controller_->skipIfExists.value() &&
                controller_->preserveMetadata.value());
    EXPECT_FALSE(controller_->batchMode.value() || controller_->overwriteExisting.value() ||
                 controller_->generateCSV.value());
    EXPECT_TRUE(entry("Tools checked: ffmpeg=true, bwfmetaedit="));
    EXPECT_FALSE(controller_->split().canRun());
}

TEST_F(SplitFace, OnePolyTurnsBatchModeOffInSplitAndOnInEdit) {
    const QString file = poly(QStringLiteral("P.wav")).url;
    controller_->batchMode = true;
    controller_->applyIntelligentModeDetection({file, path("missing.wav")}, PolyMode::split);
    EXPECT_FALSE(controller_->batchMode.value());
    EXPECT_TRUE(entry("🎹 Classified: 0 folders, 1 files"));
    EXPECT_TRUE(entry("✅ Auto-disabled Batch Mode (single file selected)"));
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->polyFile.value()->channelCount, 2);

    controller_->mode = PolyMode::editPoly;
    controller_->splitOutputFolder = QString();
    controller_->applyIntelligentModeDetection({file}, PolyMode::editPoly);
    EXPECT_TRUE(controller_->batchMode.value());
    EXPECT_EQ(*controller_->selectedFiles.value(), QStringList{file});
    EXPECT_TRUE(entry("Selected 1 poly file"));
    EXPECT_EQ(controller_->splitOutputFolder.value(), folder_.path());
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->batchPolyMetadata.size(), 1u);
    EXPECT_EQ(controller_->batchPolyMetadata[0].channelCount, 2);
}

TEST_F(SplitFace, SeveralFilesAreABatch) {
    controller_->splitOutputFolder = QStringLiteral("/kept");
    controller_->applyIntelligentModeDetection(
        {poly(QStringLiteral("A.wav")).url, poly(QStringLiteral("B.wav"), 3).url}, PolyMode::split);
    EXPECT_TRUE(controller_->batchMode.value());
    EXPECT_TRUE(entry("✅ Auto-enabled Batch Mode (2 files selected)"));
    EXPECT_TRUE(entry("Selected 2 poly file(s)"));
    EXPECT_EQ(controller_->splitOutputFolder.value(), QStringLiteral("/kept"));
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->batchProcessHelperText(), QStringLiteral("Split 2 polys → 5 ISOs into Scene-Take folders"));
    controller_->folderOrganization = FolderOrganization::flat;
    EXPECT_EQ(controller_->batchProcessHelperText(), QStringLiteral("Split 2 polys → 5 ISOs (flat)"));
    controller_->folderOrganization = FolderOrganization::byScene;
    EXPECT_EQ(controller_->batchProcessHelperText(), QStringLiteral("Split 2 polys → 5 ISOs into Scene folders"));
}

TEST_F(SplitFace, FoldersTurnBatchModeOn) {
    poly(QStringLiteral("one/A.wav"));
    poly(QStringLiteral("two/B.WAV"));
    controller_->applyIntelligentModeDetection({path("one")}, PolyMode::split);
    EXPECT_EQ(controller_->sourceFolder.value(), path("one"));
    EXPECT_TRUE(entry("Source folder selected: one"));
    EXPECT_TRUE(entry("✅ Auto-enabled Batch Mode (folder(s) selected)"));
    EXPECT_FALSE(controller_->selectedFiles.value());

    controller_->applyIntelligentModeDetection({path("one"), path("two")}, PolyMode::split);
    EXPECT_TRUE(controller_->isScanningBatchFiles.value());
    ASSERT_TRUE(settled());
    EXPECT_FALSE(controller_->isScanningBatchFiles.value());
    EXPECT_TRUE(entry("Scanning 2 folders for poly files..."));
    EXPECT_TRUE(entry("Found 2 poly file(s) in 2 folders"));
    EXPECT_EQ(controller_->selectedFiles.value()->size(), 2);
    EXPECT_TRUE(controller_->sourceFolder.value().isEmpty());

    QDir().mkpath(path("none/deeper"));
    controller_->mode = PolyMode::editPoly;
    controller_->applyIntelligentModeDetection({path("none")}, PolyMode::editPoly);
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("✅ Auto-set output folder to source: none"));
    EXPECT_TRUE(entry("No .wav files found in folder"));
}

TEST_F(SplitFace, LoadingReadsNamesAndFallsBackToNumbersWithoutThem) {
    if (!testing::hasBwfmetaedit()) GTEST_SKIP() << "this build has no bwfmetaedit";
    testing::IxmlSpec ixml = ixmlOf({"Boom", "Lav"});
    std::swap(ixml.tracks[0], ixml.tracks[1]); // document order is not interleave order
    controller_->source().analyzePolyFile(poly(QStringLiteral("P.wav"), 3, ixml).url);
    EXPECT_TRUE(controller_->isAnalyzing.value());
    ASSERT_TRUE(settled());
    EXPECT_FALSE(controller_->isAnalyzing.value());
    EXPECT_TRUE(controller_->hasIXMLTrackNames.value());
    EXPECT_EQ(controller_->trackNames.value()->join(u' '), QStringLiteral("Boom Lav"));
    EXPECT_EQ(controller_->splitNamingPattern.value(), SplitNamingPattern::trackName);
    EXPECT_EQ(controller_->channelItems[0].outputFileName, QStringLiteral("P_Boom.wav"));
    EXPECT_EQ(controller_->channelItems[2].trackName, QStringLiteral("—"));
    EXPECT_EQ(controller_->channelItems[2].outputFileName, QStringLiteral("P_ch3.wav"));
    EXPECT_TRUE(entry("Loaded: P.wav (3 channels)"));
    const auto manifest = MetadataManifestExtractor::loadManifest(path("P.wav"));
    ASSERT_TRUE(manifest) << log().toStdString();
    EXPECT_EQ(manifest->audioProperties.channelCount, 3);
    EXPECT_EQ(manifest->audioProperties.sampleRate, 48000);

    controller_->source().analyzePolyFile(poly(QStringLiteral("Q.wav")).url);
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->splitNamingPattern.value(), SplitNamingPattern::channelNumber);
    controller_->source().analyzePolyFile(path("P.wav"));
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->splitNamingPattern.value(), SplitNamingPattern::trackName);
}

TEST_F(SplitFace, AFileThatIsNoAudioEndsInAnError) {
    controller_->source().analyzePolyFile(folder_.write(QStringLiteral("x.wav"), "no audio"));
    ASSERT_TRUE(settled());
    EXPECT_EQ(entry("Analysis failed: ")->level, LogLevel::error);
    EXPECT_FALSE(controller_->polyFile.value());
    EXPECT_FALSE(controller_->isAnalyzing.value());
}

TEST_F(SplitFace, OutputNamesFollowThePattern) {
    const auto name = [&](int index, const char* track) {
        return controller_->source().generateOutputName(QStringLiteral("T"), index, QString::fromUtf8(track));
    };
    controller_->splitNamingPattern = SplitNamingPattern::trackName;
    EXPECT_EQ(name(3, "—"), QStringLiteral("T_ch4.wav"));
    EXPECT_EQ(name(0, "Boom/Mic: 1? x\\*"), QStringLiteral("T_Boom-Mic-_1_x-.wav"));
    controller_->splitNamingPattern = SplitNamingPattern::channelLetter;
    EXPECT_EQ(name(25, ""), QStringLiteral("T_Z.wav"));
    EXPECT_EQ(name(26, ""), QStringLiteral("T_27.wav"));
    controller_->splitKeepOriginalName = true;
    EXPECT_EQ(name(1, "Boom"), QStringLiteral("T.wav"));
}

TEST_F(SplitFace, CanRunSplitIsFalseForAMonoFile) {
    controller_->source().analyzePolyFile(poly(QStringLiteral("mono.wav"), 1).url);
    ASSERT_TRUE(settled());
    EXPECT_FALSE(controller_->split().canRun());
    controller_->source().analyzePolyFile(poly(QStringLiteral("two.wav"), 2).url);
    ASSERT_TRUE(settled());
    EXPECT_TRUE(controller_->split().canRun());
    controller_->splitOutputFolder = QString();
    EXPECT_FALSE(controller_->split().canRun());
}

TEST_F(SplitFace, ChecksEndInErrorsAndChangeNothing) {
    controller_->split().run();
    EXPECT_EQ(entry("No valid poly file selected")->level, LogLevel::error);
    controller_->split().runBatch();
    EXPECT_TRUE(entry("Output folder required"));
    controller_->splitOutputFolder = folder_.path();
    controller_->split().runBatch();
    EXPECT_TRUE(entry("Select files or folder to process"));
    controller_->polyFile = PolyFile();
    controller_->splitOutputFolder = QString();
    controller_->split().run();
    EXPECT_TRUE(entry("No output folder selected"));
    controller_->splitOutputFolder = folder_.path();
    controller_->ffmpegAvailable = false;
    controller_->split().run();
    EXPECT_TRUE(entry("ffmpeg not available - Install from ffmpeg.org or use: brew install ffmpeg"));
    EXPECT_FALSE(controller_->isProcessing.value() || controller_->hasRunningTask());
}

TEST_F(SplitFace, ASplitMakesTheFilesAndTheReport) {
    controller_->generateCSV = true;
    const QString file = poly(QStringLiteral("12AT3.wav"), 3).url;
    const QString before = testing::fingerprintOf(file);
    controller_->source().analyzePolyFile(file);
    ASSERT_TRUE(settled());
    controller_->splitOutputFolder = path("out");
    controller_->split().run();
    EXPECT_TRUE(controller_->isProcessing.value() && controller_->isSplitting.value());
    ASSERT_TRUE(settled());
    EXPECT_FALSE(controller_->isProcessing.value() || controller_->isSplitting.value());
    EXPECT_EQ(controller_->successCount.value(), 3);
    EXPECT_EQ(controller_->channelItems[2].status, ItemStatus::complete);
    EXPECT_EQ(controller_->createdFiles.value().size(), 3);
    EXPECT_EQ(controller_->splitProgress.value(), 1.0);
    for (const char* line :
         {"Output organization: By Scene/Take (e.g., 9C-T01/) / 12A-T3", "Created output folder: 12A-T3",
          "Starting split: 12AT3.wav → 3 mono files", "Naming pattern: Channel Number (ch1, ch2...)",
          "No track names available", "Split complete: 3 files created"}) {
        EXPECT_TRUE(entry(line)) << line;
    }
    const QString csv = QString::fromUtf8(testing::readAll(controller_->reportPath.value()));
    EXPECT_TRUE(csv.startsWith(QStringLiteral("# Tessarine — PolySplit Report\n"))) << csv.toStdString();
    EXPECT_TRUE(csv.contains(QStringLiteral("Channel,Track Name,Output File,Sample Rate,Bit "
                                            "Depth,Status,Metadata\n1,—,12AT3_ch1.wav,48000 Hz,24-bit,Complete,")));
    EXPECT_TRUE(csv.endsWith(QStringLiteral("\n\n# Total Channels: 3\n# ISOs Created: 3\n# Errors: 0")));
    EXPECT_EQ(testing::fingerprintOf(file), before);

    controller_->split().run();
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->skipCount.value(), 3);
    EXPECT_EQ(controller_->channelItems[0].status, ItemStatus::skipped);
}

TEST_F(SplitFace, AFolderThatCannotBeMadeStopsTheRun) {
    controller_->source().analyzePolyFile(poly(QStringLiteral("P.wav")).url);
    ASSERT_TRUE(settled());
    controller_->splitOutputFolder = folder_.write(QStringLiteral("file"), "x");
    controller_->split().run();
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Failed to create output folder: "));
    EXPECT_FALSE(controller_->isProcessing.value());
    EXPECT_EQ(controller_->errorCount.value(), 1);
}

TEST_F(SplitFace, ABatchSplitsAFolderAndReports) {
    controller_->generateCSV = true;
    poly(QStringLiteral("in/12AT3.wav"));
    poly(QStringLiteral("in/deep/Kitchen-T07.wav"), 3);
    controller_->applyIntelligentModeDetection({path("in")}, PolyMode::split);
    controller_->splitOutputFolder = path("out");
    EXPECT_TRUE(controller_->split().canRunBatch());
    controller_->split().runBatch();
    EXPECT_TRUE(controller_->isBatchProcessing.value());
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->successCount.value(), 2);
    EXPECT_EQ(controller_->batchResults.value()->totalISOsCreated, 5);
    EXPECT_EQ(controller_->batchProgress.value()->currentFile, QStringLiteral("Complete"));
    for (const char* line :
         {"Starting batch split from: in", "Output folder: out", "Folder organization: By Scene/Take (e.g., 9C-T01/)",
          "Recursive scan: true", "Batch complete: 2 poly files → 5 ISOs"}) {
        EXPECT_TRUE(entry(line)) << line;
    }
    const QString csv = QString::fromUtf8(testing::readAll(controller_->reportPath.value()));
    EXPECT_TRUE(csv.contains(QStringLiteral("Kitchen-T07.wav,")) &&
                csv.contains(QStringLiteral("# Organization: By Scene/Take")))
        << csv.toStdString();
    EXPECT_TRUE(csv.endsWith(QStringLiteral("# Total Poly Files: 2\n# Success: 2\n# Errors: 0\n# Skipped: 0")));
}

TEST_F(SplitFace, ABatchWithNothingToDoFails) {
    controller_->selectedFiles = QStringList{poly(QStringLiteral("mono.wav"), 1).url};
    controller_->splitOutputFolder = path("out");
    controller_->split().runBatch();
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Batch failed: No valid poly files found"));
    EXPECT_FALSE(controller_->isBatchProcessing.value());
}

TEST_F(SplitFace, StoppingResetsTheFlagsAtOnceAndEndsAheadOfTheNextChannel) {
    controller_->source().analyzePolyFile(poly(QStringLiteral("P.wav"), 32).url);
    ASSERT_TRUE(settled());
    controller_->splitOutputFolder = path("out");
    controller_->folderOrganization = FolderOrganization::flat;
    controller_->split().run();
    ASSERT_TRUE(testing::waitUntil([this] { return entry("Created: "); }));
    controller_->stopProcessing();
    EXPECT_FALSE(controller_->isProcessing.value() || controller_->isSplitting.value());
    EXPECT_TRUE(controller_->isCancelled.value());
    EXPECT_EQ(entry("Operation cancelled by user")->level, LogLevel::warning);
    ASSERT_TRUE(settled());
    EXPECT_LT(namesIn(path("out")).size(), 32);
    EXPECT_FALSE(entry("files created"));
}

TEST_F(SplitFace, AControllerMayGoWhileItsWorkRuns) {
    testing::BlockedWorkers workers; // so the work can't end ahead of the controller
    controller_->source().analyzePolyFile(poly(QStringLiteral("P.wav"), 8).url);
    EXPECT_TRUE(controller_->hasRunningTask());
    controller_.reset();
    workers.drain();
}

TEST_F(SplitFace, PanelsAndLogsGoThroughTheDesktop) {
    desktop_.openPanelAnswer = {poly(QStringLiteral("P.wav")).url};
    controller_->selectSource();
    ASSERT_TRUE(settled());
    EXPECT_TRUE(desktop_.openPanels[0].canChooseFolders && desktop_.openPanels[0].allowsMultipleSelection);
    EXPECT_EQ(desktop_.openPanels[0].allowedExtensions, QStringList{QStringLiteral("wav")});
    EXPECT_TRUE(controller_->polyFile.value());
    const auto count = controller_->logEntries.size();
    controller_->copyLogToClipboard();
    EXPECT_EQ(desktop_.pasteboard[0].count(u'\n'), static_cast<int>(count) - 1);
    EXPECT_TRUE(entry(qPrintable(QStringLiteral("Log copied to clipboard (%1 entries)").arg(count))));
    desktop_.savePanelAnswer = path("log.txt");
    controller_->saveLog();
    EXPECT_TRUE(desktop_.savePanels[0].suggestedName.startsWith(QStringLiteral("PolyTools_Log_")));
    EXPECT_TRUE(testing::readAll(path("log.txt")).contains("[SCAN] Loaded: P.wav (2 channels)"));
    desktop_.savePanelAnswer = QStringLiteral("/nowhere/log.txt");
    controller_->saveLog();
    EXPECT_TRUE(entry("Failed to save log: "));
}

TEST_F(SplitFace, ClearingForgetsTheSource) {
    controller_->source().analyzePolyFile(poly(QStringLiteral("P.wav")).url);
    ASSERT_TRUE(settled());
    const QUuid section = controller_->splitSourceSectionID.value();
    controller_->source().clear();
    EXPECT_FALSE(controller_->polyFile.value() || controller_->source().hasContent());
    EXPECT_TRUE(controller_->channelItems.empty());
    EXPECT_EQ(controller_->splitNamingPattern.value(), SplitNamingPattern::channelNumber);
    EXPECT_NE(controller_->splitSourceSectionID.value(), section);
    EXPECT_TRUE(entry("Cleared split data - ready for new file"));
}

} // namespace
} // namespace ostrel
