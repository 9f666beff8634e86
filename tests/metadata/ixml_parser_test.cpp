#include "metadata/ixml_parser.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace ostrel {
namespace {

QString document(const QString& inner) {
    return QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML>%1</BWFXML>\n").arg(inner);
}

QString tracks(const QString& inner) { return document(QStringLiteral("<TRACK_LIST>%1</TRACK_LIST>").arg(inner)); }

std::vector<IXMLTrack> parsedTracks(const QString& inner) {
    const auto ixml = parseIxmlXml(tracks(inner));
    return ixml ? ixml->trackList : std::vector<IXMLTrack>();
}

TEST(IxmlParser, TakesTheFieldsTrimmed) {
    const auto ixml =
        parseIxmlXml(document(u"<PROJECT> BMH\n</PROJECT><SCENE>A101</SCENE><TAKE>4</TAKE><TAPE>18Y12M31</TAPE>"
                              "<NOTE>a &amp; b &lt;c&gt; é</NOTE>"
                              "<SPEED><NOTE>in speed</NOTE><TIMECODE_RATE>24000/1001</TIMECODE_RATE>"
                              "<SAMPLE_RATE>48000</SAMPLE_RATE><PULL_UP>no</PULL_UP></SPEED>"_s));
    ASSERT_TRUE(ixml);
    EXPECT_EQ(ixml->project, u"BMH"_s);
    EXPECT_EQ(ixml->scene, u"A101"_s);
    EXPECT_EQ(ixml->take, u"4"_s);
    EXPECT_EQ(ixml->tape, u"18Y12M31"_s);
    EXPECT_EQ(ixml->note, u"in speed"_s) << "nesting is not looked at, the later NOTE wins";
    EXPECT_EQ(ixml->speed, (IXMLSpeed{u"24000/1001"_s, 48000, u"no"_s}));
}

TEST(IxmlParser, AnEmptyElementClearsAnEarlierValue) {
    const auto ixml = parseIxmlXml(document(u"<SCENE>1</SCENE><TAKE>2</TAKE><SCENE> </SCENE>"_s));
    ASSERT_TRUE(ixml);
    EXPECT_TRUE(ixml->scene.isEmpty());
    EXPECT_EQ(ixml->take, u"2"_s);
}

TEST(IxmlParser, ElementNamesIgnoreLetterCase) {
    EXPECT_EQ(parseIxmlXml(document(u"<scene>7</scene>"_s))->scene, u"7"_s);
}

TEST(IxmlParser, SpeedElementsOutsideSpeedAreIgnored) {
    const auto ixml = parseIxmlXml(document(u"<SCENE>1</SCENE><TIMECODE_RATE>25/1</TIMECODE_RATE>"_s));
    ASSERT_TRUE(ixml);
    EXPECT_FALSE(ixml->speed);
}

TEST(IxmlParser, AnEmptySpeedIsARecordWithoutValues) {
    EXPECT_EQ(parseIxmlXml(document(u"<SCENE>1</SCENE><SPEED/>"_s))->speed, IXMLSpeed());
}

TEST(IxmlParser, ATrackWithoutANameIsNamedAfterItsChannel) {
    EXPECT_EQ(parsedTracks(u"<TRACK><CHANNEL_INDEX>4</CHANNEL_INDEX></TRACK><TRACK><NAME> </NAME></TRACK>"_s),
              (std::vector<IXMLTrack>{{4, u"Channel 4"_s, QString(), 0}, {2, u"Channel 2"_s, QString(), 1}}));
}

TEST(IxmlParser, AnExplicitInterleaveIndexIsStoredZeroBased) {
    EXPECT_EQ(
        parsedTracks(u"<TRACK><CHANNEL_INDEX>1</CHANNEL_INDEX><INTERLEAVE_INDEX>2</INTERLEAVE_INDEX><NAME>a</NAME>"
                     "<FUNCTION>M-MID_SIDE</FUNCTION></TRACK>"_s),
        (std::vector<IXMLTrack>{{1, u"a"_s, u"M-MID_SIDE"_s, 1}}));
}

TEST(IxmlParser, InterleaveIndexZeroIsIgnoredAndTheCounterUsed) {
    EXPECT_EQ(
        parsedTracks(
            u"<TRACK><INTERLEAVE_INDEX>0</INTERLEAVE_INDEX></TRACK><TRACK><INTERLEAVE_INDEX>-3</INTERLEAVE_INDEX></TRACK>"_s),
        (std::vector<IXMLTrack>{{1, u"Channel 1"_s, QString(), 0}, {2, u"Channel 2"_s, QString(), 1}}));
}

TEST(IxmlParser, NumberingGoesOnFromAnExplicitIndex) {
    const auto found = parsedTracks(u"<TRACK><INTERLEAVE_INDEX>5</INTERLEAVE_INDEX></TRACK><TRACK/><TRACK/>"_s);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0].interleaveIndex, 4);
    EXPECT_EQ(found[1].interleaveIndex, 5);
    EXPECT_EQ(found[2].interleaveIndex, 6);
}

TEST(IxmlParser, TheHighestIndexDoesNotOverflowTheCounter) {
    const auto found =
        parsedTracks(u"<TRACK><INTERLEAVE_INDEX>2147483647</INTERLEAVE_INDEX></TRACK><TRACK/><TRACK/>"_s);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0].interleaveIndex, 2147483646);
}

TEST(IxmlParser, AnUnparsableChannelIndexIsIgnored) {
    EXPECT_EQ(parsedTracks(u"<TRACK><CHANNEL_INDEX>one</CHANNEL_INDEX><NAME>a</NAME></TRACK>"_s),
              (std::vector<IXMLTrack>{{1, u"a"_s, QString(), 0}}));
}

TEST(IxmlParser, TrackCountIsNotTrusted) {
    EXPECT_EQ(parsedTracks(u"<TRACK_COUNT>9</TRACK_COUNT><TRACK><NAME>a</NAME></TRACK>"_s).size(), 1u);
}

TEST(IxmlParser, ADocumentThatSaysNothingGivesNothing) {
    EXPECT_FALSE(parseIxmlXml(document(u"<IXML_VERSION>1.5</IXML_VERSION><SCENE/><UBITS>$0</UBITS>"_s)));
    EXPECT_FALSE(parseIxmlXml(QString()));
}

TEST(IxmlParser, WhatIsNotWellFormedGivesNothing) {
    EXPECT_FALSE(parseIxmlXml(document(u"<SCENE>1</SCENE><NOTE>a & b</NOTE>"_s)));
    EXPECT_FALSE(parseIxmlXml(u"<BWFXML><SCENE>1</SCENE>"_s));
    EXPECT_FALSE(parseIxmlXml(u"no xml"_s));
}

TEST(IxmlParser, TakesDocumentsAsRecordersWriteThem) {
    const QString body =
        u"<BWFXML xmlns:x=\"y\"><SCENE lang=\"en\">1</SCENE><aes:NOTE2 z:a=\"b\"/><NOTE><![CDATA[a & b]]></NOTE></BWFXML>"_s;
    for (const QString& head :
         {u""_s, u"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n"_s, QString(QChar(QChar::ByteOrderMark)),
          QChar(QChar::ByteOrderMark) + u"<?xml version=\"1.0\" encoding=\"utf-16le\" standalone=\"yes\"?>"_s,
          u"\n  <?xml version=\"1.1\"?>"_s}) {
        const auto ixml = parseIxmlXml(head + body + u"      \r\n"_s);
        ASSERT_TRUE(ixml) << head.toStdString();
        EXPECT_EQ(ixml->scene, u"1"_s);
        EXPECT_EQ(ixml->note, u"a & b"_s);
    }
}

TEST(IxmlParser, TwoHundredTracksAndAMegabyteOfNotes) {
    QString list;
    for (int i = 1; i <= 200; ++i) {
        list += QStringLiteral("<TRACK><CHANNEL_INDEX>%1</CHANNEL_INDEX><NAME>T%1</NAME></TRACK>").arg(i);
    }
    const auto ixml = parseIxmlXml(document(QStringLiteral("<NOTE>%1</NOTE>%2").arg(QString(1 << 20, u'n'), list)));
    ASSERT_TRUE(ixml);
    EXPECT_EQ(ixml->note.size(), 1 << 20);
    ASSERT_EQ(ixml->trackList.size(), 200u);
    EXPECT_EQ(ixml->trackList.back(), (IXMLTrack{200, u"T200"_s, QString(), 199}));
}

TEST(IxmlParser, EntitiesThatGrowWithoutEndAreRefused) {
    QString doctype = u"<!DOCTYPE x [<!ENTITY a \"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\">"_s;
    for (char16_t c = u'b'; c < u'l'; ++c) {
        doctype +=
            QStringLiteral("<!ENTITY %1 \"&%2;&%2;&%2;&%2;&%2;&%2;&%2;&%2;\">").arg(QChar(c), QChar(char16_t(c - 1)));
    }
    EXPECT_FALSE(parseIxmlXml(doctype + u"]><BWFXML><NOTE>&k;</NOTE></BWFXML>"_s));
}

} // namespace
} // namespace ostrel
