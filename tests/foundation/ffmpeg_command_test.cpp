#include "foundation/tools/ffmpeg_command.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(CodecForFormat, ByFormatThenByDepth) {
    const auto codec = [](const char* format, std::optional<int> depth) {
        return codecForFormat(QString::fromLatin1(format), depth);
    };
    for (const std::optional<int> depth : {std::optional<int>(), std::optional<int>(24)}) {
        EXPECT_EQ(codec("flac", depth), QStringLiteral("flac"));
        EXPECT_EQ(codec("MP3", depth), QStringLiteral("libmp3lame"));
        EXPECT_EQ(codec("m4a", depth), QStringLiteral("aac"));
        EXPECT_EQ(codec("aac", depth), QStringLiteral("aac"));
        EXPECT_EQ(codec("ogg", depth), QStringLiteral("libvorbis"));
    }
    for (const char* format : {"wav", "rf64", "wave64", "aiff", "caf", "unknown", ""}) {
        EXPECT_EQ(codec(format, 24), QStringLiteral("pcm_s24le"));
        EXPECT_EQ(codec(format, 32), QStringLiteral("pcm_s32le"));
        EXPECT_EQ(codec(format, 16), QStringLiteral("pcm_s16le"));
        EXPECT_EQ(codec(format, 20), QStringLiteral("pcm_s16le"));
        EXPECT_EQ(codec(format, std::nullopt), QStringLiteral("pcm_s16le"));
    }
}

TEST(ExtractFFmpegError, TheLastLineThatTellsWhy) {
    const auto error = [](const char* text) { return extractFFmpegError(QString::fromUtf8(text)); };
    EXPECT_EQ(error("Error one\n  Invalid argument  \nConversion failed!\n"), QStringLiteral("Invalid argument"));
    EXPECT_EQ(error("some error here\nlast"), QStringLiteral("some error here"));
    EXPECT_EQ(error("first\nlast\n\n"), QStringLiteral("last"));
    EXPECT_EQ(error(""), QStringLiteral("Unknown error"));
    EXPECT_EQ(error("\n\n"), QStringLiteral("Unknown error"));
}

TEST(WavCodec, TakesEightBitsUnsigned) {
    EXPECT_EQ(wavCodec(8), QStringLiteral("pcm_u8"));
    EXPECT_EQ(wavCodec(24), QStringLiteral("pcm_s24le"));
}

} // namespace
} // namespace ostrel
