// The command "stitch" as a person and a script use it.
#include "cli/command.h"

#include <QFile>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

QByteArray partFile(int firstSignal, quint64 start) {
    return waveBytes({.channels = 2,
                      .frames = 1000,
                      .before = {{"bext", bextPayload({.originator = "R", .timeReference = start})}},
                      .firstSignal = firstSignal});
}

TEST(StitchCommand, TellsEveryStatusAndLeavesTheParts) {
    const TestFolder folder;
    folder.write(u"card/A1.wav"_s, partFile(1, 500));
    folder.write(u"card/A2.wav"_s, partFile(2, 1500));
    folder.write(u"card/-B\n1.wav"_s, partFile(3, 200'000));
    folder.write(u"card/-B\n2.wav"_s, partFile(4, 202'234));
    folder.write(u"card/alone.wav"_s, partFile(5, 900'000));
    folder.write(u"card/.ostrel-11111111-2222-3333-4444-555555555555.wav"_s, "left");
    const QStringList before = fingerprint(folder.path(u"card"_s));
    const QStringList arguments{u"stitch"_s,   u"--json"_s,           u"--proof"_s,
                                u"--output"_s, folder.path(u"out"_s), folder.path(u"card"_s)};

    const CliRun dry = runCli(arguments + QStringList{u"--dry-run"_s});
    EXPECT_EQ(dry.exitStatus, 1) << dry.err.toStdString();
    EXPECT_EQ(dry.json()["summary"], nlohmann::json({{"single", 1}, {"stitched", 1}, {"skipped", 0}, {"refused", 1}}));
    EXPECT_FALSE(QFile::exists(folder.path(u"out"_s)));
    EXPECT_EQ(fingerprint(folder.path(u"card"_s)), before) << "a dry run clears nothing away";
    QFile::remove(folder.path(u"card/.ostrel-11111111-2222-3333-4444-555555555555.wav"_s));

    const CliRun run = runCli(arguments);
    EXPECT_EQ(run.exitStatus, 1) << "one was refused";
    EXPECT_TRUE(run.err.contains(u"gap of 1,234 samples"_s)) << run.err.toStdString();
    const nlohmann::json document = run.json();
    for (const nlohmann::json& item : document["items"]) {
        if (item["status"] != "stitched") continue;
        EXPECT_EQ(item["frames"], 2000);
        EXPECT_EQ(item["exact"], true);
        EXPECT_EQ(item["proof"]["audio"], "identical");
        EXPECT_EQ(chunkOf(readAll(text(item["output"])), "data"),
                  chunkOf(partFile(1, 0), "data") + chunkOf(partFile(2, 0), "data"));
    }
    EXPECT_EQ(runCli(arguments).json()["summary"]["skipped"], 1) << "nothing is written over";
    EXPECT_EQ(runCli(arguments + QStringList{u"--gap"_s, u"silence"_s}).json()["summary"]["stitched"], 1);
    EXPECT_EQ(namesIn(folder.path(u"out"_s)), (QStringList{u"-B\n1_stitched.wav"_s, u"A1_stitched.wav"_s}));
    EXPECT_EQ(runCli({u"stitch"_s, u"--gap"_s, u"guess"_s, folder.path(u"card"_s)}).exitStatus, 2);
}

} // namespace
} // namespace ostrel
