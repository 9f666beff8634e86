// How often a job asks a tool the same of the same file.
#include "metadata/universal_metadata_engine.h"
#include "platform/paths.h"
#include "poly_fixture.h"
#include "polytools/edit/batch_edit.h"
#include "polytools/grouping/iso_grouping_engine.h"
#include "polytools/join/poly_join_engine.h"
#include "polytools/records/poly_track_reading.h"
#include "polytools/split/poly_split_engine.h"

#include <QRegularExpression>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using testing::TestFolder;
using testing::WaveSpec;

class AskedOnce : public ::testing::Test {
protected:
    void SetUp() override {
        if (!testing::hasBwfmetaedit()) GTEST_SKIP() << "no bwfmetaedit";
        tools_ = testing::realTools();
        tools_.ffmpegPath = noting(tools_.ffmpegPath);
        tools_.ffprobePath = noting(tools_.ffprobePath);
        tools_.bwfmetaeditPath = noting(tools_.bwfmetaeditPath);
        tools_.universalEngine = std::make_shared<UniversalMetadataEngine>(tools_.bwfmetaeditPath, tools_.answers);
    }

    // The tool behind a script that notes its arguments.
    QString noting(const QString& tool) const {
        const QString name = paths::lastComponent(tool);
        return folder_.writeScript(
            QStringLiteral("tools/") + name,
            QStringLiteral("printf '%s|' %2 \"$@\" >> '%1/calls'; echo >> '%1/calls'\nexec %3 \"$@\"")
                .arg(folder_.path(), name, tool));
    }

    QStringList calls(const QString& part) const {
        return QString::fromUtf8(testing::readAll(folder_.path(QStringLiteral("calls")))).split(u'\n').filter(part);
    }
    // Those that read the file; two that differ in nothing but the place of their document count as the same.
    QStringList questions(const QString& file) const {
        QStringList result =
            calls(file).filter(QStringLiteral("--out-")) + calls(file).filter(QStringLiteral("ffprobe|"));
        for (QString& call : result)
            call.replace(QRegularExpression(QStringLiteral("=/[^|]*")), QStringLiteral("=document"));
        return result;
    }
    void expectNothingAskedTwice(const QString& file) const {
        QStringList asked = questions(file);
        EXPECT_FALSE(asked.isEmpty());
        EXPECT_EQ(asked.removeDuplicates(), 0) << questions(file).join(u'\n').toStdString();
        // Written or printed, it is the same document.
        EXPECT_EQ(questions(file).filter(QStringLiteral("--out-iXML")).size(), 1);
    }

    // Old enough for an answer to be kept.
    static void age(const QString& file) {
        const timespec times[2] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, {.tv_sec = 1'700'000'000, .tv_nsec = 7}};
        ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(file).constData(), times, 0), 0);
    }
    QString poly() const {
        WaveSpec spec;
        spec.channels = 4;
        const QString path = folder_.path(QStringLiteral("12AT3.wav"));
        testing::writePoly(path, spec, testing::ixmlOf({"Boom", "Ann", "Ben", "Plant"}));
        age(path);
        return path;
    }
    std::vector<ISOFile> isos() const {
        std::vector<ISOFile> result;
        for (const char* name : {"Boom", "Ann", "Ben"}) {
            result.push_back(
                testing::writeISO(folder_.path(QStringLiteral("isos/12A-T3_%1.wav").arg(QLatin1String(name))),
                                  WaveSpec(), testing::ixmlOf({name})));
            age(result.back().url);
        }
        return result;
    }
    QString output() const { return folder_.path(QStringLiteral("out/poly.wav")); }

    TestFolder folder_;
    PolyEngineTools tools_;
};

TEST_F(AskedOnce, ASplitFromItsSelectionOn) {
    const QString source = poly();
    const PolyFile file = readPolyFile(source, tools_.ffprobePath, tools_.answers);
    EXPECT_EQ(readTrackInfo(source, tools_.bwfmetaeditPath, *tools_.answers).tracks.size(), 4u);
    const SplitResult result = PolySplitEngine(tools_).split(file, paths::parent(output()), {});
    EXPECT_EQ(result.createdCount, 4);
    expectNothingAskedTwice(source);
    EXPECT_EQ(calls(QStringLiteral("ffmpeg|")).size(), 4);
}

TEST_F(AskedOnce, APolyThatChangedMeanwhile) {
    const QString source = poly();
    EXPECT_EQ(readTrackInfo(source, tools_.bwfmetaeditPath, *tools_.answers).tracks.front().name,
              QStringLiteral("Boom"));
    WaveSpec spec;
    spec.channels = 4;
    const PolyFile changed = testing::writePoly(source, spec, testing::ixmlOf({"Bomm", "Ann", "Ben", "Plant"}));
    age(source); // the same size and time
    QDir().mkpath(paths::parent(output()));
    ASSERT_EQ(PolySplitEngine(tools_).split(changed, paths::parent(output()), {}).createdCount, 4);
    EXPECT_EQ(
        parseTrackBlocks(QString::fromUtf8(testing::ixmlOfFile(folder_.path(QStringLiteral("out/12AT3_Bomm.wav")))))
            .front()
            .name,
        QStringLiteral("Bomm"));
}

TEST_F(AskedOnce, AnEditDecodesThePolyOnce) {
    const QString source = poly();
    readPolyFile(source, tools_.ffprobePath, tools_.answers);
    readTrackInfo(source, tools_.bwfmetaeditPath, *tools_.answers);
    BatchEditOptions options;
    options.files = {source};
    options.renames = {{1, QStringLiteral("One")}, {4, QStringLiteral("Four")}};
    options.outputFolder = paths::parent(output());
    const BatchSplitResult result = batchEdit(options, tools_, {}, [](const BatchProgress&) {});
    ASSERT_EQ(result.successCount, 1);
    expectNothingAskedTwice(source);
    EXPECT_EQ(calls(QStringLiteral("ffmpeg|")).size(), 1);
    const QByteArray ixml = testing::ixmlOfFile(result.fileResults.front().outcome.outputs.front());
    QStringList names;
    for (const SourceTrack& track : parseTrackBlocks(QString::fromUtf8(ixml))) names << track.name;
    EXPECT_EQ(names, QStringLiteral("One Ann Ben Four").split(u' '));
}

TEST_F(AskedOnce, ARenameInPlace) {
    const QString source = poly();
    readPolyFile(source, tools_.ffprobePath, tools_.answers);
    readTrackInfo(source, tools_.bwfmetaeditPath, *tools_.answers);
    BatchEditOptions options;
    options.files = {source};
    options.renames = {{2, QStringLiteral("Two")}};
    options.inPlace = true;
    ASSERT_EQ(batchEdit(options, tools_, {}, [](const BatchProgress&) {}).successCount, 1);
    expectNothingAskedTwice(source);
    // What is known of the old recording is no answer for the new one.
    EXPECT_EQ(readTrackInfo(source, tools_.bwfmetaeditPath, *tools_.answers).tracks[1].name, QStringLiteral("Two"));
}

TEST_F(AskedOnce, AJoinFromItsGroupingOn) {
    const std::vector<ISOFile> files = isos();
    QStringList urls;
    for (const ISOFile& file : files) urls << file.url;
    const GroupingResult groups =
        ISOGroupingEngine(tools_.ffprobePath, tools_.bwfmetaeditPath, {}, tools_.answers).groupISOFiles(urls);
    ASSERT_EQ(groups.groups.size(), 1u);
    const JoinResult joined = PolyJoinEngine(tools_).join(groups.groups.front().isoFiles, output(), {});
    ASSERT_TRUE(joined.outcome.succeeded()) << joined.outcome.message.toStdString();
    for (const QString& url : urls) expectNothingAskedTwice(url);
}

} // namespace
} // namespace ostrel
