// The Edit face of the controller: configuration, runs, in place, reports.
#include "controller_fixture.h"
#include "platform/paths.h"
#include "polytools/preview/preview_files.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::ixmlOf;
using testing::namesIn;

class EditFace : public testing::PolyToolsController {
protected:
    void SetUp() override {
        PolyToolsController::SetUp();
        controller_->mode = PolyMode::editPoly;
    }
    void removeChannels(const char* numbers) {
        ChannelFilterOptions filter;
        filter.selectedChannelIndices = parseChannelNumbers(QString::fromLatin1(numbers));
        controller_->channelRemovalFilter = filter;
    }
    void select(const QStringList& urls) {
        controller_->applyIntelligentModeDetection(urls, PolyMode::editPoly);
        ASSERT_TRUE(settled());
    }
    void run() {
        controller_->edit().run();
        ASSERT_TRUE(settled());
    }
    // The source channels that the output's channels carry.
    std::vector<int> channelsOf(const QString& file, int channels) const {
        testing::WaveSpec spec;
        spec.channels = channels;
        spec.frames = 480;
        const auto signals = testing::scaledTo32(testing::samplesOf(spec), 24);
        std::vector<int> order;
        for (const auto& samples : testing::decodedByFfmpeg(file)) {
            order.push_back(static_cast<int>(std::find(signals.begin(), signals.end(), samples) - signals.begin()));
        }
        return order;
    }
};

TEST_F(EditFace, ARenameInPlaceNeedsNoFolderAndAReorderTakesTheRunAwayUntilThereIsOne) {
    controller_->selectedFiles = QStringList{poly(QStringLiteral("P.wav")).url};
    EXPECT_FALSE(controller_->edit().hasAdvancedConfig());
    EXPECT_FALSE(controller_->edit().canRun());
    controller_->channelRemovalRenameMap = RenameMap{{1, QStringLiteral("Boom")}};
    EXPECT_FALSE(controller_->edit().canRun());
    controller_->editPolyEditInPlace = true;
    EXPECT_TRUE(controller_->edit().canRun());
    controller_->channelReorderMap = std::vector<int>{2, 1};
    EXPECT_FALSE(controller_->edit().canRun());
    controller_->splitOutputFolder = path("out");
    EXPECT_TRUE(controller_->edit().canRun());
}

TEST_F(EditFace, HelperTexts) {
    select({poly(QStringLiteral("A.wav")).url, poly(QStringLiteral("B.wav")).url});
    EXPECT_EQ(controller_->editPolyHelperText(), QString());
    removeChannels("1");
    controller_->channelReorderMap = std::vector<int>{2, 1};
    EXPECT_EQ(controller_->editPolyHelperText(), QStringLiteral("channel removal + channel reorder → 2 new polys"));
    controller_->channelReorderMap = std::nullopt;
    controller_->channelRemovalFilter = std::nullopt;
    controller_->channelRemovalRenameMap = RenameMap{{1, QStringLiteral("x")}};
    controller_->editPolyEditInPlace = true;
    EXPECT_EQ(controller_->editPolyHelperText(), QStringLiteral("track rename on 2 polys (in place)"));
}

TEST_F(EditFace, TheReorderMapIsMadeAndMoved) {
    select({poly(QStringLiteral("A.wav"), 3).url});
    controller_->edit().moveChannelUp(1);
    EXPECT_FALSE(controller_->channelReorderMap.value());
    controller_->edit().initializeReorderFromChannelItems();
    EXPECT_EQ(*controller_->channelReorderMap.value(), (std::vector<int>{1, 2, 3}));
    controller_->edit().moveChannelUp(0);
    controller_->edit().moveChannelDown(2);
    EXPECT_EQ(*controller_->channelReorderMap.value(), (std::vector<int>{1, 2, 3}));
    controller_->edit().moveChannelUp(2);
    EXPECT_EQ(*controller_->channelReorderMap.value(), (std::vector<int>{1, 3, 2}));
    controller_->edit().moveChannelDown(0);
    EXPECT_EQ(*controller_->channelReorderMap.value(), (std::vector<int>{3, 1, 2}));
}

TEST_F(EditFace, ChecksEndInErrorsAndChangeNothing) {
    controller_->edit().run();
    EXPECT_TRUE(entry("No edits configured — enable channel removal, rename, or reorder first"));
    controller_->edit().startBatchChannelRemoval();
    EXPECT_TRUE(entry("No edits configured — enable channel removal or rename first"));
    removeChannels("1");
    controller_->edit().run();
    EXPECT_TRUE(entry("Output folder required for this operation"));
    controller_->splitOutputFolder = path("out");
    controller_->edit().run();
    EXPECT_TRUE(entry("Select files or folder to process"));
    EXPECT_FALSE(controller_->hasRunningTask());
    QDir().mkpath(path("none"));
    controller_->sourceFolder = path("none");
    run();
    EXPECT_TRUE(entry("Scanning folder for WAV files..."));
    EXPECT_TRUE(entry("No WAV files found in folder"));
    controller_->sourceFolder = path("nowhere");
    run();
    EXPECT_TRUE(entry("Failed to scan folder: "));
    controller_->selectedFiles = QStringList{poly(QStringLiteral("P.wav")).url};
    controller_->ffmpegAvailable = false;
    run();
    EXPECT_TRUE(entry("ffmpeg/ffprobe not available"));
    EXPECT_FALSE(controller_->isProcessing.value());
}

TEST_F(EditFace, ABatchIsEditedIntoTheFolderWithItsReport) {
    controller_->generateCSV = true;
    poly(QStringLiteral("in/A.wav"), 3);
    poly(QStringLiteral("in/deep/B.wav"), 4);
    folder_.write(QStringLiteral("in/broken.wav"), "x");
    const QStringList before = testing::fingerprint(path("in"));
    select({path("in")});
    controller_->splitOutputFolder = path("out");
    removeChannels("2");
    controller_->channelRemovalRenameMap = RenameMap{{1, QStringLiteral("Mix")}};
    run();
    EXPECT_EQ(controller_->successCount.value(), 2) << log().toStdString();
    EXPECT_EQ(controller_->errorCount.value(), 1);
    EXPECT_EQ(channelsOf(path("out/A.wav"), 3), (std::vector<int>{0, 2}));
    EXPECT_EQ(channelsOf(path("out/B.wav"), 4), (std::vector<int>{0, 2, 3}));
    for (const char* line : {"━━━ EDIT POLY (SAVE TO OUTPUT) ━━━", "━━━ EDIT POLY PROCESSING ━━━", "Files: 3",
                             "Output: out", "Filter: Remove channel numbers: 2", "Rename: 1 channel(s) will be renamed",
                             "❌ Failed to read: broken.wav", "━━━ BATCH COMPLETE ━━━", "2 files"}) {
        EXPECT_TRUE(entry(line)) << line;
    }
    const QString csv = QString::fromUtf8(testing::readAll(controller_->reportPath.value()));
    EXPECT_TRUE(
        csv.contains(QStringLiteral("# Edits Applied: Channel removal (keeping: all but 2) + Track rename (1)")))
        << csv.toStdString();
    EXPECT_TRUE(csv.contains(QStringLiteral("# Mode: New File")) && csv.contains(QStringLiteral(",3ch,2ch,")));
    EXPECT_TRUE(csv.endsWith(QStringLiteral("# Total Files: 3\n# Success: 2\n# Errors: 1\n# Skipped: 0")));
    EXPECT_EQ(testing::fingerprint(path("in")), before);
}

TEST_F(EditFace, OutputsThatAreThereAreSkippedRefusedOrReplaced) {
    const QString file = poly(QStringLiteral("in/A.wav"), 3).url;
    folder_.write(QStringLiteral("out/A.wav"), "somebody's recording");
    select({file});
    controller_->splitOutputFolder = path("out");
    removeChannels("1");
    run();
    EXPECT_EQ(controller_->skipCount.value(), 1);
    EXPECT_TRUE(entry("Skipped (exists): A.wav"));
    controller_->skipIfExists = false;
    run();
    EXPECT_EQ(controller_->errorCount.value(), 1);
    EXPECT_EQ(testing::readAll(path("out/A.wav")), "somebody's recording");
    controller_->overwriteExisting = true;
    run();
    EXPECT_EQ(channelsOf(path("out/A.wav"), 3), (std::vector<int>{1, 2}));
}

TEST_F(EditFace, AFileOfTheSelectionIsNeverReplacedByTheEditOfAnother) {
    const QStringList files{poly(QStringLiteral("a/P.wav"), 3).url, poly(QStringLiteral("b/P.wav"), 3).url};
    const QString before = testing::fingerprintOf(files[1]);
    select(files);
    controller_->splitOutputFolder = path("b");
    controller_->skipIfExists = false;
    controller_->overwriteExisting = true;
    removeChannels("1");
    run();
    EXPECT_EQ(testing::fingerprintOf(files[1]), before);
    EXPECT_EQ(controller_->errorCount.value(), 1);
    EXPECT_EQ(namesIn(path("b")).join(u' '), QStringLiteral("P.wav P_2ch.wav"));
}

TEST_F(EditFace, ACustomNameIsForASingleFile) {
    select({poly(QStringLiteral("A.wav"), 3).url});
    controller_->splitOutputFolder = path("out");
    controller_->channelRemovalCustomName = QStringLiteral("new/name");
    controller_->channelReorderMap = std::vector<int>{3, 1, 2};
    controller_->editPolyEditInPlace = true; // a reorder rebuilds all the same
    run();
    EXPECT_TRUE(entry("Reorder: 3, 1, 2"));
    EXPECT_EQ(channelsOf(path("out/new-name.wav"), 3), (std::vector<int>{2, 0, 1}));
}

TEST_F(EditFace, InPlaceOnlyRenames) {
    if (!testing::hasBwfmetaedit()) GTEST_SKIP() << "this build has no bwfmetaedit";
    const QString file = poly(QStringLiteral("A.wav"), 2, ixmlOf({"Boom", "Lav"})).url;
    const QString before = testing::fingerprintOf(file);
    select({file});
    controller_->editPolyEditInPlace = true;
    removeChannels("1");
    run();
    EXPECT_TRUE(entry("Channel removal requires rebuild — switch to \"Save to output folder\" mode"));
    EXPECT_EQ(testing::fingerprintOf(file), before);
    controller_->channelRemovalRenameMap = RenameMap{{2, QStringLiteral("Radio")}};
    controller_->generateCSV = true;
    run();
    EXPECT_TRUE(entry("━━━ EDIT POLY (IN PLACE) ━━━"));
    EXPECT_TRUE(entry("Output: In place (source folder)"));
    EXPECT_TRUE(testing::ixmlOfFile(file).contains("<NAME>Radio</NAME>"));
    EXPECT_EQ(channelsOf(file, 2), (std::vector<int>{0, 1}));
    const QString csv = QString::fromUtf8(testing::readAll(controller_->reportPath.value()));
    EXPECT_TRUE(csv.contains(QStringLiteral("# Mode: In-Place")) && csv.contains(QStringLiteral("Boom | Radio")))
        << csv.toStdString();
}

TEST_F(EditFace, ClearingForgetsTheEdits) {
    select({poly(QStringLiteral("A.wav")).url});
    removeChannels("1");
    controller_->edit().clear();
    EXPECT_FALSE(controller_->edit().hasAdvancedConfig() || controller_->source().hasContent());
    EXPECT_TRUE(entry("Cleared edit poly data - ready for new files"));
}

TEST(PreviewFiles, CommandLines) {
    EXPECT_EQ(buildExtractChannelCommand(QStringLiteral("/p.wav"), 2, QStringLiteral("/o.wav")).join(u' '),
              QStringLiteral("-y -i /p.wav -af pan=mono|c0=c2 -acodec pcm_s24le /o.wav"));
    EXPECT_EQ(buildPreviewPolyCommand({QStringLiteral("/a.wav"), QStringLiteral("/b.wav"), QStringLiteral("/c.wav")},
                                      16, QStringLiteral("/o.wav"))
                  .join(u' '),
              QStringLiteral("-y -i /a.wav -i /b.wav -i /c.wav -filter_complex [0:a][1:a][2:a]amerge=inputs=3[aout] "
                             "-map [aout] -ac 3 -c:a "
                             "pcm_s16le -rf64 auto /o.wav"));
}

class PreviewSide : public testing::PolyToolsController {
protected:
    PreviewSide() { controller_ = std::make_unique<PolyToolsViewModel>(desktop_, &output_); }
    ~PreviewSide() override { controller_.reset(); }
    QStringList temporaryFolders() const {
        QStringList found;
        for (const char* name : {"Tessarine_Preview", "Tessarine_JoinPreview", "Tessarine_BatchPreview"}) {
            found << QDir(temporaryFolder() + QLatin1Char('/') + QString::fromLatin1(name))
                         .entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        }
        return found;
    }

    const QStringList before_ = temporaryFolders();
    AudioOutput output_;
};

TEST_F(PreviewSide, ALoadedPolyCanBeHeardChannelByChannel) {
    controller_->applyIntelligentModeDetection({poly(QStringLiteral("P.wav"), 3).url}, PolyMode::split);
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Preparing preview mixer: extracting 3 channels..."));
    EXPECT_TRUE(entry("Preview 3 channels loaded into mixer + poly P.wav"));
    PreviewMixer& mixer = *controller_->preview().mixer();
    EXPECT_EQ(mixer.loadedFileCount.value(), 3);
    EXPECT_TRUE(mixer.isPolySourceActive.value());
    EXPECT_EQ(testing::decodedByFfmpeg(controller_->extractedChannelURLs.value()[1])[0],
              testing::decodedByFfmpeg(path("P.wav"))[1]);
    EXPECT_EQ(controller_->preview().channels().playbackDisplayLabel(), QStringLiteral("Select a channel to preview"));

    controller_->preview().channels().selectChannelForPlayback(1);
    EXPECT_TRUE(entry("Selected channel 2"));
    EXPECT_TRUE(mixer.isPlaying.value());
    EXPECT_TRUE(mixer.sourceStates.value()[1].isSoloed);
    EXPECT_EQ(controller_->preview().channels().activeChannelNumber(), 2);
    EXPECT_TRUE(controller_->preview().channels().playbackDisplayLabel().startsWith(QStringLiteral("2: ")));
    controller_->preview().channels().selectChannelForPlayback(1); // a click on the playing channel pauses it
    EXPECT_FALSE(mixer.isPlaying.value());
    controller_->preview().channels().selectChannelForPlayback(2);
    EXPECT_TRUE(mixer.sourceStates.value()[2].isSoloed && !mixer.sourceStates.value()[1].isSoloed);
    controller_->preview().channels().playPolySource();
    EXPECT_TRUE(mixer.isPolySourceActive.value());
    EXPECT_FALSE(controller_->selectedChannelForPlayback.value());

    controller_->source().clear();
    EXPECT_FALSE(mixer.isLoaded.value());
    EXPECT_EQ(temporaryFolders(), before_);
}

TEST_F(PreviewSide, ABadChannelLeavesAPreviewOfTheOthers) {
    const QString real = controller_->ffmpegPath.value();
    controller_->ffmpegPath = folder_.writeScript(
        QStringLiteral("ffmpeg"),
        QStringLiteral("case \"$*\" in *c0=c1*) echo 'Error: no'>&2; exit 1;; esac; exec %1 \"$@\"").arg(real));
    controller_->source().analyzePolyFile(poly(QStringLiteral("P.wav"), 3).url);
    ASSERT_TRUE(settled());
    EXPECT_EQ(entry("Failed to extract channel 2: Error: no")->level, LogLevel::warning);
    EXPECT_EQ(controller_->extractedChannelURLs.value().size(), 2);
    controller_->preview().channels().selectChannelForPlayback(2);
    EXPECT_TRUE(controller_->preview().mixer()->sourceStates.value()[1].isSoloed) << "channel 3 is the second source";
    controller_->ffmpegPath = QStringLiteral("/nowhere/ffmpeg");
    controller_->source().analyzePolyFile(path("P.wav"));
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Preview preparation failed: no channels extracted"));
    EXPECT_FALSE(controller_->isPreparingPreview.value());
}

TEST_F(PreviewSide, TwoIsosBuildAPreviewPolyOfTheirDepthAndOneDoesNot) {
    controller_->mode = PolyMode::join;
    testing::WaveSpec spec;
    spec.bitDepth = 16;
    spec.frames = 480;
    const QString a = testing::writeISO(folder_.path(QStringLiteral("a.wav")), spec).url;
    spec.firstSignal = 1;
    const QString b = testing::writeISO(folder_.path(QStringLiteral("b.wav")), spec).url;
    controller_->join().analyzeISOFiles({a});
    ASSERT_TRUE(settled());
    EXPECT_TRUE(controller_->preview().mixer()->isLoaded.value());
    EXPECT_FALSE(controller_->preview().mixer()->hasPolySource());
    controller_->join().analyzeISOFiles({a, b});
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Loaded 2 ISOs for instant preview — generating poly source..."));
    EXPECT_TRUE(entry("✅ [TempPoly] Generated successfully: preview_poly.wav ("));
    const QString made = controller_->preview().mixer()->polySourceURL();
    EXPECT_EQ(paths::lastComponent(made), QStringLiteral("preview_poly.wav"));
    EXPECT_EQ(testing::decodedByFfmpeg(made).size(), 2u);
    EXPECT_EQ(testing::chunkOf(testing::readAll(made), "fmt ").mid(14, 2), testing::littleEndian16(16));
    controller_->preview().join().selectISOForPlayback(1);
    EXPECT_EQ(controller_->preview().join().activeJoinChannelNumber(), 2);
    EXPECT_EQ(controller_->preview().join().joinPlaybackDisplayLabel(), QStringLiteral("2: b.wav"));
    controller_->preview().join().updatePreviewMix();
    EXPECT_TRUE(entry("Preview updated: 2 ISOs in mix"));
    controller_->join().clear();
    EXPECT_FALSE(controller_->preview().mixer()->isLoaded.value());
}

TEST_F(PreviewSide, WithoutAGeneratedPolyTheIsosPlayAlone) {
    controller_->mode = PolyMode::join;
    controller_->ffmpegPath = QStringLiteral("/nowhere/ffmpeg");
    controller_->join().analyzeISOFiles({iso(QStringLiteral("a.wav")).url, iso(QStringLiteral("b.wav"), 1).url});
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("[TempPoly] ❌ ffmpeg launch error: "));
    EXPECT_TRUE(entry("⚠️ Poly source generation failed — ISO-only playback (may have phasing)"));
    EXPECT_TRUE(controller_->preview().mixer()->isLoaded.value());
}

TEST_F(PreviewSide, AGroupUnderReviewIsLoadedAndSoloed) {
    ISOGroupCandidate group;
    group.scene = QStringLiteral("1");
    group.take = QStringLiteral("2");
    group.isoFiles = {iso(QStringLiteral("x_A.wav")), iso(QStringLiteral("x_C.wav"), 1)};
    controller_->preview().join().loadGroupForPreview(group);
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Loaded 2 ISOs for group preview — generating poly source..."));
    EXPECT_EQ(controller_->previewIncludedIndices.value(), (std::set<int>{0, 1}));
    EXPECT_EQ(controller_->preview().join().previewGroupDisplayLabel(), QStringLiteral("1-T2_poly"));
    controller_->preview().join().selectPreviewISO(1);
    EXPECT_TRUE(controller_->preview().mixer()->sourceStates.value()[1].isSoloed);
    EXPECT_EQ(controller_->preview().join().activePreviewChannelNumber(), 2);
    controller_->preview().join().selectPreviewISO(1);
    EXPECT_FALSE(controller_->preview().join().activePreviewChannelNumber());
    controller_->preview().join().playPreviewPolySource();
    EXPECT_TRUE(controller_->preview().mixer()->isPolySourceActive.value());
}

TEST_F(PreviewSide, PolysOfABatchAreExtractedOnceAndPlayed) {
    controller_->applyIntelligentModeDetection(
        {poly(QStringLiteral("A.wav")).url, poly(QStringLiteral("B.wav"), 3).url}, PolyMode::split);
    ASSERT_TRUE(settled());
    PolyPreview& preview = controller_->preview();
    preview.batch().extractBatchPolyForPreview(1);
    ASSERT_TRUE(settled());
    EXPECT_TRUE(controller_->batchPolyMetadata[1].isPreviewReady);
    EXPECT_EQ(controller_->batchChannelItems.size(), 3u);
    EXPECT_EQ(controller_->batchChannelItems[0].trackName, QStringLiteral("—"));
    EXPECT_TRUE(controller_->preview().mixer()->isPlaying.value());
    preview.batch().selectBatchChannelForPlayback(2);
    EXPECT_TRUE(entry("Selected batch channel 3"));
    preview.batch().loadAllPreviews();
    EXPECT_TRUE(controller_->isLoadingAllPreviews.value());
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("All previews loaded: 2"));
    preview.batch().loadCachedPreviewAndPlay(0);
    EXPECT_TRUE(entry("Loaded cached preview: A"));
    EXPECT_EQ(controller_->preview().mixer()->loadedFileCount.value(), 2);
    preview.batch().loadCachedPreviewAndPlay(7);
    EXPECT_TRUE(entry("Invalid batch poly index: 7"));
    preview.batch().extractBatchPolyForPreviewSilent(9);
    EXPECT_TRUE(entry("Silent extract: invalid index 9"));
    controller_->source().clear();
    EXPECT_EQ(temporaryFolders(), before_);
}

} // namespace
} // namespace ostrel
