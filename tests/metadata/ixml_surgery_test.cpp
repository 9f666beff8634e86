#include "metadata/ixml_surgery.h"

#include <QDateTime>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace ostrel {
namespace {

const QString kDocument =
    u"<?xml version=\"1.0\"?>\n<BWFXML>\n\t<IXML_VERSION>1.5</IXML_VERSION>\n\t<SCENE>A&amp;1</SCENE>\n"
    "\t<FILE_UID>OLD</FILE_UID>\n\t<FILE_SET>\n\t\t<FAMILY_UID>FAM</FAMILY_UID>\n\t</FILE_SET>\n"
    "\t<TRACK_LIST>\n<TRACK_COUNT>2</TRACK_COUNT>\n<TRACK>x</TRACK>\n</TRACK_LIST>\n"
    "\t<ODD vendor=\"1\">kept</ODD>\n</BWFXML>\n"_s;

TEST(IxmlSurgery, SingleTrackListHasThisForm) {
    EXPECT_EQ(
        singleTrackList({1, 5, u"Boom"_s}),
        u"   <TRACK_LIST>\n      <TRACK_COUNT>1</TRACK_COUNT>\n      <TRACK>\n         "
        u"<CHANNEL_INDEX>5</CHANNEL_INDEX>\n"
        "         <INTERLEAVE_INDEX>1</INTERLEAVE_INDEX>\n         <NAME>Boom</NAME>\n      </TRACK>\n   </TRACK_LIST>"_s);
}

TEST(IxmlSurgery, MultiTrackListIsNumberedFromOneAndKeepsChannels) {
    EXPECT_EQ(
        multiTrackList({{1, 7, u"Boom"_s}, {3, 2, u"Lav"_s}}),
        u"   <TRACK_LIST>\n      <TRACK_COUNT>2</TRACK_COUNT>\n"
        "      <TRACK>\n         <CHANNEL_INDEX>7</CHANNEL_INDEX>\n         <INTERLEAVE_INDEX>1</INTERLEAVE_INDEX>\n"
        "         <NAME>Boom</NAME>\n      </TRACK>\n"
        "      <TRACK>\n         <CHANNEL_INDEX>2</CHANNEL_INDEX>\n         <INTERLEAVE_INDEX>2</INTERLEAVE_INDEX>\n"
        "         <NAME>Lav</NAME>\n      </TRACK>\n   </TRACK_LIST>"_s);
}

TEST(IxmlSurgery, AFunctionIsKeptAndABlankOneIsNotWritten) {
    EXPECT_TRUE(singleTrackList({1, 1, u"L"_s, u"L-MIX"_s})
                    .contains(u"<NAME>L</NAME>\n         <FUNCTION>L-MIX</FUNCTION>\n      </TRACK>"_s));
    EXPECT_FALSE(singleTrackList({1, 1, u"L"_s}).contains(u"FUNCTION"_s));
}

TEST(IxmlSurgery, ATrackNameWithAnAmpersandGoesInAsItStands) {
    EXPECT_TRUE(singleTrackList({1, 1, u"A & B %1 $1 \\1"_s}).contains(u"<NAME>A & B %1 $1 \\1</NAME>"_s));
    const QString list = singleTrackList({1, 1, u"$1 \\0 %2"_s});
    EXPECT_TRUE(performUniversalXMLSurgery(kDocument, list, u"NEW"_s).contains(list));
}

TEST(IxmlSurgery, ChangesTrackListAndUIDsAndNothingElse) {
    EXPECT_EQ(performUniversalXMLSurgery(kDocument, u"LIST"_s, u"NEW"_s),
              u"<?xml version=\"1.0\"?>\n<BWFXML>\n\t<IXML_VERSION>1.5</IXML_VERSION>\n\t<SCENE>A&amp;1</SCENE>\n"
              "\t<FILE_UID>NEW</FILE_UID>\n\t<HISTORY>\n\t\t<PARENT_UID>OLD</PARENT_UID>\n\t</"
              "HISTORY>\n\t<FILE_SET>\n\t\t<FAMILY_UID>FAM</"
              "FAMILY_UID>\n\t</FILE_SET>\n"
              "\tLIST\n"
              "\t<ODD vendor=\"1\">kept</ODD>\n</BWFXML>\n"_s);
}

TEST(IxmlSurgery, ADocumentWithoutATrackListGetsItAheadOfItsEnd) {
    EXPECT_TRUE(performUniversalXMLSurgery(u"<BWFXML><FILE_UID>1</FILE_UID></BWFXML>"_s, u"LIST"_s, u"NEW"_s)
                    .endsWith(u"LIST\n</BWFXML>"_s));
    EXPECT_EQ(performUniversalXMLSurgery(u"no document"_s, u"LIST"_s, u"NEW"_s), u"no document"_s);
}

TEST(IxmlSurgery, OnlyTheFirstTrackListIsReplaced) {
    EXPECT_EQ(performUniversalXMLSurgery(u"<TRACK_LIST>a</TRACK_LIST><TRACK_LIST>b</TRACK_LIST>"_s, u"L"_s, u"N"_s),
              u"L<TRACK_LIST>b</TRACK_LIST>"_s);
}

TEST(IxmlSurgery, AnExistingParentIsReplaced) {
    EXPECT_EQ(performUniversalXMLSurgery(u"<FILE_UID>1</FILE_UID><PARENT_UID>0</PARENT_UID>"_s, QString(), u"2"_s),
              u"<FILE_UID>2</FILE_UID><PARENT_UID>1</PARENT_UID>"_s);
}

TEST(IxmlSurgery, WithoutAFileUIDTheVersionHoldsTheNewOne) {
    EXPECT_EQ(performUniversalXMLSurgery(u"<IXML_VERSION>2</IXML_VERSION><X/>"_s, QString(), u"N"_s),
              u"<IXML_VERSION>2</IXML_VERSION>\n\t<FILE_UID>N</FILE_UID><X/>"_s);
}

TEST(IxmlSurgery, WithoutFileUIDAndVersionTheDocumentGetsNoUID) {
    const QString document = u"<BWFXML><FAMILY_UID>F</FAMILY_UID><PARENT_UID>P</PARENT_UID></BWFXML>"_s;
    EXPECT_EQ(performUniversalXMLSurgery(document, QString(), u"N"_s), document);
}

TEST(IxmlSurgery, ABlankFileUIDHasNoParent) {
    EXPECT_EQ(performUniversalXMLSurgery(u"<FILE_UID></FILE_UID>"_s, QString(), u"N"_s), u"<FILE_UID>N</FILE_UID>"_s);
}

TEST(IxmlSurgery, TheFamilyStays) {
    const QString result = performUniversalXMLSurgery(kDocument, u"L"_s, u"NEW"_s);
    EXPECT_EQ(result.count(u"<FAMILY_UID>"_s), 1);
    EXPECT_EQ(extractValue(result, u"FAMILY_UID"), u"FAM"_s);
    EXPECT_EQ(extractValue(result, u"FILE_UID"), u"NEW"_s);
    EXPECT_EQ(extractValue(result, u"PARENT_UID"), u"OLD"_s);
}

TEST(IxmlSurgery, UIDsDoNotReachAcrossLines) {
    EXPECT_EQ(performUniversalXMLSurgery(u"<FILE_UID>\n1</FILE_UID>"_s, QString(), u"N"_s),
              u"<FILE_UID>\n1</FILE_UID>"_s);
}

TEST(IxmlSurgery, ExtractValueGivesTheFirstOrNothing) {
    EXPECT_EQ(extractValue(u"<A>1</A><A>2</A>"_s, u"A"), u"1"_s);
    EXPECT_EQ(extractValue(u"<B>1</B>"_s, u"A"), QString());
}

TEST(IxmlSurgery, FileUIDIsMicrosecondsInSixteenDigits) {
    EXPECT_EQ(fileUID(0x0006'4D3F'ABCD'EF01), u"USSDVKA00064D3FABCDEF01"_s);
    bool isNumber = false;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const quint64 microseconds = generateFileUID().mid(7).toULongLong(&isNumber, 16);
    EXPECT_TRUE(isNumber);
    EXPECT_NEAR(static_cast<double>(microseconds) / 1000.0, static_cast<double>(now), 60'000.0);
}

TEST(IxmlSurgery, TrackIndicesAreTheFirstOfTheDocument) {
    EXPECT_EQ(parseTrackIndicesFromiXML(
                  u"<TRACK><CHANNEL_INDEX>4</CHANNEL_INDEX><INTERLEAVE_INDEX>2</INTERLEAVE_INDEX><NAME> Lav </NAME>"
                  "</TRACK><TRACK><CHANNEL_INDEX>9</CHANNEL_INDEX><NAME>x</NAME></TRACK>"_s),
              (TrackIndices{2, 4, u"Lav"_s}));
}

TEST(IxmlSurgery, WithoutBothIndicesThereAreNone) {
    EXPECT_FALSE(parseTrackIndicesFromiXML(u"<INTERLEAVE_INDEX>1</INTERLEAVE_INDEX>"_s));
    EXPECT_FALSE(
        parseTrackIndicesFromiXML(u"<CHANNEL_INDEX>1</CHANNEL_INDEX><INTERLEAVE_INDEX>x</INTERLEAVE_INDEX>"_s));
    EXPECT_EQ(parseTrackIndicesFromiXML(u"<CHANNEL_INDEX>1</CHANNEL_INDEX><INTERLEAVE_INDEX>2</INTERLEAVE_INDEX>"_s),
              (TrackIndices{2, 1, QString()}));
}

TEST(IxmlSurgery, SceneAndTakeMakeASceneInfo) {
    EXPECT_EQ(parseSceneTakeInfo(kDocument), std::nullopt) << "no TAKE";
    EXPECT_EQ(parseSceneTakeInfo(u"<SCENE>1</SCENE><TAKE>2</TAKE><PROJECT>P</PROJECT><TAPE>R</TAPE>"_s),
              (SceneTakeInfo{u"P"_s, u"1"_s, u"2"_s, u"R"_s}));
}

TEST(IxmlSurgery, TimecodeIsReadFromRateAndLowWord) {
    const QString rate = u"<TIMECODE_RATE>25/1</TIMECODE_RATE>"_s;
    const auto low = [](const QString& samples) {
        return QStringLiteral("<TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>%1</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>")
            .arg(samples);
    };
    EXPECT_FALSE(parseTimecodeInfo(rate));
    EXPECT_FALSE(parseTimecodeInfo(low(u"5"_s)));
    EXPECT_EQ(parseTimecodeInfo(rate + low(u"2190940753"_s)), (TimecodeInfo{2190940753, 48000, u"25/1"_s, QString()}));
    EXPECT_EQ(
        parseTimecodeInfo(rate + low(u"7"_s) +
                          u"<TIMECODE_FLAG>NDF</TIMECODE_FLAG><TIMESTAMP_SAMPLE_RATE>96000</TIMESTAMP_SAMPLE_RATE>"
                          "<TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>1</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>"_s),
        (TimecodeInfo{7, 96000, u"25/1"_s, u"NDF"_s}));
    // 2354414956 as a recorder with signed numbers writes it.
    EXPECT_EQ(parseTimecodeInfo(rate + low(u"-1940552340"_s))->samplesSinceMidnight, 2354414956u);
    EXPECT_EQ(parseTimecodeInfo(rate + low(u"soon"_s))->samplesSinceMidnight, 0u);
}

TEST(IxmlSurgery, TwoHundredTracksAndAMegabyteOfNotes) {
    const QString notes = QStringLiteral("<NOTE>%1</NOTE>").arg(QString(1 << 20, u'n'));
    const QString list = u"<TRACK_LIST>"_s + u"<TRACK>x</TRACK>\r\n"_s.repeated(200) + u"</TRACK_LIST>"_s;
    EXPECT_EQ(performUniversalXMLSurgery(notes + list + notes, u"L"_s, u"N"_s), notes + u"L"_s + notes);
}

} // namespace
} // namespace ostrel
