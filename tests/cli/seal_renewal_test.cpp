// What jobs say ahead of touching sealed folders, and the generation that renames and edits in place add to them.
#include "cli/command.h"

#include <QFile>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class SealRenewal : public ::testing::Test {
protected:
    QString path(const QString& relative) const { return folder.path(relative); }
    void seal(const QString& relative) const { ASSERT_EQ(runCli({u"seal"_s, path(relative)}).exitStatus, 0); }
    nlohmann::json verified(const QString& relative) const {
        const CliRun run = runCli({u"verify"_s, u"--json"_s, path(relative)});
        nlohmann::json document = run.json();
        document["exit"] = run.exitStatus;
        return document;
    }
    QString writeDual(const QString& relative) const {
        WaveSpec spec{.channels = 2, .frames = 48'000};
        spec.signal = [](int, int frame) { return noise(0, frame, 24); };
        return folder.write(relative, waveBytes(spec));
    }
    static void expectRenewed(const nlohmann::json& document, const QStringList& files, const QStringList& rewritten) {
        ASSERT_EQ(document["seals"].size(), 1U) << document.dump(1);
        const nlohmann::json& seal = document["seals"][0];
        EXPECT_EQ(seal["generation"], 2);
        EXPECT_EQ(seal["renewed"], jsonOf(files)) << seal.dump(1);
        EXPECT_EQ(seal.value("rewritten", nlohmann::json::array()), jsonOf(rewritten)) << seal.dump(1);
        EXPECT_FALSE(seal.contains("refused"));
    }
    static nlohmann::json jsonOf(const QStringList& values) {
        nlohmann::json list = nlohmann::json::array();
        for (const QString& value : values) list.push_back(value.toStdString());
        return list;
    }
    TestFolder folder;
};

TEST_F(SealRenewal, AnEditInPlaceAddsAGenerationOfItsFile) {
    const QString file = folder.write(u"Day/p.wav"_s, waveBytes({.channels = 2, .frames = 4800}));
    folder.write(u"Day/other.wav"_s, waveBytes({.frames = 4800}));
    seal(u"Day"_s);
    const CliRun run = runCli({u"edit"_s, u"--in-place"_s, u"--rename"_s, u"1=Boom"_s, u"--json"_s, file});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(u"is changed there as changed"_s)) << run.err.toStdString();
    expectRenewed(run.json(), {u"p.wav"_s}, {u"p.wav"_s});
    const nlohmann::json after = verified(u"Day"_s);
    EXPECT_EQ(after["exit"], 1); // its bytes are others
    EXPECT_TRUE(QString::fromStdString(after.dump()).contains(u"a later generation tells it as it is now"_s));
}

TEST_F(SealRenewal, WithSealTheWholeFolderIsSealedOnce) {
    const QString file = folder.write(u"Day/p.wav"_s, waveBytes({.channels = 2, .frames = 4800}));
    seal(u"Day"_s);
    const CliRun run = runCli({u"edit"_s, u"--in-place"_s, u"--rename"_s, u"1=Boom"_s, u"--seal"_s, u"--json"_s, file});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
    const nlohmann::json document = run.json();
    ASSERT_EQ(document["seals"].size(), 1U) << document.dump(1);
    EXPECT_EQ(document["seals"][0]["generation"], 2);
    EXPECT_EQ(document["seals"][0]["rewritten"], jsonOf({u"p.wav"_s}));
    EXPECT_FALSE(document["seals"][0].contains("renewed"));
    EXPECT_EQ(verified(u"Day"_s)["generations"], 2);
}

// The edit stands, the history stays as it was, and the run says so.
TEST_F(SealRenewal, ADamagedHistoryFailsTheRunAndHarmsNothing) {
    const QString file = folder.write(u"Day/p.wav"_s, waveBytes({.channels = 2, .frames = 4800}));
    const QString list = text(runCli({u"seal"_s, u"--json"_s, path(u"Day"_s)}).json().at("lists")[0]);
    QFile damaged(list);
    ASSERT_TRUE(damaged.open(QIODevice::Append));
    damaged.write("damage");
    damaged.close();
    const QStringList history = fingerprint(path(u"Day/ascmhl"_s));
    const QByteArray before = readAll(file);
    const CliRun run = runCli({u"edit"_s, u"--in-place"_s, u"--rename"_s, u"1=Boom"_s, u"--json"_s, file});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_TRUE(run.err.contains(u"not sealed, nothing was written"_s)) << run.err.toStdString();
    const nlohmann::json document = run.json();
    EXPECT_EQ(document["items"][0]["status"], "completed");
    EXPECT_FALSE(document["seals"][0]["refused"].empty());
    EXPECT_NE(readAll(file), before);
    EXPECT_EQ(fingerprint(path(u"Day/ascmhl"_s)), history);
}

TEST_F(SealRenewal, ACleanInPlaceAddsAGeneration) {
    const QString file = writeDual(u"Day/dual.wav"_s);
    seal(u"Day"_s);
    const CliRun run =
        runCli({u"clean"_s, u"--engine=direct"_s, u"--no-suffix"_s, u"--overwrite"_s, u"--json"_s, file});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(u"is changed there as changed"_s)) << run.err.toStdString();
    expectRenewed(run.json(), {u"dual.wav"_s}, {u"dual.wav"_s});
}

// They keep their history under the names that they have by now, and every one of them is verified.
TEST_F(SealRenewal, OriginalsThatAMergeMovesAreFollowed) {
    writePair(folder, u"Day/Rain"_s);
    seal(u"Day"_s);
    const CliRun run =
        runCli({u"interleave"_s, u"--engine=direct"_s, u"--originals"_s, u"move"_s, u"--json"_s, path(u"Day"_s)});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(u"will miss what is moved or deleted"_s)) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(u"will be new to its seal"_s));
    const nlohmann::json document = run.json();
    ASSERT_TRUE(document.contains("seals")) << document.dump(1);
    EXPECT_EQ(document["seals"][0]["renewed"].size(), 2U);
    EXPECT_FALSE(document["seals"][0].contains("rewritten")) << document.dump(1);
    for (const nlohmann::json& file : verified(u"Day"_s)["files"]) {
        EXPECT_TRUE(file["state"] == "verified" || file["state"] == "new") << file.dump();
    }
}

TEST_F(SealRenewal, APairThatACleanupMovesIsFollowed) {
    BextSpec bext; // what a certificate goes by
    bext.description = "Rain on a tin roof";
    bext.originator = "SD 788T";
    bext.originatorReference = "USSDVGR1112089007124015";
    for (int channel = 0; channel < 2; ++channel) {
        WaveSpec spec{.firstSignal = channel};
        spec.before = {{"bext", bextPayload(bext)}};
        folder.write(channel == 0 ? u"Day/Rain.L.wav"_s : u"Day/Rain.R.wav"_s, waveBytes(spec));
    }
    seal(u"Day"_s);
    const CliRun run =
        runCli({u"interleave"_s, u"--lr-cleanup"_s, u"verifiedConsolidation"_s, u"--json"_s, path(u"Day"_s)});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(u"will miss what is moved or deleted"_s)) << run.err.toStdString();
    const nlohmann::json document = run.json();
    ASSERT_EQ(document["items"][0]["status"], "completedCarbonCopyCertified") << document.dump(1);
    ASSERT_TRUE(document.contains("seals")) << document.dump(1);
    EXPECT_EQ(document["seals"][0]["renewed"], jsonOf({u"Originals/Rain.L.wav"_s, u"Originals/Rain.R.wav"_s}));
    EXPECT_FALSE(document["seals"][0].contains("rewritten")) << document.dump(1);
}

TEST_F(SealRenewal, AnEmbeddedDigestAddsAGeneration) {
    const QString file = folder.write(u"Day/a.wav"_s, waveBytes({.frames = 4800}));
    seal(u"Day"_s);
    const CliRun run = runCli({u"hash"_s, u"--embed"_s, u"--json"_s, file});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains(u"is changed there as changed"_s));
    expectRenewed(run.json(), {u"a.wav"_s}, {u"a.wav"_s});
    EXPECT_FALSE(runCli({u"hash"_s, u"--embed"_s, u"--json"_s, file}).json().contains("seals")); // nothing is new
}

// Nothing of a job without a sealed folder speaks of one.
TEST_F(SealRenewal, IsSilentWhereNothingIsSealed) {
    const QString file = folder.write(u"Day/p.wav"_s, waveBytes({.channels = 2, .frames = 4800}));
    const CliRun run = runCli({u"edit"_s, u"--in-place"_s, u"--rename"_s, u"1=Boom"_s, u"--json"_s, file});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
    EXPECT_FALSE(run.json().contains("seals"));
    EXPECT_FALSE(run.err.contains(u"seal"_s)) << run.err.toStdString();
    EXPECT_FALSE(QFile::exists(path(u"Day/ascmhl"_s)));
}

// Each job that makes files says so ahead of writing into a sealed folder, and with --seal adds a generation.
TEST_F(SealRenewal, EveryJobAnnouncesAndSeals) {
    folder.write(u"in/p.wav"_s, waveBytes({.channels = 2, .frames = 4800}));
    folder.write(u"isos/T_1.wav"_s, waveBytes({.frames = 4800}));
    folder.write(u"isos/T_2.wav"_s, waveBytes({.frames = 4800, .firstSignal = 1}));
    writePair(folder, u"pair/A"_s);
    writeDual(u"dual/d.wav"_s);
    folder.write(u"out/old.txt"_s, "old");
    seal(u"out"_s);
    const std::vector<QStringList> jobs{
        {u"interleave"_s, path(u"pair"_s)},
        {u"deinterleave"_s, u"--layout"_s, u"stereo"_s, path(u"in/p.wav"_s)},
        {u"split"_s, path(u"in/p.wav"_s)},
        {u"join"_s, u"--single"_s, u"--name"_s, u"K"_s, path(u"isos/T_1.wav"_s), path(u"isos/T_2.wav"_s)},
        {u"edit"_s, u"--reorder"_s, u"2,1"_s, path(u"in/p.wav"_s)},
        {u"clean"_s, path(u"dual/d.wav"_s)},
    };
    int generation = 1;
    for (const QStringList& job : jobs) {
        const CliRun run =
            runCli(job + QStringList{u"--engine=direct"_s, u"--seal"_s, u"--json"_s, u"--output"_s, path(u"out"_s)});
        EXPECT_EQ(run.exitStatus, 0) << job.first().toStdString() << run.err.toStdString();
        EXPECT_TRUE(run.err.contains(u"will be new to its seal"_s)) << job.first().toStdString();
        const nlohmann::json document = run.json();
        ASSERT_EQ(document["seals"].size(), 1U) << document.dump(1);
        EXPECT_EQ(document["seals"][0]["generation"], ++generation) << document.dump(1);
        const QByteArray list = readAll(text(document["seals"][0]["list"]));
        EXPECT_TRUE(list.contains("job=\"" + job.first().toUtf8())) << list.toStdString();
    }
    EXPECT_EQ(verified(u"out"_s)["exit"], 0);
}

TEST_F(SealRenewal, RescuesStitchesAndCorrectedCopiesAreAnnounced) {
    folder.write(u"in/p.wav"_s, waveBytes({.frames = 4800}));
    folder.write(u"out/old.txt"_s, "old");
    seal(u"out"_s);
    const QStringList end{u"--output"_s, path(u"out"_s), path(u"in"_s)};
    for (const QStringList& job :
         {QStringList{u"rescue"_s}, QStringList{u"stitch"_s}, QStringList{u"check"_s, u"--fix"_s}}) {
        EXPECT_TRUE(runCli(job + end).err.contains(u"will be new to its seal"_s)) << job.first().toStdString();
        EXPECT_FALSE(runCli(job + QStringList{u"--dry-run"_s} + end).err.contains(u"sealed"_s));
    }
}

} // namespace
} // namespace ostrel
