#include "foundation/tools/ffprobe_parser.h"

#include "support/test_folder.h"
#include "support/wave_file.h"

#include <QProcess>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::TestFolder;

// A document around a stream's and a format's members.
QByteArray document(const QByteArray& stream, const QByteArray& format = R"("duration":"1.5")") {
    return R"({"programs":[],"streams":[{)" + stream + R"(}],"format":{)" + format + "}}";
}

const QByteArray kWhole = R"("sample_rate":"48000","channels":2)";

std::optional<FFProbeError::Kind> errorOf(const QByteArray& json) {
    try {
        FFProbeParser::parseJSON(json);
    } catch (const FFProbeError& error) {
        return error.kind;
    }
    return std::nullopt;
}

TEST(FFProbeJSON, AWholeDocument) {
    const QByteArray json = document(
        R"("codec_name":"pcm_s24le","sample_fmt":"s32","sample_rate":"96000","channels":6,"channel_layout":"5.1",)"
        R"("bits_per_sample":24,"bits_per_raw_sample":"24")",
        R"("duration":"12.345000")");
    AudioFileInfo expected;
    expected.sampleRate = 96000;
    expected.bitDepth = 24;
    expected.bitsPerRawSample = 24;
    expected.channels = 6;
    expected.duration = 12.345;
    expected.codec = QStringLiteral("pcm_s24le");
    expected.sampleFmt = QStringLiteral("s32");
    EXPECT_EQ(FFProbeParser::parseJSON(json), expected);
    const FileAnalysis analysis = FFProbeParser::parseAnalysisJSON(json);
    EXPECT_EQ(analysis.channelLayout, QStringLiteral("5.1"));
    EXPECT_EQ(analysis.channels, 6);
    EXPECT_EQ(analysis.sampleRate, 96000);
    EXPECT_EQ(analysis.bitDepth, 24);
    EXPECT_EQ(analysis.bitsPerRawSample, 24);
    EXPECT_EQ(analysis.codecName, QStringLiteral("pcm_s24le"));
    EXPECT_EQ(analysis.sampleFmt, QStringLiteral("s32"));
    EXPECT_EQ(analysis.duration, 12.345);
    EXPECT_EQ(analysis.effectiveBitDepth(), 24);
}

TEST(FFProbeJSON, WhatIsNoObjectIsInvalid) {
    for (const char* json : {"", "[]", "7", "null", "\"text\"", "{", "{\"streams\":", "{} trailing", "\xff\xfe"})
        EXPECT_EQ(errorOf(json), FFProbeError::Kind::invalidJSON) << json;
}

TEST(FFProbeJSON, WithoutAFirstStreamObjectThereIsNoAudio) {
    for (const char* json : {"{}", R"({"streams":[]})", R"({"streams":{}})", R"({"streams":null})",
                             R"({"streams":[7]})", R"({"streams":[[],{"sample_rate":1}]})"})
        EXPECT_EQ(errorOf(json), FFProbeError::Kind::noAudioStream) << json;
}

TEST(FFProbeJSON, OnlyTheFirstStreamIsRead) {
    const QByteArray json = R"({"streams":[{"sample_rate":"48000","channels":1},{"sample_rate":"8000","channels":8}],)"
                            R"("format":{"duration":"1"}})";
    EXPECT_EQ(FFProbeParser::parseJSON(json).sampleRate, 48000);
    EXPECT_EQ(FFProbeParser::parseJSON(json).channels, 1);
}

TEST(FFProbeJSON, SampleRateIsATextOrANumber) {
    const auto rate = [](const QByteArray& value) {
        return FFProbeParser::parseJSON(document(R"("channels":1,"sample_rate":)" + value)).sampleRate;
    };
    EXPECT_EQ(rate("\"44100\""), 44100);
    EXPECT_EQ(rate("44100"), 44100);
    EXPECT_EQ(rate("44100.0"), 44100);
    for (const char* value :
         {"\"\"", "\"fast\"", "\"44100Hz\"", "\"4.41e4\"", "null", "[]", "true", "99999999999", "\"99999999999\""})
        EXPECT_EQ(errorOf(document(QByteArray(R"("channels":1,"sample_rate":)") + value)),
                  FFProbeError::Kind::missingSampleRate)
            << value;
    EXPECT_EQ(errorOf(document(R"("channels":1)")), FFProbeError::Kind::missingSampleRate);
}

TEST(FFProbeJSON, BitsPerSampleIsANumberOrZero) {
    const auto bits = [](const QByteArray& value) {
        return FFProbeParser::parseJSON(document(kWhole + R"(,"bits_per_sample":)" + value)).bitDepth;
    };
    EXPECT_EQ(bits("24"), 24);
    EXPECT_EQ(bits("\"24\""), 0);
    EXPECT_EQ(bits("null"), 0);
    EXPECT_EQ(FFProbeParser::parseJSON(document(kWhole)).bitDepth, 0);
}

TEST(FFProbeJSON, BitsPerRawSampleIsAPositiveNumberOrTrimmedText) {
    const auto raw = [](const QByteArray& value) {
        return FFProbeParser::parseJSON(document(kWhole + R"(,"bits_per_raw_sample":)" + value)).bitsPerRawSample;
    };
    EXPECT_EQ(raw("20"), 20);
    EXPECT_EQ(raw("\"24\""), 24);
    EXPECT_EQ(raw("\" 24\\n\""), 24);
    for (const char* value : {"0", "-1", "\"0\"", "\"-8\"", "\"\"", "\"N/A\"", "null", "{}"})
        EXPECT_EQ(raw(value), std::nullopt);
    EXPECT_EQ(FFProbeParser::parseJSON(document(kWhole)).bitsPerRawSample, std::nullopt);
}

TEST(FFProbeJSON, ChannelsAreANumber) {
    for (const char* stream : {R"("sample_rate":"1")", R"("sample_rate":"1","channels":"2")",
                               R"("sample_rate":"1","channels":null)", R"("sample_rate":"1","channels":1e300)"})
        EXPECT_EQ(errorOf(document(stream)), FFProbeError::Kind::missingChannels) << stream;
}

TEST(FFProbeJSON, TextsOfAnotherKindCountAsEmpty) {
    const AudioFileInfo info = FFProbeParser::parseJSON(document(kWhole + R"(,"codec_name":7,"sample_fmt":null)"));
    EXPECT_EQ(info.codec, QString());
    EXPECT_EQ(info.sampleFmt, QString());
}

TEST(FFProbeJSON, DurationIsTheFirstThatTellsOne) {
    const auto duration = [](const QByteArray& stream, const QByteArray& format) {
        return FFProbeParser::parseJSON(document(kWhole + stream, format)).duration;
    };
    EXPECT_EQ(duration(R"(,"duration":"9")", R"("duration":"1.25")"), 1.25);
    EXPECT_EQ(duration(R"(,"duration":"9")", R"("duration":1.25)"), 1.25);
    EXPECT_EQ(duration(R"(,"duration":"9.5")", ""), 9.5);
    EXPECT_EQ(duration(R"(,"duration":"9.5")", R"("duration":"N/A")"), 9.5);
    EXPECT_EQ(FFProbeParser::parseJSON(R"({"streams":[{"sample_rate":1,"channels":1,"duration":"2"}]})").duration, 2);
    EXPECT_EQ(
        FFProbeParser::parseJSON(R"({"format":[],"streams":[{"sample_rate":1,"channels":1,"duration":"2"}]})").duration,
        2);
}

TEST(FFProbeJSON, WithoutAnyDurationItIsMissing) {
    EXPECT_EQ(errorOf(document(kWhole, "")), FFProbeError::Kind::missingDuration);
    EXPECT_EQ(errorOf(document(kWhole + R"(,"duration":9.5)", "")),
              FFProbeError::Kind::missingDuration); // of a stream: a text only
    for (const char* value : {"\"nan\"", "\"inf\"", "\"-inf\"", "\"\"", "null"})
        EXPECT_EQ(errorOf(document(kWhole, QByteArray(R"("duration":)") + value)), FFProbeError::Kind::missingDuration)
            << value;
}

TEST(FFProbeError, EveryCaseHasItsText) {
    const auto text = [](FFProbeError::Kind kind, const QString& payload = QString()) {
        return FFProbeError(kind, payload).errorDescription();
    };
    EXPECT_EQ(text(FFProbeError::Kind::probeFailure, QStringLiteral("x: %1")), QStringLiteral("ffprobe failed: x: %1"));
    EXPECT_EQ(text(FFProbeError::Kind::processLaunchFailure, QStringLiteral("its words")), QStringLiteral("its words"));
    EXPECT_EQ(text(FFProbeError::Kind::invalidJSON), QStringLiteral("Invalid JSON output from ffprobe"));
    EXPECT_EQ(text(FFProbeError::Kind::noAudioStream), QStringLiteral("No audio stream found in file"));
    EXPECT_EQ(text(FFProbeError::Kind::missingSampleRate), QStringLiteral("Could not determine sample rate"));
    EXPECT_EQ(text(FFProbeError::Kind::missingChannels), QStringLiteral("Could not determine channel count"));
    EXPECT_EQ(text(FFProbeError::Kind::missingDuration), QStringLiteral("Could not determine duration"));
}

AudioFileInfo infoWith(const char* codec, int bits, std::optional<int> raw, const char* format) {
    AudioFileInfo info;
    info.codec = QString::fromLatin1(codec);
    info.bitDepth = bits;
    info.bitsPerRawSample = raw;
    info.sampleFmt = QString::fromLatin1(format);
    return info;
}

TEST(EffectiveBitDepth, LossyCodecsHaveNoneEvenWithRawBitsSet) {
    for (const char* codec : {"mp3", "aac", "opus", "vorbis", "ogg", "MP3", "AAC"})
        EXPECT_EQ(infoWith(codec, 16, 16, "s16").effectiveBitDepth(), std::nullopt) << codec;
}

TEST(EffectiveBitDepth, RawBitsWinOverBitsPerSample) {
    EXPECT_EQ(infoWith("pcm_s32le", 32, 24, "s32").effectiveBitDepth(), 24);
    EXPECT_EQ(infoWith("pcm_s16le", 16, std::nullopt, "s32").effectiveBitDepth(), 16);
}

TEST(EffectiveBitDepth, TheSampleFormatDecidesWhereNoBitsAreTold) {
    const std::pair<const char*, int> rows[] = {{"u8", 8},    {"u8p", 8},   {"s16", 16},  {"s16p", 16}, {"s24", 24},
                                                {"s24p", 24}, {"s32", 32},  {"s32p", 32}, {"flt", 32},  {"fltp", 32},
                                                {"dbl", 64},  {"dblp", 64}, {"S32", 32},  {"FLTP", 32}};
    for (const auto& [format, depth] : rows)
        EXPECT_EQ(infoWith("x", 0, std::nullopt, format).effectiveBitDepth(), depth) << format;
    EXPECT_EQ(infoWith("x", 0, std::nullopt, "s64").effectiveBitDepth(), std::nullopt);
    EXPECT_EQ(infoWith("x", 0, std::nullopt, "").effectiveBitDepth(), std::nullopt);
}

AudioFileInfo mono(int sampleRate = 48000, int bits = 24, double duration = 10) {
    AudioFileInfo info;
    info.channels = 1;
    info.sampleRate = sampleRate;
    info.bitDepth = bits;
    info.duration = duration;
    return info;
}

ProcessingStatus validated(const AudioFileInfo& a, const AudioFileInfo& b, double tolerance = 0.1) {
    return FFProbeParser::validateGroup({{QStringLiteral("a"), a}, {QStringLiteral("b"), b}}, tolerance);
}

TEST(ValidateGroup, TheFirstThingThatStandsAgainstIt) {
    AudioFileInfo stereo = mono(44100, 16, 99);
    stereo.channels = 2;
    EXPECT_EQ(FFProbeParser::validateGroup({}, 1), ProcessingStatus::failed(QStringLiteral("No files to validate")));
    EXPECT_EQ(validated(mono(), stereo), ProcessingStatus::failed(QStringLiteral("File is not mono (2 channels)")));
    EXPECT_EQ(validated(mono(), mono(44100, 16, 99)), ProcessingStatus::mismatchSampleRate());
    EXPECT_EQ(validated(mono(), mono(48000, 16, 99)), ProcessingStatus::mismatchBitDepth());
    EXPECT_EQ(validated(mono(), mono(48000, 24, 99)), ProcessingStatus::mismatchDuration(10, 99));
    EXPECT_EQ(validated(mono(48000, 24, 99), mono()), ProcessingStatus::mismatchDuration(10, 99));
    EXPECT_EQ(validated(mono(), mono()), ProcessingStatus::ready());
}

TEST(ValidateGroup, ComparesTheRawDepthAndNotTheEffectiveOne) {
    AudioFileInfo raw24 = mono(48000, 32);
    raw24.bitsPerRawSample = 24;
    EXPECT_EQ(validated(mono(48000, 24), raw24), ProcessingStatus::mismatchBitDepth());
    EXPECT_EQ(validated(mono(48000, 32), raw24), ProcessingStatus::ready());
}

TEST(ValidateGroup, ADifferenceOfTheToleranceStillPasses) {
    EXPECT_EQ(validated(mono(48000, 24, 10), mono(48000, 24, 10.5), 0.5), ProcessingStatus::ready());
    EXPECT_EQ(validated(mono(48000, 24, 10), mono(48000, 24, 10.5625), 0.5),
              ProcessingStatus::mismatchDuration(10, 10.5625));
}

TEST(FormatSampleRate, WholeOrOneDigit) {
    const std::pair<int, const char*> rows[] = {{44100, "44.1k"}, {48000, "48k"}, {96000, "96k"},   {88200, "88.2k"},
                                                {22050, "22.1k"}, {8000, "8k"},   {192000, "192k"}, {0, "0k"}};
    for (const auto& [rate, text] : rows) EXPECT_EQ(formatSampleRate(rate), QString::fromLatin1(text));
}

// The real ffprobe over files made here.

QString ffprobe() { return QStringLiteral("/usr/bin/ffprobe"); }

void convert(const QString& from, const QString& to, const QStringList& options = {}) {
    QProcess process;
    process.start(QStringLiteral("ffmpeg"),
                  QStringList{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), from} + options +
                      QStringList{to});
    ASSERT_TRUE(process.waitForFinished(60'000));
    ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
}

QString writeWave(const TestFolder& folder, int bitDepth, int channels = 1, int sampleRate = 48000) {
    testing::WaveSpec spec;
    spec.bitDepth = bitDepth;
    spec.channels = channels;
    spec.sampleRate = sampleRate;
    spec.frames = sampleRate / 4;
    return folder.write(QStringLiteral("-w 'q' \"%1\"\n🎬.wav").arg(bitDepth), testing::waveBytes(spec));
}

TEST(FFProbe, IntegerPCMOfEveryDepth) {
    const TestFolder folder;
    const FFProbeParser parser(ffprobe());
    for (const int depth : {16, 24, 32}) {
        const AudioFileInfo info = parser.probe(writeWave(folder, depth, 2, 44100));
        EXPECT_EQ(info.sampleRate, 44100);
        EXPECT_EQ(info.channels, 2);
        EXPECT_EQ(info.bitDepth, depth);
        EXPECT_EQ(info.effectiveBitDepth(), depth);
        EXPECT_NEAR(info.duration, 0.25, 1e-6);
        EXPECT_EQ(info.codec, QStringLiteral("pcm_s%1le").arg(depth));
        EXPECT_EQ(info.sampleFmt, depth == 16 ? QStringLiteral("s16") : QStringLiteral("s32"));
    }
}

TEST(FFProbe, FloatFlacAndMp3) {
    const TestFolder folder;
    const FFProbeParser parser(ffprobe());
    const QString wave = writeWave(folder, 24);
    const QString floats = folder.path(QStringLiteral("f.wav"));
    const QString flac = folder.path(QStringLiteral("f.flac"));
    const QString mp3 = folder.path(QStringLiteral("f.mp3"));
    convert(wave, floats, {QStringLiteral("-c:a"), QStringLiteral("pcm_f32le")});
    convert(wave, flac);
    convert(wave, mp3);
    EXPECT_EQ(parser.probe(floats).effectiveBitDepth(), 32);
    EXPECT_EQ(parser.probe(floats).sampleFmt, QStringLiteral("flt"));
    EXPECT_EQ(parser.probe(flac).bitDepth, 0);
    EXPECT_EQ(parser.probe(flac).effectiveBitDepth(), 24);
    EXPECT_EQ(parser.probe(mp3).effectiveBitDepth(), std::nullopt);
    EXPECT_EQ(parser.probe(mp3).channels, 1);
}

TEST(FFProbe, AnalyzeFileGivesTheSizeToo) {
    const TestFolder folder;
    const QString wave = writeWave(folder, 16, 6);
    const FileAnalysis analysis = FFProbeParser::analyzeFile(wave, ffprobe());
    EXPECT_EQ(analysis.channels, 6);
    EXPECT_EQ(analysis.fileSize, static_cast<quint64>(testing::readAll(wave).size()));
    EXPECT_EQ(analysis.codecName, QStringLiteral("pcm_s16le"));
}

TEST(FFProbe, SeveralFilesAndTheFirstErrorEndsIt) {
    const TestFolder folder;
    const FFProbeParser parser(ffprobe());
    const QString a = writeWave(folder, 16);
    const QString b = writeWave(folder, 24);
    const auto infos = parser.probe(QStringList{a, b});
    ASSERT_EQ(infos.size(), 2);
    EXPECT_EQ(infos[a].bitDepth, 16);
    EXPECT_EQ(infos[b].bitDepth, 24);
    EXPECT_THROW(parser.probe(QStringList{a, folder.write(QStringLiteral("no.wav"), "no audio"), b}), FFProbeError);
}

TEST(FFProbe, ArgumentsAreExactlyThese) {
    const TestFolder folder;
    const QString fake =
        folder.writeScript(QStringLiteral("ffprobe"),
                           QStringLiteral("printf '%s\\n' \"$@\" > \"$(dirname \"$0\")/arguments\"; echo '{}'"));
    const auto arguments = [&] {
        return QString::fromUtf8(testing::readAll(folder.path(QStringLiteral("arguments"))));
    };
    EXPECT_THROW(FFProbeParser(fake).probe(QStringLiteral("/t/a.wav")), FFProbeError);
    EXPECT_EQ(
        arguments(),
        QStringLiteral("-v\nerror\n-show_entries\nstream=sample_rate,bits_per_sample,bits_per_raw_sample,channels,"
                       "codec_name,sample_fmt\n-show_entries\nformat=duration\n-of\njson\n/t/a.wav\n"));
    EXPECT_THROW(FFProbeParser::analyzeFile(QStringLiteral("/t/a.wav"), fake), FFProbeError);
    EXPECT_EQ(arguments(),
              QStringLiteral(
                  "-v\nerror\n-show_entries\nstream=channels,channel_layout,sample_rate,bits_per_sample,"
                  "bits_per_raw_sample,codec_name,sample_fmt\n-show_entries\nformat=duration\n-of\njson\n/t/a.wav\n"));
}

QString probeError(const QString& tool, const QString& file) {
    try {
        FFProbeParser(tool).probe(file);
    } catch (const FFProbeError& error) {
        return error.errorDescription();
    }
    return QStringLiteral("no error");
}

TEST(FFProbe, FailuresCarryTheToolsWords) {
    const TestFolder folder;
    const QString none = folder.path(QStringLiteral("none.wav"));
    EXPECT_EQ(probeError(ffprobe(), none), QStringLiteral("ffprobe failed: %1: No such file or directory").arg(none));
    const QString text = folder.write(QStringLiteral("text.wav"), "this is no audio");
    EXPECT_EQ(probeError(ffprobe(), text),
              QStringLiteral("ffprobe failed: %1: Invalid data found when processing input").arg(text));
    const QString silent =
        folder.writeScript(QStringLiteral("silent"), QStringLiteral("printf '\\377\\376' >&2; exit 1"));
    EXPECT_EQ(probeError(silent, text), QStringLiteral("ffprobe failed: Unknown error"));
    const QString crashing =
        folder.writeScript(QStringLiteral("crashing"), QStringLiteral("echo dying >&2; kill -SEGV $$"));
    EXPECT_EQ(probeError(crashing, text), QStringLiteral("ffprobe failed: dying"));
}

TEST(FFProbe, AToolThatPrintsWithoutEndIsEndedAndTold) {
    const TestFolder folder;
    EXPECT_EQ(probeError(folder.writeScript(QStringLiteral("endless"), QStringLiteral("echo words >&2; exec yes")),
                         folder.write(QStringLiteral("a.wav"), "")),
              QStringLiteral("ffprobe failed: ended because it printed more than 64 MiB"));
}

TEST(FFProbe, AToolThatCannotBeStartedIsTold) {
    EXPECT_EQ(probeError(QStringLiteral("/nowhere/ffprobe"), QStringLiteral("/a.wav")),
              QStringLiteral("Could not start ffprobe: No such file or directory"));
}

TEST(FFProbe, AFileWithoutAudioHasNoStream) {
    const TestFolder folder;
    const QString fake = folder.writeScript(QStringLiteral("ffprobe"), QStringLiteral("echo '{\"streams\": []}'"));
    EXPECT_EQ(probeError(fake, QStringLiteral("/a.wav")), QStringLiteral("No audio stream found in file"));
    const QString garbage = folder.writeScript(QStringLiteral("garbage"), QStringLiteral("echo '<html>'"));
    EXPECT_EQ(probeError(garbage, QStringLiteral("/a.wav")), QStringLiteral("Invalid JSON output from ffprobe"));
}

} // namespace
} // namespace ostrel
