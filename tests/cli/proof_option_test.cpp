// "--proof" on every job and both engines; and that nothing is different without it.
#include "cli/command.h"

#include "platform/paths.h"

#include <QFile>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class ProofOption : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (engine() == u"ffmpeg"_s && installedTool(u"ffmpeg"_s).isEmpty()) GTEST_SKIP() << "no ffmpeg here";
    }
    static QString engine() { return QString::fromLatin1(GetParam()); }
    QString path(const QString& relative) const { return folder.path(relative); }
    CliRun run(const QStringList& arguments) const {
        return runCli(arguments + QStringList{u"--engine"_s, engine(), u"--proof"_s, u"--json"_s});
    }
    static nlohmann::json expectIdentical(const CliRun& run, std::size_t channels) {
        EXPECT_EQ(run.exitStatus, 0) << run.out.toStdString() << run.err.toStdString();
        const nlohmann::json proof = run.json()["items"][0]["proof"];
        EXPECT_EQ(proof["audio"], "identical") << proof.dump(1);
        EXPECT_EQ(proof["channels"].size(), channels);
        EXPECT_TRUE(run.err.contains(u"Proof: identical"_s)) << run.err.toStdString();
        return proof;
    }

    TestFolder folder;
};

TEST_P(ProofOption, EveryJobTellsWhereEachChannelCameFrom) {
    folder.write(u"p.wav"_s, waveBytes({.channels = 4, .frames = 48'001}));
    const nlohmann::json split = expectIdentical(
        run({u"split"_s, u"--folders"_s, u"flat"_s, u"--output"_s, path(u"isos"_s), path(u"p.wav"_s)}), 4);
    EXPECT_EQ(split["channels"][2]["sourceChannel"], 3);
    EXPECT_EQ(text(split["channels"][2]["source"]), path(u"p.wav"_s));
    EXPECT_TRUE(QFile::exists(text(split["channels"][2]["output"])));
    const nlohmann::json hashes = runCli({u"hash"_s, u"--json"_s, path(u"p.wav"_s)}).json()["files"][0]["channels"];
    EXPECT_EQ(split["channels"][2]["xxh128"], hashes[2]);

    const nlohmann::json edit =
        expectIdentical(run({u"edit"_s, u"--remove"_s, u"1"_s, u"--output"_s, path(u"edited"_s), path(u"p.wav"_s)}), 3);
    EXPECT_EQ(edit["channels"][0]["xxh128"], hashes[1]);
    EXPECT_TRUE(edit.contains("metadata"));

    QStringList isos;
    for (const nlohmann::json& channel : split["channels"]) isos << text(channel["output"]);
    expectIdentical(run(QStringList{u"join"_s, u"--single"_s, u"--name"_s, u"K"_s, u"--output"_s, path(u"joined"_s)} +
                        isos.first(3)),
                    3);
}

TEST_P(ProofOption, MergesSplitsAndCleanFilesAreProven) {
    writePair(folder, u"pair/A"_s);
    expectIdentical(run({u"interleave"_s, path(u"pair"_s)}), 2);
    expectIdentical(run({u"deinterleave"_s, path(u"pair/Interleaved/A.wav"_s)}), 2);
    WaveSpec spec{.channels = 2, .frames = 48'000};
    spec.signal = [](int, int frame) { return noise(0, frame, 24); };
    folder.write(u"dual.wav"_s, waveBytes(spec));
    expectIdentical(run({u"clean"_s, u"--output"_s, path(u"mono"_s), path(u"dual.wav"_s)}), 1);
    expectIdentical(run({u"clean"_s, u"--no-suffix"_s, u"--overwrite"_s, path(u"dual.wav"_s)}), 1);
}

TEST_P(ProofOption, OriginalsThatWereProvenGo) {
    writePair(folder, u"A"_s);
    expectIdentical(run({u"interleave"_s, u"--originals"_s, u"delete"_s, folder.path()}), 2);
    EXPECT_FALSE(QFile::exists(path(u"A.L.wav"_s)));
}

TEST_P(ProofOption, AnEndThatWasCutOffIsUnprovenAndSaid) {
    folder.write(u"A.L.wav"_s, waveBytes({.frames = 48'000}));
    folder.write(u"A.R.wav"_s, waveBytes({.frames = 48'100, .firstSignal = 1}));
    const CliRun cut = run({u"interleave"_s, folder.path()});
    EXPECT_EQ(cut.exitStatus, 0) << cut.err.toStdString();
    const nlohmann::json proof = cut.json()["items"][0]["proof"];
    EXPECT_EQ(proof["audio"], "unproven");
    EXPECT_EQ(proof["channels"][0]["audio"], "identical");
    EXPECT_TRUE(text(proof["reasons"][0]).contains(u"A.R.wav has 48100 frames"_s)) << proof.dump(1);
    EXPECT_TRUE(cut.err.contains(u"Proof: unproven"_s));
}

TEST_P(ProofOption, ReportsHaveAColumnOnlyWhereAProofWasAskedFor) {
    folder.write(u"p.wav"_s, waveBytes({.channels = 2, .frames = 4800}));
    const QStringList arguments{u"edit"_s,     u"--reorder"_s,   u"2,1"_s,        u"--csv"_s,
                                u"--output"_s, path(u"plain"_s), path(u"p.wav"_s)};
    const CliRun plain = runCli(arguments + QStringList{u"--engine"_s, engine(), u"--json"_s});
    EXPECT_FALSE(plain.json()["items"][0].contains("proof")) << plain.out.toStdString();
    EXPECT_FALSE(readAll(text(plain.json()["csv"])).contains("Proof"));
    QStringList proven = arguments;
    proven[5] = path(u"proven"_s);
    const QByteArray report = readAll(text(run(proven).json()["csv"]));
    EXPECT_TRUE(report.contains(",Metadata,Proof\n") || report.contains(",Metadata,Proof\r\n")) << report.toStdString();
    EXPECT_TRUE(report.contains(",Identical")) << report.toStdString();
}

TEST_P(ProofOption, ARenameInPlaceIsProvenAheadOfIt) {
    const QByteArray document =
        "<BWFXML><TRACK_LIST><TRACK_COUNT>2</TRACK_COUNT><TRACK><CHANNEL_INDEX>1</CHANNEL_INDEX>"
        "<INTERLEAVE_INDEX>1</INTERLEAVE_INDEX><NAME>One</NAME></TRACK></TRACK_LIST></BWFXML>";
    folder.write(u"p.wav"_s, waveBytes({.channels = 2, .frames = 4800, .before = {{"iXML", document}}}));
    expectIdentical(run({u"edit"_s, u"--in-place"_s, u"--rename"_s, u"1=New"_s, path(u"p.wav"_s)}), 2);
    EXPECT_TRUE(readAll(path(u"p.wav"_s)).contains("New"));
}

INSTANTIATE_TEST_SUITE_P(Engines, ProofOption, ::testing::Values("direct", "ffmpeg"));

} // namespace
} // namespace ostrel
