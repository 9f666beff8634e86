// check and report, as a person runs them.
#include "cli/command.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class DeliveryCommands : public ::testing::Test {
protected:
    QString path(const QString& relative) const { return folder_.path(relative); }

    QString writeTake(const QString& name) const {
        WaveSpec spec{.frames = 4800};
        spec.before = {
            {"bext", bextPayload({.description = "sSCENE=7B\r\nsTAKE=2\r\n", .timeReference = 48000ULL * 3600})},
            {"iXML",
             "<BWFXML><SCENE>7A</SCENE><TAKE>2</TAKE><SPEED><TIMECODE_RATE>25/1</TIMECODE_RATE></SPEED></BWFXML>"}};
        return folder_.write(name, waveBytes(spec));
    }

    TestFolder folder_;
};

TEST_F(DeliveryCommands, CheckNamesWhatIsThereAndWhatShouldBe) {
    const QString file = writeTake(u"day/7A_2.wav"_s);
    const CliRun run = runCli({u"check"_s, u"--json"_s, path(u"day"_s)});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString(); // a warning is no failure
    const nlohmann::json document = run.json();
    ASSERT_EQ(document["files"].size(), 1U);
    EXPECT_EQ(text(document["files"][0]["path"]), file);
    const nlohmann::json finding = document["files"][0]["findings"].at(0);
    EXPECT_EQ(finding["id"], "agree.scene");
    EXPECT_EQ(finding["severity"], "warning");
    EXPECT_EQ(finding["found"], "7B");
    EXPECT_EQ(finding["expected"], "7A");
    EXPECT_FALSE(finding["source"].get<std::string>().empty());
    const CliRun table = runCli({u"check"_s, u"--csv"_s, path(u"day"_s)});
    EXPECT_TRUE(table.out.contains(u"\"agree.scene\",\"warning\",\"bext Description SCENE\",\"7B\",\"7A\""_s))
        << table.out.toStdString();
    EXPECT_TRUE(runCli({u"check"_s, path(u"day"_s)}).out.contains(u"1 files, 0 errors, 1 warnings, 0 notes"_s));
}

TEST_F(DeliveryCommands, AnErrorIsToldByTheExitStatus) {
    folder_.write(u"day/a.wav"_s, "no recording");
    EXPECT_EQ(runCli({u"check"_s, path(u"day"_s)}).exitStatus, 1);
    EXPECT_EQ(runCli({u"check"_s, path(u"none"_s)}).exitStatus, 2);
    EXPECT_EQ(runCli({u"check"_s, u"--rate"_s, u"fast"_s, path(u"day"_s)}).exitStatus, 2);
    EXPECT_EQ(runCli({u"check"_s}).exitStatus, 2);
}

TEST_F(DeliveryCommands, FixingIsToldAheadAndDoneOnce) {
    const QString file = writeTake(u"day/7A_2.wav"_s);
    const QByteArray before = testing::readAll(file);
    const CliRun dry = runCli({u"check"_s, u"--fix"_s, u"--dry-run"_s, path(u"day"_s)});
    EXPECT_TRUE(dry.out.contains(u"bext Description SCENE: 7B -> 7A"_s)) << dry.out.toStdString();
    EXPECT_FALSE(QFile::exists(path(u"day/Corrected"_s)));
    EXPECT_EQ(runCli({u"check"_s, u"--fix"_s, path(u"day"_s)}).exitStatus, 0);
    EXPECT_EQ(testing::readAll(file), before);
    const QString copy = path(u"day/Corrected/7A_2.wav"_s);
    EXPECT_EQ(chunkOf(testing::readAll(copy), "data"), chunkOf(before, "data"));
    EXPECT_EQ(runCli({u"check"_s, u"--json"_s, copy}).json()["warnings"], 0);
    const nlohmann::json again = runCli({u"check"_s, u"--fix"_s, u"--json"_s, file}).json();
    EXPECT_TRUE(text(again["files"][0]["status"]).startsWith(u"skipped"_s));
    EXPECT_EQ(runCli({u"check"_s, u"--fix"_s, u"--in-place"_s, file}).exitStatus, 0);
    EXPECT_EQ(runCli({u"check"_s, u"--fix"_s, u"--json"_s, u"--in-place"_s, file}).json()["files"][0]["status"],
              "nothing to correct");
    EXPECT_EQ(testing::readAll(file), testing::readAll(copy));
    EXPECT_EQ(runCli({u"check"_s, u"--in-place"_s, file}).exitStatus, 2); // without --fix
}

TEST_F(DeliveryCommands, ACorrectionInPlaceAddsAGenerationToTheSealOfItsFolder) {
    const QString file = writeTake(u"day/7A_2.wav"_s);
    ASSERT_EQ(runCli({u"seal"_s, path(u"day"_s)}).exitStatus, 0);
    const CliRun run = runCli({u"check"_s, u"--fix"_s, u"--in-place"_s, u"--json"_s, file});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(u"is changed there as changed"_s)) << run.err.toStdString();
    const nlohmann::json document = run.json();
    ASSERT_EQ(document["seals"].size(), 1U) << document.dump(1);
    EXPECT_EQ(document["seals"][0]["generation"], 2);
    EXPECT_EQ(document["seals"][0]["rewritten"][0], "7A_2.wav");
}

TEST_F(DeliveryCommands, AReportGoesToItsFileAndReplacesNone) {
    const QString recording = writeTake(u"day/7A_2.wav"_s);
    const QByteArray before = testing::readAll(recording);
    EXPECT_TRUE(runCli({u"report"_s, u"--csv"_s, path(u"day"_s)}).out.contains(u"\"7A_2.wav\",\"1(MONO)\""_s));
    const QString page = path(u"day.html"_s);
    const QStringList arguments{u"report"_s,   u"--html"_s, u"--output"_s, page, u"--set"_s, u"Sound Mixer=A. Miller"_s,
                                path(u"day"_s)};
    EXPECT_EQ(runCli(arguments).exitStatus, 0);
    EXPECT_TRUE(testing::readAll(page).contains("<dt>Sound Mixer</dt><dd>A. Miller</dd>"));
    EXPECT_EQ(runCli(arguments).exitStatus, 1);
    EXPECT_EQ(runCli(arguments + QStringList{u"--overwrite"_s}).exitStatus, 0);
    EXPECT_EQ(runCli({u"report"_s, u"--html"_s, u"--overwrite"_s, u"--output"_s, recording, path(u"day"_s)}).exitStatus,
              2);
    EXPECT_EQ(testing::readAll(recording), before);
    EXPECT_EQ(runCli({u"report"_s, path(u"day"_s)}).exitStatus, 2); // which form?
    EXPECT_TRUE(
        runCli({u"report"_s, u"--ale"_s, path(u"day"_s)}).out.contains(u"7A_2\tA1\t01:00:00:00\t01:00:00:02"_s));
}

} // namespace
} // namespace ostrel
