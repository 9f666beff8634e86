// The Join face of the controller: loading, order, grouping, shortcut and review, runs, reports.
#include "controller_fixture.h"
#include "platform/paths.h"
#include "polytools/records/iso_file_names.h"
#include "polytools/records/iso_ordering.h"
#include "polytools/records/poly_names.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::ixmlOf;
using testing::namesIn;

ISOFile isoNamed(const char* name) {
    ISOFile file;
    file.url = QStringLiteral("/r/") + QString::fromUtf8(name);
    file.fileName = QString::fromUtf8(name);
    return file;
}

QString namesOf(const std::vector<ISOFile>& files) {
    QStringList names;
    for (const ISOFile& file : files) names << file.fileName;
    return names.join(u' ');
}

TEST(IsoOrdering, TrackNamePriorities) {
    const auto priority = [](const char* name) { return trackNamePriority(QString::fromUtf8(name)); };
    EXPECT_EQ(priority("MIX LEFT"), 1);
    EXPECT_EQ(priority("mix_l"), 1);
    EXPECT_EQ(priority("MIX LR"), 1);
    EXPECT_EQ(priority("MixR"), 2);
    EXPECT_EQ(priority("Mix"), 3);
    EXPECT_EQ(priority("Lavalier 2"), 4);
    EXPECT_EQ(priority("boom"), 5);
    EXPECT_EQ(priority("Plant"), 6);
}

TEST(IsoOrdering, MixThenLavThenBoom) {
    const std::vector<ISOFile> files{isoNamed("A_Boom.wav"), isoNamed("A_Lav1.wav"), isoNamed("A_MixL.wav")};
    QStringList tracks;
    for (const ISOFile& file : files) tracks << trackNameOfFile(file);
    EXPECT_EQ(namesOf(autoOrdered(files, tracks)), QStringLiteral("A_MixL.wav A_Lav1.wav A_Boom.wav"));
}

TEST(IsoOrdering, TheNameIsWhatTheFilesHaveInCommon) {
    const auto name = [](std::initializer_list<const char*> files, bool keep = false) {
        QStringList urls;
        for (const char* file : files) urls << QStringLiteral("/r/") + QString::fromUtf8(file);
        return derivePolyName(urls, keep);
    };
    EXPECT_EQ(name({"T1_a.wav", "T1_b.wav"}), QStringLiteral("T1_poly"));
    EXPECT_EQ(name({"T1_a.wav", "T1_b.wav"}, true), QStringLiteral("T1"));
    EXPECT_EQ(name({"Kitchen.wav", "Boat.wav"}), QStringLiteral("joined_poly"));
    EXPECT_EQ(name({"_ - a.wav", "_ - b.wav"}), QStringLiteral("joined_poly"));
    EXPECT_EQ(name({}), QStringLiteral("output_poly"));
    const QByteArray common(249, 'x');
    EXPECT_EQ(name({QByteArray(common + "1.wav").constData(), QByteArray(common + "2.wav").constData()}),
              QString(246, u'x') + QStringLiteral("_poly"));
}

TEST(IsoOrdering, NamesThatASplitHadToCutAreFound) {
    const QString beginning(300, u'x');
    IXMLMetadata ixml;
    ixml.trackList = {{1, QStringLiteral("Boom"), {}, 0}, {2, beginning, {}, 1}};
    const auto cut = isoOutputName(QStringLiteral("T_1"), 1, SplitNamingPattern::trackName, beginning);
    ISOFile file;
    file.url = QStringLiteral("/r/") + cut;
    file.fileName = cut;
    EXPECT_EQ(namesOf(orderedByManifest({isoNamed("T_other.wav"), file, isoNamed("T_1_Boom.wav")}, ixml)),
              QStringLiteral("T_1_Boom.wav %1 T_other.wav").arg(cut));
}

TEST(JoinNames, FitWithTheirTakeAndTheirEnding) {
    ISOGroupCandidate group;
    group.isoFiles = {isoNamed("a.wav"), isoNamed("b.wav")};
    group.scene = QString(300, u'x');
    group.take = QStringLiteral("12");
    // 251 bytes, since ".wav" comes behind.
    EXPECT_EQ(groupOutputName(group, false), QString(242, u'x') + QStringLiteral("-T12_poly"));
    EXPECT_EQ(groupOutputName(group, true), QString(247, u'x') + QStringLiteral("-T12"));
    group.take = QString(300, u'9');
    EXPECT_EQ(groupOutputName(group, true), QString(185, u'x') + QStringLiteral("-T") + QString(64, u'9'));
    group.take.clear();
    EXPECT_EQ(groupOutputName(group, false), QString(246, u'x') + QStringLiteral("_poly"));
    group.scene = QStringLiteral("9/C");
    group.take = QStringLiteral("1/2");
    EXPECT_EQ(groupOutputName(group, false), QStringLiteral("9-C-T1-2_poly"));
    group.scene.clear();
    group.isoFiles = {isoNamed("_poly.wav")};
    EXPECT_EQ(groupOutputName(group, false), QStringLiteral("_poly"));
    EXPECT_EQ(groupOutputName(group, true), QStringLiteral("-")) << "never a hidden file without a name";
}

TEST(IsoOrdering, ByChannelIndexAndByManifest) {
    std::vector<ISOFile> files{isoNamed("T_B.wav"), isoNamed("T_A.wav"), isoNamed("T_C.wav")};
    files[0].metadataChannelIndex = 12;
    files[1].metadataChannelIndex = 3;
    files[2].metadataChannelIndex = 7;
    EXPECT_EQ(namesOf(orderedByChannelIndex(files)), QStringLiteral("T_A.wav T_C.wav T_B.wav"));
    IXMLMetadata ixml;
    ixml.trackList = {
        {1, QStringLiteral("c"), {}, 0}, {2, QStringLiteral("Lav 1"), {}, 1}, {3, QStringLiteral("B"), {}, 2}};
    EXPECT_EQ(namesOf(orderedByManifest(
                  {isoNamed("T_A.wav"), isoNamed("T_B.wav"), isoNamed("T_Lav_1.wav"), isoNamed("T_C.wav")}, ixml)),
              QStringLiteral("T_C.wav T_Lav_1.wav T_B.wav T_A.wav"));
    EXPECT_EQ(manifestCandidates(QStringLiteral("/x/y/A_B_C.wav")).join(u' '),
              QStringLiteral("/x/y/A_B.metadata.json /x/A_B.metadata.json /x/y/A.metadata.json /x/A.metadata.json"));
    EXPECT_TRUE(manifestCandidates(QStringLiteral("/x/Plain.wav")).isEmpty());
}

TEST(IsoOrdering, MethodsAndTheirSentences) {
    EXPECT_EQ(rawText(IsoOrdering::autoOrder), QStringLiteral("auto-order"));
    EXPECT_EQ(sentence(IsoOrdering::metadata), QStringLiteral("Ordered by iXML channel number"));
    EXPECT_EQ(sentence(IsoOrdering::selection), QStringLiteral("Using file selection order (no metadata found)"));
}

class JoinFace : public testing::PolyToolsController {
protected:
    void SetUp() override {
        PolyToolsController::SetUp();
        controller_->mode = PolyMode::join;
    }
    // Two ISOs of one take; scene and take stand in their iXML.
    QStringList take(const char* number, const QString& folder = QStringLiteral("in")) {
        QStringList urls;
        for (int i = 0; i < 2; ++i) {
            testing::IxmlSpec ixml = ixmlOf({});
            ixml.take = number;
            ixml.tracks = {{2 - i, 1, i == 0 ? "Lav" : "Boom"}};
            urls << iso(QStringLiteral("%1/T%2_%3.wav")
                            .arg(folder, QString::fromLatin1(number),
                                 i == 0 ? QStringLiteral("Lav") : QStringLiteral("Boom")),
                        i, ixml)
                        .url;
        }
        return urls;
    }
};

TEST_F(JoinFace, OneIsoLoadsWithoutGroupingAndCannotRun) {
    controller_->applyIntelligentModeDetection({iso(QStringLiteral("T1_a.wav")).url}, PolyMode::join);
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->isoFiles.size(), 1u);
    EXPECT_FALSE(controller_->groupingResult.value());
    EXPECT_FALSE(controller_->join().canRun());
    EXPECT_TRUE(controller_->join().hasContent());
}

TEST_F(JoinFace, LoadingWithoutMetadataKeepsTheSelectionOrder) {
    controller_->join().analyzeISOFiles({iso(QStringLiteral("T1_b.wav")).url,
                                         folder_.write(QStringLiteral("bad.wav"), "x"),
                                         iso(QStringLiteral("T1_a.wav")).url});
    ASSERT_TRUE(settled());
    EXPECT_EQ(namesOf(controller_->isoFiles.rows()), QStringLiteral("T1_b.wav T1_a.wav"));
    EXPECT_EQ(controller_->isoFiles[1].channelIndex, 2);
    EXPECT_EQ(controller_->isoOrderingMethod.value(), IsoOrdering::selection);
    EXPECT_EQ(controller_->joinOutputName.value(), QStringLiteral("T1_poly"));
    EXPECT_EQ(controller_->joinOutputFolder.value(), folder_.path());
    EXPECT_TRUE(entry("Failed to analyze bad.wav: "));
    EXPECT_TRUE(entry("All files validated: 48000Hz, 24-bit, ~0:00"));
    EXPECT_TRUE(entry("Loaded 2 files for joining"));
    EXPECT_TRUE(entry("⚠️ No metadata found - preserving file selection order"));
    EXPECT_TRUE(controller_->join().canRun());
}

TEST_F(JoinFace, AutoOrderPutsMixThenLavThenBoom) {
    controller_->autoOrderChannels = true;
    controller_->join().analyzeISOFiles({iso(QStringLiteral("A_Boom.wav")).url, iso(QStringLiteral("A_Lav1.wav")).url,
                                         iso(QStringLiteral("A_MixL.wav")).url});
    ASSERT_TRUE(settled());
    EXPECT_EQ(namesOf(controller_->isoFiles.rows()), QStringLiteral("A_MixL.wav A_Lav1.wav A_Boom.wav"));
    EXPECT_TRUE(entry("Auto-ordered files by track name"));
    controller_->join().analyzeISOFiles({path("A_MixL.wav"), path("A_Boom.wav")});
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Auto-order enabled but files already in optimal order"));
}

TEST_F(JoinFace, MetadataOrdersByChannelNumberAndOneFileWithoutItSendsTheListToTheNextBranch) {
    if (!testing::hasBwfmetaedit()) GTEST_SKIP() << "this build has no bwfmetaedit";
    QStringList urls = take("3");
    controller_->join().analyzeISOFiles(urls);
    ASSERT_TRUE(settled());
    EXPECT_EQ(namesOf(controller_->isoFiles.rows()), QStringLiteral("T3_Boom.wav T3_Lav.wav"));
    EXPECT_EQ(controller_->isoOrderingMethod.value(), IsoOrdering::metadata);
    EXPECT_TRUE(entry("✅ Sorted by INTERLEAVE_INDEX from iXML metadata (ground truth ordering)"));
    controller_->join().analyzeISOFiles(urls << iso(QStringLiteral("in/T3_Plant.wav")).url);
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->isoOrderingMethod.value(), IsoOrdering::selection);
    EXPECT_EQ(namesOf(controller_->isoFiles.rows()), QStringLiteral("T3_Lav.wav T3_Boom.wav T3_Plant.wav"));
}

TEST_F(JoinFace, AManifestBesideTheFilesOrdersThem) {
    MetadataManifest manifest;
    manifest.sourceFile = {QStringLiteral("/x"), QStringLiteral("x"), {}, {}, QStringLiteral("2026-03-14T09:26:53Z")};
    manifest.ixml = IXMLMetadata();
    folder_.write(QStringLiteral("T1.metadata.json"), manifest.toJson());
    const QStringList urls{iso(QStringLiteral("isos/T1_a.wav")).url, iso(QStringLiteral("isos/T1_b.wav")).url};
    controller_->join().analyzeISOFiles(urls);
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Manifest has no track list - using selection order"));
    controller_->autoOrderChannels = true; // and it means what it says
    controller_->join().analyzeISOFiles(
        {iso(QStringLiteral("isos/T1_Boom.wav")).url, iso(QStringLiteral("isos/T1_MixL.wav")).url});
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->isoOrderingMethod.value(), IsoOrdering::selection);
    EXPECT_EQ(namesOf(controller_->isoFiles.rows()), QStringLiteral("T1_Boom.wav T1_MixL.wav"));
    controller_->autoOrderChannels = false;
    manifest.ixml->trackList = {{1, QStringLiteral("b"), {}, 0}, {2, QStringLiteral("a"), {}, 1}};
    folder_.write(QStringLiteral("T1.metadata.json"), manifest.toJson());
    controller_->join().analyzeISOFiles(urls);
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->isoOrderingMethod.value(), IsoOrdering::manifest);
    EXPECT_TRUE(entry("Found manifest: T1.metadata.json"));
    EXPECT_TRUE(entry("Sorted order: T1_b.wav, T1_a.wav"));
    EXPECT_TRUE(entry("Sorted files by manifest track order"));
}

TEST_F(JoinFace, MismatchesAreWarnings) {
    testing::WaveSpec spec;
    spec.sampleRate = 96000;
    spec.bitDepth = 16;
    spec.frames = 96000 * 2;
    const QString other = testing::writeISO(folder_.path(QStringLiteral("b.wav")), spec).url;
    controller_->join().analyzeISOFiles({iso(QStringLiteral("a.wav")).url, other, poly(QStringLiteral("c.wav")).url});
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Sample rate mismatch: b.wav (96000Hz) vs reference (48000Hz)"));
    EXPECT_TRUE(entry("Bit depth mismatch: b.wav (16-bit) vs reference (24-bit)"));
    EXPECT_TRUE(entry("Duration mismatch: b.wav (0:02) vs reference (0:00)"));
    EXPECT_EQ(entry("c.wav is not mono (2 channels)")->level, LogLevel::warning);
    EXPECT_FALSE(entry("All files validated"));
}

TEST_F(JoinFace, RowsMoveAndAreSelected) {
    controller_->join().analyzeISOFiles({iso(QStringLiteral("a.wav")).url, iso(QStringLiteral("b.wav")).url});
    ASSERT_TRUE(settled());
    controller_->join().moveISOUp(0);
    controller_->join().moveISODown(1);
    EXPECT_EQ(namesOf(controller_->isoFiles.rows()), QStringLiteral("a.wav b.wav"));
    controller_->join().moveISODown(0);
    EXPECT_EQ(namesOf(controller_->isoFiles.rows()), QStringLiteral("b.wav a.wav"));
    EXPECT_EQ(controller_->isoFiles[0].channelIndex, 1);
    EXPECT_EQ(controller_->referenceISOIndex.value(), 1) << "the metadata still comes from a.wav";
    controller_->join().setAllSelected(false);
    EXPECT_FALSE(controller_->join().canRun());
    controller_->join().setAllSelected(true);
    EXPECT_TRUE(controller_->join().canRun());
}

TEST_F(JoinFace, AJoinMakesThePolyAndItsReport) {
    controller_->generateCSV = true;
    const QStringList urls{iso(QStringLiteral("in/T1_a.wav"), 0).url, iso(QStringLiteral("in/T1_b.wav"), 1).url,
                           iso(QStringLiteral("in/T1_c.wav"), 2).url};
    const QStringList before = testing::fingerprint(path("in"));
    controller_->joinOutputFolder = path("out");
    controller_->join().analyzeISOFiles(urls);
    ASSERT_TRUE(settled());
    controller_->join().moveISOUp(2);
    controller_->isoFiles.update(0, [](ISOFile& file) { file.isSelected = false; });
    controller_->joinOutputName = QStringLiteral("a/b");
    controller_->join().run();
    EXPECT_TRUE(controller_->isJoining.value());
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Starting join: 2 files → a-b.wav"));
    EXPECT_TRUE(entry("Join complete: a-b.wav"));
    EXPECT_EQ(controller_->successCount.value(), 1);
    EXPECT_EQ(controller_->joinProgress.value(), 1.0);
    testing::WaveSpec spec;
    spec.channels = 3;
    spec.frames = 480;
    const auto signals = testing::scaledTo32(testing::samplesOf(spec), 24);
    EXPECT_EQ(testing::decodedByFfmpeg(path("out/a-b.wav")), (testing::Samples{signals[2], signals[1]}));
    const QString csv = QString::fromUtf8(testing::readAll(controller_->reportPath.value()));
    EXPECT_TRUE(csv.contains(QStringLiteral("Group 1,a-b.wav,2,"))) << csv.toStdString();
    EXPECT_TRUE(csv.contains(QStringLiteral(",Manual,Manual,,,Success,")));
    EXPECT_EQ(testing::fingerprint(path("in")), before);

    controller_->join().run();
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->skipCount.value(), 1);
    controller_->skipIfExists = false;
    controller_->join().run();
    ASSERT_TRUE(settled());
    EXPECT_EQ(controller_->errorCount.value(), 1);
    EXPECT_TRUE(entry("Join failed"));
}

TEST_F(JoinFace, ChecksEndInErrorsAndChangeNothing) {
    controller_->join().run();
    EXPECT_TRUE(entry("Need at least 2 files to join"));
    controller_->isoFiles.assign({isoNamed("a.wav"), isoNamed("b.wav")});
    controller_->join().run();
    EXPECT_TRUE(entry("Output name required"));
    controller_->joinOutputName = QStringLiteral("x");
    controller_->join().run();
    EXPECT_TRUE(entry("Output folder required"));
    controller_->join().runBatch();
    EXPECT_TRUE(entry("No groups to process"));
    controller_->join().scanAndGroupISOs();
    EXPECT_TRUE(entry("Select files or folder to process"));
    controller_->mode = PolyMode::split;
    controller_->join().selectISOFiles();
    EXPECT_TRUE(entry("selectISOFiles() called in wrong mode (current: Split Poly → ISOs)"));
    controller_->joinSourceFolder = folder_.path();
    controller_->ffmpegAvailable = false;
    controller_->join().scanAndGroupISOs();
    EXPECT_TRUE(entry("ffmpeg/ffprobe not available"));
    EXPECT_FALSE(controller_->hasRunningTask() || controller_->isScanningJoinISOs.value());
}

TEST_F(JoinFace, TwoIsosOfOneTakeGoStraightToTheSingleJoin) {
    if (!testing::hasBwfmetaedit()) GTEST_SKIP() << "this build has no bwfmetaedit";
    controller_->applyIntelligentModeDetection(take("3"), PolyMode::join);
    EXPECT_TRUE(controller_->isScanningJoinISOs.value());
    ASSERT_TRUE(settled());
    EXPECT_TRUE(controller_->usedSmartShortcut.value());
    EXPECT_FALSE(controller_->showGroupReview.value());
    EXPECT_EQ(controller_->joinOutputName.value(), QStringLiteral("12A-T3_poly"));
    EXPECT_EQ(namesOf(controller_->isoFiles.rows()), QStringLiteral("T3_Boom.wav T3_Lav.wav"));
    EXPECT_TRUE(entry("✅ Detected 1 group: 12A-T3 (2 ISOs)"));
    EXPECT_TRUE(entry("Tip: Click 'Show details' or enable 'Review groups before joining' to see full grouping info"));
    EXPECT_TRUE(controller_->join().canRun());
}

TEST_F(JoinFace, TwoTakesOpenTheReviewAndJoinAsABatch) {
    if (!testing::hasBwfmetaedit()) GTEST_SKIP() << "this build has no bwfmetaedit";
    take("3");
    take("4");
    iso(QStringLiteral("in/alone.wav"));
    controller_->generateCSV = true;
    controller_->applyIntelligentModeDetection({path("in")}, PolyMode::join);
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Join source folder selected: in"));
    EXPECT_TRUE(controller_->showGroupReview.value());
    EXPECT_FALSE(controller_->usedSmartShortcut.value());
    ASSERT_EQ(controller_->reviewedGroups.size(), 3u);
    EXPECT_TRUE(entry("Found 3 groups, (1 low-confidence)"));
    EXPECT_TRUE(entry("1 groups have low confidence - please review"));
    EXPECT_FALSE(controller_->join().canRunBatch());

    std::vector<ISOGroupCandidate> reviewed = controller_->reviewedGroups.rows();
    reviewed.pop_back(); // the person drops the lone file
    controller_->reviewedGroups.assign(reviewed);
    controller_->joinOutputFolder = path("out");
    controller_->joinKeepOriginalName = true;
    EXPECT_TRUE(controller_->join().canRunBatch());
    controller_->join().runBatch();
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Starting batch join: 2 groups"));
    EXPECT_TRUE(entry("Batch join complete: 2 groups → 2 polys"));
    EXPECT_EQ(controller_->batchJoinResults.value()->totalPolysCreated, 2);
    const QStringList made = namesIn(path("out"));
    EXPECT_TRUE(made.contains(QStringLiteral("12A-T3.wav")) && made.contains(QStringLiteral("12A-T4.wav")));
    const QString csv = QString::fromUtf8(testing::readAll(controller_->reportPath.value()));
    EXPECT_TRUE(csv.contains(QStringLiteral("High,Metadata Scene/Take,12A,3,Success,"))) << csv.toStdString();
    EXPECT_TRUE(csv.contains(QStringLiteral("# Keep Original Name: Yes")));
}

TEST_F(JoinFace, SeveralFoldersAreOnePile) {
    iso(QStringLiteral("x/12AT3_Boom.wav"));
    iso(QStringLiteral("y/12AT3_Lav.wav"), 1);
    controller_->applyIntelligentModeDetection({path("x"), path("y")}, PolyMode::join);
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Selected 2 folder(s) for joining"));
    EXPECT_TRUE(entry("Scanning 2 folder(s) for ISO groups..."));
    ASSERT_EQ(controller_->reviewedGroups.size(), 1u);
    EXPECT_EQ(controller_->reviewedGroups[0].isoFiles.size(), 2u);
    EXPECT_TRUE(controller_->showGroupReview.value()) << "medium confidence is reviewed";
}

TEST_F(JoinFace, FilesAreAddedToThoseThatAreLoaded) {
    desktop_.openPanelAnswer = {iso(QStringLiteral("T1_a.wav")).url, iso(QStringLiteral("T1_b.wav")).url};
    controller_->join().selectISOFiles();
    ASSERT_TRUE(settled());
    desktop_.openPanelAnswer = {path("T1_b.wav"), iso(QStringLiteral("T1_c.wav")).url};
    controller_->join().selectISOFiles();
    ASSERT_TRUE(settled());
    EXPECT_EQ(namesOf(controller_->isoFiles.rows()), QStringLiteral("T1_a.wav T1_b.wav T1_c.wav"));
}

TEST_F(JoinFace, ASuggestedNameFollowsTheSuffixAndATypedOneStays) {
    controller_->join().analyzeISOFiles({iso(QStringLiteral("T1_a.wav")).url, iso(QStringLiteral("T1_b.wav")).url});
    ASSERT_TRUE(settled());
    controller_->join().setKeepOriginalName(true);
    EXPECT_EQ(controller_->joinOutputName.value(), QStringLiteral("T1"));
    controller_->joinOutputName = QStringLiteral("Mine");
    controller_->join().setKeepOriginalName(false);
    EXPECT_EQ(controller_->joinOutputName.value(), QStringLiteral("Mine"));
}

TEST_F(JoinFace, LoadedFilesTakeThePlaceOfAReview) {
    iso(QStringLiteral("in/12AT3_Boom.wav"));
    iso(QStringLiteral("in/12AT3_Lav.wav"), 1);
    controller_->applyIntelligentModeDetection({path("in")}, PolyMode::join);
    ASSERT_TRUE(settled());
    EXPECT_TRUE(controller_->showGroupReview.value());
    controller_->applyIntelligentModeDetection({path("in/12AT3_Boom.wav")}, PolyMode::join);
    ASSERT_TRUE(settled());
    EXPECT_FALSE(controller_->showGroupReview.value());
    EXPECT_FALSE(controller_->batchJoinMode.value());
}

TEST_F(JoinFace, AFolderThatCannotBeReadFailsTheGrouping) {
    controller_->joinSourceFolder = path("nowhere");
    controller_->join().scanAndGroupISOs();
    ASSERT_TRUE(settled());
    EXPECT_TRUE(entry("Grouping failed: Failed to enumerate folder"));
    EXPECT_FALSE(controller_->isScanningJoinISOs.value());
}

TEST_F(JoinFace, ClearingForgetsEverythingLoaded) {
    controller_->join().analyzeISOFiles({iso(QStringLiteral("a.wav")).url, iso(QStringLiteral("b.wav")).url});
    ASSERT_TRUE(settled());
    controller_->join().clear();
    EXPECT_FALSE(controller_->join().hasContent());
    EXPECT_TRUE(controller_->joinOutputName.value().isEmpty());
    EXPECT_TRUE(entry("Cleared join data - ready for new files"));
}

} // namespace
} // namespace ostrel
