#include "platform/processes/ffmpeg_fault.h"

#include "support/sound.h"
#include "support/test_folder.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace ostrel {
namespace {

using testing::TestFolder;

QString faultOf(const QByteArray& standardError) {
    ProcessResult result;
    result.exitStatus = 1;
    result.standardError = standardError;
    return ffmpegFault(result);
}

const QByteArray kBanner = "ffmpeg version 5.1 Copyright (c) 2000-2022 the FFmpeg developers\n"
                           "  built with gcc 12 (Debian 12.2.0-14)\n"
                           "  configuration: --prefix=/usr --enable-gpl --disable-error-resilience\n"
                           "  libavutil      57. 28.100 / 57. 28.100\n";

const QByteArray kInput = "Guessed Channel Layout for Input Stream #0.0 : mono\n"
                          "Input #0, wav, from '/in/Invalid error.wav':\n"
                          "  Metadata:\n"
                          "    comment         : caf\xe9 Error: not what it looks like\n"
                          "  Duration: 00:00:02.00, bitrate: 705 kb/s\n"
                          "  Stream #0:0: Audio: pcm_s16le, 44100 Hz, mono, s16, 705 kb/s\n";

TEST(FFmpegFault, TheBannerAndTheInputsAreNone) {
    EXPECT_EQ(faultOf(""), QString());
    EXPECT_EQ(faultOf("\n\r\n"), QString());
    EXPECT_EQ(faultOf(kBanner + kInput), QString());
    EXPECT_EQ(faultOf(kBanner + kInput +
                      "Stream mapping:\n  Stream #0:0 -> #0:0 (copy)\nPress [q] to stop\n"
                      "size=       3kB time=00:00:00.01 speed=N/A    \r"),
              QString());
}

TEST(FFmpegFault, TheLineBehindThem) {
    EXPECT_EQ(faultOf(kBanner + "/in/no.wav: No such file or directory\n"),
              QStringLiteral("/in/no.wav: No such file or directory"));
    EXPECT_EQ(faultOf(kBanner + kInput + "Unknown encoder 'pcm_s20le'\n"),
              QStringLiteral("Unknown encoder 'pcm_s20le'"));
    EXPECT_EQ(faultOf(kBanner + "[wav @ 0x55e0] invalid start code"),
              QStringLiteral("[wav @ 0x55e0] invalid start code"));
    EXPECT_EQ(faultOf("é: 日本\r\n"), QStringLiteral("é: 日本"));
}

TEST(FFmpegFault, ProgressIsPrintedOverItself) {
    EXPECT_EQ(
        faultOf("size=  1kB speed=1x    \rsize=  2kB speed=1x    \rError closing file /a.wav: No space left on device\n"
                "size=  3kB speed=1x    \rvideo:0kB audio:3kB\n[out#0/wav @ 0x5] video:0kB audio:3kB\n"
                "Conversion failed!\n"),
        QStringLiteral("Error closing file /a.wav: No space left on device"));
}

TEST(FFmpegFault, TheCauseAheadOfItsConsequences) {
    EXPECT_EQ(faultOf("[mp3 @ 0x5] Invalid audio stream. Exactly one MP3 audio stream is required.\n"
                      "Could not write header for output file #0 (incorrect codec parameters ?): Invalid argument\n"
                      "Error initializing output stream 0:0 -- \nConversion failed!\n"),
              QStringLiteral("[mp3 @ 0x5] Invalid audio stream. Exactly one MP3 audio stream is required."));
    EXPECT_EQ(
        faultOf("[AVFilterGraph @ 0x5] No such filter: 'x'\nError initializing complex filters.\nInvalid argument\n"),
        QStringLiteral("[AVFilterGraph @ 0x5] No such filter: 'x'"));
    EXPECT_EQ(faultOf("[Parsed_pan_0 @ 0x5] Pure channel mapping detected: 0\n/out.xyz: Invalid argument\n"
                      "Conversion failed!\n"),
              QStringLiteral("/out.xyz: Invalid argument"));
}

TEST(FFmpegFault, ARunThatASignalEndedAndOneThatWeEnded) {
    ProcessResult result;
    result.crashed = true;
    result.exitStatus = 128 + SIGXFSZ;
    result.standardError = kBanner + "some line\n";
    EXPECT_EQ(ffmpegFault(result), QStringLiteral("ended by a signal: File size limit exceeded"));
    result.ended = ChildEnd::stoodStill;
    result.why = QStringLiteral("ended because of something");
    EXPECT_EQ(ffmpegFault(result), result.why);
}

TEST(FFmpegFault, MegabytesAreReadInNoTime) {
    rusage before;
    getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(faultOf("/a: first\n" + QByteArray("  set in\n").repeated(400'000)), QStringLiteral("/a: first"));
    rusage after;
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_utime.tv_sec - before.ru_utime.tv_sec,
              10); // a look back to the start from each line takes hours
}

// What the installed ffmpeg says.
class RealFFmpegFault : public ::testing::Test {
protected:
    QString fault(const QStringList& arguments) const {
        const ProcessResult result = ChildProcess::runSilently(testing::installedTool(QStringLiteral("ffmpeg")),
                                                               QStringList{QStringLiteral("-y")} + arguments);
        EXPECT_FALSE(result.succeeded());
        EXPECT_TRUE(result.errorText().startsWith(QStringLiteral("ffmpeg version")));
        return ffmpegFault(result);
    }
    static QStringList words(const char* text) { return QString::fromUtf8(text).split(u' '); }

    TestFolder folder_;
    QString input_ = testing::writeSound(folder_.path(QStringLiteral("in.wav")), 1, 200'000);
    QString output_ = folder_.path(QStringLiteral("out.wav"));
};

TEST_F(RealFFmpegFault, AMissingFile) {
    const QString none = folder_.path(QStringLiteral("none.wav"));
    const QString said = fault({QStringLiteral("-i"), input_, QStringLiteral("-i"), none, output_});
    EXPECT_TRUE(said.contains(QStringLiteral("No such file or directory"))) << said.toStdString();
}

TEST_F(RealFFmpegFault, ACodecThatThereIsNot) {
    const QString said =
        fault({QStringLiteral("-i"), input_, QStringLiteral("-c:a"), QStringLiteral("pcm_s20le"), output_});
    EXPECT_TRUE(said.contains(QStringLiteral("Unknown encoder 'pcm_s20le'"))) << said.toStdString();
}

TEST_F(RealFFmpegFault, AFullDisk) {
    const QString said = fault(QStringList{QStringLiteral("-i"), input_} + words("-f wav /dev/full"));
    EXPECT_TRUE(said.contains(QStringLiteral("No space left on device"))) << said.toStdString();
}

TEST_F(RealFFmpegFault, AFileThatIsNoSound) {
    const QString text = folder_.write(QStringLiteral("text.wav"), "this is no audio");
    const QString said = fault({QStringLiteral("-i"), text, output_});
    EXPECT_TRUE(said.contains(QStringLiteral("Invalid data found when processing input"))) << said.toStdString();
}

TEST_F(RealFFmpegFault, AFilterThatCanNotBe) {
    const QString said = fault(QStringList{QStringLiteral("-i"), input_} +
                               words("-filter_complex [0:a]pan=nolayout|c0=c0[o] -map [o]") + QStringList{output_});
    EXPECT_TRUE(said.contains(QStringLiteral("pan"))) << said.toStdString();
}

TEST_F(RealFFmpegFault, AStreamThatThereIsNot) {
    const QString said = fault(QStringList{QStringLiteral("-i"), input_} + words("-map 0:a:3") + QStringList{output_});
    EXPECT_TRUE(said.contains(QStringLiteral("matches no streams"))) << said.toStdString();
}

} // namespace
} // namespace ostrel
