#include "interleaver/app_view_model.h"

#include "interleaver/controller_fixture.h"
#include "platform/paths.h"
#include "preview/playback_manager.h"
#include "support/blocked_workers.h"

#include <QSettings>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using namespace testing;

constexpr const char* kNothingFound = "[INFO] [SCAN] No channel groups found - This folder appears to contain only "
                                      "interleaved files or mono files without "
                                      "matching channel tags for %1. Nothing to process in Interleave mode.";

class AppViewModelTest : public ControllerFixture {};

TEST_F(AppViewModelTest, StartsEmpty) {
    EXPECT_EQ(controller.currentMode.value(), AppMode::interleave);
    EXPECT_EQ(controller.selectedLayout.value(), ChannelLayout::stereo);
    EXPECT_TRUE(controller.showOptions.value());
    EXPECT_EQ(controller.options.value(), ProcessingOptions());
    EXPECT_FALSE(controller.canScan());
    EXPECT_FALSE(controller.canRun());
    EXPECT_EQ(controller.totalCount(), 0);
    EXPECT_EQ(controller.appearance.value(), Appearance::system);
    EXPECT_EQ(desktop.appearances, std::vector{Appearance::system});
}

TEST_F(AppViewModelTest, AppearanceIsKept) {
    controller.appearance = Appearance::dark;
    EXPECT_EQ(desktop.appearances.back(), Appearance::dark);
    {
        ScriptedDesktop other;
        const AppViewModel next(other, audio, detectorFor(tools.path()));
        EXPECT_EQ(next.appearance.value(), Appearance::dark);
        EXPECT_EQ(other.appearances, std::vector{Appearance::dark});
    }
    controller.appearance = Appearance::system;
}

TEST_F(AppViewModelTest, SelectSourceAsksForFilesAndFolders) {
    writePair("Rain");
    desktop.openPanelAnswer = {library.path()};
    controller.selectSource();
    EXPECT_EQ(desktop.openPanels.back().message, QStringLiteral("Select audio files or folders to process"));
    EXPECT_EQ(desktop.openPanels.back().prompt, QStringLiteral("Select"));
    EXPECT_TRUE(desktop.openPanels.back().canChooseFiles && desktop.openPanels.back().canChooseFolders &&
                desktop.openPanels.back().allowsMultipleSelection);
    EXPECT_EQ(controller.sourceURL.value(), library.path());
    EXPECT_EQ(messages(controller),
              QStringList{QStringLiteral("[INFO] [SYSTEM] Selected: ") + paths::lastComponent(library.path())});
    EXPECT_TRUE(controller.canScan());
    desktop.openPanelAnswer = {output("Rain.L.wav"), output("Rain.R.wav")};
    controller.selectSource();
    EXPECT_EQ(controller.sourceURL.value(), library.path());
    EXPECT_EQ(messages(controller).last(), QStringLiteral("[INFO] [SYSTEM] Selected 2 items"));
    desktop.openPanelAnswer.clear();
    controller.selectSource();
    EXPECT_EQ(controller.selectedFiles.value().size(), 2);
}

TEST_F(AppViewModelTest, ASingleFileChoosesItsLayout) {
    WaveSpec spec;
    const auto layoutAfter = [&](int channels) {
        spec.channels = channels;
        writeMono("many.wav", spec);
        controller.select({output("many.wav")});
        EXPECT_TRUE(waitForTasks(controller));
        return controller.selectedLayout.value().id;
    };
    EXPECT_EQ(layoutAfter(8), QStringLiteral("7.1-smpte"));
    EXPECT_EQ(messages(controller).last(),
              QStringLiteral("[INFO] [SYSTEM] Auto-detected: 7.1 SMPTE (L R C LFE Lss Rss Lsr Rsr) (8 channels)"));
    EXPECT_EQ(layoutAfter(3), QStringLiteral("7.1-smpte"));
    EXPECT_EQ(layoutAfter(6), QStringLiteral("5.1-smpte"));
    EXPECT_EQ(layoutAfter(2), QStringLiteral("stereo"));
}

TEST_F(AppViewModelTest, ScanWithoutASelectionSaysSo) {
    controller.scan();
    EXPECT_EQ(messages(controller), QStringList{QStringLiteral(
                                        "[ERROR] [SYSTEM] Cannot scan: no files/folders selected or ffprobe missing")});
    EXPECT_FALSE(controller.isScanning.value());
}

TEST_F(AppViewModelTest, ADirectRunHasItsSourcesSamplesAndMetadata) {
    writePair("Rain");
    controller.engine = EngineChoice::direct;
    scan();
    const QStringList said = run();
    EXPECT_TRUE(said.contains(QStringLiteral("[OK] [PROCESS] Created: Rain.wav"))) << said.join(u'\n').toStdString();
    const QByteArray made = testing::readAll(output("Interleaved/Rain.wav"));
    EXPECT_EQ(chunkOf(made, "bext"), chunkOf(testing::readAll(output("Rain.L.wav")), "bext"));
    ASSERT_TRUE(controller.interleaveGroups[0].outcome);
    EXPECT_TRUE(controller.interleaveGroups[0].outcome->metadata.isWhole());
    EXPECT_TRUE(controller.interleaveGroups[0].outcome->metadata.kept.contains(QStringLiteral("Description")));
}

TEST_F(AppViewModelTest, OneMonoFileGivesDirectPairingAndAnIncompleteEntry) {
    writePair("Rain");
    EXPECT_EQ(
        scan({QStringLiteral("Rain.L.wav")}),
        (QStringList{QStringLiteral("[INFO] [SCAN] Starting scan of file: Rain.L.wav"),
                     QStringLiteral("[INFO] [SCAN] Direct file pairing: 1 manually selected files for Stereo (L/R)"),
                     QStringLiteral("[INFO] [SCAN]   Detected: Rain.L.wav → tag=L, base=Rain"),
                     QStringLiteral("[INFO] [SCAN] Found 1 base name groups"),
                     QStringLiteral("[WARN] [SCAN] ⚠️ Incomplete: Rain - Missing channels: R"),
                     QString::fromUtf8(kNothingFound).arg(QStringLiteral("Stereo (L/R)"))}));
}

TEST_F(AppViewModelTest, TwoHandPickedFilesGiveOnePendingGroupWithoutADurationCheck) {
    writeMono("A.L.wav");
    WaveSpec longer;
    longer.frames = 9600;
    writeMono("A.R.wav", longer);
    const QStringList log = scan({QStringLiteral("A.L.wav"), QStringLiteral("A.R.wav")});
    EXPECT_EQ(log.first(), QStringLiteral("[INFO] [SCAN] Starting scan of 2 items..."));
    EXPECT_TRUE(log.contains(QStringLiteral("[INFO] [SCAN] ✅ Complete: A (2 channels, 48000Hz, 24-bit)")));
    EXPECT_EQ(log.last(), QStringLiteral("[OK] [SCAN] Found 1 groups, 1 ready"));
    ASSERT_EQ(controller.interleaveGroups.size(), 1u);
    EXPECT_EQ(controller.interleaveGroups[0].status, ProcessingStatus::pending());
    EXPECT_TRUE(controller.canRun());
    EXPECT_EQ(controller.statusMessage.value(), QStringLiteral("Scan complete"));
}

TEST_F(AppViewModelTest, HandPickedFilesWithoutATagAreToldOf) {
    writeMono("plain.wav");
    writeMono("other.L.aif");
    EXPECT_TRUE(scan({QStringLiteral("plain.wav"), QStringLiteral("other.L.aif")})
                    .contains(QStringLiteral("[WARN] [SCAN]   No channel tag found in: plain.wav")));
}

TEST_F(AppViewModelTest, FolderScanOfStereoTellsItsSummary) {
    writePair("Rain");
    writeMono("Alone.L.wav");
    WaveSpec other;
    other.sampleRate = 44100;
    writeMono("Rate.L.wav");
    writeMono("Rate.R.wav", other);
    EXPECT_EQ(
        scan(),
        (QStringList{QStringLiteral("[INFO] [SCAN] Starting scan of folder: ") + paths::lastComponent(library.path()),
                     QStringLiteral("[INFO] [SCAN] Using library-safe L/R scanner with pristine stereo gates"),
                     QStringLiteral("[OK] [SCAN] L/R Scan Summary:"),
                     QStringLiteral("[INFO] [SCAN]   ✅ Safe L/R pairs (ready): 1"),
                     QStringLiteral("[INFO] [SCAN]   ⚠️ Incomplete pairs: 1"),
                     QStringLiteral("[INFO] [SCAN]   ⚠️ Mismatches (SR/BD/Dur): 1"),
                     QStringLiteral("[OK] [SCAN] Ready to process: 1 pairs → 1 stereo files")}));
    EXPECT_EQ(controller.readyCount(), 0); // a ready L/R pair is not counted here: meant
    EXPECT_EQ(controller.errorCount(), 1);
    EXPECT_EQ(controller.skippedCount(), 1);
    EXPECT_EQ(controller.totalCount(), 3);
    EXPECT_EQ(controller.interleaveGroups[1].outputURL, output("Interleaved/Rain.wav"));
}

TEST_F(AppViewModelTest, FolderScanOfALayoutTellsWhatIsReady) {
    controller.selectedLayout = ChannelLayout::film51;
    EXPECT_EQ(scan().last(), QString::fromUtf8(kNothingFound).arg(ChannelLayout::film51.displayName));
    writePair("Rain");
    EXPECT_EQ(scan().last(),
              QStringLiteral("[WARN] [SCAN] Found 1 groups, but 0 ready to process. Check for mismatches or missing "
                             "channels for 5.1 Film (L C R Ls Rs LFE)."));
    for (const QString& tag : ChannelLayout::film51.channelTags)
        writeMono(("Full." + tag.toUtf8() + ".wav").constData());
    EXPECT_EQ(scan().last(), QStringLiteral("[OK] [SCAN] Found 2 groups, 1 ready"));
}

TEST_F(AppViewModelTest, ASelectionOfAFolderAndAFileKeepsOnlyWhatLiesInIt) {
    writePair("sub/Rain");
    writePair("Wind");
    writePair("Out");
    scan({QStringLiteral("sub"), QStringLiteral("Wind.L.wav"), QStringLiteral("Wind.R.wav")});
    ASSERT_EQ(controller.interleaveGroups.size(), 2u);
    EXPECT_EQ(controller.interleaveGroups[0].baseName, QStringLiteral("Rain"));
    EXPECT_EQ(controller.interleaveGroups[1].baseName, QStringLiteral("Wind"));
}

TEST_F(AppViewModelTest, AFilePickedBesideAFolderWithoutItsSiblingIsLeftOut) {
    writePair("sub/Rain");
    writePair("Wind");
    writePair("Hail");
    writeMono("Alone.L.wav");
    const QString filtered = QStringLiteral("[INFO] [SCAN] Filtered to 2 groups from 4 selected files");
    const QStringList log = scan({QStringLiteral("sub"), QStringLiteral("Wind.L.wav"), QStringLiteral("Wind.R.wav"),
                                  QStringLiteral("Hail.L.wav")});
    EXPECT_EQ(log.filter(QStringLiteral("Filtered to")), QStringList{filtered});
    ASSERT_EQ(controller.interleaveGroups.size(), 2u);
    EXPECT_EQ(controller.interleaveGroups[0].baseName, QStringLiteral("Rain"));
    EXPECT_EQ(controller.interleaveGroups[1].baseName, QStringLiteral("Wind"));
    // What is incomplete on the disk is told of as such, and in a selection of folders nothing is filtered.
    EXPECT_TRUE(
        scan({QStringLiteral("sub"), QStringLiteral("Alone.L.wav")}).filter(QStringLiteral("Filtered")).isEmpty());
    EXPECT_EQ(controller.interleaveGroups.size(), 2u);
    EXPECT_TRUE(scan().filter(QStringLiteral("Filtered")).isEmpty());

    controller.selectedLayout = ChannelLayout::film51;
    writeSet(library, ChannelLayout::film51, {}, QStringLiteral("Crowd"));
    EXPECT_TRUE(scan({QStringLiteral("sub"), QStringLiteral("Crowd.L.wav"), QStringLiteral("Crowd.R.wav")})
                    .contains(QStringLiteral("[INFO] [SCAN] Filtered to 1 groups from 3 selected files")));
}

TEST_F(AppViewModelTest, ComposedAndDecomposedNamesPair) {
    const QString composed = QStringLiteral("Caf\u00e9");
    const QString decomposed = QStringLiteral("Cafe\u0301");
    library.write(composed + QStringLiteral(".L.wav"), waveBytes({}));
    library.write(decomposed + QStringLiteral(".R.wav"), waveBytes({}));
    for (const QStringList& selection :
         {QStringList{QString()}, {composed + QStringLiteral(".L.wav"), decomposed + QStringLiteral(".R.wav")}}) {
        scan(selection);
        ASSERT_EQ(controller.interleaveGroups.size(), 1u) << selection.size();
        EXPECT_TRUE(controller.interleaveGroups[0].status.isProcessable());
        EXPECT_EQ(controller.interleaveGroups[0].channelFiles.size(), 2);
    }
    controller.selectedLayout = ChannelLayout::film51;
    scan();
    EXPECT_EQ(controller.interleaveGroups.size(), 1u);
}

TEST_F(AppViewModelTest, OriginalsMoveBesideTheFirstChannelOfTheLayout) {
    writeSet(library, ChannelLayout::film51, {}, QStringLiteral("Crowd"));
    QDir().mkpath(library.path("centre"_s));
    ASSERT_TRUE(QFile::rename(output("Crowd.C.wav"), output("centre/Crowd.C.wav")));
    controller.selectedLayout = ChannelLayout::film51;
    setOptions([](ProcessingOptions& options) { options.moveOriginalsInterleave = true; });
    QStringList files{QStringLiteral("centre/Crowd.C.wav")};
    for (const char* tag : {"L", "R", "Ls", "Rs", "LFE"}) {
        files << QStringLiteral("Crowd.%1.wav").arg(QString::fromLatin1(tag));
    }
    scan(files);
    run();
    EXPECT_TRUE(QFile::exists(output("Interleaved/Crowd.wav")));
    EXPECT_TRUE(QFile::exists(output("Originals/Crowd.C.wav")));
    EXPECT_TRUE(QFile::exists(output("Originals/Crowd.L.wav")));
    EXPECT_FALSE(QFile::exists(output("centre/Originals")));
}

TEST_F(AppViewModelTest, CancelDuringAScanLeavesTheListsAsTheyWere) {
    writePair("Rain");
    scan();
    ASSERT_EQ(controller.interleaveGroups.size(), 1u);
    writePair("Wind");
    controller.scan();
    EXPECT_TRUE(controller.isScanning.value());
    controller.stopProcessing();
    EXPECT_FALSE(controller.isScanning.value());
    EXPECT_TRUE(waitForTasks(controller));
    EXPECT_EQ(controller.interleaveGroups.size(), 1u);
    EXPECT_EQ(messages(controller).mid(static_cast<qsizetype>(controller.logEntries.size()) - 2),
              (QStringList{QStringLiteral("[WARN] [PROCESS] Operation cancelled by user"),
                           QStringLiteral("[WARN] [SCAN] Scan cancelled - results not populated")}));
    EXPECT_EQ(controller.statusMessage.value(), QStringLiteral("Scan cancelled"));
}

TEST_F(AppViewModelTest, ASelectionAScanAndAJobEndThePreview) {
    writePair("Rain");
    PlaybackManager& playback = controller.playbackManager();
    const QString file = paths::append(library.path(), "Rain.L.wav"_s);
    const auto ends = [&](const std::function<void()>& action) {
        playback.loadFile(file, 48000, 24);
        EXPECT_TRUE(playback.engine().isLoaded.value());
        action();
        EXPECT_TRUE(waitForTasks(controller));
        return playback.currentFileURL.value().isEmpty() && !playback.engine().isLoaded.value();
    };
    EXPECT_TRUE(ends([&] { controller.select({library.path()}); }));
    EXPECT_TRUE(ends([&] { controller.scan(); }));
    EXPECT_TRUE(ends([&] { controller.startProcessing(); }));
    EXPECT_TRUE(ends([&] { controller.clearResults(); }));
}

TEST_F(AppViewModelTest, AControllerDestroyedDuringAScanIsNotResumedInto) {
    writePair("Rain");
    BlockedWorkers workers; // so the scan can't end ahead of the controller
    {
        ScriptedDesktop other;
        AppViewModel shortLived(other, audio, detectorFor(tools.path("tools"_s)));
        shortLived.select({library.path()});
        shortLived.scan();
        EXPECT_TRUE(shortLived.hasRunningTask());
    }
    workers.drain();
}

TEST_F(AppViewModelTest, APairBecomesAStereoFileWithItsMetadata) {
    writePair("Rain");
    scan();
    const QStringList before = fingerprint(library.path());
    const QStringList log = run();
    EXPECT_EQ(log,
              (QStringList{QStringLiteral("[INFO] [PROCESS] Starting processing..."),
                           QStringLiteral("[OK] [PROCESS] Created: Rain.wav (audio+bwf ok)"),
                           QStringLiteral("[INFO] [SYSTEM] Processing complete: 1 success, 0 skipped, 0 errors")}));
    EXPECT_EQ(controller.interleaveGroups[0].status, ProcessingStatus::completed());
    EXPECT_EQ(controller.completedCount(), 1);
    EXPECT_EQ(controller.progress.value(), 1.0);
    EXPECT_FALSE(controller.isProcessing.value());
    EXPECT_EQ(decodedByFfmpeg(output("Interleaved/Rain.wav")), expectedSamples({}, 2));
    QFile::remove(output("Interleaved/Rain.wav"));
    EXPECT_EQ(fingerprint(library.path()), before);
}

TEST_F(AppViewModelTest, MetadataTroubleNeverUndoesTheAudio) {
    writePair("Rain");
    tools.write("tools/bin/fail-export"_s, "");
    tools.write("tools/bin/no-bext"_s, "");
    scan();
    EXPECT_EQ(
        run().at(1),
        QStringLiteral("[OK] [PROCESS] Created: Rain.wav (metadata warning: Failed to export CORE: no export\n)"));
    EXPECT_EQ(statusOf(0), QStringLiteral("Done (Metadata: Failed to export CORE: no export\n)"));
    EXPECT_EQ(controller.completedCount(), 0);
    EXPECT_EQ(controller.successCount(), 1);
}

TEST_F(AppViewModelTest, WithoutBwfmetaeditAPairIsCompleted) {
    writePair("Rain");
    QFile::remove(bwfmetaedit);
    controller.recheckTools();
    EXPECT_EQ(messages(controller).last(), QStringLiteral("[INFO] [SYSTEM] Tools rechecked"));
    if (!controller.toolDetector().bwfmetaeditPath.value().isEmpty()) GTEST_SKIP() << "a bwfmetaedit is installed here";
    scan();
    EXPECT_EQ(run().at(1), QStringLiteral("[OK] [PROCESS] Created: Rain.unknown"));
    EXPECT_EQ(controller.interleaveGroups[0].status, ProcessingStatus::completed());
}

TEST_F(AppViewModelTest, AnExistingOutputIsSkipped) {
    writePair("Rain");
    library.write("Interleaved/Rain.wav"_s, "precious");
    scan();
    EXPECT_EQ(run().at(1), QStringLiteral("[ERROR] [PROCESS] Rain: Output already exists (skipped)"));
    EXPECT_EQ(statusOf(0), QStringLiteral("Skipped: Output already exists (skipped)"));
    EXPECT_EQ(readAll(output("Interleaved/Rain.wav")), "precious");
}

TEST_F(AppViewModelTest, ACustomFolderAlwaysGetsWav) {
    writePair("Rain");
    desktop.openPanelAnswer = {library.path("out"_s)};
    controller.selectOutputFolder();
    EXPECT_EQ(desktop.openPanels.back().message, QStringLiteral("Select output folder for processed files"));
    EXPECT_EQ(messages(controller).last(), QStringLiteral("[INFO] [SYSTEM] Output folder selected: out"));
    scan();
    controller.interleaveGroups.update(0, [](InterleaveGroup& group) { group.containerKind = ContainerKind::flac; });
    run();
    EXPECT_TRUE(QFile::exists(output("out/Rain.wav")));
    EXPECT_EQ(controller.interleaveGroups[0].outputURL, output("out/Rain.wav"));
}

TEST_F(AppViewModelTest, TwoItemsOfOneOutputNeverOverwriteEachOther) {
    writePair("a/Rain");
    writePair("b/Rain");
    controller.setOutputFolder(library.path("out"_s));
    setOptions([](ProcessingOptions& options) { options.skipIfExists = false; });
    scan();
    run();
    EXPECT_EQ(controller.interleaveGroups[0].status, ProcessingStatus::completed());
    EXPECT_EQ(statusOf(1), QStringLiteral("Failed: Another item of this run already wrote Rain.wav"));
}

TEST_F(AppViewModelTest, NoOutputReplacesASourceOfTheRun) {
    writePair("Rain");
    writePair("Rain.L"); // base "Rain.L": its output is the left file of "Rain"
    controller.setOutputFolder(library.path());
    setOptions([](ProcessingOptions& options) { options.skipIfExists = false; });
    scan();
    const QString before = fingerprintOf(output("Rain.L.wav"));
    run();
    EXPECT_EQ(statusOf(1), QStringLiteral("Failed: Rain.L.wav would replace a source of this run"));
    EXPECT_EQ(fingerprintOf(output("Rain.L.wav")), before);
}

TEST_F(AppViewModelTest, OriginalsStayWhereTheSamplesOfTheOutputDiffer) {
    WaveSpec spec;
    spec.channels = 8;
    writeMono("Eight.wav", spec);
    controller.currentMode = AppMode::deinterleave;
    controller.selectedLayout = ChannelLayout::film71;
    setOptions([](ProcessingOptions& options) { options.deleteOriginalsDeinterleave = true; });
    scan();
    const QStringList log = run();
    EXPECT_EQ(log.filter(QStringLiteral("[WARN] [PROCESS] Eight.wav: ffmpeg converted or remixed")).size(), 1);
    const QStringList kept = log.filter(QStringLiteral("[WARN] [CLEANUP] Originals kept: the samples of Eight."));
    ASSERT_EQ(kept.size(), 1) << log.join(u'\n').toStdString();
    EXPECT_TRUE(kept[0].endsWith(QStringLiteral(".wav are not those of Eight.wav")));
    EXPECT_EQ(QStringLiteral("[WARN] [CLEANUP] ") + controller.deinterleaveSources[0].status.text, kept[0]);
    EXPECT_TRUE(QFile::exists(output("Eight.wav")));
}

TEST_F(AppViewModelTest, OneBadFileNeverStopsTheBatch) {
    writePair("Able");
    writePair("Baker");
    writePair("Charlie");
    scan();
    library.write("Baker.R.wav"_s, "overwritten between scan and job");
    run();
    EXPECT_EQ(controller.interleaveGroups[0].status, ProcessingStatus::completed());
    EXPECT_TRUE(statusOf(1).startsWith(QStringLiteral("Failed: ffmpeg error: "))) << statusOf(1).toStdString();
    EXPECT_EQ(controller.interleaveGroups[2].status, ProcessingStatus::completed());
    EXPECT_FALSE(QFile::exists(output("Interleaved/Baker.wav")));
}

TEST_F(AppViewModelTest, ItemsLeftOutAreNotTouched) {
    writePair("Able");
    writePair("Baker");
    scan();
    controller.toggleAllInterleave(false);
    EXPECT_FALSE(controller.canRun());
    controller.interleaveGroups.update(1, [](InterleaveGroup& group) { group.include = true; });
    run();
    EXPECT_FALSE(QFile::exists(output("Interleaved/Able.wav")));
    EXPECT_TRUE(QFile::exists(output("Interleaved/Baker.wav")));
}

TEST_F(AppViewModelTest, OriginalsMoveOrGoOnRequest) {
    writePair("Rain");
    setOptions(
        [](ProcessingOptions& options) { options.moveOriginalsInterleave = options.deleteOriginalsInterleave = true; });
    scan();
    EXPECT_TRUE(run().contains(QStringLiteral("[INFO] [CLEANUP] Moved originals to ORIGINALS_MONO/")));
    EXPECT_TRUE(QFile::exists(output("Originals/Rain.L.wav")) && QFile::exists(output("Originals/Rain.R.wav")));
    writePair("Wind");
    setOptions([](ProcessingOptions& options) { options.moveOriginalsInterleave = false; });
    scan({QStringLiteral("Wind.L.wav"), QStringLiteral("Wind.R.wav")});
    EXPECT_TRUE(run().contains(QStringLiteral("[WARN] [CLEANUP] Deleted original mono files")));
    EXPECT_FALSE(QFile::exists(output("Wind.L.wav")) || QFile::exists(output("Wind.R.wav")));
}

TEST_F(AppViewModelTest, OriginalsThatCannotMoveStayAndAreNamed) {
    writePair("Rain");
    library.write("Originals/Rain.L.wav"_s, "older");
    library.write("Originals/Rain.R.wav"_s, "older");
    setOptions([](ProcessingOptions& options) { options.moveOriginalsInterleave = true; });
    scan({QStringLiteral("Rain.L.wav"), QStringLiteral("Rain.R.wav")});
    const QStringList log = run();
    EXPECT_FALSE(log.contains(QStringLiteral("[INFO] [CLEANUP] Moved originals to ORIGINALS_MONO/")));
    EXPECT_EQ(log.filter(QStringLiteral("[WARN] [CLEANUP] Originals kept: Could not move ")).size(), 1);
    EXPECT_TRUE(statusOf(0).startsWith(QStringLiteral("Done (Originals kept: Could not move ")))
        << statusOf(0).toStdString();
    EXPECT_EQ(controller.interleaveGroups[0].outcome->sourcesText(), QStringLiteral("Kept"));
    EXPECT_TRUE(QFile::exists(output("Rain.L.wav")) && QFile::exists(output("Rain.R.wav")));
    EXPECT_EQ(readAll(output("Originals/Rain.L.wav")), "older");
}

class CleanupModes : public AppViewModelTest {
protected:
    QStringList runUnder(LRCleanupMode mode) {
        writePair("Sub/Rain");
        setOptions([mode](ProcessingOptions& options) {
            options.lrCleanupMode = mode;
            options.deleteOriginalsInterleave = true; // has no say under a clean-up mode
        });
        scan();
        return run();
    }
};

TEST_F(CleanupModes, ACertifiedMergeMovesItsSourcesToBackup) {
    useDeliveredBwfmetaedit();
    EXPECT_TRUE(runUnder(LRCleanupMode::verifiedConsolidation)
                    .contains(QStringLiteral("[OK] [PROCESS] ✅ Rain - Interleaved, L/R moved to backup")));
    EXPECT_TRUE(QFile::exists(output("Originals/Sub/Rain.L.wav")) && QFile::exists(output("Originals/Sub/Rain.R.wav")));
    EXPECT_EQ(controller.interleaveGroups[0].status, ProcessingStatus::completedCarbonCopyCertified());
    EXPECT_EQ(controller.completedCount(), 0);
    EXPECT_EQ(controller.successCount(), 1);
}

TEST_F(CleanupModes, ACertifiedMergeDeletesItsSources) {
    useDeliveredBwfmetaedit();
    EXPECT_TRUE(runUnder(LRCleanupMode::hardDelete)
                    .contains(QStringLiteral("[OK] [PROCESS] ✅ Rain - Interleaved, L/R DELETED")));
    EXPECT_FALSE(QFile::exists(output("Sub/Rain.L.wav")) || QFile::exists(output("Sub/Rain.R.wav")));
}

TEST_F(CleanupModes, AnUncertifiedMergeLeavesBothSourcesInPlace) {
    tools.write("tools/bin/no-bext"_s, "");
    EXPECT_TRUE(
        runUnder(LRCleanupMode::hardDelete)
            .contains(QStringLiteral(
                "[OK] [PROCESS] ✅ Rain - ⚠️ Safe Merge (Uncertified) - Metadata verification uncertain")));
    EXPECT_TRUE(QFile::exists(output("Sub/Rain.L.wav")) && QFile::exists(output("Sub/Rain.R.wav")));
    EXPECT_EQ(controller.successCount(), 1);
}

TEST_F(CleanupModes, ACleanupThatFailsIsAWarning) {
    useDeliveredBwfmetaedit();
    library.write("Originals/Sub/Rain.L.wav"_s, "older");
    writePair("Sub/Rain");
    setOptions([](ProcessingOptions& options) { options.lrCleanupMode = LRCleanupMode::verifiedConsolidation; });
    scan();
    const QStringList log = run();
    EXPECT_EQ(log.filter(QStringLiteral("[WARN] [PROCESS] ✅ Rain - Merge OK, cleanup failed: ")).size(), 1)
        << log.join(u'\n').toStdString();
    EXPECT_TRUE(QFile::exists(output("Sub/Rain.L.wav")) && QFile::exists(output("Sub/Rain.R.wav")));
}

TEST_F(AppViewModelTest, StopFinishesTheRunningItemAndStartsNoOther) {
    for (const char* base : {"Able", "Baker", "Charlie"}) writePair(base);
    const QString fake =
        tools.writeScript("tools/bin/ffmpeg"_s, QStringLiteral("until [ -e '%1' ]; do sleep 0.02; done; exec %2 \"$@\"")
                                                    .arg(tools.path("go"_s), tool("ffmpeg")));
    controller.recheckTools();
    ASSERT_EQ(controller.toolDetector().ffmpegPath.value(), fake);
    scan();
    controller.startProcessing();
    EXPECT_TRUE(
        waitUntil([&] { return controller.interleaveGroups[0].status.kind == ProcessingStatus::Kind::processing; }));
    controller.stopProcessing();
    EXPECT_FALSE(controller.isProcessing.value());
    EXPECT_TRUE(controller.hasRunningTask());
    tools.write("go"_s, "");
    EXPECT_TRUE(waitForTasks(controller));
    EXPECT_EQ(controller.interleaveGroups[0].status, ProcessingStatus::completed());
    EXPECT_EQ(controller.interleaveGroups[1].status, ProcessingStatus::readyLRMerge());
    EXPECT_TRUE(messages(controller).contains(QStringLiteral("[WARN] [PROCESS] Operation cancelled by user")));
    EXPECT_EQ(decodedByFfmpeg(output("Interleaved/Able.wav")), expectedSamples({}, 2));
    EXPECT_FALSE(QFile::exists(output("Interleaved/Baker.wav")));
}

TEST_F(AppViewModelTest, AMissingFfmpegFailsTheItemNotTheBatch) {
    writePair("Able");
    const QString fake = tools.writeScript("tools/bin/ffmpeg"_s, QStringLiteral("exit 0"));
    controller.recheckTools();
    scan();
    QFile::remove(fake);
    run();
    EXPECT_EQ(statusOf(0), QStringLiteral("Failed: Failed to launch ffmpeg: No such file or directory"));
}

TEST_F(AppViewModelTest, SplitsAMultichannelFileAndCopiesItsFields) {
    WaveSpec spec;
    spec.channels = 2;
    writeMono("Poly.wav", spec);
    controller.currentMode = AppMode::deinterleave;
    const QStringList scanned = scan({QStringLiteral("Poly.wav")});
    EXPECT_TRUE(scanned.contains(QStringLiteral("[INFO] [SCAN] Processing 1 specific files (not scanning folder)")));
    EXPECT_EQ(scanned.last(), QStringLiteral("[OK] [SCAN] Found 1 multichannel files"));
    const QString before = fingerprintOf(output("Poly.wav"));
    EXPECT_EQ(run().at(1), QStringLiteral("[OK] [PROCESS] Successfully created: Poly.L.wav, Poly.R.wav"));
    EXPECT_EQ(controller.deinterleaveSources[0].status, ProcessingStatus::completed());
    EXPECT_EQ(fingerprintOf(output("Poly.wav")), before);
    const QString ahead = QStringLiteral("--Description=two\nlines\n--TimeReference=5000000000\n");
    const QString last = callsOf(bwfmetaedit).last();
    ASSERT_TRUE(last.startsWith(ahead)) << last.toStdString();
    expectPrivateTwin(last.mid(ahead.size()), output("De-interleaved/Poly.R.wav"));
    EXPECT_EQ(decodedByFfmpeg(output("De-interleaved/Poly.R.wav"))[0], expectedSamples({}, 2)[1]);
}

TEST_F(AppViewModelTest, SplitFromAFolderAndMoveTheOriginal) {
    WaveSpec spec;
    spec.channels = 6;
    writeMono("Six.wav", spec);
    controller.currentMode = AppMode::deinterleave;
    EXPECT_EQ(
        scan().last(),
        QStringLiteral(
            "[INFO] [SCAN] No multichannel files found matching the selected layout (Stereo (L/R)). This folder may "
            "contain only mono files or files with different channel counts. Nothing to process in De-interleave "
            "mode."));
    controller.selectedLayout = ChannelLayout::smpte51;
    scan();
    setOptions([](ProcessingOptions& options) { options.moveOriginalsDeinterleave = true; });
    EXPECT_TRUE(run().contains(QStringLiteral("[INFO] [CLEANUP] Moved original to Originals/")));
    EXPECT_TRUE(QFile::exists(output("Originals/Six.wav")));
}

TEST_F(AppViewModelTest, MetadataFailuresOfASplitAreCounted) {
    WaveSpec spec;
    spec.channels = 2;
    writeMono("Poly.wav", spec);
    tools.write("tools/bin/fail-export"_s, "");
    controller.currentMode = AppMode::deinterleave;
    scan({QStringLiteral("Poly.wav")});
    run();
    EXPECT_EQ(controller.deinterleaveSources[0].status,
              ProcessingStatus::completedWithWarning(QStringLiteral("2 metadata failures")));
}

TEST_F(AppViewModelTest, ConfirmDeleteSetsTheOptionOfItsMode) {
    controller.showDeleteConfirmation = true;
    controller.confirmDelete();
    EXPECT_TRUE(controller.options.value().deleteOriginalsInterleave);
    EXPECT_FALSE(controller.options.value().deleteOriginalsDeinterleave);
    EXPECT_FALSE(controller.showDeleteConfirmation.value());
    controller.deleteConfirmationMode = AppMode::deinterleave;
    controller.confirmDelete();
    EXPECT_TRUE(controller.options.value().deleteOriginalsDeinterleave);
}

TEST_F(AppViewModelTest, TheLogIsExportedSavedAndCopied) {
    controller.select({library.path()});
    const QString exported = controller.exportLogs();
    EXPECT_TRUE(exported.startsWith(QStringLiteral("Ostrel Log\nGenerated: ")));
    EXPECT_TRUE(exported.contains(
        QStringLiteral("\nSource: %1\nMode: Interleave\nLayout: Stereo (L/R)\n\n[").arg(library.path())));
    desktop.savePanelAnswer = library.path("log.txt"_s);
    controller.saveLogToFile();
    EXPECT_TRUE(desktop.savePanels.back().suggestedName.startsWith(QStringLiteral("Ostrel_Log_2")));
    EXPECT_EQ(QString::fromUtf8(readAll(desktop.savePanelAnswer)), exported);
    EXPECT_EQ(messages(controller).last(), QStringLiteral("[INFO] [SYSTEM] Log saved to: log.txt"));
    controller.copyLogToClipboard();
    EXPECT_TRUE(desktop.pasteboard.back().endsWith(QStringLiteral("Log saved to: log.txt")));
    EXPECT_EQ(messages(controller).last(), QStringLiteral("[INFO] [SYSTEM] Log copied to clipboard (2 entries)"));
    desktop.savePanelAnswer = QStringLiteral("/nowhere/log.txt");
    controller.saveLogToFile();
    EXPECT_TRUE(messages(controller).last().startsWith(QStringLiteral("[ERROR] [SYSTEM] Failed to save log: ")));
}

TEST_F(AppViewModelTest, PipesAndLinksThatLeadNowhereAreNotSelected) {
    const QString pipe = library.path("pipe.L.wav"_s);
    ASSERT_EQ(::mkfifo(pipe.toUtf8().constData(), 0600), 0);
    controller.select({pipe, output("gone.wav")});
    EXPECT_TRUE(controller.selectedFiles.value().isEmpty());
    EXPECT_EQ(messages(controller),
              (QStringList{QStringLiteral("[WARN] [SYSTEM] Not a file or folder: ") + pipe,
                           QStringLiteral("[WARN] [SYSTEM] Not a file or folder: ") + output("gone.wav")}));
}

TEST_F(AppViewModelTest, ANewSelectionClearsTheResults) {
    writePair("Rain");
    scan();
    controller.select({library.path()});
    EXPECT_TRUE(controller.interleaveGroups.empty());
    EXPECT_TRUE(controller.statusMessage.value().isEmpty());
}

TEST_F(AppViewModelTest, ARunThatBeganWithAReportWritesIt) {
    writePair("Rain");
    controller.generateCSV = true;
    scan();
    controller.startProcessing();
    controller.generateCSV = false;
    ASSERT_TRUE(waitForTasks(controller));
    EXPECT_FALSE(controller.reportPath().isEmpty());
}

TEST_F(AppViewModelTest, AReportOfTheRunIsWritten) {
    writePair("Rain, heavy");
    controller.generateCSV = true;
    scan();
    const QStringList log = run();
    ASSERT_FALSE(controller.reportPath().isEmpty());
    EXPECT_EQ(log.last(),
              QStringLiteral("[INFO] [SYSTEM] CSV report saved: ") + paths::lastComponent(controller.reportPath()));
    const QStringList lines = QString::fromUtf8(readAll(controller.reportPath())).split(u'\n');
    ASSERT_EQ(lines.size(), 16);
    EXPECT_EQ(lines[0], QStringLiteral("# Tessarine — Interleave Report"));
    EXPECT_EQ(
        lines.mid(2, 6),
        (QStringList{QStringLiteral("# Operation: Interleave"), QStringLiteral("# Source: ") + library.path(),
                     QStringLiteral("# Output: Same as source"), QStringLiteral("# Layout: Stereo (L/R)"),
                     QStringLiteral("# Output Format: Smart (Recommended)"), QStringLiteral("# Total Groups: 1")}));
    EXPECT_EQ(lines[8], QStringLiteral("#"));
    EXPECT_EQ(lines[9], QStringLiteral("Group,Channels,Source Files,Output File,Layout,Format,Metadata Tier,Sample "
                                       "Rate,Bit Depth,Duration,Originals,Status,Metadata"));
    EXPECT_EQ(
        lines[10],
        QStringLiteral(
            "\"Rain, heavy\",2ch,L+R,\"Rain, heavy.wav\",Stereo (L/R),WAV,BWF Guaranteed,48000,24,0:00,Kept,Success,"
            "All kept"));
    EXPECT_EQ(lines.mid(11), (QStringList{QString(), QStringLiteral("# Total: 1"), QStringLiteral("# Success: 1"),
                                          QStringLiteral("# Skipped: 0"), QStringLiteral("# Errors: 0")}));
}

TEST_F(AppViewModelTest, AReportOfASplitIsWritten) {
    WaveSpec spec;
    spec.channels = 2;
    writeMono("Poly.wav", spec);
    controller.currentMode = AppMode::deinterleave;
    controller.generateCSV = true;
    controller.setOutputFolder(library.path("out"_s));
    scan({QStringLiteral("Poly.wav")});
    run();
    const QStringList lines = QString::fromUtf8(readAll(controller.reportPath())).split(u'\n');
    EXPECT_TRUE(controller.reportPath().startsWith(output("out/Tessarine_Deinterleave_")));
    EXPECT_EQ(lines[4], QStringLiteral("# Output: ") + output("out"));
    EXPECT_EQ(lines[10],
              QStringLiteral(
                  "Poly.wav,%1,2,Stereo (L/R),WAV,BWF Guaranteed,48000,24,0:00,Poly.L.wav | Poly.R.wav,Kept,Success,")
                  .arg(output("Poly.wav")));
}

TEST_F(AppViewModelTest, AReportWithoutAFolderIsRefusedInTheLog) {
    writePair("Rain");
    scan();
    controller.generateCSV = true;
    controller.sourceURL = QString();
    EXPECT_EQ(run().last(), QStringLiteral("[WARN] [SYSTEM] Cannot save CSV: no output folder"));
}

} // namespace
} // namespace ostrel
