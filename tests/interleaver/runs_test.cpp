// Whole runs of the controller: several folders, a second run over the same library, a selection that changes
// meanwhile.
#include "interleaver/controller_fixture.h"
#include "metadata/csv_table.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class RunsTest : public ControllerFixture {
protected:
    // Another pair, so that two of them in one library are not taken for copies.
    void writePairOf(const QString& base, int signal) const {
        BextSpec bext;
        bext.description = "a pair";
        WaveSpec spec;
        spec.before = {{"bext", bextPayload(bext)}};
        spec.firstSignal = signal;
        library.write(base + ".L.wav"_s, waveBytes(spec));
        ++spec.firstSignal;
        library.write(base + ".R.wav"_s, waveBytes(spec));
    }
    void consolidate() {
        useDeliveredBwfmetaedit();
        setOptions([](ProcessingOptions& options) { options.lrCleanupMode = LRCleanupMode::verifiedConsolidation; });
    }
    // An ffmpeg that waits for the test; waits until it has begun.
    void startHeldRun() {
        const QString begun = tools.path("begun"_s);
        tools.writeScript("tools/bin/ffmpeg"_s, QStringLiteral("touch '%1'; while [ ! -e '%2' ]; do sleep 0.05; done\n"
                                                               "exec %3 \"$@\"")
                                                    .arg(begun, tools.path("go"_s), tool("ffmpeg")));
        controller.recheckTools();
        controller.startProcessing();
        ASSERT_TRUE(waitUntil([&] { return QFile::exists(begun); }));
    }
    void letGo() {
        tools.write("go"_s, "");
        ASSERT_TRUE(waitForTasks(controller));
    }
    bool exists(const char* name) const { return QFile::exists(library.path() + u'/' + QString::fromUtf8(name)); }
    QStringList csv() const { return QString::fromUtf8(readAll(controller.reportPath())).split(u'\n'); }
    // Of the report's one row.
    QString originalsCell() const {
        const std::vector<QStringList> rows = parseCSV(QString::fromUtf8(readAll(controller.reportPath())));
        const auto header = std::ranges::find_if(
            rows, [](const QStringList& row) { return row.contains("Originals"_s) && row.contains("Status"_s); });
        if (header == rows.end() || header + 1 == rows.end()) return "no row"_s;
        return (header + 1)->value(header->indexOf("Originals"_s));
    }
};

TEST_F(RunsTest, EveryFolderHasItsOwnOriginals) {
    writePairOf("One/Sub/Rain"_s, 0);
    writePairOf("Two/Wind"_s, 4);
    consolidate();
    scan({"One"_s, "Two"_s});
    const QStringList log = run();
    EXPECT_EQ(log.filter("moved to backup"_s).size(), 2) << log.join(u'\n').toStdString();
    EXPECT_TRUE(exists("One/Originals/Sub/Rain.L.wav") && exists("One/Originals/Sub/Rain.R.wav"));
    EXPECT_TRUE(exists("Two/Originals/Wind.L.wav") && exists("Two/Originals/Wind.R.wav"));
    EXPECT_EQ(controller.interleaveGroups[1].outcome->sourcesText(), "Moved"_s);
}

TEST_F(RunsTest, OriginalsAreNeverScanned) {
    writePairOf("Sub/Rain"_s, 0);
    consolidate();
    scan();
    run();
    ASSERT_TRUE(exists("Originals/Sub/Rain.L.wav"));
    const QStringList moved = fingerprint(library.path("Originals"_s));
    writePairOf("Sub/Wind"_s, 4);
    scan();
    QStringList names;
    for (const InterleaveGroup& group : controller.interleaveGroups) names << group.baseName;
    EXPECT_EQ(names, QStringList{"Wind"_s});
    run();
    EXPECT_TRUE(exists("Originals/Sub/Wind.L.wav"));
    EXPECT_FALSE(exists("Originals/Originals"));
    for (const QString& file : moved) EXPECT_TRUE(fingerprint(library.path("Originals"_s)).contains(file));
}

TEST_F(RunsTest, AJobKeepsTheRootAndTheReportOfItsOwnSelection) {
    writePairOf("One/Sub/Rain"_s, 0);
    writePairOf("Two/Wind"_s, 4);
    consolidate();
    controller.generateCSV = true;
    scan({"One"_s});
    startHeldRun();
    controller.stopProcessing();
    controller.select({library.path() + "/Two"_s});
    setOptions([](ProcessingOptions& options) { options.lrCleanupMode = LRCleanupMode::none; });
    controller.setOutputFolder(library.path("elsewhere"_s));
    letGo();
    EXPECT_TRUE(exists("One/Interleaved/Rain.wav") || exists("One/Sub/Interleaved/Rain.wav"));
    EXPECT_TRUE(exists("One/Originals/Sub/Rain.L.wav") && exists("One/Originals/Sub/Rain.R.wav"));
    EXPECT_FALSE(exists("Two/Originals") || exists("elsewhere/Rain.wav"));
    EXPECT_TRUE(controller.interleaveGroups.empty());
    EXPECT_TRUE(controller.reportPath().startsWith(library.path() + "/One/"_s))
        << controller.reportPath().toStdString();
    EXPECT_TRUE(csv().contains("# Total Groups: 1"_s));
    const QStringList rows = csv().filter("Rain,2ch,L+R,Rain.wav,"_s);
    ASSERT_EQ(rows.size(), 1) << csv().join(u'\n').toStdString();
    EXPECT_TRUE(rows[0].contains(",Moved,"_s));
    EXPECT_TRUE(messages(controller).contains("[INFO] [SYSTEM] Processing complete: 1 success, 0 skipped, 0 errors"_s));
}

TEST_F(RunsTest, TheReportTellsWhatHappenedAndNotWhatWasAskedFor) {
    WaveSpec spec;
    spec.frames = 48000;
    writeMono("Rain.L.wav", spec);
    spec.firstSignal = 1;
    library.write("Rain.R.wav"_s, withDataSize(waveBytes(spec), 36000));
    setOptions([](ProcessingOptions& options) { options.deleteOriginalsInterleave = true; });
    controller.generateCSV = true;
    scan({"Rain.L.wav"_s, "Rain.R.wav"_s});
    const QStringList log = run();
    EXPECT_EQ(log.filter("[WARN] [CLEANUP] Originals kept: Rain.R.wav: about 0.8 s of audio may lie"_s).size(), 1)
        << log.join(u'\n').toStdString();
    const QString row = csv().filter("Rain,2ch"_s).value(0);
    EXPECT_TRUE(row.contains(",Kept,"_s)) << row.toStdString();
    EXPECT_TRUE(exists("Rain.L.wav") && exists("Rain.R.wav"));
}

TEST_F(RunsTest, TheReportTellsOfSourcesThatAreGone) {
    writePairOf("Rain"_s, 0);
    useDeliveredBwfmetaedit();
    setOptions([](ProcessingOptions& options) { options.lrCleanupMode = LRCleanupMode::hardDelete; });
    controller.generateCSV = true;
    scan({"Rain.L.wav"_s, "Rain.R.wav"_s});
    run();
    EXPECT_EQ(originalsCell(), "Deleted"_s);
    EXPECT_FALSE(exists("Rain.L.wav") || exists("Rain.R.wav"));
}

TEST_F(RunsTest, TheReportOfASplitTellsWhereItsSourceIs) {
    WaveSpec spec;
    spec.channels = 2;
    controller.currentMode = AppMode::deinterleave;
    controller.generateCSV = true;
    writeMono("Moved.wav", spec);
    setOptions([](ProcessingOptions& options) { options.moveOriginalsDeinterleave = true; });
    scan({"Moved.wav"_s});
    run();
    EXPECT_EQ(originalsCell(), "Moved"_s);
    EXPECT_TRUE(exists("Originals/Moved.wav") && !exists("Moved.wav"));
    writeMono("Gone.wav", spec);
    setOptions([](ProcessingOptions& options) {
        options.moveOriginalsDeinterleave = false;
        options.deleteOriginalsDeinterleave = true;
    });
    scan({"Gone.wav"_s});
    run();
    EXPECT_EQ(originalsCell(), "Deleted"_s);
    EXPECT_FALSE(exists("Gone.wav") || exists("Originals/Gone.wav"));
}

TEST_F(RunsTest, AFailedItemHasNoOutputInTheReport) {
    writePairOf("Rain"_s, 0);
    controller.generateCSV = true;
    scan();
    library.write("Rain.R.wav"_s, "no audio any more");
    run();
    const QString row = csv().filter("Rain,2ch"_s).value(0);
    EXPECT_TRUE(row.startsWith("Rain,2ch,L+R,N/A,"_s)) << row.toStdString();
    EXPECT_TRUE(csv().contains("# Errors: 1"_s));
}

TEST_F(RunsTest, OverwritingAmongTheSourcesReplacesOnlyWhatTheItemMadeItself) {
    writePairOf("Rain"_s, 0);
    WaveSpec other;
    other.channels = 2;
    other.firstSignal = 9;
    writeMono("Rain.wav", other); // a mix of its own that happens to bear the name
    const QString before = fingerprintOf(output("Rain.wav"));
    controller.setOutputFolder(library.path());
    setOptions([](ProcessingOptions& options) {
        options.skipIfExists = false;
        options.overwriteExisting = true;
    });
    scan();
    run();
    EXPECT_EQ(statusOf(0), "Failed: Rain.wav is in the selection and no earlier output of this item"_s);
    EXPECT_EQ(fingerprintOf(output("Rain.wav")), before);
    QFile::remove(output("Rain.wav"));
    scan();
    run();
    EXPECT_EQ(controller.interleaveGroups[0].status, ProcessingStatus::completed()) << statusOf(0).toStdString();
    scan();
    run(); // over its own result
    EXPECT_EQ(controller.interleaveGroups[0].status, ProcessingStatus::completed()) << statusOf(0).toStdString();
    EXPECT_EQ(decodedByFfmpeg(output("Rain.wav")), expectedSamples({}, 2));
}

TEST_F(RunsTest, ALibraryThatLiesInAnOutputFolderIsALibraryToo) {
    writePairOf("Interleaved/show/Rain"_s, 0);
    WaveSpec other;
    other.channels = 2;
    other.firstSignal = 9;
    writeMono("Interleaved/show/Rain.wav", other);
    const QString before = fingerprintOf(output("Interleaved/show/Rain.wav"));
    controller.setOutputFolder(library.path() + "/Interleaved/show"_s);
    setOptions([](ProcessingOptions& options) { options.skipIfExists = false; });
    scan({"Interleaved/show"_s});
    run();
    EXPECT_EQ(statusOf(0), "Failed: Rain.wav is in the selection and no earlier output of this item"_s);
    EXPECT_EQ(fingerprintOf(output("Interleaved/show/Rain.wav")), before);
}

TEST_F(RunsTest, CollisionsAreForeseen) {
    writePairOf("a/Rain"_s, 0);
    writePairOf("b/Rain"_s, 4);
    controller.setOutputFolder(library.path("out"_s));
    scan();
    ASSERT_EQ(controller.interleaveGroups.size(), 2u);
    EXPECT_EQ(controller.interleaveGroups[0].foreseen, QString());
    EXPECT_EQ(controller.interleaveGroups[1].foreseen, "Another item of this run already wrote Rain.wav"_s);
    controller.interleaveGroups.update(0, [](InterleaveGroup& group) { group.include = false; });
    controller.foreseeCollisions();
    EXPECT_EQ(controller.interleaveGroups[1].foreseen, QString());
}

TEST_F(RunsTest, AStepThatAnEarlierRunDidNotEndIsTold) {
    writePairOf("Rain"_s, 0);
    const QString gone = output("gone.wav");
    inProgramThatEnds([&] { Journal("x"_s).begin(JournalOperation::move, gone, output("Originals/gone.wav")); });
    scan();
    controller.tellUnfinishedSteps();
    controller.tellUnfinishedSteps(); // once is enough
    EXPECT_EQ(
        messages(controller).filter("[WARN] [SYSTEM] An earlier run began to move gone.wav and did not end: "_s).size(),
        1);
}

TEST_F(RunsTest, WhatAnEarlierRunLeftInTheOutputFolderIsClearedAndTold) {
    writePairOf("Rain"_s, 0);
    const QString half = library.write("Interleaved/.ostrel-1b4e28ba-2fa1-11d2-883f-0016d3cca427.wav"_s, "half");
    scan({"Rain.L.wav"_s, "Rain.R.wav"_s});
    const QStringList log = run();
    EXPECT_TRUE(log.contains("[WARN] [PROCESS] Removed an unfinished file of an earlier run: "_s + half))
        << log.join(u'\n').toStdString();
    EXPECT_FALSE(QFile::exists(half));
}

} // namespace
} // namespace ostrel
