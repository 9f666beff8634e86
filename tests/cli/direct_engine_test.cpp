// The direct engine as a person asks for it: the same channels as they were, no tool started, and ffmpeg where it must.
#include "cli/command.h"

#include "platform/paths.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <QStorageInfo>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

const QString kDirect = QStringLiteral("--engine=direct");

// Tools that tell of it when they are started.
class DirectEngine : public ::testing::Test {
protected:
    DirectEngine() {
        for (const char* name : {"ffmpeg", "ffprobe"}) {
            tools.writeScript(QStringLiteral("bin/%1").arg(QLatin1String(name)),
                              QStringLiteral("echo $0 >> '%1'; exit 1").arg(tools.path() + QStringLiteral("/started")));
        }
    }
    CliRun run(const QStringList& arguments) const {
        const QString search = tools.path() + QStringLiteral("/bin:") + qEnvironmentVariable("PATH");
        const CliRun result = runCli(arguments, {QStringLiteral("PATH=") + search});
        EXPECT_EQ(result.exitStatus, 0) << result.out.toStdString() << result.err.toStdString();
        return result;
    }
    void expectNoToolStarted() const {
        const QString told = tools.path() + QStringLiteral("/started");
        EXPECT_FALSE(QFile::exists(told)) << testing::readAll(told).toStdString();
    }
    QByteArray audioOf(const QString& relative) const {
        return chunkOf(testing::readAll(folder.path() + u'/' + relative), "data");
    }
    QString path(const QString& relative) const { return folder.path(relative); }

    TestFolder folder;
    TestFolder tools;
};

TEST_F(DirectEngine, AllLayoutsComeBackChannelForChannel) {
    for (const char* id : {"stereo", "5.1-film", "5.1-smpte", "7.1-film", "7.1-smpte"}) {
        const QString layout = QString::fromLatin1(id);
        const QStringList tags = layout == u"stereo"_s      ? u"L R"_s.split(u' ')
                                 : layout == u"5.1-film"_s  ? u"L C R Ls Rs LFE"_s.split(u' ')
                                 : layout == u"5.1-smpte"_s ? u"L R C LFE Ls Rs"_s.split(u' ')
                                 : layout == u"7.1-film"_s  ? u"L C R Lss Rss Lsr Rsr LFE"_s.split(u' ')
                                                            : u"L R C LFE Lss Rss Lsr Rsr"_s.split(u' ');
        for (int i = 0; i < tags.size(); ++i) {
            folder.write(u"%1/A.%2.wav"_s.arg(layout, tags[i]), waveBytes({.frames = 999, .firstSignal = i}));
        }
        run({u"interleave"_s, kDirect, u"--layout"_s, layout, path(layout)});
        const QString made = path(layout + u"/Interleaved/A.wav"_s);
        const auto head = readWaveLayout(made.toStdString());
        ASSERT_TRUE(head && head->format) << id;
        EXPECT_EQ(head->format->speakers, layout == u"5.1-smpte"_s ? 0x3FU : 0U) << id;
        EXPECT_EQ(head->format->isExtensible, tags.size() > 2) << id;
        run({u"deinterleave"_s, kDirect, u"--layout"_s, layout, made});
        for (const QString& tag : tags) {
            EXPECT_EQ(audioOf(u"%1/Interleaved/De-interleaved/A.%2.wav"_s.arg(layout, tag)),
                      audioOf(u"%1/A.%2.wav"_s.arg(layout, tag)))
                << id << " " << tag.toStdString();
        }
    }
    expectNoToolStarted();
}

TEST_F(DirectEngine, APolyIsSplitJoinedAndEditedWithoutATool) {
    const WaveSpec spec{.channels = 4, .frames = 1501, .before = {{"bext", bextPayload({.description = "a poly"})}}};
    folder.write(u"poly.wav"_s, waveBytes(spec));
    const QByteArray source = testing::readAll(path(u"poly.wav"_s));
    const CliRun split = run({u"split"_s, kDirect, u"--json"_s, u"--folders"_s, u"flat"_s, u"--naming"_s, u"number"_s,
                              u"--output"_s, path(u"isos"_s), path(u"poly.wav"_s)});
    EXPECT_EQ(split.json()["summary"]["success"], 4);
    QStringList isos;
    for (int i = 1; i <= 4; ++i) isos << path(u"isos/poly_ch%1.wav"_s.arg(i));
    run(QStringList{u"join"_s, kDirect, u"--single"_s, u"--name"_s, u"K"_s, u"--output"_s, path(u"joined"_s)} + isos);
    EXPECT_EQ(audioOf(u"joined/%1"_s.arg(namesIn(path(u"joined"_s)).value(0))), chunkOf(source, "data"));
    run({u"edit"_s, kDirect, u"--reorder"_s, u"4,3,2,1"_s, u"--output"_s, path(u"edited"_s), path(u"poly.wav"_s)});
    run({u"edit"_s, kDirect, u"--reorder"_s, u"4,3,2,1"_s, u"--output"_s, path(u"again"_s),
         path(u"edited/%1"_s.arg(namesIn(path(u"edited"_s)).value(0)))});
    EXPECT_EQ(audioOf(u"again/%1"_s.arg(namesIn(path(u"again"_s)).value(0))), chunkOf(source, "data"));
    EXPECT_EQ(testing::readAll(path(u"poly.wav"_s)), source);
    expectNoToolStarted();
}

TEST_F(DirectEngine, ACleanKeepsTheSourcesOwnSamples) {
    WaveSpec spec{.channels = 2, .bitDepth = 24, .frames = 48000};
    spec.signal = [](int, int frame) { return noise(0, frame, 24); };
    folder.write(u"dual.wav"_s, waveBytes(spec));
    run({u"clean"_s, kDirect, u"--output"_s, path(u"mono"_s), path(u"dual.wav"_s)});
    const QByteArray mono = testing::readAll(path(u"mono/dual_mono.wav"_s));
    spec.channels = 1;
    EXPECT_EQ(chunkOf(mono, "data"), chunkOf(waveBytes(spec), "data"));
}

TEST_F(DirectEngine, WhatItCannotTakeGoesByWayOfFfmpegAndTheLogSaysSo) {
    if (installedTool(u"ffmpeg"_s).isEmpty()) GTEST_SKIP() << "no ffmpeg here";
    folder.write(u"a.L.wav"_s, waveBytes({.bitDepth = 24, .frames = 4800}));
    folder.write(u"a.R.wav"_s, waveBytes({.bitDepth = 24, .frames = 4800, .sampleBytes = 4, .firstSignal = 1}));
    const CliRun mixed =
        runCli({u"interleave"_s, kDirect, u"--output"_s, path(u"out"_s), path(u"a.L.wav"_s), path(u"a.R.wav"_s)});
    EXPECT_TRUE(mixed.out.contains(u"so it goes the usual way: a.R.wav differs from a.L.wav in its sample format"_s))
        << mixed.out.toStdString();
}

// Only one channel of it is asked for: by itself the direct engine would leave the other one out, and nobody would miss
// it.
TEST_F(DirectEngine, AStereoFileInASetOfMonoFilesIsNotCutToItsFirstChannel) {
    if (installedTool(u"ffmpeg"_s).isEmpty()) GTEST_SKIP() << "no ffmpeg here";
    folder.write(u"a.L.wav"_s, waveBytes({.channels = 2, .frames = 48000}));
    folder.write(u"a.R.wav"_s, waveBytes({.frames = 48000, .firstSignal = 2}));
    const CliRun set =
        runCli({u"interleave"_s, kDirect, u"--output"_s, path(u"out"_s), path(u"a.L.wav"_s), path(u"a.R.wav"_s)});
    EXPECT_TRUE(set.out.contains(u"a.L.wav has 2 channels, not 1"_s)) << set.out.toStdString();
    EXPECT_NE(set.exitStatus, 0);
    EXPECT_TRUE(set.out.contains(u"a.wav has not got the sound of a.L.wav, a.R.wav"_s)) << set.out.toStdString();
    EXPECT_FALSE(QFile::exists(path(u"out/a.wav"_s)));
}

TEST_F(DirectEngine, TheEnvironmentChoosesWhereNothingElseDoes) {
    writePair(folder, u"Rain"_s);
    const QString search = tools.path() + QStringLiteral("/bin:") + qEnvironmentVariable("PATH");
    const CliRun chosen = runCli({u"interleave"_s, folder.path()}, {u"PATH="_s + search, u"OSTREL_ENGINE=direct"_s});
    EXPECT_EQ(chosen.exitStatus, 0) << chosen.out.toStdString();
    expectNoToolStarted();
    EXPECT_NE(runCli({u"interleave"_s, folder.path()}, {u"OSTREL_ENGINE=other"_s}).exitStatus, 0);
}

// Two sparse files, each short enough for RIFF; what comes of them is not. Half a minute, so only where
// OSTREL_LONG_TESTS is set.
TEST_F(DirectEngine, AnOutputBeyondFourGigabytesIsRF64) {
    if (!qEnvironmentVariableIsSet("OSTREL_LONG_TESTS")) GTEST_SKIP() << "OSTREL_LONG_TESTS is not set";
    constexpr qint64 kFrames = 730'000'000; // of 3 bytes
    const QStorageInfo disk(folder.path());
    if (disk.bytesAvailable() < 16'000'000'000) GTEST_SKIP() << "little room on the disk";
    const std::vector<qint64> marked{0, 1'398'101 * 512, kFrames - 1}; // the middle one lies across a block
    for (const char* tag : {"L", "R"}) {
        QByteArray head = waveBytes({.frames = 0});
        head.replace(4, 4, littleEndian32(static_cast<quint32>(head.size() - 8 + kFrames * 3)));
        head.replace(head.size() - 4, 4, littleEndian32(static_cast<quint32>(kFrames * 3)));
        QFile file(folder.write(u"Long.%1.wav"_s.arg(QLatin1String(tag)), head));
        ASSERT_TRUE(file.open(QIODevice::ReadWrite) && file.resize(head.size() + kFrames * 3));
        for (const qint64 frame : marked) {
            ASSERT_TRUE(file.seek(head.size() + frame * 3));
            file.write(QByteArray(tag) + QByteArray::number(frame % 97).rightJustified(2, '0'));
        }
    }
    run({u"interleave"_s, kDirect, u"--output"_s, path(u"out"_s), path(u"Long.L.wav"_s), path(u"Long.R.wav"_s)});
    QFile made(path(u"out/Long.wav"_s));
    const auto layout = readWaveLayout(made.fileName().toStdString());
    ASSERT_TRUE(layout && layout->data && made.open(QIODevice::ReadOnly));
    EXPECT_EQ(layout->kind, WaveLayout::Kind::rf64);
    EXPECT_EQ(layout->frames(), static_cast<std::uint64_t>(kFrames));
    EXPECT_EQ(layout->riffSize + 8, static_cast<std::uint64_t>(made.size()));
    for (const qint64 frame : marked) {
        ASSERT_TRUE(made.seek(static_cast<qint64>(layout->data->payload) + frame * 6));
        const QByteArray mark = QByteArray::number(frame % 97).rightJustified(2, '0');
        EXPECT_EQ(made.read(6), 'L' + mark + 'R' + mark) << frame;
    }
    made.remove();
}

// A variable of a script that was never set: not "the folder that I happen to stand in".
TEST_F(DirectEngine, AnEmptyPathIsRefused) {
    const CliRun nothing = runCli({u"split"_s, kDirect, QString()});
    EXPECT_NE(nothing.exitStatus, 0);
    EXPECT_TRUE(nothing.err.contains(u"no such file or folder"_s)) << nothing.err.toStdString();
}

} // namespace
} // namespace ostrel
