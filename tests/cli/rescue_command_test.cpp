// The command "rescue" as a person and a script use it.
#include "cli/command.h"

#include <QFile>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

TEST(RescueCommand, TellsEveryStatusAndLeavesTheRecordings) {
    const TestFolder folder;
    const QByteArray good = waveBytes({.channels = 2, .frames = 3000});
    folder.write(u"card/good.wav"_s, good);
    folder.write(u"card/open.wav"_s, withDataSize(good, 0));
    folder.write(u"card/-line\nbreak.wav"_s, withDataSize(good, 0));
    folder.write(u"card/take.SDA"_s, "x");
    const QStringList before = fingerprint(folder.path(u"card"_s));

    const QStringList arguments{u"rescue"_s, u"--json"_s, u"--output"_s, folder.path(u"out"_s), folder.path(u"card"_s)};
    const CliRun dry = runCli(arguments + QStringList{u"--dry-run"_s});
    EXPECT_EQ(dry.exitStatus, 1);
    EXPECT_EQ(dry.json()["summary"]["rescued"], 2);
    EXPECT_FALSE(QFile::exists(folder.path(u"out"_s)));

    const CliRun run = runCli(arguments);
    EXPECT_EQ(run.exitStatus, 1) << "one was refused";
    const nlohmann::json document = run.json();
    EXPECT_EQ(document["summary"], nlohmann::json({{"healthy", 1}, {"rescued", 2}, {"skipped", 0}, {"refused", 1}}));
    for (const nlohmann::json& item : document["items"]) {
        if (item["status"] != "rescued") continue;
        EXPECT_EQ(item["frames"], 3000);
        EXPECT_EQ(chunkOf(readAll(text(item["output"])), "data"), chunkOf(good, "data"));
    }
    EXPECT_EQ(namesIn(folder.path(u"out"_s)), (QStringList{u"-line\nbreak_rescued.wav"_s, u"open_rescued.wav"_s}));
    EXPECT_EQ(runCli(arguments).json()["summary"]["skipped"], 2) << "nothing is written over";
    EXPECT_EQ(fingerprint(folder.path(u"card"_s)), before);
}

TEST(RescueCommand, ADryRunTouchesNothing) {
    const TestFolder folder;
    folder.write(u"open.wav"_s, withDataSize(waveBytes({}), 0));
    folder.write(u".ostrel-11111111-2222-3333-4444-555555555555.wav"_s, "left by an earlier run");
    const QStringList before = fingerprint(folder.path());
    EXPECT_EQ(runCli({u"rescue"_s, u"--dry-run"_s, folder.path()}).exitStatus, 0);
    EXPECT_EQ(runCli({u"check"_s, folder.path()}).exitStatus, 1);
    EXPECT_EQ(fingerprint(folder.path()), before);
    EXPECT_EQ(runCli({u"rescue"_s, folder.path()}).exitStatus, 0);
    EXPECT_EQ(namesIn(folder.path()), (QStringList{u"open.wav"_s, u"open_rescued.wav"_s}));
}

TEST(RescueCommand, WhatIsNoHealthyTakeIsBadUsage) {
    const TestFolder folder;
    const QString open = folder.write(u"open.wav"_s, withDataSize(waveBytes({}), 0));
    EXPECT_EQ(runCli({u"rescue"_s, open, u"--like"_s, open}).exitStatus, 2);
    EXPECT_EQ(runCli({u"rescue"_s, folder.path(u"gone.wav"_s)}).exitStatus, 2);
}

} // namespace
} // namespace ostrel
