// What stands behind the declared end of the audio: chunks, a few bytes, or audio that nobody would miss until it is
// gone.
#include "wave/wave_bytes.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

// 400 frames that look like no header.
QByteArray audio() {
    QByteArray bytes;
    for (int i = 0; i < 800; ++i) bytes += static_cast<char>(i * 7 + 129);
    return bytes;
}

QByteArray headed(const QByteArray& dataSize, const QByteArray& behind, const QByteArray& riffSize = "\0\0\0\0"_b) {
    return "RIFF"_b + riffSize + "WAVE"_b + monoFormat() + "data"_b + dataSize + behind;
}

TEST(UnexplainedBytes, ASizeThatWasNeverWrittenLeavesAllOfIt) {
    for (const QByteArray& size : {"\0\0\0\0"_b, "\xFF\xFF\xFF\xFF"_b}) {
        const Written file(headed(size, audio()));
        EXPECT_EQ(file.unexplained, 800u);
        EXPECT_TRUE(file.layout->isStreamed);
        EXPECT_EQ(file.layout->frames(), 400u); // as other programs read it
        EXPECT_EQ(missingBytes(*file.layout), 0u);
    }
}

TEST(UnexplainedBytes, SilenceBehindASizeOfNoughtIsAudio) {
    EXPECT_EQ(Written(headed("\0\0\0\0"_b, QByteArray(980, '\0'))).unexplained, 980u);
}

TEST(UnexplainedBytes, AQuarterOfTheSizeLeavesTheRest) {
    const Written stale(headed("\xC8\0\0\0"_b, audio())); // 200 of 800 bytes
    EXPECT_EQ(stale.unexplained, 600u);
    EXPECT_FALSE(stale.layout->isStreamed);
    EXPECT_EQ(stale.layout->frames(), 100u);
    // Also where the size of the whole is right.
    EXPECT_EQ(Written(headed("\xC8\0\0\0"_b, audio(), "\x44\x03\0\0"_b)).unexplained, 600u);
    // And where chunks stand behind the audio.
    EXPECT_EQ(Written(headed("\xC8\0\0\0"_b, audio() + "LIST\x04\0\0\0INFO"_b)).unexplained, 612u);
}

TEST(UnexplainedBytes, ASizePastTheEndIsAudioThatIsMissing) {
    const Written file(headed("\xE8\x03\0\0"_b, audio())); // 1,000 of 800 bytes
    EXPECT_EQ(file.unexplained, 0u);
    EXPECT_EQ(missingBytes(*file.layout), 200u);
    EXPECT_EQ(file.layout->frames(), 400u);
}

TEST(UnexplainedBytes, AFileThatHoldsNothingIsWhole) {
    for (const QByteArray& size : {"\0\0\0\0"_b, "\xFF\xFF\xFF\xFF"_b}) {
        EXPECT_EQ(Written(headed(size, QByteArray())).unexplained, 0u);
    }
    EXPECT_EQ(Written(headed("\0\0\0\0"_b, "LIST\x04\0\0\0INFO"_b)).unexplained, 0u);
}

TEST(UnexplainedBytes, ChunksUpToTheEndExplainThemselves) {
    const QByteArray tail = "iXML\x06\0\0\0<odd/>SMED\x04\0\0\0abcd"_b;
    const Written file(headed("\x20\x03\0\0"_b, audio() + tail));
    EXPECT_EQ(file.unexplained, 0u);
    EXPECT_EQ(idsOf(*file.layout).last(), QStringLiteral("SMED"));
}

TEST(UnexplainedBytes, OddSizesWithAndWithoutTheirPad) {
    const QByteArray odd = audio().first(799);
    const QByteArray size = "\x1F\x03\0\0"_b;
    const QByteArray tail = "LIST\x0C\0\0\0INFOISFT\0\0\0\0"_b;
    EXPECT_EQ(Written(headed(size, odd)).unexplained, 0u);
    EXPECT_EQ(Written(headed(size, odd + '\0')).unexplained, 0u);
    EXPECT_EQ(Written(headed(size, odd + '\0' + tail)).unexplained, 0u);
    EXPECT_EQ(Written(headed(size, odd + tail)).unexplained, 0u);
    // Among the chunks behind it, too.
    EXPECT_EQ(Written(headed(size, odd + '\0' + "iXML\x03\0\0\0<x>"_b + tail)).unexplained, 0u);
    EXPECT_EQ(Written(headed(size, odd + '\0' + "iXML\x03\0\0\0<x>\0"_b + tail)).unexplained, 0u);
    EXPECT_EQ(Written(headed(size, odd + '\0' + "iXML\x03\0\0\0<x>"_b)).unexplained, 0u); // the pad of the last
}

TEST(UnexplainedBytes, ARestOfAFewBytesIsNoAudio) {
    const QByteArray size = "\x20\x03\0\0"_b;
    EXPECT_EQ(Written(headed(size, audio() + "\x01\x02\x03"_b)).unexplained, 0u);
    EXPECT_EQ(Written(headed(size, audio() + QByteArray(8, '\x01'))).unexplained, 0u);
    EXPECT_EQ(Written(headed(size, audio() + QByteArray(9, '\x01'))).unexplained, 9u);
    const QByteArray list = "LIST\x04\0\0\0INFO"_b;
    EXPECT_EQ(Written(headed(size, audio() + list + QByteArray(31, '\x01'))).unexplained, 0u);
    EXPECT_EQ(Written(headed(size, audio() + list + QByteArray(32, '\x01'))).unexplained, 44u);
}

TEST(UnexplainedBytes, AChunkThatPassesTheEndExplainsNothing) {
    EXPECT_EQ(Written(headed("\x20\x03\0\0"_b, audio() + "LIST\x40\0\0\0INFO"_b)).unexplained, 12u);
}

} // namespace
} // namespace ostrel
