#include "polytools/records/ixml_track_list.h"

#include "poly_fixture.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

std::vector<SourceTrack> parse(const char* xml) { return parseTrackBlocks(QString::fromUtf8(xml)); }

TEST(TrackList, BlocksAreReadInDocumentOrder) {
    const auto tracks =
        parse("<TRACK_LIST><TRACK_COUNT>9</TRACK_COUNT>\n<TRACK>\r\n<CHANNEL_INDEX>7</CHANNEL_INDEX>"
              "<INTERLEAVE_INDEX>2</INTERLEAVE_INDEX><NAME> Lav 1 </NAME></TRACK><TRACK><NAME>Boom</NAME>"
              "<INTERLEAVE_INDEX>1</INTERLEAVE_INDEX></TRACK></TRACK_LIST>");
    ASSERT_EQ(tracks.size(), 2u);
    EXPECT_EQ(tracks[0], (SourceTrack{2, 7, QStringLiteral("Lav 1")}));
    EXPECT_EQ(tracks[1], (SourceTrack{1, 1, QStringLiteral("Boom")}));
}

TEST(TrackList, MissingAndUnreadableFieldsTakeTheirDefaults) {
    const auto tracks = parse("<TRACK></TRACK><TRACK><INTERLEAVE_INDEX>99999999999999</INTERLEAVE_INDEX></TRACK>"
                              "<TRACK><INTERLEAVE_INDEX>-3</INTERLEAVE_INDEX><NAME></NAME></TRACK>");
    ASSERT_EQ(tracks.size(), 3u);
    EXPECT_EQ(tracks[0], (SourceTrack{1, 1, QStringLiteral("CH1")}));
    EXPECT_EQ(tracks[1], (SourceTrack{2, 2, QStringLiteral("CH2")}));
    EXPECT_EQ(tracks[2], (SourceTrack{3, 3, QString()}));
}

TEST(TrackList, EntitiesAreDecodedForPeopleAndEncodedForDocuments) {
    EXPECT_EQ(parse("<TRACK><NAME>A &amp; B &lt;1&gt; &#233;&#x41; &bogus; & c</NAME></TRACK>")[0].name,
              QString::fromUtf8("A & B <1> éA &bogus; & c"));
    EXPECT_EQ(encodeXMLText(QStringLiteral("A & B <1>")), QStringLiteral("A &amp; B &lt;1&gt;"));
    for (const char* text : {"A & B", "<&>", "&amp;", "plain"}) {
        EXPECT_EQ(decodeXMLText(encodeXMLText(QString::fromUtf8(text))), QString::fromUtf8(text));
    }
    EXPECT_EQ(decodeXMLText(QStringLiteral("&#0;&#xD800;&#x110000;&")), QStringLiteral("&#0;&#xD800;&#x110000;&"));
}

TEST(TrackList, ADocumentOfAMegabyteWithoutAnEndIsReadInOnePass) {
    QString xml = QStringLiteral("<TRACK><NAME>A</NAME></TRACK><NOTE>") + QString(1 << 20, u'x');
    for (int i = 0; i < 20000; ++i) xml += QStringLiteral("<TRACK>");
    EXPECT_EQ(parseTrackBlocks(xml).size(), 1u);
    QString many;
    for (int i = 1; i <= 200; ++i)
        many += QStringLiteral("<TRACK><INTERLEAVE_INDEX>%1</INTERLEAVE_INDEX></TRACK>").arg(i);
    EXPECT_EQ(parseTrackBlocks(many).back().interleaveIndex, 200);
}

TEST(TrackList, SequentialTracksCarryTheirNumbers) {
    const auto tracks = sequentialTracks(3);
    ASSERT_EQ(tracks.size(), 3u);
    EXPECT_EQ(tracks[2], (SourceTrack{3, 3, QStringLiteral("CH3")}));
}

TEST(TrackList, RenamingLeavesTheRestToTheLetter) {
    const QString xml =
        QStringLiteral("\uFEFF<X>\r\n<TRACK>\t<INTERLEAVE_INDEX>2</INTERLEAVE_INDEX><NAME>a</NAME><F/></TRACK>"
                       "<TRACK><CHANNEL_INDEX>4</CHANNEL_INDEX></TRACK><NAME>no</NAME></X>  ");
    const QString renamed = replaceTrackNames(xml, {{2, QStringLiteral("B & C")}});
    EXPECT_EQ(renamed,
              QStringLiteral("\uFEFF<X>\r\n<TRACK>\t<INTERLEAVE_INDEX>2</INTERLEAVE_INDEX><NAME>B &amp; C</NAME><F/>"
                             "</TRACK><TRACK><CHANNEL_INDEX>4</CHANNEL_INDEX></TRACK><NAME>no</NAME></X>  ")
                  .replace(QStringLiteral("<CHANNEL_INDEX>4</CHANNEL_INDEX></TRACK>"),
                           QStringLiteral("<CHANNEL_INDEX>4</CHANNEL_INDEX><NAME>B &amp; C</NAME></TRACK>")));
    EXPECT_EQ(replaceTrackNames(xml, {}), xml);
}

} // namespace
} // namespace ostrel
