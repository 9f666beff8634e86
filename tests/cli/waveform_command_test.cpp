// waveform from end to end.
#include "cli/command.h"

#include "support/sound.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

// Two seconds whose second half is half as loud on channel 1, and silent on channel 2.
QString writeSteps(const TestFolder& folder) {
    return writeSound(folder.path(QStringLiteral("-steps.wav")), 2, 2000, [](int channel, qint64 frame) {
        if (frame < 1000) return channel == 0 ? 0.5F : -0.125F;
        return channel == 0 ? -0.25F : 0.0F;
    });
}

TEST(Waveform, PrintsAPeakALine) {
    const TestFolder folder;
    const CliRun result =
        runCli({QStringLiteral("waveform"), writeSteps(folder), QStringLiteral("--points"), QStringLiteral("4")});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, QStringLiteral("1.000000\n1.000000\n0.500000\n0.500000\n"));
    EXPECT_TRUE(result.err.isEmpty());
}

TEST(Waveform, PrintsAColumnAChannelAndJson) {
    const TestFolder folder;
    const QStringList words{QStringLiteral("waveform"), writeSteps(folder), QStringLiteral("--points"),
                            QStringLiteral("2"), QStringLiteral("--per-channel")};
    EXPECT_EQ(runCli(words).out, QStringLiteral("1.000000\t1.000000\n0.500000\t0.000000\n"));
    const nlohmann::json document = runCli(QStringList(words) << QStringLiteral("--json")).json();
    EXPECT_EQ(document.at("channels"), (nlohmann::json{{1.0, 0.5}, {1.0, 0.0}}));
    EXPECT_EQ(document.at("points"), 2);
}

TEST(Waveform, DefaultsTo200Points) {
    const TestFolder folder;
    EXPECT_EQ(
        runCli({QStringLiteral("waveform"), writeSteps(folder), QStringLiteral("--json")}).json().at("peaks").size(),
        200U);
}

TEST(Waveform, TellsBadFilesAndBadUsageApart) {
    const TestFolder folder;
    const QString text = folder.write(QStringLiteral("text.wav"), QByteArrayLiteral("not a sound"));
    const CliRun bad = runCli({QStringLiteral("waveform"), text});
    EXPECT_EQ(bad.exitStatus, 1);
    EXPECT_TRUE(bad.out.isEmpty());
    EXPECT_TRUE(bad.err.contains(QStringLiteral("text.wav: ")));
    EXPECT_EQ(runCli({QStringLiteral("waveform"), folder.path(QStringLiteral("none.wav"))}).exitStatus, 2);
    EXPECT_EQ(runCli({QStringLiteral("waveform"), text, QStringLiteral("--points"), QStringLiteral("0")}).exitStatus,
              2);
}

} // namespace
} // namespace ostrel
