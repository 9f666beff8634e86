#include "polytools/split/batch_split.h"

#include "foundation/domain_error.h"
#include "metadata/metadata_manifest.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "poly_fixture.h"
#include "polytools/split/iso_output_folder.h"
#include "polytools/split/poly_file_reader.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::entryWith;
using testing::namesIn;
using testing::TestFolder;
using testing::WaveSpec;
using testing::writePoly;

constexpr auto kFlat = FolderOrganization::flat;
constexpr auto kBySceneTake = FolderOrganization::bySceneTake;
constexpr auto kByScene = FolderOrganization::byScene;

QString folderFor(const char* name, FolderOrganization organization, const MetadataManifest* manifest = nullptr) {
    PolyFile poly;
    poly.url = QStringLiteral("/rec/") + QString::fromUtf8(name);
    return isoOutputFolder(poly, manifest, QStringLiteral("/out"), organization, [](const QString&) {});
}

TEST(IsoOutputFolder, SceneAndTakeFromANumberedName) {
    EXPECT_EQ(folderFor("12AT3.wav", kBySceneTake), QStringLiteral("/out/12A-T3"));
    EXPECT_EQ(folderFor("12AT3.wav", kByScene), QStringLiteral("/out/12A"));
}

TEST(IsoOutputFolder, ANameWithATakeAtItsEndLosesItUnderBothOrganizations) {
    EXPECT_EQ(folderFor("Kitchen-T07.wav", kBySceneTake), QStringLiteral("/out/Kitchen"));
    EXPECT_EQ(folderFor("Kitchen-T07.wav", kByScene), QStringLiteral("/out/Kitchen"));
}

TEST(IsoOutputFolder, APlainNameGivesAFolderAndFlatGivesNone) {
    EXPECT_EQ(folderFor("Kitchen.wav", kBySceneTake), QStringLiteral("/out/Kitchen"));
    EXPECT_EQ(folderFor("Kitchen.wav", kFlat), QStringLiteral("/out"));
}

TEST(IsoOutputFolder, TheManifestsIxmlIsAskedFirstThenItsBext) {
    MetadataManifest manifest;
    manifest.ixml = IXMLMetadata{.scene = QStringLiteral("9/C"), .take = QStringLiteral("1")};
    manifest.bext = BEXTMetadata{.scene = QStringLiteral("8"), .take = QStringLiteral("2")};
    EXPECT_EQ(folderFor("12AT3.wav", kBySceneTake, &manifest), QStringLiteral("/out/9-C-T1"));
    manifest.ixml->take.clear();
    EXPECT_EQ(folderFor("12AT3.wav", kBySceneTake, &manifest), QStringLiteral("/out/8-T2"));
    manifest.bext->take = QStringLiteral("");
    EXPECT_EQ(folderFor("12AT3.wav", kBySceneTake, &manifest), QStringLiteral("/out/8-T"));
    manifest.bext->take = QString();
    EXPECT_EQ(folderFor("12AT3.wav", kBySceneTake, &manifest), QStringLiteral("/out/12A-T3"));
}

TEST(IsoOutputFolder, SanitizedNamesNeverLeadElsewhere) {
    EXPECT_EQ(sanitizeFolderName(QStringLiteral(" a/b\\c:d*e?f\"g<h>i|j\n")), QStringLiteral("a-b-c-d-e-f-g-h-i-j"));
    EXPECT_EQ(sanitizeFolderName(QStringLiteral("..")), QStringLiteral("--"));
}

TEST(IsoOutputFolder, LongScenesFitAndTheirTakesStayApart) {
    MetadataManifest manifest;
    manifest.ixml = IXMLMetadata{.scene = QString(100, u'録'), .take = QStringLiteral("7")};
    EXPECT_EQ(folderFor("a.wav", kBySceneTake, &manifest), QStringLiteral("/out/%1-T7").arg(QString(84, u'録')));
    EXPECT_EQ(folderFor("a.wav", kByScene, &manifest), QStringLiteral("/out/") + QString(85, u'録'));
    manifest.ixml->take = QString(300, u'9');
    EXPECT_EQ(folderFor("a.wav", kBySceneTake, &manifest),
              QStringLiteral("/out/%1-T%2").arg(QString(63, u'録'), QString(64, u'9')));
}

TEST(IsoOutputFolder, AFolderOfNothingHasANameAllTheSame) {
    MetadataManifest manifest;
    manifest.ixml = IXMLMetadata{.scene = QStringLiteral(" "), .take = QStringLiteral("1")};
    EXPECT_EQ(folderFor("a.wav", kByScene, &manifest), QStringLiteral("/out/-"));
    EXPECT_EQ(folderFor("-T07.wav", kBySceneTake), QStringLiteral("/out/-"));
    manifest.ixml->scene = QStringLiteral("..");
    EXPECT_EQ(folderFor("a.wav", kByScene, &manifest), QStringLiteral("/out/--"));
}

class BatchSplit : public ::testing::Test {
protected:
    // Manifests go by the file's name alone, and the tests' files share names.
    void SetUp() override { QDir(cacheFolder()).removeRecursively(); }

    PolyFile poly(const char* name, int channels = 2, const std::optional<testing::IxmlSpec>& ixml = std::nullopt) {
        WaveSpec spec;
        spec.channels = channels;
        spec.frames = 480;
        return writePoly(folder_.path(QStringLiteral("in/") + QString::fromUtf8(name)), spec, ixml);
    }
    BatchSplitOptions options() const {
        BatchSplitOptions result;
        result.sourceFolder = paths::append(folder_.path(), QStringLiteral("in"));
        result.outputFolder = paths::append(folder_.path(), QStringLiteral("out"));
        return result;
    }
    QString out(const char* relative = "") const {
        return paths::append(folder_.path(), QStringLiteral("out/") + QString::fromUtf8(relative));
    }

    TestFolder folder_;
    PolyEngineTools tools_ = testing::toolsWithoutBwfmetaedit();
};

TEST_F(BatchSplit, AFolderIsSplitIntoSceneFoldersAndReportsItsProgress) {
    poly("b/12AT3.wav");
    poly("Kitchen-T07.WAV", 3);
    poly("mono.wav", 1);
    folder_.write(QStringLiteral("in/.hidden.wav"), "x");
    folder_.write(QStringLiteral("in/broken.wav"), "x");
    folder_.write(QStringLiteral("in/notes.txt"), "x");
    const QStringList before = testing::fingerprint(folder_.path(QStringLiteral("in")));
    QStringList progress;
    const BatchSplitResult result = batchSplit(options(), tools_, {}, [&](const BatchProgress& p) {
        progress << QStringLiteral("%1/%2 %3 %4")
                        .arg(p.currentIndex)
                        .arg(p.totalFiles)
                        .arg(p.currentFile)
                        .arg(p.totalISOsCreated);
    });
    EXPECT_EQ(progress.join(u'|'), QStringLiteral("1/2 12AT3 0|2/2 Kitchen-T07 2|2/2 Complete 5"));
    EXPECT_EQ(result.processedFiles, 2);
    EXPECT_EQ(result.successCount, 2);
    EXPECT_EQ(result.totalISOsCreated, 5);
    EXPECT_EQ(result.fileResults[1].fileName, QStringLiteral("Kitchen-T07.WAV"));
    EXPECT_EQ(result.fileResults[1].outputFolder, QStringLiteral("Kitchen"));
    EXPECT_EQ(result.fileResults[1].isosCreated, 3);
    EXPECT_EQ(result.fileResults[1].outcome.status, ProcessingStatus::completed());
    EXPECT_TRUE(entryWith(result.logMessages, QStringLiteral("Found 2 poly files to process")));
    EXPECT_EQ(namesIn(out("12A-T3")).join(u' '), QStringLiteral("12AT3_ch1.wav 12AT3_ch2.wav"));
    EXPECT_EQ(testing::fingerprint(folder_.path(QStringLiteral("in"))), before);
}

TEST_F(BatchSplit, WithoutRecursionSubfoldersAreLeftAlone) {
    poly("b/12AT3.wav");
    poly("K.wav");
    BatchSplitOptions flat = options();
    flat.recursive = false;
    flat.folderOrganization = kFlat;
    EXPECT_EQ(batchSplit(flat, tools_).totalISOsCreated, 2);
    EXPECT_EQ(namesIn(out()).join(u' '), QStringLiteral("K_ch1.wav K_ch2.wav"));
}

TEST_F(BatchSplit, NothingToSplitIsAnError) {
    BatchSplitOptions nothing = options();
    nothing.sourceFolder.clear();
    const auto error = [&](const BatchSplitOptions& given) -> QString {
        try {
            batchSplit(given, tools_);
            return {};
        } catch (const DomainError& thrown) {
            return QStringLiteral("%1 %2 %3").arg(thrown.domain).arg(thrown.code).arg(thrown.errorDescription());
        }
    };
    EXPECT_EQ(error(nothing), QStringLiteral("BatchSplit 1 No source folder or files selected"));
    EXPECT_EQ(error(options()), QStringLiteral("ScanError 1 Failed to enumerate folder"));
    poly("mono.wav", 1);
    EXPECT_EQ(error(options()), QStringLiteral("BatchSplit 2 No valid poly files found"));
    tools_.ffprobePath.clear();
    poly("two.wav");
    EXPECT_EQ(error(options()), QStringLiteral("BatchSplit 2 No valid poly files found"));
}

TEST_F(BatchSplit, ASelectionTakesOnlyItsPolys) {
    BatchSplitOptions selected = options();
    selected.sourceFolder.clear();
    selected.folderOrganization = kFlat;
    selected.selectedFiles = QStringList{poly("B.wav").url, folder_.write(QStringLiteral("in/x.txt"), "x"),
                                         poly("mono.wav", 1).url, poly("A.wav").url};
    const BatchSplitResult result = batchSplit(selected, tools_);
    ASSERT_EQ(result.fileResults.size(), 2u);
    EXPECT_EQ(result.fileResults[0].fileName, QStringLiteral("B.wav"));
}

TEST_F(BatchSplit, ASecondRunSkipsEveryChannelAndReportsSuccess) {
    poly("A.wav", 3);
    poly("B.wav", 2);
    batchSplit(options(), tools_);
    const QStringList before = testing::fingerprint(out());
    const BatchSplitResult again = batchSplit(options(), tools_);
    EXPECT_EQ(again.successCount, 2);
    EXPECT_EQ(again.skipCount, 5);
    EXPECT_EQ(again.totalISOsCreated, 0);
    EXPECT_EQ(testing::fingerprint(out()), before);
}

TEST_F(BatchSplit, ASidecarTravelsWithTheIsosAndASecondRunKeepsTheFirst) {
    const PolyFile file = poly("A.wav");
    MetadataManifest manifest;
    manifest.sourceFile.path = file.url;
    manifest.sourceFile.fileName = file.fileName;
    manifest.sourceFile.extractionDate = QStringLiteral("2026-03-14T09:26:53Z");
    manifest.ixml = IXMLMetadata{.scene = QStringLiteral("9C"), .take = QStringLiteral("1")};
    manifest.ixml->trackList = {{1, QStringLiteral("Boom"), {}, 0}, {2, QStringLiteral("Lav"), {}, 1}};
    folder_.write(QStringLiteral("in/A.WAV.metadata.json"), manifest.toJson());
    folder_.write(QStringLiteral("in/A.wav.metadata.json"), manifest.toJson()); // what loading looks for
    const BatchSplitResult result = batchSplit(options(), tools_);
    EXPECT_EQ(namesIn(out("9C-T1")).join(u' '), QStringLiteral("A.WAV.metadata.json A_Boom.wav A_Lav.wav"));
    EXPECT_EQ(result.fileResults[0].trackNames.join(u' '), QStringLiteral("Boom Lav"));

    folder_.write(QStringLiteral("out/9C-T1/A.WAV.metadata.json"), "first");
    const BatchSplitResult again = batchSplit(options(), tools_);
    EXPECT_EQ(testing::readAll(out("9C-T1/A.WAV.metadata.json")), "first");
    EXPECT_EQ(again.successCount, 1);
    EXPECT_EQ(again.errorCount, 0);
}

TEST_F(BatchSplit, OneBadFileNeverStopsTheBatch) {
    poly("A.wav");
    poly("B.wav");
    folder_.write(QStringLiteral("out/A"), "a file where the folder should be");
    const BatchSplitResult result = batchSplit(options(), tools_);
    EXPECT_EQ(result.errorCount, 1);
    EXPECT_EQ(result.successCount, 1);
    EXPECT_EQ(result.fileResults[0].outcome.status.kind, ProcessingStatus::Kind::failed);
    EXPECT_TRUE(result.fileResults[0].outputFolder.isEmpty());
    EXPECT_TRUE(entryWith(result.logMessages, QStringLiteral("Failed to process A.wav: ")));
}

TEST_F(BatchSplit, FailedChannelsAreCountedInTheRow) {
    poly("A.wav", 3);
    folder_.write(QStringLiteral("out/A/A_ch2.wav"), "old");
    BatchSplitOptions strict = options();
    strict.skipIfExists = false;
    const BatchSplitResult result = batchSplit(strict, tools_);
    EXPECT_EQ(result.fileResults[0].outcome.status,
              ProcessingStatus::failed(QStringLiteral("Failed to create 1 ISOs")));
    EXPECT_EQ(result.fileResults[0].outcome.message, QStringLiteral("Failed to create 1 ISOs"));
    EXPECT_EQ(result.fileResults[0].isosCreated, 2);
}

TEST_F(BatchSplit, AnUnreadableDepthIsSixteenAndAnUnreadableRateSkipsTheFile) {
    const QString real = tools_.ffprobePath;
    tools_.ffprobePath =
        folder_.writeScript(QStringLiteral("ffprobe"),
                            QStringLiteral("case \"$6\" in *bits*) echo N/A;; *) exec %1 \"$@\";; esac").arg(real));
    PolyFileReader reader(tools_.ffprobePath, [](const QString&) {});
    EXPECT_EQ(reader.readSelected(poly("A.wav").url)->bitDepth, 16);
    folder_.writeScript(QStringLiteral("ffprobe"),
                        QStringLiteral("case \"$6\" in *rate*) echo N/A;; *) exec %1 \"$@\";; esac").arg(real));
    EXPECT_FALSE(reader.readSelected(poly("A.wav").url).has_value());
    QStringList lines;
    const auto scan = PolyFileReader(tools_.ffprobePath, [&](const QString& line) {
                          lines << line;
                      }).scan(folder_.path(QStringLiteral("in")), true);
    EXPECT_TRUE(scan.files.empty());
    EXPECT_EQ(lines, QStringList{QStringLiteral(
                         "⚠️ [scanForPolyFiles] Failed to analyze A.wav: Failed to parse sample rate")});
    EXPECT_EQ(scan.remarks, QStringList{QStringLiteral("Failed to analyze A.wav: Failed to parse sample rate")});
}

TEST_F(BatchSplit, StoppingEndsTheBatchAheadOfTheNextFile) {
    poly("A.wav");
    poly("B.wav");
    PolyEngineHooks hooks;
    bool stop = false;
    hooks.isStopped = [&] { return stop; };
    hooks.onLogEntry = [&](const ProcessingLogEntry& entry) {
        if (entry.message == QStringLiteral("Created: A_ch2.wav")) stop = true;
    };
    EXPECT_EQ(batchSplit(options(), tools_, hooks).processedFiles, 1);
}

} // namespace
} // namespace ostrel
