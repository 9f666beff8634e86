#include "interleaver/interleave_engine.h"

#include "foundation/tools/ffmpeg_command.h"
#include "foundation/tools/ffprobe_parser.h"
#include "interleaver/fixtures.h"
#include "platform/paths.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace ostrel {
namespace {

using namespace testing;

InterleaveEngine engine(const QString& bwfmetaedit = QString()) { return {tool("ffmpeg"), bwfmetaedit}; }

QString outputOf(const InterleaveGroup& group) { return InterleaveEngine::generateOutputURL(group, {}); }

TEST(FFmpegError, TakesTheLastLineThatTellsAnError) {
    EXPECT_EQ(extractFFmpegError(QStringLiteral("a\n  Error one \nInvalid two\nlast")), QStringLiteral("Invalid two"));
    EXPECT_EQ(extractFFmpegError(QStringLiteral("a\n last line \n\n")), QStringLiteral(" last line "));
    EXPECT_EQ(extractFFmpegError(QString()), QStringLiteral("Unknown error"));
    EXPECT_EQ(extractFFmpegError(QStringLiteral("\n\n")), QStringLiteral("Unknown error"));
}

class EveryLayoutAndDepth : public ::testing::TestWithParam<std::tuple<QString, int>> {};

TEST_P(EveryLayoutAndDepth, EveryOutputChannelIsItsSourceBitForBit) {
    const ChannelLayout layout = *ChannelLayout::withId(std::get<0>(GetParam()));
    const TestFolder folder;
    WaveSpec spec;
    spec.bitDepth = std::get<1>(GetParam());
    const InterleaveGroup group = writeSet(folder, layout, spec);
    const QString output = outputOf(group);
    const InterleaveResult result = engine().interleave(group, layout, output, {});
    ASSERT_TRUE(result.outcome.succeeded()) << result.outcome.message.toStdString();
    EXPECT_TRUE(result.outcome.warnings.isEmpty()) << result.outcome.warnings.join(u'\n').toStdString();
    EXPECT_EQ(decodedByFfmpeg(output), expectedSamples(spec, static_cast<int>(layout.channelTags.size())));
    const int bits = FFProbeParser(tool("ffprobe")).probe(output).bitDepth;
    EXPECT_EQ(bits, spec.bitDepth);
}

INSTANTIATE_TEST_SUITE_P(Interleave, EveryLayoutAndDepth,
                         ::testing::Combine(::testing::Values(QStringLiteral("stereo"), QStringLiteral("5.1-film"),
                                                              QStringLiteral("5.1-smpte"), QStringLiteral("7.1-film"),
                                                              QStringLiteral("7.1-smpte")),
                                            ::testing::Values(16, 24, 32)));

TEST(InterleaveEngine, ChunksOfTheLeftFileStandAheadOfDataInFileOrder) {
    const TestFolder folder;
    WaveSpec spec;
    spec.before = {{"bext", bextPayload({})}, {"iXML", "<odd>"}, {"LIST", "INFO"}, {"iXML", ""}};
    spec.after = {{"SMED", "behind"}, {"cart", "odd"}, {"junk", "no"}};
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, spec);
    const InterleaveResult result = engine().interleave(group, ChannelLayout::stereo, outputOf(group), {});
    ASSERT_TRUE(result.outcome.succeeded());
    EXPECT_EQ(result.outcome.message, QStringLiteral("Successfully created: Take.wav (with SMED preservation)"));

    const QByteArray file = readAll(outputOf(group));
    const auto chunks = chunksOf(file);
    const auto data =
        std::find_if(chunks.begin(), chunks.end(), [](const auto& chunk) { return chunk.first == "data"; });
    ASSERT_GE(data - chunks.begin(), 4);
    const decltype(spec.before) expected{{"iXML", "<odd>"}, {"iXML", ""}, {"SMED", "behind"}, {"cart", "odd"}};
    EXPECT_EQ((decltype(spec.before)(data - 4, data)), expected);
    EXPECT_EQ(file.mid(4, 4), littleEndian32(static_cast<quint32>(file.size() - 8)));
    EXPECT_EQ(decodedByFfmpeg(outputOf(group)), expectedSamples(spec, 2));
}

TEST(InterleaveEngine, AGroupWithoutLeftTakesItsChunksFromTheFirstOfItsFiles) {
    const TestFolder folder;
    WaveSpec spec;
    spec.after = {{"SMED", "from the centre"}};
    const ChannelLayout layout{QStringLiteral("two"), QString(), {QStringLiteral("C"), QStringLiteral("LFE")}};
    const InterleaveGroup group = writeSet(folder, layout, spec);
    ASSERT_TRUE(engine().interleave(group, layout, outputOf(group), {}).outcome.succeeded());
    EXPECT_EQ(chunkOf(readAll(outputOf(group)), "SMED"), "from the centre");
}

TEST(InterleaveEngine, ACafSourceUnderSmartGivesAWavStreamNamedCaf) {
    const TestFolder folder;
    InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    group.containerKind = ContainerKind::caf;
    ASSERT_TRUE(outputOf(group).endsWith(QStringLiteral("Interleaved/Take.caf")));
    ASSERT_TRUE(engine().interleave(group, ChannelLayout::stereo, outputOf(group), {}).outcome.succeeded());
    EXPECT_TRUE(readAll(outputOf(group)).startsWith("RIFF"));
}

TEST(InterleaveEngine, WithoutBwfmetaeditAFileWithoutChunksIsDoneWithAWarning) {
    const TestFolder folder;
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    const InterleaveResult result = engine().interleave(group, ChannelLayout::stereo, outputOf(group), {});
    EXPECT_TRUE(result.outcome.succeeded());
    EXPECT_EQ(result.outcome.message, QStringLiteral("Audio OK, metadata warning: bwfmetaedit not found (metadata "
                                                     "preservation disabled)"));
    EXPECT_TRUE(result.ffmpegCommand.startsWith(QStringLiteral("-y -i ")));
    expectPrivateTwin(result.ffmpegCommand.section(u' ', -1), outputOf(group));
}

TEST(InterleaveEngine, AnExistingOutputIsSkippedAndLeftAlone) {
    const TestFolder folder;
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    folder.write(QStringLiteral("Interleaved/Take.wav"), "precious");
    const InterleaveResult result = engine().interleave(group, ChannelLayout::stereo, outputOf(group), {});
    EXPECT_FALSE(result.outcome.succeeded());
    EXPECT_EQ(result.outcome.message, QStringLiteral("Output already exists (skipped)"));
    EXPECT_TRUE(result.ffmpegCommand.isEmpty());
    EXPECT_EQ(readAll(outputOf(group)), "precious");
}

TEST(InterleaveEngine, WithoutSkippingAnExistingOutputIsOverwritten) {
    const TestFolder folder;
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    folder.write(QStringLiteral("Interleaved/Take.wav"), "old");
    ProcessingOptions options;
    options.skipIfExists = false;
    EXPECT_TRUE(engine().interleave(group, ChannelLayout::stereo, outputOf(group), options).outcome.succeeded());
    EXPECT_EQ(decodedByFfmpeg(outputOf(group)), expectedSamples({}, 2));
}

TEST(InterleaveEngine, AnOutputThatLeadsToASourceIsRefused) {
    const TestFolder folder;
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    QDir().mkpath(folder.path(QStringLiteral("Interleaved")));
    QFile::link(group.channelFiles.value(QStringLiteral("R")), outputOf(group));
    const QStringList before = fingerprint(folder.path());
    ProcessingOptions options;
    options.skipIfExists = false;
    const InterleaveResult result = engine().interleave(group, ChannelLayout::stereo, outputOf(group), options);
    EXPECT_FALSE(result.outcome.succeeded());
    EXPECT_EQ(result.outcome.message, QStringLiteral("Take.wav would replace a source of this run"));
    EXPECT_EQ(fingerprint(folder.path()), before);
}

TEST(InterleaveEngine, AnOutputFolderThatCannotBeMadeIsAResult) {
    const TestFolder folder;
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    folder.write(QStringLiteral("Interleaved"), "a file in the way");
    const InterleaveResult result = engine().interleave(group, ChannelLayout::stereo, outputOf(group), {});
    EXPECT_FALSE(result.outcome.succeeded());
    EXPECT_TRUE(result.outcome.message.startsWith(QStringLiteral("Failed to create output directory: ")))
        << result.outcome.message.toStdString();
    EXPECT_FALSE(result.ffmpegCommand.isEmpty());
}

TEST(InterleaveEngine, AMissingFfmpegThrows) {
    const TestFolder folder;
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    const InterleaveEngine broken(QStringLiteral("/nowhere/ffmpeg"), QString());
    try {
        broken.interleave(group, ChannelLayout::stereo, outputOf(group), {});
        FAIL();
    } catch (const InterleaveError& error) {
        EXPECT_EQ(error.errorDescription(), QStringLiteral("Failed to launch ffmpeg: No such file or directory"));
    }
}

TEST(InterleaveEngine, AFailedRunTellsWhyAndLeavesNothingBehind) {
    const TestFolder folder;
    InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    group.channelFiles[QStringLiteral("R")] = folder.write(QStringLiteral("Take.R.wav"), "this is no audio");
    std::vector<ProcessingStatus> reported;
    const InterleaveEngine watched(tool("ffmpeg"), QString(),
                                   [&](const QUuid&, const ProcessingStatus& status) { reported.push_back(status); });
    const InterleaveResult result = watched.interleave(group, ChannelLayout::stereo, outputOf(group), {});
    EXPECT_FALSE(result.outcome.succeeded());
    EXPECT_TRUE(result.outcome.message.startsWith(QStringLiteral("ffmpeg error: ")))
        << result.outcome.message.toStdString();
    EXPECT_TRUE(result.outcome.message.contains(QStringLiteral("Invalid data")))
        << result.outcome.message.toStdString();
    EXPECT_FALSE(QFile::exists(outputOf(group)));
    ASSERT_EQ(reported.size(), 2u);
    EXPECT_EQ(reported[0], ProcessingStatus::processing());
    EXPECT_EQ(reported[1].kind, ProcessingStatus::Kind::failed);
}

TEST(InterleaveEngine, AFailedOverwriteThatNeverOpenedTheOutputLeavesItAlone) {
    const TestFolder folder;
    InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    group.channelFiles[QStringLiteral("R")] = folder.path(QStringLiteral("gone.wav"));
    folder.write(QStringLiteral("Interleaved/Take.wav"), "precious");
    ProcessingOptions options;
    options.skipIfExists = false;
    EXPECT_FALSE(engine().interleave(group, ChannelLayout::stereo, outputOf(group), options).outcome.succeeded());
    EXPECT_EQ(readAll(outputOf(group)), "precious");
}

TEST(InterleaveEngine, ACrashingFfmpegAndItsPartialOutput) {
    const TestFolder folder;
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    const QString fake = folder.writeScript(QStringLiteral("ffmpeg"),
                                            QStringLiteral("for o; do :; done; echo half > \"$o\"; kill -SEGV $$"));
    const InterleaveResult result =
        InterleaveEngine(fake, QString()).interleave(group, ChannelLayout::stereo, outputOf(group), {});
    EXPECT_FALSE(result.outcome.succeeded());
    EXPECT_EQ(result.outcome.message, QStringLiteral("ffmpeg error: Unknown error"));
    EXPECT_FALSE(QFile::exists(outputOf(group)));
}

TEST(InterleaveEngine, AHugeStandardErrorDoesNotBlockAndItsEndIsRead) {
    const TestFolder folder;
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    const QString fake = folder.writeScript(
        QStringLiteral("ffmpeg"),
        QStringLiteral("head -c 20000000 /dev/zero | tr '\\0' 'x' >&2; echo >&2; echo 'Error at the end' >&2; exit 3"));
    const InterleaveResult result =
        InterleaveEngine(fake, QString()).interleave(group, ChannelLayout::stereo, outputOf(group), {});
    EXPECT_EQ(result.outcome.message, QStringLiteral("ffmpeg error: Error at the end"));
}

TEST(InterleaveEngine, AnFfmpegThatMakesNothingIsNoSuccess) {
    const TestFolder folder;
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    const QString fake = folder.writeScript(QStringLiteral("ffmpeg"), QStringLiteral("exit 0"));
    const InterleaveResult result =
        InterleaveEngine(fake, QString()).interleave(group, ChannelLayout::stereo, outputOf(group), {});
    EXPECT_FALSE(result.outcome.succeeded());
    EXPECT_EQ(result.outcome.message, QStringLiteral("ffmpeg failed to create output file"));
}

TEST(InterleaveEngine, AFullDiskFailsTheItemAndLeavesNothingBehind) {
    const TestFolder folder;
    WaveSpec spec;
    spec.frames = 96000;
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, spec);
    const QStringList before = fingerprint(folder.path());
    // A limit on the size of files, which the child inherits, stands for the full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit tight{100'000, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &tight);
    const InterleaveResult result = engine().interleave(group, ChannelLayout::stereo, outputOf(group), {});
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_FALSE(result.outcome.succeeded()) << result.outcome.message.toStdString();
    EXPECT_EQ(fingerprint(folder.path()), before);
}

TEST(InterleaveEngine, OddNamesSurvive) {
    for (const char* name :
         {"-dash", "quo\"te's", "per%20cent%s", "line\nbreak", "emoji 🎤 ünï", "$(rm -rf x)", "a:b;c|d"}) {
        const TestFolder folder;
        const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {}, QString::fromUtf8(name));
        const InterleaveResult result = engine().interleave(group, ChannelLayout::stereo, outputOf(group), {});
        EXPECT_TRUE(result.outcome.succeeded()) << name << ": " << result.outcome.message.toStdString();
        EXPECT_EQ(decodedByFfmpeg(outputOf(group)), expectedSamples({}, 2)) << name;
    }
}

TEST(InterleaveEngine, SourcesWithSpeakerPositionsThatFfmpegReordersAreWarnedOf) {
    // Mono files that declare themselves front right and front left: ffmpeg sorts them into speaker order.
    const TestFolder folder;
    InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    for (const auto& [tag, mask] : {std::pair(QStringLiteral("L"), 2), std::pair(QStringLiteral("R"), 1)}) {
        QByteArray file = readAll(group.channelFiles.value(tag));
        const QByteArray format = littleEndian16(0xFFFE) + littleEndian16(1) + littleEndian32(48000) +
                                  littleEndian32(144000) + littleEndian16(3) + littleEndian16(24) + littleEndian16(22) +
                                  littleEndian16(24) + littleEndian32(static_cast<quint32>(mask)) + littleEndian16(1) +
                                  QByteArray::fromHex("000000001000800000aa00389b71");
        const QByteArray body = "WAVE" + chunkBytes("fmt ", format) + chunkBytes("data", chunkOf(file, "data"));
        folder.write(paths::lastComponent(group.channelFiles.value(tag)),
                     "RIFF" + littleEndian32(static_cast<quint32>(body.size())) + body);
    }
    const InterleaveResult result = engine().interleave(group, ChannelLayout::stereo, outputOf(group), {});
    ASSERT_TRUE(result.outcome.succeeded());
    ASSERT_EQ(result.outcome.warnings.size(), 1);
    EXPECT_TRUE(result.outcome.warnings.first().contains(QStringLiteral("Take.L.wav, Take.R.wav")));
}

TEST(InterleaveEngine, ClonesMetadataByCopyWhereThereAreNoChunks) {
    const TestFolder folder;
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, {});
    const QString fake = fakeBwfmetaedit(folder);
    const InterleaveResult result = engine(fake).interleave(group, ChannelLayout::stereo, outputOf(group), {});
    EXPECT_EQ(result.outcome.message, QStringLiteral("Successfully created: Take.wav"));
    const QStringList calls = callsOf(fake);
    ASSERT_EQ(calls.size(), 1);
    const QString ahead =
        QStringLiteral("--reject-overwrite\n--copy\n%1\n").arg(group.channelFiles.value(QStringLiteral("L")));
    ASSERT_TRUE(calls[0].startsWith(ahead)) << calls[0].toStdString();
    expectPrivateTwin(calls[0].mid(ahead.size()), outputOf(group));
}

TEST(InterleaveEngine, ExtractionAfterAFailedCopyNeverNamesTheSource) {
    const TestFolder folder;
    WaveSpec spec;
    BextSpec bext;
    bext.description = "first line\r\nsecond \"quoted\", line";
    spec.before = {{"bext", bextPayload(bext)}};
    const InterleaveGroup group = writeSet(folder, ChannelLayout::stereo, spec);
    const QString source = group.channelFiles.value(QStringLiteral("L"));
    const QString before = fingerprintOf(source);
    const QString fake = fakeBwfmetaedit(folder);
    folder.write(QStringLiteral("tools/bin/fail-copy"), "");
    folder.write(QStringLiteral("tools/bin/two-lines"), "");
    const InterleaveResult result = engine(fake).interleave(group, ChannelLayout::stereo, outputOf(group), {});
    EXPECT_EQ(result.outcome.message, QStringLiteral("Successfully created: Take.wav"));
    const QStringList calls = callsOf(fake);
    ASSERT_EQ(calls.size(), 4);
    EXPECT_TRUE(calls[1].startsWith(QStringLiteral("--out-core="))) << calls[1].toStdString();
    EXPECT_TRUE(calls[2].startsWith(QStringLiteral("--out-iXML=")));
    EXPECT_TRUE(calls[3].startsWith(QStringLiteral("--in-core=")));
    const QString target = calls[3].section(u'\n', 1);
    expectPrivateTwin(target, outputOf(group));
    const QByteArray imported = readAll(folder.path(QStringLiteral("tools/bin/imported")));
    EXPECT_FALSE(imported.contains(source.toUtf8())) << imported.toStdString();
    EXPECT_TRUE(imported.contains('"' + target.toUtf8() + "\",\"two\nlines\",Me,Ref1")) << imported.toStdString();
    EXPECT_EQ(fingerprintOf(source), before);
}

TEST(Verification, ComparesChannelsDurationAndIdentity) {
    const TestFolder folder;
    WaveSpec spec;
    spec.channels = 2;
    spec.frames = 48000;
    const QString output = folder.write(QStringLiteral("out.wav"), waveBytes(spec));
    const QString fake = fakeBwfmetaedit(folder);
    const InterleaveEngine verifier = engine(fake);
    const auto verify = [&](int channels, std::optional<double> duration) {
        return verifier.verifyInterleavedOutput(output, channels, duration, tool("ffprobe"));
    };
    EXPECT_EQ(verify(1, 1.0), ProcessingStatus::failed(QStringLiteral("Channel count mismatch: expected 1, got 2")));
    EXPECT_EQ(verify(2, 1.01), ProcessingStatus::completedCarbonCopyCertified());
    EXPECT_EQ(verify(2, 1.0101), ProcessingStatus::failed(QStringLiteral("Duration mismatch: 1.010s vs 1.000s")));
    EXPECT_EQ(verify(2, 0.99), ProcessingStatus::completedCarbonCopyCertified());
    EXPECT_EQ(verify(2, std::nullopt), ProcessingStatus::completedCarbonCopyCertified());
    folder.write(QStringLiteral("tools/bin/no-bext"), "");
    const auto uncertain = ProcessingStatus::completedUncertified(QStringLiteral("Metadata verification uncertain"));
    EXPECT_EQ(verify(2, 1.0), uncertain);
    EXPECT_EQ(engine().verifyInterleavedOutput(output, 2, 1.0, tool("ffprobe")), uncertain);
    EXPECT_THROW(verifier.verifyInterleavedOutput(folder.path(QStringLiteral("none.wav")), 2, 1.0, tool("ffprobe")),
                 FFProbeError);
}

TEST(InterleaveEngine, OutputURLStandsBesideTheFirstFile) {
    InterleaveGroup group;
    EXPECT_TRUE(InterleaveEngine::generateOutputURL(group, {}).isEmpty());
    group.baseName = QStringLiteral("A.B");
    group.channelFiles = {{QStringLiteral("C"), QStringLiteral("/c/A.B.C.wav")},
                          {QStringLiteral("L"), QStringLiteral("/l/A.B.L.wav")}};
    EXPECT_EQ(InterleaveEngine::generateOutputURL(group, {}), QStringLiteral("/l/Interleaved/A.B.wav"));
    group.containerKind = ContainerKind::unknown;
    EXPECT_EQ(InterleaveEngine::generateOutputURL(group, {}), QStringLiteral("/l/Interleaved/A.B.unknown"));
    group.baseName = QString(249, u'x'); // of a file "….L.wav" with the longest name there is
    group.containerKind = ContainerKind::wave64;
    EXPECT_EQ(InterleaveEngine::generateOutputURL(group, {}),
              QStringLiteral("/l/Interleaved/%1.wave64").arg(QString(248, u'x')));
}

TEST(InterleaveError, Texts) {
    using Kind = InterleaveError::Kind;
    const QString text = QStringLiteral("x");
    EXPECT_EQ(InterleaveError(Kind::missingChannelFile, text).errorDescription(),
              QStringLiteral("Missing channel file for: x"));
    EXPECT_EQ(InterleaveError(Kind::metadataCopyFailed, text).errorDescription(),
              QStringLiteral("Metadata copy failed: x"));
    EXPECT_EQ(InterleaveError(Kind::invalidOutputPath).errorDescription(), QStringLiteral("Invalid output path"));
}

} // namespace
} // namespace ostrel
