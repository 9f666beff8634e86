// SIGINT, SIGTERM and SIGHUP in every phase of every kind of job, in the built program.
#include "cli/command.h"
#include "platform/files/standard_folders.h"
#include "support/held_tool.h"
#include "support/wave_file.h"

#include <QDirIterator>
#include <csignal>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

const auto kStopped = QByteArrayLiteral("Operation cancelled by user");

QStringList wavesBelow(const QString& folder) {
    QStringList names;
    QDirIterator walk(folder, {QStringLiteral("*.wav")}, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walk.hasNext()) names << QDir(folder).relativeFilePath(walk.next());
    names.sort();
    return names;
}

// `ostrel-cli` at work, with a tool that is held.
class Job {
public:
    Job(const HeldTool& tool, const QStringList& arguments, const QString& program = QString()) {
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        for (const QString& entry : tool.environment())
            variables.insert(entry.section(u'=', 0, 0), entry.section(u'=', 1));
        process_.setProcessEnvironment(variables);
        // Tests that are themselves run under nohup would hand it on.
        process_.setChildProcessModifier([] { ::signal(SIGHUP, SIG_DFL); });
        const QString cli = builtProgram(QStringLiteral("ostrel-cli"));
        program.isEmpty() ? process_.start(cli, arguments) : process_.start(program, QStringList{cli} + arguments);
        EXPECT_TRUE(process_.waitForStarted());
    }

    void signal(int number) { sendSignal(process_, number); }
    // Both outputs, as far as they came.
    bool waitFor(const QByteArray& text) {
        const auto arrived = [&] {
            out_ += process_.readAllStandardOutput();
            err_ += process_.readAllStandardError();
            return out_.contains(text) || err_.contains(text);
        };
        return waitUntil(arrived, 200'000);
    }
    // Again and again: one request may arrive twice, so a second is only one at a moment's distance from the first.
    void signalUntilItEnds(int number) {
        do {
            signal(number);
        } while (!waitUntil([&] { return process_.state() != QProcess::Running; }, 200));
    }

    // The exit status; -1 if a signal ended the program. What was printed is whole then.
    int end() {
        EXPECT_TRUE(waitUntil([&] { return process_.state() == QProcess::NotRunning; }, 200'000));
        out_ += process_.readAllStandardOutput();
        err_ += process_.readAllStandardError();
        return process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
    }
    const QByteArray& out() const { return out_; }
    const QByteArray& err() const { return err_; }
    nlohmann::json json() const { return nlohmann::json::parse(out_.toStdString()); }

private:
    QProcess process_;
    QByteArray out_;
    QByteArray err_;
};

int itemsWith(const nlohmann::json& document, const char* status) {
    return static_cast<int>(
        std::ranges::count_if(document["items"], [&](const nlohmann::json& item) { return item["status"] == status; }));
}

class EverySignal : public ::testing::TestWithParam<int> {
protected:
    TestFolder folder_;
};

TEST_P(EverySignal, TheFirstStopsBehindTheRunningItem) {
    for (const char* base : {"Able", "Baker", "Charlie"}) writePair(folder_, QString::fromLatin1(base));
    const HeldTool ffmpeg(QStringLiteral("ffmpeg"));
    Job job(ffmpeg, {QStringLiteral("interleave"), QStringLiteral("--json"), QStringLiteral("--csv"), folder_.path()});
    ASSERT_TRUE(ffmpeg.waitForStarts(1));
    job.signal(GetParam());
    ASSERT_TRUE(job.waitFor(kStopped));
    ffmpeg.letGo();
    EXPECT_EQ(job.end(), 128 + GetParam());
    EXPECT_EQ(ffmpeg.starts(), 1);
    const nlohmann::json document = job.json();
    EXPECT_EQ(document["summary"], (nlohmann::json{{"success", 1}, {"skipped", 0}, {"errors", 0}, {"stopped", true}}));
    EXPECT_EQ(document["items"].size(), 3u);
    EXPECT_EQ(itemsWith(document, "completed"), 1);
    EXPECT_EQ(itemsWith(document, "readyLRMerge"), 2);
    ASSERT_EQ(wavesBelow(folder_.path(QStringLiteral("Interleaved"))).size(), 1);
    const QString made =
        folder_.path(QStringLiteral("Interleaved/")) + wavesBelow(folder_.path(QStringLiteral("Interleaved"))).first();
    EXPECT_EQ(decodedByFfmpeg(made)[0].size(), 4800u);
    EXPECT_TRUE(QFile::exists(text(document["csv"])));
}

TEST_P(EverySignal, TheSecondEndsTheProgramAndItsChildrenAtOnce) {
    writePair(folder_, QStringLiteral("Able"));
    const HeldTool ffmpeg(QStringLiteral("ffmpeg"));
    Job job(ffmpeg, {QStringLiteral("interleave"), folder_.path()});
    ASSERT_TRUE(ffmpeg.waitForStarts(1));
    job.signal(GetParam());
    ASSERT_TRUE(job.waitFor(kStopped));
    EXPECT_TRUE(ffmpeg.isAnyAlive());
    job.signalUntilItEnds(GetParam());
    EXPECT_EQ(job.end(), 128 + GetParam()); // nobody lets ffmpeg go
    EXPECT_TRUE(waitUntil([&] { return !ffmpeg.isAnyAlive(); }));
    EXPECT_EQ(wavesBelow(folder_.path()), (QStringList{QStringLiteral("Able.L.wav"), QStringLiteral("Able.R.wav")}));
}

INSTANTIATE_TEST_SUITE_P(StopSignals, EverySignal, ::testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& each) { return std::string("SIG") + ::sigabbrev_np(each.param); });

TEST(StopSignals, UnderNohupAHangUpIsNoRequest) {
    const TestFolder folder;
    for (const char* base : {"Able", "Baker"}) writePair(folder, QString::fromLatin1(base));
    const HeldTool ffmpeg(QStringLiteral("ffmpeg"));
    Job job(ffmpeg, {QStringLiteral("interleave"), QStringLiteral("--json"), folder.path()},
            QStringLiteral("/usr/bin/nohup"));
    ASSERT_TRUE(ffmpeg.waitForStarts(1));
    job.signal(SIGHUP);
    ffmpeg.letGo();
    EXPECT_EQ(job.end(), 0);
    EXPECT_EQ(job.json()["summary"], (nlohmann::json{{"success", 2}, {"skipped", 0}, {"errors", 0}}));
}

TEST(StopSignals, ALayoutDetectionIsNotFollowedByAScan) {
    const TestFolder folder;
    const QString file = folder.write(QStringLiteral("Six.wav"), waveBytes({.channels = 6}));
    const HeldTool ffprobe(QStringLiteral("ffprobe"));
    Job job(ffprobe, {QStringLiteral("deinterleave"), QStringLiteral("--json"), file});
    ASSERT_TRUE(ffprobe.waitForStarts(1));
    job.signal(SIGTERM);
    ASSERT_TRUE(job.waitFor(kStopped));
    ffprobe.letGo();
    EXPECT_EQ(job.end(), 143);
    EXPECT_EQ(ffprobe.starts(), 1);
    EXPECT_EQ(job.json()["summary"]["stopped"], true);
    EXPECT_EQ(wavesBelow(folder.path()).size(), 1);
}

TEST(StopSignals, AStoppedScanIsNotFollowedByAJob) {
    const TestFolder folder;
    for (const char* base : {"Able", "Baker", "Charlie"}) writePair(folder, QString::fromLatin1(base));
    const HeldTool ffprobe(QStringLiteral("ffprobe"));
    Job job(ffprobe, {QStringLiteral("interleave"), QStringLiteral("--json"), folder.path()});
    ASSERT_TRUE(ffprobe.waitForStarts(1));
    job.signal(SIGINT);
    ASSERT_TRUE(job.waitFor(kStopped));
    ffprobe.letGo();
    EXPECT_EQ(job.end(), 130);
    EXPECT_EQ(job.json()["items"].size(), 0u);
    EXPECT_EQ(wavesBelow(folder.path()).size(), 6);
}

TEST(StopSignals, AStoppedGroupingMakesNoPoly) {
    const TestFolder folder;
    for (const char* name : {"S1T1_Boom.wav", "S1T1_Lav.wav"}) {
        folder.write(QString::fromLatin1(name), waveBytes({}));
    }
    for (const char* command : {"group", "join"}) {
        const HeldTool ffprobe(QStringLiteral("ffprobe"));
        Job job(ffprobe, {QString::fromLatin1(command), QStringLiteral("--json"), folder.path()});
        ASSERT_TRUE(ffprobe.waitForStarts(1));
        job.signal(SIGTERM);
        ASSERT_TRUE(job.waitFor(kStopped));
        ffprobe.letGo();
        EXPECT_EQ(job.end(), 143);
        EXPECT_EQ(job.json()["summary"]["stopped"], true);
        EXPECT_EQ(wavesBelow(folder.path()).size(), 2);
    }
}

TEST(StopSignals, AJoinOfOnePolyIsFinishedAndTold) {
    const TestFolder folder;
    const QStringList isos{folder.write(QStringLiteral("Boom.wav"), waveBytes({})),
                           folder.write(QStringLiteral("Lav.wav"), waveBytes({.firstSignal = 1}))};
    const HeldTool ffmpeg(QStringLiteral("ffmpeg"));
    Job job(ffmpeg, QStringList{QStringLiteral("join"), QStringLiteral("--single"), QStringLiteral("--json"),
                                QStringLiteral("--csv"), QStringLiteral("--name"), QStringLiteral("Kitchen")} +
                        isos);
    ASSERT_TRUE(ffmpeg.waitForStarts(1));
    job.signal(SIGTERM);
    ASSERT_TRUE(job.waitFor(kStopped));
    ffmpeg.letGo();
    EXPECT_EQ(job.end(), 143);
    const nlohmann::json document = job.json();
    EXPECT_EQ(itemsWith(document, "completed"), 1);
    EXPECT_EQ(document["summary"], (nlohmann::json{{"success", 1}, {"skipped", 0}, {"errors", 0}, {"stopped", true}}));
    EXPECT_EQ(decodedByFfmpeg(text(document["items"][0]["outputs"][0])).size(), 2u);
    EXPECT_TRUE(QFile::exists(text(document["csv"])));
}

// A poly of which some channels are missing is no poly that was split.
TEST(StopSignals, ASplitThatIsNotWholeIsNotCompleted) {
    const TestFolder folder;
    const QString poly = folder.write(QStringLiteral("in/Poly.wav"), waveBytes({.channels = 4}));
    const QString other = folder.write(QStringLiteral("in/Poly2.wav"), waveBytes({.channels = 4}));
    for (const QStringList& selection : {QStringList{poly}, QStringList{poly, other}}) {
        const HeldTool ffmpeg(QStringLiteral("ffmpeg"));
        const QString out = folder.path(QStringLiteral("out%1").arg(selection.size()));
        Job job(ffmpeg,
                QStringList{QStringLiteral("split"), QStringLiteral("--json"), QStringLiteral("--csv"),
                            QStringLiteral("--folders"), QStringLiteral("flat"), QStringLiteral("--output"), out} +
                    selection);
        ASSERT_TRUE(ffmpeg.waitForStarts(1));
        job.signal(SIGINT);
        ASSERT_TRUE(job.waitFor(kStopped));
        ffmpeg.letGo();
        EXPECT_EQ(job.end(), 130);
        EXPECT_EQ(ffmpeg.starts(), 1);
        EXPECT_EQ(wavesBelow(out).size(), 1);
        const nlohmann::json document = job.json();
        ASSERT_EQ(document["items"].size(), 1u);
        EXPECT_EQ(document["items"][0]["status"], "failed");
        EXPECT_EQ(document["items"][0]["message"], "Stopped ahead of 3 of its 4 channels");
        EXPECT_EQ(document["items"][0]["outputs"].size(), 1u);
        EXPECT_TRUE(QFile::exists(text(document["csv"])));
    }
}

TEST(StopSignals, AnEditIsFinishedAndTold) {
    const TestFolder folder;
    const QStringList polys{folder.write(QStringLiteral("in/A.wav"), waveBytes({.channels = 3})),
                            folder.write(QStringLiteral("in/B.wav"), waveBytes({.channels = 3}))};
    const HeldTool ffmpeg(QStringLiteral("ffmpeg"));
    const QString out = folder.path(QStringLiteral("out"));
    Job job(ffmpeg, QStringList{QStringLiteral("edit"), QStringLiteral("--remove"), QStringLiteral("2"),
                                QStringLiteral("--json"), QStringLiteral("--csv"), QStringLiteral("--output"), out} +
                        polys);
    ASSERT_TRUE(ffmpeg.waitForStarts(1));
    job.signal(SIGTERM);
    ASSERT_TRUE(job.waitFor(kStopped));
    ffmpeg.letGo();
    EXPECT_EQ(job.end(), 143);
    const nlohmann::json document = job.json();
    EXPECT_EQ(itemsWith(document, "completed"), 1);
    EXPECT_EQ(document["summary"], (nlohmann::json{{"success", 1}, {"skipped", 0}, {"errors", 0}, {"stopped", true}}));
    EXPECT_EQ(wavesBelow(out).size(), 1);
    EXPECT_TRUE(QFile::exists(text(document["csv"])));
}

// Dual mono files that only ffmpeg reads: it is started for each of them.
class CompressedFiles : public ::testing::Test {
protected:
    CompressedFiles() {
        WaveSpec spec{.channels = 2, .sampleRate = 8000, .frames = 16000};
        spec.signal = [](int, int frame) { return noise(0, frame, 23); };
        const QString wave = folder_.write(QStringLiteral("dual.wav"), waveBytes(spec));
        for (const char* name : {"a.m4a", "b.m4a", "c.m4a"}) {
            files_ << folder_.path(QStringLiteral("in/") + QString::fromLatin1(name));
            EXPECT_EQ(QProcess::execute(QStringLiteral("ffmpeg"),
                                        {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), wave,
                                         QStringLiteral("-c:a"), QStringLiteral("alac"), files_.last()}),
                      0);
        }
    }
    QStringList arguments(const char* command) const {
        return QStringList{QString::fromLatin1(command), QStringLiteral("--json"), QStringLiteral("--csv")} + files_;
    }

    TestFolder folder_;
    QStringList files_;
};

TEST_F(CompressedFiles, AStoppedAnalysisSaysOfHowManyFiles) {
    const HeldTool ffmpeg(QStringLiteral("ffmpeg"));
    Job job(ffmpeg, arguments("validate"));
    ASSERT_TRUE(ffmpeg.waitForStarts(1));
    job.signal(SIGTERM);
    ASSERT_TRUE(job.waitFor(kStopped));
    ffmpeg.letGo();
    EXPECT_EQ(job.end(), 143);
    EXPECT_TRUE(job.err().contains("[WARN] [PROCESS] Analyzed: 1 of 3 files, stopped • Dual Mono: 1\n"))
        << job.err().toStdString();
    const nlohmann::json document = job.json();
    EXPECT_EQ(document["summary"], (nlohmann::json{{"success", 1}, {"skipped", 0}, {"errors", 0}, {"stopped", true}}));
    EXPECT_EQ(document["results"].size(), 1u);
    EXPECT_TRUE(readAll(text(document["csv"])).contains("# Files Analyzed: 1 of 3, stopped\n"));
}

TEST_F(CompressedFiles, AStoppedAnalysisIsNotFollowedByAConversion) {
    const HeldTool ffmpeg(QStringLiteral("ffmpeg"));
    Job job(ffmpeg, arguments("clean"));
    ASSERT_TRUE(ffmpeg.waitForStarts(1));
    job.signal(SIGHUP);
    ASSERT_TRUE(job.waitFor(kStopped));
    ffmpeg.letGo();
    EXPECT_EQ(job.end(), 129);
    const nlohmann::json document = job.json();
    EXPECT_EQ(document["summary"], (nlohmann::json{{"success", 0}, {"skipped", 1}, {"errors", 0}, {"stopped", true}}));
    EXPECT_TRUE(QFile::exists(text(document["csv"])));
    EXPECT_EQ(QDir(folder_.path(QStringLiteral("in"))).entryList({QStringLiteral("*_mono*")}), QStringList());
}

TEST_F(CompressedFiles, AConversionThatHoldsTheMainThreadStopsToo) {
    int startsOfAnalysis = 0;
    {
        const HeldTool ffmpeg(QStringLiteral("ffmpeg"), 1'000);
        Job job(ffmpeg, arguments("clean") << QStringLiteral("--dry-run"));
        EXPECT_EQ(job.end(), 0) << job.err().toStdString();
        startsOfAnalysis = ffmpeg.starts();
    }
    QDir(cacheFolder()).removeRecursively(); // or the measures that are kept would spare the second analysis
    const HeldTool ffmpeg(QStringLiteral("ffmpeg"), startsOfAnalysis);
    Job job(ffmpeg, arguments("clean"));
    ASSERT_TRUE(ffmpeg.waitForStarts(startsOfAnalysis + 1));
    job.signal(SIGTERM); // taken by the thread that waits for ffmpeg, so ahead of whatever it does next
    ffmpeg.letGo();
    EXPECT_EQ(job.end(), 143);
    const nlohmann::json document = job.json();
    EXPECT_EQ(itemsWith(document, "completed"), 1);
    EXPECT_EQ(itemsWith(document, "ready"), 2);
    EXPECT_EQ(document["summary"]["stopped"], true);
    EXPECT_TRUE(QFile::exists(text(document["csv"])));
    EXPECT_EQ(QDir(folder_.path(QStringLiteral("in"))).entryList({QStringLiteral("*_mono*")}).size(), 1);
    EXPECT_TRUE(job.err().contains("Clean & Export stopped after 1 of 3 files: 1 successful, 0 errors"));
}

TEST_F(CompressedFiles, AConversionThatHoldsTheMainThreadEndsAtOnce) {
    int startsOfAnalysis = 0;
    {
        const HeldTool ffmpeg(QStringLiteral("ffmpeg"), 1'000);
        Job job(ffmpeg, arguments("clean") << QStringLiteral("--dry-run"));
        EXPECT_EQ(job.end(), 0) << job.err().toStdString();
        startsOfAnalysis = ffmpeg.starts();
    }
    QDir(cacheFolder()).removeRecursively(); // or the measures that are kept would spare the second analysis
    const HeldTool ffmpeg(QStringLiteral("ffmpeg"), startsOfAnalysis);
    Job job(ffmpeg, arguments("clean"));
    ASSERT_TRUE(ffmpeg.waitForStarts(startsOfAnalysis + 1));
    job.signalUntilItEnds(SIGINT);
    EXPECT_EQ(job.end(), 130);
    EXPECT_TRUE(waitUntil([&] { return !ffmpeg.isAnyAlive(); }));
}

TEST_F(CompressedFiles, APrintOfPeaksHasNothingToFinish) {
    const HeldTool ffmpeg(QStringLiteral("ffmpeg"));
    Job job(ffmpeg, {QStringLiteral("waveform"), files_.first()});
    ASSERT_TRUE(ffmpeg.waitForStarts(1));
    job.signal(SIGTERM);
    EXPECT_EQ(job.end(), 143);
    EXPECT_TRUE(waitUntil([&] { return !ffmpeg.isAnyAlive(); }));
}

} // namespace
} // namespace ostrel
