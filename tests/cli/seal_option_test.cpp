// "--seal" on jobs, and what they say ahead of writing into a sealed folder.
#include "cli/command.h"

#include <QFile>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class SealOption : public ::testing::Test {
protected:
    SealOption() { folder.write(QStringLiteral("card/p.wav"), waveBytes({.channels = 3, .frames = 4800})); }
    QString path(const QString& relative) const { return folder.path(relative); }
    CliRun split(const QStringList& options) const {
        return runCli(QStringList{QStringLiteral("split"), QStringLiteral("--engine"), QStringLiteral("direct"),
                                  path(QStringLiteral("card/p.wav")), QStringLiteral("--output"),
                                  path(QStringLiteral("o"))} +
                      options);
    }
    int verify(const QString& relative) const { return runCli({QStringLiteral("verify"), path(relative)}).exitStatus; }
    TestFolder folder;
};

TEST_F(SealOption, SealsWhatASplitMade) {
    const CliRun run = split({QStringLiteral("--seal"), QStringLiteral("--proof"), QStringLiteral("--json")});
    EXPECT_EQ(run.exitStatus, 0) << run.err.toStdString();
    const nlohmann::json document = run.json();
    const nlohmann::json seals = document.at("seals");
    ASSERT_EQ(seals.size(), 1U);
    EXPECT_EQ(text(seals[0].at("folder")), path(QStringLiteral("o")));
    EXPECT_EQ(seals[0].at("generation"), 1);
    const QByteArray list = readAll(text(seals[0].at("list")));
    for (const nlohmann::json& channel : document["items"][0]["proof"]["channels"]) {
        EXPECT_TRUE(list.contains(text(channel.at("xxh128")).toUtf8())) << list.toStdString();
    }
    EXPECT_TRUE(list.contains("source1=\"p.wav\" channel1=\"3\"")) << list.toStdString();
    EXPECT_EQ(verify(QStringLiteral("o")), 0);
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("card/ascmhl"))));
}

TEST_F(SealOption, SealsNothingUnlessAskedNorWhereNothingWasMade) {
    const CliRun plain = split({QStringLiteral("--json")});
    EXPECT_FALSE(plain.json().contains("seals"));
    const CliRun skipped = split({QStringLiteral("--seal"), QStringLiteral("--json")});
    EXPECT_EQ(skipped.json().at("seals").size(), 0U) << skipped.out.toStdString();
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("o/ascmhl"))));
}

TEST_F(SealOption, IsAnnouncedAheadOfWritingIntoASealedFolder) {
    folder.write(QStringLiteral("o/old.txt"), "old");
    ASSERT_EQ(runCli({QStringLiteral("seal"), path(QStringLiteral("o"))}).exitStatus, 0);
    const CliRun plain = split({});
    EXPECT_TRUE(plain.err.contains(QStringLiteral("is sealed (1 generation)"))) << plain.err.toStdString();
    EXPECT_TRUE(plain.err.contains(QStringLiteral("--seal adds a generation")));
    const CliRun changing = split({QStringLiteral("--seal"), QStringLiteral("--overwrite")});
    EXPECT_TRUE(changing.err.contains(QStringLiteral("is changed there as changed"))) << changing.err.toStdString();
    EXPECT_EQ(changing.exitStatus, 0) << changing.err.toStdString();
    EXPECT_TRUE(changing.out.contains(QStringLiteral("generation 2"))) << changing.out.toStdString();
    EXPECT_EQ(verify(QStringLiteral("o")), 0);
}

TEST_F(SealOption, ARefusedSealFailsTheRun) {
    folder.write(QStringLiteral("o/old.txt"), "old");
    const CliRun sealed = runCli({QStringLiteral("seal"), QStringLiteral("--json"), path(QStringLiteral("o"))});
    QFile list(text(sealed.json().at("lists")[0]));
    ASSERT_TRUE(list.open(QIODevice::Append));
    list.write("damage");
    list.close();
    const CliRun run = split({QStringLiteral("--seal"), QStringLiteral("--json")});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_TRUE(run.err.contains(QStringLiteral("not sealed, nothing was written")));
    EXPECT_EQ(run.json()["items"][0]["status"], "completed") << run.out.toStdString();
    EXPECT_FALSE(run.json()["seals"][0]["refused"].empty());
}

} // namespace
} // namespace ostrel
