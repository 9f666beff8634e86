#include "metadata/bext_description.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

QByteArray field(const QByteArray& text) { return text.leftJustified(256, '\0'); }
NamedChannel channel(int number, const char* name) { return {number, QString::fromUtf8(name)}; }

// Of a Sound Devices recorder, its line ends included.
const QByteArray kRecorder = "sTAKE=3\r\nsFILENAME=A101_3.WAV\r\nsTRK1=MKH516 A\r\nsTRK2=Boom\r\nsNOTE=\r\n";

TEST(BextDescription, OnlyTheLinesOfTheFilesOwnChannelsStay) {
    EXPECT_EQ(fittedDescription(field(kRecorder), {channel(2, "Boom")}, QStringLiteral("A101_3_2.WAV")),
              field("sTAKE=3\r\nsFILENAME=A101_3_2.WAV\r\nsTRK2=Boom\r\nsNOTE=\r\n"));
}

TEST(BextDescription, ARenamedTrackIsToldAndTheOthersStay) {
    EXPECT_EQ(fittedDescription(field(kRecorder), {channel(1, "Lav"), channel(2, "Boom")}, QString()),
              field("sTAKE=3\r\nsFILENAME=A101_3.WAV\r\nsTRK1=Lav\r\nsTRK2=Boom\r\nsNOTE=\r\n"));
}

TEST(BextDescription, ChannelsThatCameTogetherGetALineEach) {
    EXPECT_EQ(
        fittedDescription(field("zTRK1=a\nzNOTE=\n"), {channel(1, "a"), channel(3, "c"), channel(2, "b")}, QString()),
        field("zTRK1=a\nzTRK3=c\nzTRK2=b\nzNOTE=\n"));
    EXPECT_EQ(fittedDescription(field("TRK9=x"), {channel(1, "a")}, QString()), field("TRK1=a\r\n"));
    EXPECT_EQ(fittedDescription(field("TRK1=a"), {channel(1, "a"), channel(2, "b")}, QString()),
              field("TRK1=a\r\nTRK2=b\r\n"));
}

TEST(BextDescription, WhatIsInLineStaysToTheByteGarbageIncluded) {
    const QByteArray garbage = "sTRK1=Boom\r\n" + QByteArray(1, '\0') + QByteArray(243, '\xCC');
    EXPECT_EQ(fittedDescription(garbage, {channel(1, "Boom")}, QStringLiteral("x.wav")), garbage);
    for (const char* text : {"no lines", "TR1=Tr1\r\nTRL=TrL\r\n", "TRKx=1\r\n", "sTRK=1", "=TRK1", "TRK0=x", ""}) {
        EXPECT_EQ(fittedDescription(field(text), {channel(1, "Boom")}, QStringLiteral("x.wav")), field(text)) << text;
    }
}

TEST(BextDescription, AMadeUpNameTakesNoRecordersPlace) {
    EXPECT_EQ(fittedDescription(field(kRecorder), {channel(1, "CH1"), channel(2, "CH2")}, QString()), field(kRecorder));
    EXPECT_EQ(fittedDescription(field("TRK1=\n"), {channel(1, "CH1")}, QString()), field("TRK1=CH1\n"));
}

TEST(BextDescription, WithoutATrackListTheLinesStay) {
    EXPECT_EQ(fittedDescription(field(kRecorder), {}, QString()), field(kRecorder));
}

TEST(BextDescription, NothingGoesPastTheField) {
    std::vector<NamedChannel> channels;
    for (int n = 1; n <= 40; ++n) channels.push_back(channel(n, "a name of some length"));
    const QByteArray fitted = fittedDescription(field(kRecorder), channels, QString());
    EXPECT_EQ(fitted.size(), 256);
    EXPECT_TRUE(fitted.contains("sNOTE=\r\n")) << "what others wrote stays";
    EXPECT_TRUE(fitted.contains("sTRK5=a name of some length\r\n"));
    const QByteArray full = kRecorder + QByteArray(256 - kRecorder.size(), 'x');
    EXPECT_FALSE(fittedDescription(full, {channel(1, "a much longer name than ever"), channel(2, "Boom")}, QString())
                     .contains("sTRK1"))
        << "no line rather than a false one";
}

TEST(BextDescription, ALineThatTheFieldHasCutStays) {
    const QByteArray cut = QByteArray(246, 'x') + "\r\nTRK1=Boo";
    ASSERT_EQ(cut.size(), 256);
    EXPECT_EQ(fittedDescription(cut, {channel(1, "Boom")}, QString()), cut);
}

TEST(BextDescription, NamesTakeTheEncodingOfTheRest) {
    EXPECT_EQ(fittedDescription(field("NOTE=Caf\xE9\r\nTRK1=a\r\n"), {channel(1, "\u00fc")}, QString()),
              field("NOTE=Caf\xE9\r\nTRK1=\xFC\r\n"));
    EXPECT_EQ(fittedDescription(field("TRK1=a\r\n"), {channel(1, "\u00fc")}, QString()), field("TRK1=\xC3\xBC\r\n"));
}

TEST(BextDescription, ChannelsAreReadFromTheDocument) {
    const auto channels =
        namedChannelsOf("<TRACK_LIST><TRACK><CHANNEL_INDEX>7</CHANNEL_INDEX><INTERLEAVE_INDEX>1</INTERLEAVE_INDEX>"
                        "<NAME>A &amp; B</NAME></TRACK></TRACK_LIST>");
    ASSERT_EQ(channels.size(), 1);
    EXPECT_EQ(channels[0].number, 7);
    EXPECT_EQ(channels[0].name, QStringLiteral("A & B"));
    EXPECT_TRUE(namedChannelsOf("\xff not text").empty());
}

} // namespace
} // namespace ostrel
