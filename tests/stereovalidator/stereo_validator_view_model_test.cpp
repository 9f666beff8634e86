#include "foundation/logs/csv_report_generator.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "stereovalidator/stereo_reference.h"
#include "stereovalidator/stereo_validator_view_model.h"
#include "stereovalidator/validator_report.h"
#include "support/blocked_workers.h"
#include "support/disk_output.h"
#include "support/scripted_desktop.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTimer>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostrel {
namespace {

using Class = StereoClassification;
using testing::kRate;
using testing::scaled;
using testing::ScriptedDesktop;
using testing::StereoFrame;
using testing::StereoSignal;
using testing::TestFolder;
using testing::waitUntil;

class ValidatorTest : public ::testing::Test {
protected:
    QString write(const QString& name, const StereoSignal& signal) {
        const auto sample = [&](int channel, qint64 frame) {
            return channel == 0 ? signal(frame).left : signal(frame).right;
        };
        return testing::writeSound(folder_.path(name), 2, 2 * kRate, sample, kRate, testing::SampleFormat::float32);
    }
    QString writeDualMono(const QString& name) { return write(name, scaled(1, 1)); }
    QString writeMono(const QString& name) { return testing::writeSound(folder_.path(name), 1, kRate); }

    void analyze(const QStringList& files) {
        controller_.select(files);
        analyzeSelection();
    }
    void analyzeSelection() {
        controller_.startAnalysis();
        ASSERT_TRUE(waitUntil([this] { return !controller_.isAnalyzing.value(); }));
    }

    // "LEVEL CATEGORY message" of the entries since the last call.
    QStringList newLog() {
        QStringList lines;
        for (; seen_ < controller_.logEntries.size(); ++seen_) {
            const ProcessingLogEntry& entry = controller_.logEntries[seen_];
            lines << QStringLiteral("%1 %2 %3").arg(rawText(entry.level), rawText(entry.category), entry.message);
        }
        return lines;
    }
    QString lastLine() {
        const QStringList lines = newLog();
        return lines.isEmpty() ? QString() : lines.last();
    }
    QStringList names() const {
        QStringList result;
        for (const StereoValidatorResult& each : controller_.analysisResults) {
            result << paths::lastComponent(each.filepath) + QLatin1Char(' ') + rawText(each.classification);
        }
        return result;
    }
    QStringList filesIn(const QString& folder) const {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    bool waitForAlert() {
        return waitUntil([this] { return !desktop_.alerts.empty(); });
    }

    TestFolder folder_;
    ScriptedDesktop desktop_;
    testing::DiskOutput audio_;
    StereoValidatorViewModel controller_{desktop_, audio_.output()};
    std::size_t seen_ = 0;
};

TEST_F(ValidatorTest, BeginsWithItsDefaults) {
    EXPECT_EQ(newLog(), QStringList{QStringLiteral(
                            "INFO SYSTEM Using native in-process analyzer - no external dependencies required")});
    StereoValidatorOptions defaults;
    defaults.gathersEvidence = true;
    EXPECT_EQ(controller_.options(), defaults);
    EXPECT_FALSE(controller_.canAnalyze());
    EXPECT_TRUE(controller_.recursiveScan.value());
    EXPECT_FALSE(controller_.skipMonoFiles.value());
    EXPECT_TRUE(controller_.processDualMono.value() && controller_.processOneSided.value() &&
                controller_.processBroken.value() && controller_.addMonoSuffix.value());
    EXPECT_FALSE(controller_.allowOverwrite.value() || controller_.generateCSV.value());
    EXPECT_EQ(rawText(controller_.exportScope.value()), QStringLiteral("All Results"));
    EXPECT_EQ(rawText(controller_.dualMonoSideSelection.value()), QStringLiteral("Auto (Safe Default)"));
}

TEST_F(ValidatorTest, SelectsFilesByThePanel) {
    desktop_.openPanelAnswer = {QStringLiteral("/takes/a.wav"), QStringLiteral("/takes/b.wav")};
    controller_.selectSource();
    EXPECT_EQ(desktop_.openPanels.at(0).message, QStringLiteral("Select stereo audio files or folder"));
    EXPECT_TRUE(desktop_.openPanels.at(0).canChooseFiles && desktop_.openPanels.at(0).canChooseFolders &&
                desktop_.openPanels.at(0).allowsMultipleSelection);
    EXPECT_EQ(controller_.selectedFiles.value(), desktop_.openPanelAnswer);
    EXPECT_TRUE(controller_.sourceFolder.value().isEmpty());
    EXPECT_EQ(lastLine(), QStringLiteral("INFO SCAN Selected 2 file(s)"));
    EXPECT_TRUE(controller_.canAnalyze());
}

TEST_F(ValidatorTest, SelectsTheFolderAloneWhenItComesFirst) {
    controller_.select({QStringLiteral("/takes/a.wav")});
    desktop_.openPanelAnswer = {folder_.path(), QStringLiteral("/takes/b.wav")};
    controller_.selectSource();
    EXPECT_EQ(controller_.sourceFolder.value(), folder_.path());
    EXPECT_FALSE(controller_.selectedFiles.value());
    EXPECT_EQ(lastLine(), QStringLiteral("INFO SCAN Source folder selected: ") + paths::lastComponent(folder_.path()));
}

TEST_F(ValidatorTest, KeepsItsSelectionWhenAPanelIsCancelled) {
    controller_.select({QStringLiteral("/takes/a.wav")});
    newLog();
    controller_.selectSource();
    controller_.selectOutputFolder();
    EXPECT_EQ(controller_.selectedFiles.value()->size(), 1);
    EXPECT_TRUE(controller_.outputFolder.value().isEmpty());
    EXPECT_TRUE(newLog().isEmpty());
}

TEST_F(ValidatorTest, SelectsTheOutputFolder) {
    desktop_.openPanelAnswer = {folder_.path()};
    controller_.selectOutputFolder();
    const OpenPanelRequest& panel = desktop_.openPanels.at(0);
    EXPECT_EQ(panel.message, QStringLiteral("Choose where to save analysis results and processed files"));
    EXPECT_TRUE(!panel.canChooseFiles && panel.canChooseFolders && !panel.allowsMultipleSelection &&
                panel.canCreateFolders);
    EXPECT_EQ(controller_.outputFolder.value(), folder_.path());
    EXPECT_TRUE(lastLine().startsWith(QStringLiteral("INFO SCAN Output folder selected: ")));
}

TEST_F(ValidatorTest, AppliesAPresetToTheFiveThresholdsAlone) {
    controller_.includeMidSide = false;
    controller_.gathersEvidence = false;
    controller_.applyPreset(AnalysisPreset::strict);
    EXPECT_EQ(controller_.options(), (StereoValidatorOptions{0.998, 0.97, 0.5, 3.0, 60.0, false, false}));
}

TEST_F(ValidatorTest, AsksForASelection) {
    controller_.startAnalysis();
    EXPECT_EQ(lastLine(), QStringLiteral("ERROR PROCESS Select files or folder to analyze"));
    EXPECT_FALSE(controller_.isAnalyzing.value());
}

TEST_F(ValidatorTest, TakesAnEmptyListForASelectionWithoutAudio) {
    controller_.selectedFiles = QStringList();
    EXPECT_TRUE(controller_.canAnalyze());
    analyzeSelection();
    EXPECT_EQ(lastLine(), QStringLiteral("ERROR SCAN No audio files found"));
}

TEST_F(ValidatorTest, FindsNoAudioAmongFilesOfOtherKinds) {
    analyze({folder_.write(QStringLiteral("notes.txt"), "text"), folder_.write(QStringLiteral("plain"), "text")});
    EXPECT_EQ(lastLine(), QStringLiteral("ERROR SCAN No audio files found"));
    EXPECT_FALSE(controller_.isAnalyzing.value());
}

TEST_F(ValidatorTest, AnalysesTheSelectedFilesInTheirOrder) {
    const QStringList files{write(QStringLiteral("z.WAV"), scaled(1, -1)), writeDualMono(QStringLiteral("a.wav")),
                            writeMono(QStringLiteral("m.wav")), folder_.write(QStringLiteral("text.wav"), "text")};
    controller_.select(files);
    newLog();
    controller_.startAnalysis();
    EXPECT_TRUE(controller_.isAnalyzing.value());
    EXPECT_FALSE(controller_.canAnalyze());
    ASSERT_TRUE(waitUntil([this] { return !controller_.isAnalyzing.value(); }));
    EXPECT_EQ(names(), (QStringList{QStringLiteral("z.WAV BROKEN"), QStringLiteral("a.wav DUAL_MONO"),
                                    QStringLiteral("m.wav TRUE_MONO"), QStringLiteral("text.wav UNSUPPORTED")}));
    EXPECT_EQ(newLog(),
              (QStringList{QStringLiteral("INFO SCAN Found 4 audio file(s) to analyze"),
                           QStringLiteral("INFO PROCESS Starting native analysis of 4 file(s)"),
                           QStringLiteral("OK PROCESS Analysis complete: 2 successful, 1 errors, 1 skipped"),
                           QStringLiteral("OK PROCESS Analyzed: 4 files • Dual Mono: 1 • Broken: 1 • Errors: 1")}));
    EXPECT_EQ(controller_.analysisProgress.value(), 1.0);
    EXPECT_EQ(controller_.currentAnalysisFile.value(), QStringLiteral("Complete"));
    EXPECT_TRUE(controller_.canAnalyze());
}

TEST_F(ValidatorTest, ScansAFolderWithSubfoldersAndHiddenFiles) {
    writeDualMono(QStringLiteral("T10.wav"));
    writeDualMono(QStringLiteral("T2.wav"));
    writeDualMono(QStringLiteral(".hidden.wav"));
    writeDualMono(QStringLiteral("Day 2/T1.aif"));
    folder_.write(QStringLiteral("._T2.wav"), "attributes of a Mac, no recording");
    folder_.write(QStringLiteral("notes.txt"), "text");
    analyze({folder_.path()});
    EXPECT_EQ(names(), (QStringList{QStringLiteral(".hidden.wav DUAL_MONO"), QStringLiteral("T1.aif DUAL_MONO"),
                                    QStringLiteral("T2.wav DUAL_MONO"), QStringLiteral("T10.wav DUAL_MONO")}));
    controller_.recursiveScan = false;
    analyzeSelection();
    EXPECT_EQ(controller_.analysisResults.size(), 3u);
}

TEST_F(ValidatorTest, KeepsASecondCopyOfItsDebugLog) {
    const QString copy = paths::append(paths::parent(cacheFolder()), QStringLiteral("ostrel_debug.log"));
    QFile::remove(copy);
    analyze({writeDualMono(QStringLiteral("a.wav"))});
    EXPECT_TRUE(testing::readAll(copy).contains("] [StereoValidatorEngine] Starting NATIVE analysis: 1 files\n"));
}

TEST_F(ValidatorTest, TellsOfAFolderThatIsGone) {
    controller_.sourceFolder = folder_.path() + QStringLiteral("/gone");
    newLog();
    analyzeSelection();
    EXPECT_EQ(newLog(), (QStringList{QStringLiteral("WARN SCAN Folder can't be read: ") + folder_.path() +
                                         QStringLiteral("/gone"),
                                     QStringLiteral("ERROR SCAN No audio files found")}));
}

TEST_F(ValidatorTest, LeavesOutMonoFilesIfTold) {
    controller_.skipMonoFiles = true;
    const QString text = folder_.write(QStringLiteral("text.wav"), "text");
    controller_.select({writeMono(QStringLiteral("m.wav")), writeDualMono(QStringLiteral("a.wav")), text});
    newLog();
    analyzeSelection();
    EXPECT_EQ(names(), (QStringList{QStringLiteral("a.wav DUAL_MONO"), QStringLiteral("text.wav UNSUPPORTED")}));
    EXPECT_EQ(newLog().first(), QStringLiteral("INFO SCAN Filtered 3 to 2 files (skipped 1 mono files)"));

    controller_.select({folder_.path(QStringLiteral("m.wav"))});
    analyzeSelection();
    EXPECT_EQ(lastLine(), QStringLiteral("ERROR SCAN No audio files found"));
}

TEST_F(ValidatorTest, KeepsToTheThresholdsThatARunBeganWith) {
    controller_.select({write(QStringLiteral("a.wav"), testing::correlatedTones(0.97, kRate))});
    controller_.startAnalysis();
    controller_.nearMonoThreshold = 0.99;
    ASSERT_TRUE(waitUntil([this] { return !controller_.isAnalyzing.value(); }));
    EXPECT_EQ(names(), QStringList{QStringLiteral("a.wav NEAR_MONO")});
    analyzeSelection();
    EXPECT_EQ(names(), QStringList{QStringLiteral("a.wav TRUE_STEREO")});
}

TEST_F(ValidatorTest, KeepsWhatWasAnalysedWhenItIsStopped) {
    QStringList files;
    for (int i = 0; i < 200; ++i) files << writeDualMono(QStringLiteral("%1.wav").arg(i));
    controller_.select(files);
    controller_.startAnalysis();
    ASSERT_TRUE(waitUntil([this] { return controller_.analysisProgress.value() > 0; }));
    controller_.stopAnalysis();
    ASSERT_TRUE(waitUntil([this] { return !controller_.isAnalyzing.value(); }));
    const std::size_t analyzed = controller_.analysisResults.size();
    EXPECT_LT(analyzed, 200u);
    EXPECT_TRUE(controller_.wasStopped());
    EXPECT_LT(controller_.analysisProgress.value(), 1);
    const QStringList lines = newLog();
    const QString counts = QStringLiteral("%1 of 200 files").arg(analyzed);
    EXPECT_TRUE(lines.last().startsWith(QStringLiteral("WARN PROCESS Analyzed: %1, stopped").arg(counts)));
    EXPECT_EQ(lines[lines.size() - 2],
              QStringLiteral("WARN PROCESS Analysis stopped after %1: %2 successful, 0 errors, 0 skipped")
                  .arg(counts)
                  .arg(analyzed));
    controller_.outputFolder = folder_.path();
    controller_.saveReport();
    const QByteArray report = testing::readAll(controller_.reportPath());
    EXPECT_TRUE(report.contains(QStringLiteral("# Files Analyzed: %1 of 200, stopped\n").arg(analyzed).toUtf8()));
    EXPECT_TRUE(report.contains("# Total Files: 200\n"));
    analyze({files[0]});
    EXPECT_FALSE(controller_.wasStopped());
    EXPECT_EQ(controller_.summary(), QStringLiteral("Analyzed: 1 files • Dual Mono: 1"));
}

TEST_F(ValidatorTest, MayBeDestroyedWhileItAnalyses) {
    auto controller = std::make_unique<StereoValidatorViewModel>(desktop_, audio_.output());
    controller->select({writeDualMono(QStringLiteral("a.wav"))});
    testing::BlockedWorkers workers; // so the analysis can't end ahead of the controller
    controller->startAnalysis();
    EXPECT_TRUE(controller->isAnalyzing.value());
    controller.reset();
    workers.drain();
}

// Clean & Export

TEST_F(ValidatorTest, ConvertsEveryFaultyFileBesideItsSource) {
    const QStringList files{writeDualMono(QStringLiteral("dual.wav")),
                            write(QStringLiteral("left.wav"), scaled(1, 0)),
                            write(QStringLiteral("right.wav"), scaled(0, 1)),
                            write(QStringLiteral("broken.wav"), scaled(1, -1)),
                            write(QStringLiteral("near.wav"), testing::correlatedTones(0.97, kRate)),
                            write(QStringLiteral("stereo.wav"), testing::correlatedTones(0.5, kRate)),
                            write(QStringLiteral("silent.wav"), scaled(0, 0)),
                            writeMono(QStringLiteral("mono.wav"))};
    analyze(files);
    const QStringList before = testing::fingerprint(folder_.path());
    newLog();
    controller_.showCleanExportDialog = true;
    controller_.cleanAndExport({});
    EXPECT_EQ(newLog(), (QStringList{QStringLiteral("INFO PROCESS Converting 4 file(s)"),
                                     QStringLiteral("OK PROCESS Converted: dual.wav"),
                                     QStringLiteral("OK PROCESS Converted: left.wav"),
                                     QStringLiteral("OK PROCESS Converted: right.wav"),
                                     QStringLiteral("OK PROCESS Converted: broken.wav"),
                                     QStringLiteral("OK PROCESS Clean & Export complete: 4 successful, 0 errors")}));
    EXPECT_FALSE(controller_.showCleanExportDialog.value());
    for (const char* name : {"dual", "left", "right", "broken"}) {
        EXPECT_TRUE(QFile::exists(folder_.path(QStringLiteral("%1_mono.wav").arg(QLatin1String(name))))) << name;
    }
    EXPECT_EQ(filesIn(folder_.path()).size(), 12);
    QStringList after = testing::fingerprint(folder_.path());
    after.removeIf([](const QString& line) { return line.contains(QStringLiteral("_mono.wav")); });
    EXPECT_EQ(after, before);

    ASSERT_TRUE(waitForAlert());
    EXPECT_EQ(desktop_.alerts[0].title, QStringLiteral("Clean & Export Complete"));
    EXPECT_EQ(desktop_.alerts[0].style, AlertRequest::Style::informational);
    EXPECT_EQ(desktop_.alerts[0].text,
              QStringLiteral("4 file(s) converted successfully\n\nFiles saved next to source files"));
    EXPECT_EQ(desktop_.alerts[0].buttons, QStringList{QStringLiteral("OK")});
    EXPECT_TRUE(desktop_.openedFolders.isEmpty());
}

TEST(CleanAndExportRules, KeepTheLiveChannelOfOneSidedFilesAndTheChosenOneOfOthers) {
    using Side = DualMonoSideSelection;
    for (const Class classification : {Class::dualMono, Class::dualMonoGainMismatch, Class::broken}) {
        EXPECT_TRUE(keepsLeftChannel(classification, Side::automatic));
        EXPECT_TRUE(keepsLeftChannel(classification, Side::left));
        EXPECT_FALSE(keepsLeftChannel(classification, Side::right));
    }
    for (const Side side : kAllDualMonoSideSelections) {
        EXPECT_TRUE(keepsLeftChannel(Class::oneSidedL, side));
        EXPECT_FALSE(keepsLeftChannel(Class::oneSidedR, side));
    }
}

TEST(CleanAndExportRules, ConvertByTheirToggleAndNeverTheRest) {
    for (const Class classification : kAllStereoClassifications) {
        const bool dual = classification == Class::dualMono || classification == Class::dualMonoGainMismatch;
        const bool sided = classification == Class::oneSidedL || classification == Class::oneSidedR;
        const bool broken = classification == Class::broken;
        EXPECT_EQ(isConverted(classification, {true, false, false}), dual);
        EXPECT_EQ(isConverted(classification, {false, true, false}), sided);
        EXPECT_EQ(isConverted(classification, {false, false, true}), broken);
        EXPECT_FALSE(isConverted(classification, {false, false, false}));
    }
}

TEST(CleanAndExportRules, HaveTheirWords) {
    EXPECT_EQ(rawText(ExportScope::selected), QStringLiteral("Selected Files"));
    EXPECT_EQ(rawText(DualMonoSideSelection::left), QStringLiteral("Left Channel"));
    EXPECT_EQ(rawText(DualMonoSideSelection::right), QStringLiteral("Right Channel"));
}

TEST_F(ValidatorTest, KeepsTheRightChannelOfABrokenFileIfTold) {
    const QString source = write(QStringLiteral("a.wav"), [](qint64 frame) {
        const float value = 0.5f * float(frame % 7 - 3) / 3;
        return StereoFrame{value, -value};
    });
    analyze({source});
    ASSERT_EQ(names(), QStringList{QStringLiteral("a.wav BROKEN")});
    controller_.dualMonoSideSelection = DualMonoSideSelection::right;
    controller_.cleanAndExport({});
    const QByteArray mono = testing::readAll(folder_.path(QStringLiteral("a_mono.wav")));
    float first = 0;
    memcpy(&first, mono.constData() + mono.indexOf("data") + 8, sizeof first);
    EXPECT_FLOAT_EQ(first, 0.5f) << "frame 0 holds -0.5 on the left";
}

TEST_F(ValidatorTest, WarnsWhenNothingIsSelectedAndLeavesTheDialogOpen) {
    analyze({writeDualMono(QStringLiteral("a.wav"))});
    controller_.exportScope = ExportScope::selected;
    controller_.showCleanExportDialog = true;
    controller_.cleanAndExport({});
    EXPECT_EQ(lastLine(), QStringLiteral("WARN PROCESS No files selected"));
    EXPECT_TRUE(controller_.showCleanExportDialog.value());
    EXPECT_EQ(filesIn(folder_.path()).size(), 1);
}

TEST_F(ValidatorTest, ConvertsTheSelectedRowsAlone) {
    analyze({writeDualMono(QStringLiteral("a.wav")), writeDualMono(QStringLiteral("b.wav"))});
    controller_.exportScope = ExportScope::selected;
    controller_.cleanAndExport({controller_.analysisResults[1]});
    EXPECT_EQ(filesIn(folder_.path()),
              (QStringList{QStringLiteral("a.wav"), QStringLiteral("b.wav"), QStringLiteral("b_mono.wav")}));
}

TEST_F(ValidatorTest, LooksAtAllResultsWhateverTheViewShows) {
    analyze({writeDualMono(QStringLiteral("a.wav")), writeDualMono(QStringLiteral("b.wav"))});
    controller_.cleanAndExport({controller_.analysisResults[1]});
    EXPECT_EQ(filesIn(folder_.path()).size(), 4);
}

TEST_F(ValidatorTest, WarnsWithoutResults) {
    controller_.cleanAndExport({});
    EXPECT_EQ(lastLine(), QStringLiteral("WARN PROCESS No files match selected scope"));
}

TEST_F(ValidatorTest, WarnsWhenEveryToggleIsOff) {
    analyze({writeDualMono(QStringLiteral("a.wav"))});
    controller_.processDualMono = false;
    controller_.processOneSided = false;
    controller_.processBroken = false;
    controller_.cleanAndExport({});
    EXPECT_EQ(lastLine(), QStringLiteral("WARN PROCESS No files match criteria. Enable conversion toggles."));
}

TEST_F(ValidatorTest, CountsAFailureAndGoesOn) {
    const QString output = folder_.path(QStringLiteral("out"));
    QDir().mkpath(output);
    analyze({writeDualMono(QStringLiteral("a.wav")), writeDualMono(QStringLiteral("b.wav"))});
    folder_.write(QStringLiteral("out/a_mono.wav"), "an older result");
    controller_.outputFolder = output;
    controller_.generateCSV = true;
    newLog();
    controller_.cleanAndExport({});
    const QStringList log = newLog();
    EXPECT_EQ(log[1],
              QStringLiteral("ERROR PROCESS Failed to convert a.wav: The operation couldn’t be completed. (File "
                             "already exists: a_mono.wav)"));
    EXPECT_EQ(log[2], QStringLiteral("OK PROCESS Converted: b.wav"));
    EXPECT_EQ(log[3], QStringLiteral("OK PROCESS Clean & Export complete: 1 successful, 1 errors"));
    EXPECT_EQ(log[4], QStringLiteral("OK PROCESS CSV report saved: ") + paths::lastComponent(controller_.reportPath()));

    desktop_.alertAnswer = 0;
    ASSERT_TRUE(waitForAlert());
    EXPECT_EQ(desktop_.alerts[0].style, AlertRequest::Style::warning);
    EXPECT_EQ(desktop_.alerts[0].text,
              QStringLiteral("1 file(s) converted successfully\n1 error(s) occurred\n\nCSV report saved: %1\n\n"
                             "Saved to:\n%2")
                  .arg(paths::lastComponent(controller_.reportPath()), output));
    EXPECT_EQ(desktop_.alerts[0].buttons, (QStringList{QStringLiteral("Open Folder"), QStringLiteral("OK")}));
    EXPECT_EQ(desktop_.openedFolders, QStringList{output});
}

TEST_F(ValidatorTest, LeavesTheFolderClosedOnOK) {
    controller_.outputFolder = folder_.path();
    analyze({writeDualMono(QStringLiteral("a.wav"))});
    desktop_.alertAnswer = 1;
    controller_.cleanAndExport({});
    ASSERT_TRUE(waitForAlert());
    EXPECT_TRUE(desktop_.openedFolders.isEmpty());
}

TEST_F(ValidatorTest, ReplacesItsOwnSourceButNeverAnotherRecordingOfTheRun) {
    const QString first = writeDualMono(QStringLiteral("day 1/a.wav"));
    const QString second = write(QStringLiteral("day 2/a.wav"), scaled(1, -1));
    const QString before = testing::fingerprintOf(second);
    analyze({first, second});
    controller_.addMonoSuffix = false;
    controller_.allowOverwrite = true;
    controller_.outputFolder = paths::parent(second);
    newLog();
    controller_.exportScope = ExportScope::selected;
    controller_.cleanAndExport({controller_.analysisResults[0]});
    EXPECT_EQ(newLog()[1], QStringLiteral("ERROR PROCESS Failed to convert a.wav: The operation couldn’t be completed. "
                                          "(a.wav is in the selection and no earlier output of this item)"));
    EXPECT_EQ(testing::fingerprintOf(second), before);

    controller_.cleanAndExport({controller_.analysisResults[1]});
    EXPECT_NE(testing::fingerprintOf(second), before);
    EXPECT_EQ(filesIn(paths::parent(second)), QStringList{QStringLiteral("a.wav")});
}

TEST_F(ValidatorTest, KeepsTheOutcomeOfEveryFileThatItTook) {
    const QString dual = writeDualMono(QStringLiteral("dual.wav"));
    const QString broken = write(QStringLiteral("broken.wav"), scaled(1, -1));
    analyze({dual, broken, write(QStringLiteral("stereo.wav"), testing::correlatedTones(0.5, kRate))});
    folder_.write(QStringLiteral("broken_mono.wav"), "in the way");
    controller_.cleanAndExport({});
    const auto& results = controller_.analysisResults;
    ASSERT_TRUE(results[0].outcome && results[1].outcome);
    EXPECT_EQ(results[0].outcome->outputs, QStringList{folder_.path(QStringLiteral("dual_mono.wav"))});
    EXPECT_EQ(results[0].outcome->status, ProcessingStatus::completed());
    EXPECT_EQ(results[0].outcome->sources, ItemOutcome::allKept({dual}));
    EXPECT_TRUE(results[1].outcome->failed() && results[1].outcome->outputs.isEmpty());
    EXPECT_FALSE(results[2].outcome) << "no run took it";
}

TEST_F(ValidatorTest, OverwritesItsOwnResultsInTheFolderThatItTakes) {
    writeDualMono(QStringLiteral("a.wav"));
    const QString left = write(QStringLiteral("b.wav"), scaled(1, 0));
    controller_.allowOverwrite = true;
    for (int run = 1; run <= 3; ++run) {
        analyze({folder_.path()});
        EXPECT_EQ(controller_.analysisResults.size(), run == 1 ? 2u : 4u);
        controller_.cleanAndExport({});
        EXPECT_EQ(lastLine(), QStringLiteral("OK PROCESS Clean & Export complete: 2 successful, 0 errors"));
        EXPECT_EQ(filesIn(folder_.path()).size(), 4);
    }
    // Another recording of that name, in the same folder and in the list as true mono.
    const QString other = writeMono(QStringLiteral("b_mono.wav"));
    const QString before = testing::fingerprintOf(other);
    for (const bool skipsMono : {false, true}) {
        controller_.skipMonoFiles = skipsMono;
        analyze({folder_.path()});
        newLog();
        controller_.cleanAndExport({});
        EXPECT_TRUE(newLog().contains(
            QStringLiteral("ERROR PROCESS Failed to convert b.wav: The operation couldn’t be completed. (b_mono.wav is "
                           "in the selection and no earlier output of this item)")));
        EXPECT_EQ(testing::fingerprintOf(other), before);
    }
}

TEST_F(ValidatorTest, DoesNotOverwriteAResultOfTheSameRunByANamesake) {
    analyze({writeDualMono(QStringLiteral("day 1/a.wav")), writeDualMono(QStringLiteral("day 2/a.wav"))});
    controller_.allowOverwrite = true;
    controller_.outputFolder = folder_.path(QStringLiteral("out"));
    for (int run = 1; run <= 2; ++run) { // results of an earlier run may be replaced
        const auto refusals = controller_.foreseenRefusals({});
        EXPECT_EQ(refusals,
                  (QHash<QUuid, QString>{{controller_.analysisResults[1].id,
                                          QStringLiteral("Another item of this run already wrote a_mono.wav")}}));
        newLog();
        controller_.cleanAndExport({});
        const QStringList lines = newLog();
        EXPECT_TRUE(lines[2].contains(QStringLiteral("(Another item of this run already wrote a_mono.wav)")));
        EXPECT_EQ(lines.last(), QStringLiteral("OK PROCESS Clean & Export complete: 1 successful, 1 errors"));
    }
}

TEST_F(ValidatorTest, ForeseesWhatStandsInItsWay) {
    analyze({writeDualMono(QStringLiteral("a.wav")), writeDualMono(QStringLiteral("a_mono.wav")),
             writeDualMono(QStringLiteral("b.wav"))});
    folder_.write(QStringLiteral("b_mono.wav"), "in the way");
    const QUuid first = controller_.analysisResults[0].id;
    const QUuid third = controller_.analysisResults[2].id;
    const QString source = QStringLiteral("a_mono.wav would replace a source of this run");
    EXPECT_EQ(controller_.foreseenRefusals({}),
              (QHash<QUuid, QString>{{first, source}, {third, QStringLiteral("File already exists: b_mono.wav")}}));
    controller_.allowOverwrite = true;
    EXPECT_EQ(controller_.foreseenRefusals({}), (QHash<QUuid, QString>{{first, source}}));
    controller_.addMonoSuffix = false; // each in its own place
    EXPECT_TRUE(controller_.foreseenRefusals({}).isEmpty());
    controller_.allowOverwrite = false; // each beside itself, with a number
    EXPECT_TRUE(controller_.foreseenRefusals({}).isEmpty());
}

// What its proof would forbid is told ahead, in the words that the run has for it.
TEST_F(ValidatorTest, ForeseesWhatForbidsAReplacement) {
    const auto append = [](const QString& path) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::Append));
        file.write(QByteArray(48'000, '\1'));
    };
    const QString unexplained = writeDualMono(QStringLiteral("a.wav"));
    append(unexplained); // as a recorder leaves a file that it did not close
    const QString changed = writeDualMono(QStringLiteral("b.wav"));
    analyze({unexplained, changed, writeDualMono(QStringLiteral("c.wav"))});
    append(changed);
    controller_.allowOverwrite = true;
    EXPECT_TRUE(controller_.foreseenRefusals({}).isEmpty()) << "nothing is replaced with the suffix on";
    controller_.addMonoSuffix = false;
    const auto refusals = controller_.foreseenRefusals({});
    ASSERT_EQ(refusals.size(), 2);
    const QString first = refusals.value(controller_.analysisResults[0].id);
    const QString second = refusals.value(controller_.analysisResults[1].id);
    EXPECT_TRUE(first.startsWith(QStringLiteral("Originals kept: about "))) << first.toStdString();
    EXPECT_EQ(second, QStringLiteral("Originals kept: b.wav was changed since it was analyzed"));
    newLog();
    controller_.cleanAndExport({});
    const QString log = newLog().join(u'\n');
    EXPECT_TRUE(log.contains(first)) << log.toStdString();
    EXPECT_TRUE(log.contains(second)) << log.toStdString();
}

TEST_F(ValidatorTest, KeepsARecordingThatIsAnotherOneThanWasAnalyzed) {
    const QString file = writeDualMono(QStringLiteral("a.wav"));
    analyze({file});
    write(QStringLiteral("a.wav"), testing::correlatedTones(0.5, kRate));
    const QString before = testing::fingerprintOf(file);
    controller_.addMonoSuffix = false;
    controller_.allowOverwrite = true;
    controller_.cleanAndExport({});
    EXPECT_EQ(testing::fingerprintOf(file), before);
    EXPECT_EQ(controller_.analysisResults[0].outcome->sources, ItemOutcome::allKept({file}));
}

TEST_F(ValidatorTest, TellsOfAStepThatAnEarlierRunDidNotEnd) {
    const QString file = writeDualMono(QStringLiteral("a.wav"));
    const pid_t child = ::fork(); // a program that is gone
    if (child == 0) {
        Journal(QStringLiteral("clean")).begin(JournalOperation::replace, file, file);
        ::_exit(0);
    }
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    newLog();
    analyze({file});
    const QString sentence =
        QStringLiteral("WARN SYSTEM An earlier run began to replace a.wav and did not end: %1 is there").arg(file);
    EXPECT_TRUE(newLog().contains(sentence));
    analyze({file});
    EXPECT_FALSE(newLog().contains(sentence)) << "told once";
}

TEST_F(ValidatorTest, StopsAnExportBeforeTheNextFile) {
    analyze({writeDualMono(QStringLiteral("a.wav")), writeDualMono(QStringLiteral("b.wav"))});
    QObject::connect(&controller_, &StereoValidatorViewModel::fileConverted, &controller_,
                     [this] { controller_.stopExport(); });
    controller_.cleanAndExport({});
    EXPECT_EQ(lastLine(),
              QStringLiteral("WARN PROCESS Clean & Export stopped after 1 of 2 files: 1 successful, 0 errors"));
}

TEST_F(ValidatorTest, AnExportLetsEventsGoOnAndTellsHowFarItIs) {
    analyze({writeDualMono(QStringLiteral("a.wav")), writeDualMono(QStringLiteral("b.wav"))});
    int turns = 0;
    QTimer each;
    QObject::connect(&each, &QTimer::timeout, &controller_, [&] {
        turns += controller_.isExporting.value() ? 1 : 0;
        controller_.cleanAndExport({}); // is under way: does nothing
    });
    each.start(0);
    std::vector<double> shares;
    QObject::connect(&controller_, &StereoValidatorViewModel::fileConverted, &controller_,
                     [&] { shares.push_back(controller_.exportProgress.value()); });
    controller_.cleanAndExport({});
    each.stop();
    EXPECT_GT(turns, 0);
    EXPECT_EQ(shares, (std::vector<double>{0.5, 1}));
    EXPECT_FALSE(controller_.isExporting.value());
}

// Audition

TEST_F(ValidatorTest, PlaysAResultToItsEnd) {
    analyze({writeDualMono(QStringLiteral("a.wav"))});
    controller_.audition(controller_.analysisResults[0]);
    EXPECT_TRUE(controller_.isAuditioning.value());
    EXPECT_EQ(controller_.playbackManager().currentFileURL.value(), folder_.path(QStringLiteral("a.wav")));
    EXPECT_EQ(controller_.playbackManager().currentFileInfo.value(), QStringLiteral("8 kHz, 32-bit"));
    EXPECT_EQ(controller_.playbackManager().engine().duration.value(), 2.0);
    EXPECT_TRUE(waitUntil([this] { return !controller_.isAuditioning.value(); }));
}

TEST_F(ValidatorTest, StopsPlayingWhatItIsAboutToReplace) {
    analyze({writeDualMono(QStringLiteral("a.wav"))});
    controller_.audition(controller_.analysisResults[0]);
    controller_.cleanAndExport({});
    EXPECT_FALSE(controller_.isAuditioning.value());
    EXPECT_TRUE(controller_.playbackManager().currentFileURL.value().isEmpty());
}

TEST_F(ValidatorTest, PlaysNothingThatCannotBeRead) {
    analyze({folder_.write(QStringLiteral("text.wav"), "text")});
    controller_.audition(controller_.analysisResults[0]);
    EXPECT_FALSE(controller_.isAuditioning.value());
    // What only ffmpeg might read is tried in the background first.
    EXPECT_TRUE(
        testing::waitUntil([&] { return !controller_.playbackManager().engine().loadError.value().isEmpty(); }));
}

// The report

TEST_F(ValidatorTest, WritesOneReportRowForEveryResult) {
    analyze({writeDualMono(QStringLiteral("dual, mono.wav")),
             write(QStringLiteral("near.wav"), testing::correlatedTones(0.97, kRate)),
             folder_.write(QStringLiteral("text.wav"), "text")});
    controller_.generateCSV = true;
    controller_.cleanAndExport({});
    const QString path = controller_.reportPath();
    EXPECT_TRUE(QRegularExpression(QStringLiteral(R"(^Tessarine_StereoValidator_\d{4}-\d\d-\d\dT\d\d-\d\d-\d\d\.csv$)"))
                    .match(paths::lastComponent(path))
                    .hasMatch());
    const QStringList lines = QString::fromUtf8(testing::readAll(path)).split(QLatin1Char('\n'));
    ASSERT_EQ(lines.size(), 17);
    EXPECT_EQ(lines[0], QStringLiteral("# Tessarine — StereoValidator Report"));
    EXPECT_EQ(lines.mid(2, 7),
              (QStringList{QStringLiteral("# Source: ") + folder_.path(), QStringLiteral("# Output: Same as source"),
                           QStringLiteral("# Files Analyzed: 3"), QStringLiteral("# Converted: 1"),
                           QStringLiteral("# Errors: 0"), QStringLiteral("# Skipped: 2"), QStringLiteral("#")}));
    EXPECT_EQ(lines[9], QStringLiteral("File,Classification,Action,Correlation,Confidence,Lag (ms),Mid/Side Ratio,RMS "
                                       "Diff,Duration,Sample Rate,Bit Depth,Metadata,Trust,Why"));
    EXPECT_EQ(lines[10], QStringLiteral("\"dual, mono.wav\",Dual Mono,Converted to Mono,1.000,100.0%,0.00,0.0000,"
                                        "0.000000,0:02,8000,32,,Sure,"));
    // (1 - 0.97) / (1 + 0.97), and 0.5 * sqrt(1 - 0.97)
    EXPECT_EQ(lines[11], QStringLiteral("near.wav,Near Mono,Skipped (Near Mono),0.970,60.0%,0.00,0.0152,0.086603,0:02,"
                                        "8000,32,,Sure,"));
    EXPECT_EQ(lines[12], QStringLiteral("text.wav,Unsupported,Skipped (Unsupported),0.000,0.0%,0.00,0.0000,0.000000,"
                                        "0:00,0,0,,,"));
    EXPECT_EQ(lines.mid(13), (QStringList{QString(), QStringLiteral("# Total Files: 3"),
                                          QStringLiteral("# Converted: 1"), QStringLiteral("# Errors: 0")}));
}

TEST_F(ValidatorTest, ReportsAFailedConversionAsSkippedAndAsAnError) {
    analyze({writeDualMono(QStringLiteral("a.wav"))});
    folder_.write(QStringLiteral("a_mono.wav"), "in the way");
    controller_.generateCSV = true;
    controller_.cleanAndExport({});
    const QString report = QString::fromUtf8(testing::readAll(controller_.reportPath()));
    EXPECT_TRUE(report.contains(QStringLiteral("a.wav,Dual Mono,Skipped,1.000")));
    EXPECT_TRUE(report.contains(QStringLiteral("# Errors: 1")));
}

TEST_F(ValidatorTest, TellsWhenAReportCannotBeSaved) {
    analyze({writeDualMono(QStringLiteral("a.wav"))});
    controller_.outputFolder = QStringLiteral("/proc");
    controller_.generateCSV = true;
    controller_.cleanAndExport({});
    EXPECT_EQ(lastLine(), QStringLiteral("ERROR PROCESS Failed to save CSV report"));
    EXPECT_TRUE(controller_.reportPath().isEmpty());
    EXPECT_TRUE(controller_.reportFailed());
    controller_.generateCSV = false;
    controller_.cleanAndExport({});
    EXPECT_FALSE(controller_.reportFailed()) << "none was asked for";
}

TEST(ValidatorReportTest, NamesWhatBecameOfEveryClassification) {
    QStringList actions;
    for (const Class classification : kAllStereoClassifications) {
        StereoValidatorResult result;
        result.classification = classification;
        EXPECT_EQ(reportAction(result, true), QStringLiteral("Converted to Mono"));
        actions << reportAction(result, false);
    }
    const QString skipped = QStringLiteral("Skipped");
    EXPECT_EQ(actions, (QStringList{skipped, skipped, QStringLiteral("Skipped (Near Mono)"),
                                    QStringLiteral("Skipped (True Stereo)"), skipped, skipped, skipped,
                                    QStringLiteral("Skipped (Silent)"), QStringLiteral("Skipped (Already Mono)"),
                                    QStringLiteral("Skipped (Unsupported)")}));
}

// The log

TEST_F(ValidatorTest, SavesItsLog) {
    desktop_.savePanelAnswer = folder_.path(QStringLiteral("log.txt"));
    controller_.select({QStringLiteral("/takes/a.wav")});
    controller_.saveLog();
    EXPECT_TRUE(QRegularExpression(QStringLiteral(R"(^StereoValidator_Log_.+\.txt$)"))
                    .match(desktop_.savePanels.at(0).suggestedName)
                    .hasMatch());
    const QString text = QString::fromUtf8(testing::readAll(desktop_.savePanelAnswer));
    EXPECT_TRUE(QRegularExpression(QStringLiteral(R"(^\[\d\d:\d\d:\d\d\] \[INFO\] \[SYSTEM\] Using native .*\n)"
                                                  R"(\[\d\d:\d\d:\d\d\] \[INFO\] \[SCAN\] Selected 1 file\(s\)$)"))
                    .match(text)
                    .hasMatch())
        << text.toStdString();
    EXPECT_EQ(lastLine(), QStringLiteral("OK SYSTEM Log saved to: ") + desktop_.savePanelAnswer);

    desktop_.savePanelAnswer = QStringLiteral("/proc/log.txt");
    controller_.saveLog();
    EXPECT_TRUE(lastLine().startsWith(QStringLiteral("ERROR SYSTEM Failed to save log: ")));

    desktop_.savePanelAnswer = QString();
    controller_.saveLog();
    EXPECT_TRUE(newLog().isEmpty());
}

TEST_F(ValidatorTest, CopiesItsLogToThePasteboard) {
    controller_.select({QStringLiteral("/takes/a.wav")});
    controller_.copyLogToClipboard();
    EXPECT_EQ(desktop_.pasteboard.size(), 1);
    EXPECT_EQ(desktop_.pasteboard[0].count(QLatin1Char('\n')), 1);
    EXPECT_EQ(lastLine(), QStringLiteral("OK SYSTEM Log copied to clipboard (2 entries)"));
}

} // namespace
} // namespace ostrel
