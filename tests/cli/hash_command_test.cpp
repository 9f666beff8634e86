// The command "hash" as a person and a script use it.
#include "cli/command.h"

#include <QCryptographicHash>
#include <QFile>
#include <algorithm>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class HashCommand : public ::testing::Test {
protected:
    QString path(const QString& relative) const { return folder.path(relative); }
    QString md5Of(const QString& relative) const {
        const QByteArray audio = chunkOf(readAll(path(relative)), "data");
        return QString::fromLatin1(QCryptographicHash::hash(audio, QCryptographicHash::Md5).toHex());
    }
    // A chunk that tells this digest.
    static WaveSpec telling(QByteArray digest) {
        std::ranges::reverse(digest);
        return {.channels = 2, .frames = 1001, .after = {{"MD5 ", digest}}};
    }

    TestFolder folder;
};

TEST_F(HashCommand, TellsOfAFolderInNaturalOrder) {
    folder.write(u"day/T10.wav"_s, waveBytes({.channels = 2, .frames = 100}));
    folder.write(u"day/T9.wav"_s, waveBytes({.frames = 101}));
    folder.write(u"day/notes.txt"_s, "no recording");
    const CliRun run = runCli({u"hash"_s, u"--json"_s, path(u"day"_s)});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
    const nlohmann::json files = run.json()["files"];
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(text(files[0]["path"]), path(u"day/T9.wav"_s));
    EXPECT_EQ(text(files[1]["md5"]), md5Of(u"day/T10.wav"_s));
    EXPECT_EQ(files[1]["channels"].size(), 2U);
    EXPECT_EQ(files[1]["embedded"], "none");
}

TEST_F(HashCommand, CheckFailsOnADigestThatDiffersAndOnNothingElse) {
    folder.write(u"none.wav"_s, waveBytes({.frames = 100}));
    const QByteArray audio = chunkOf(waveBytes(telling({})), "data");
    folder.write(u"good.wav"_s, waveBytes(telling(QCryptographicHash::hash(audio, QCryptographicHash::Md5))));
    folder.write(u"bad.wav"_s, waveBytes(telling(QByteArray(16, 'x'))));
    EXPECT_EQ(runCli({u"hash"_s, u"--check"_s, path(u"none.wav"_s), path(u"good.wav"_s)}).exitStatus, 0);
    const CliRun run = runCli({u"hash"_s, u"--check"_s, u"--json"_s, folder.path()});
    EXPECT_EQ(run.exitStatus, 1);
    const nlohmann::json files = run.json()["files"]; // bad, good, none
    EXPECT_EQ(files[0]["embedded"], "differ");
    EXPECT_EQ(files[1]["embedded"], "agree");
    EXPECT_EQ(files[2]["embedded"], "none");
    EXPECT_EQ(runCli({u"hash"_s, folder.path()}).exitStatus, 0) << "nobody asked for a check";
}

TEST_F(HashCommand, EmbedWritesWhatCheckThenFinds) {
    folder.write(u"a.wav"_s, waveBytes({.channels = 3, .frames = 4801}));
    const QByteArray audio = chunkOf(readAll(path(u"a.wav"_s)), "data");
    const CliRun run = runCli({u"hash"_s, u"--embed"_s, u"--json"_s, path(u"a.wav"_s)});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
    EXPECT_EQ(run.json()["files"][0]["embedded"], "agree");
    EXPECT_EQ(run.json()["files"][0]["written"], true);
    EXPECT_EQ(chunkOf(readAll(path(u"a.wav"_s)), "data"), audio);
    EXPECT_EQ(chunkOf(readAll(path(u"a.wav"_s)), "MD5 ").size(), 16);
    EXPECT_EQ(runCli({u"hash"_s, u"--check"_s, path(u"a.wav"_s)}).exitStatus, 0);
    const QString before = fingerprintOf(path(u"a.wav"_s));
    EXPECT_EQ(runCli({u"hash"_s, u"--embed"_s, path(u"a.wav"_s)}).exitStatus, 0);
    EXPECT_EQ(fingerprintOf(path(u"a.wav"_s)), before) << "it was there";
}

TEST_F(HashCommand, ADigestThatDiffersIsReplacedOnRequestOnly) {
    folder.write(u"a.wav"_s, waveBytes(telling(QByteArray(16, 'x'))));
    const QString before = fingerprintOf(path(u"a.wav"_s));
    const CliRun refused = runCli({u"hash"_s, u"--embed"_s, u"--json"_s, path(u"a.wav"_s)});
    EXPECT_EQ(refused.exitStatus, 1);
    EXPECT_EQ(refused.json()["files"][0]["embedded"], "differ");
    EXPECT_EQ(fingerprintOf(path(u"a.wav"_s)), before);
    EXPECT_EQ(runCli({u"hash"_s, u"--embed"_s, u"--overwrite"_s, path(u"a.wav"_s)}).exitStatus, 0);
    EXPECT_EQ(runCli({u"hash"_s, u"--check"_s, path(u"a.wav"_s)}).exitStatus, 0);
}

TEST_F(HashCommand, WhatIsNoWavFileIsToldAndTheOthersGoOn) {
    folder.write(u"a.flac"_s, "fLaC" + QByteArray(4, '\0') + QByteArray(18, '\0') + QByteArray(16, 'd'));
    folder.write(u"b.wav"_s, waveBytes({.frames = 100}));
    const CliRun run = runCli({u"hash"_s, u"--json"_s, path(u"a.flac"_s), path(u"b.wav"_s)});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_TRUE(text(run.json()["files"][0]["error"]).contains(u"a.flac is no WAV file"_s));
    EXPECT_TRUE(text(run.json()["files"][0]["error"]).contains(QString(u"64"_s).repeated(16)));
    EXPECT_EQ(text(run.json()["files"][1]["md5"]), md5Of(u"b.wav"_s));
}

TEST_F(HashCommand, FastLeavesTheMd5OutAndGoesWithNothingThatNeedsIt) {
    folder.write(u"a.wav"_s, waveBytes({.channels = 2, .frames = 100}));
    const nlohmann::json file = runCli({u"hash"_s, u"--fast"_s, u"--json"_s, path(u"a.wav"_s)}).json()["files"][0];
    EXPECT_TRUE(file["md5"].is_null());
    EXPECT_TRUE(file["embedded"].is_null());
    EXPECT_EQ(file["channels"], runCli({u"hash"_s, u"--json"_s, path(u"a.wav"_s)}).json()["files"][0]["channels"]);
    EXPECT_EQ(runCli({u"hash"_s, u"--fast"_s, u"--check"_s, path(u"a.wav"_s)}).exitStatus, 2);
    EXPECT_EQ(runCli({u"hash"_s, path(u"none.wav"_s)}).exitStatus, 2);
}

} // namespace
} // namespace ostrel
