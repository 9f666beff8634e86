#include "wave/same_audio.h"

#include "wave/wave_bytes.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class SameAudio : public ::testing::Test {
protected:
    bool isSame(const QByteArray& left, const QByteArray& right) const {
        const std::string a = folder_.write(QStringLiteral("a.wav"), left).toStdString();
        const std::string b = folder_.write(QStringLiteral("b.wav"), right).toStdString();
        return sameAudio(a, b) && sameAudio(b, a);
    }
    static QByteArray file(const QByteArray& audio, const QByteArray& ahead = {}, const QByteArray& behind = {}) {
        QByteArray size(4, '\0');
        for (int i = 0; i < 4; ++i) size[i] = static_cast<char>(audio.size() >> 8 * i);
        return "RIFF\0\0\0\0WAVE"_b + monoFormat() + ahead + "data"_b + size + audio + behind;
    }

    TestFolder folder_;
};

TEST_F(SameAudio, WhateverStandsAroundIt) {
    const QByteArray audio(3'000'002, 'a');
    EXPECT_TRUE(isSame(file(audio), file(audio)));
    EXPECT_TRUE(isSame(file(audio), file(audio, "JUNK\x02\0\0\0xx"_b, "iXML\x04\0\0\0<x/>"_b)));
    QByteArray other = audio;
    other[2'500'000] = 'b';
    EXPECT_FALSE(isSame(file(audio), file(other)));
    EXPECT_FALSE(isSame(file(audio), file(audio.first(3'000'000))));
    EXPECT_TRUE(isSame(file(QByteArray()), file(QByteArray())));
}

TEST_F(SameAudio, InLongFilesToo) {
    const QByteArray rf64 = "RF64\xFF\xFF\xFF\xFFWAVE"_b + "ds64\x18\0\0\0"_b +
                            "\x4A\0\0\0\0\0\0\0\x06\0\0\0\0\0\0\0"_b + QByteArray(8, '\0') + monoFormat() +
                            "data\xFF\xFF\xFF\xFF"_b + "abcdefgh";
    EXPECT_TRUE(isSame(rf64, file("abcdef")));
    EXPECT_FALSE(isSame(rf64, file("abcdefgh")));
}

TEST_F(SameAudio, IsNoneWhereThereIsNoAudio) {
    EXPECT_FALSE(isSame("RIFF", "RIFF"));
    EXPECT_FALSE(isSame("RIFF\0\0\0\0WAVE"_b + monoFormat(), "RIFF\0\0\0\0WAVE"_b + monoFormat()));
    EXPECT_FALSE(sameAudio(folder_.path(QStringLiteral("none.wav")).toStdString(), "/nowhere/b.wav"));
}

} // namespace
} // namespace ostrel
