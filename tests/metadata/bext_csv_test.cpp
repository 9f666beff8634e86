#include "metadata/bext_csv.h"

#include "metadata/csv_table.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace ostrel {
namespace {

using Rows = std::vector<QStringList>;
using Tracks = std::vector<SoundDevicesTrackMap>;

struct Parsed {
    BEXTMetadata bext;
    QStringList log;
};

Parsed parse(const QString& csv) {
    Parsed parsed;
    parsed.bext = parseBextCsv(csv, [&](const QString& line) { parsed.log << line; });
    return parsed;
}

TEST(Csv, CommasEndFieldsAndNewlinesEndRows) {
    EXPECT_EQ(parseCSV(u"a,b\nc,d\n"_s), (Rows{{u"a"_s, u"b"_s}, {u"c"_s, u"d"_s}}));
}

TEST(Csv, TheLastRowNeedsNoNewline) { EXPECT_EQ(parseCSV(u"a\nb"_s), (Rows{{u"a"_s}, {u"b"_s}})); }

TEST(Csv, BlankLinesVanish) {
    EXPECT_EQ(parseCSV(u"\n\na\n\nb\n\n"_s), (Rows{{u"a"_s}, {u"b"_s}}));
    EXPECT_EQ(parseCSV(u"a\r\n\r\nb\r\n"_s), (Rows{{u"a"_s}, {u"b"_s}}));
    EXPECT_TRUE(parseCSV(QString()).empty());
}

TEST(Csv, ARowOfEmptyFieldsStays) { EXPECT_EQ(parseCSV(u",\n"_s), (Rows{{QString(), QString()}})); }

TEST(Csv, QuotedCommasAndLineBreaksBelongToTheField) {
    EXPECT_EQ(parseCSV(u"\"a,b\nc\",d"_s), (Rows{{u"a,b\nc"_s, u"d"_s}}));
    EXPECT_EQ(parseCSV(u"\"a\r\nb\"\r\n"_s), (Rows{{u"a\r\nb"_s}}));
}

TEST(Csv, ACarriageReturnAloneEndsARow) {
    EXPECT_EQ(parseCSV(u"a,b\rc,\r\rd,\"e\rf\""_s), (Rows{{u"a"_s, u"b"_s}, {u"c"_s, QString()}, {u"d"_s, u"e\rf"_s}}));
}

TEST(Csv, CellsTellTheirPlaceWithTheirQuotes) {
    const QString text = u"a;\"b;\r\n\"\"c\"\r\n\n;d"_s;
    const auto rows = parseCSVCells(text, u';');
    QStringList places;
    for (const std::vector<CSVCell>& row : rows) {
        for (const CSVCell& cell : row) places << text.sliced(cell.begin, cell.end - cell.begin);
    }
    EXPECT_EQ(places, (QStringList{u"a"_s, u"\"b;\r\n\"\"c\""_s, QString(), u"d"_s}));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0][1].text, u"b;\r\n\"c"_s);
}

TEST(Csv, TwoQuotesInAQuotedFieldStandForOne) {
    EXPECT_EQ(parseCSV(u"\"say \"\"hi\"\"\",b"_s), (Rows{{u"say \"hi\""_s, u"b"_s}}));
}

TEST(Csv, AnUnclosedQuoteRunsToTheEnd) { EXPECT_EQ(parseCSV(u"a,\"b\nc"_s), (Rows{{u"a"_s, u"b\nc"_s}})); }

TEST(BextCsv, EveryColumnGoesToItsField) {
    const BEXTMetadata bext =
        parse(
            u"FileName,Description,Originator,OriginatorReference,OriginationDate,OriginationTime,TimeReference "
            u"(translated),"
            "TimeReference,BextVersion,UMID,LoudnessValue,LoudnessRange,MaxTruePeakLevel,MaxMomentaryLoudness,"
            "MaxShortTermLoudness,CodingHistory\n"
            "/a.wav,D,O,OR,2026-03-14,09:26:53,12:39:59.000,18446744073709551615,2,060A,-23.01,4.50,-1.00,-18.25,-20.50,H\n"_s)
            .bext;
    EXPECT_EQ(bext.description, u"D"_s);
    EXPECT_EQ(bext.originator, u"O"_s);
    EXPECT_EQ(bext.originatorReference, u"OR"_s);
    EXPECT_EQ(bext.originationDate, u"2026-03-14"_s);
    EXPECT_EQ(bext.originationTime, u"09:26:53"_s);
    EXPECT_EQ(bext.timecode, u"12:39:59.000"_s);
    EXPECT_EQ(bext.timeReference, 18'446'744'073'709'551'615u);
    EXPECT_EQ(bext.version, 2);
    EXPECT_EQ(bext.umid, u"060A"_s);
    EXPECT_EQ(bext.loudnessValue, -23.01);
    EXPECT_EQ(bext.loudnessRange, 4.5);
    EXPECT_EQ(bext.maxTruePeakLevel, -1.0);
    EXPECT_EQ(bext.maxMomentaryLoudness, -18.25);
    EXPECT_EQ(bext.maxShortTermLoudness, -20.5);
}

TEST(BextCsv, WhatIsNoNumberStaysAbsent) {
    const BEXTMetadata bext = parse(u"TimeReference,BextVersion,LoudnessValue,LoudnessRange\n-5,two,nan,\n"_s).bext;
    EXPECT_EQ(bext, BEXTMetadata());
}

TEST(BextCsv, HeadersAndValuesAreTrimmedAndHeadersComparedExactly) {
    EXPECT_EQ(parse(u" Originator ,originator\n x , y \n"_s).bext.originator, u"x"_s);
}

TEST(BextCsv, FewerThanTwoRowsGiveNothingAndAWarning) {
    const Parsed parsed = parse(u"FileName,Description\n"_s);
    EXPECT_EQ(parsed.bext, BEXTMetadata());
    EXPECT_EQ(parsed.log, QStringList{u"⚠️ BEXT CSV has fewer than 2 rows, returning empty"_s});
}

TEST(BextCsv, CountsThatDifferAreToldAndTheShorterCounts) {
    const Parsed parsed = parse(u"Originator,OriginatorReference,UMID\na,b\n"_s);
    EXPECT_EQ(parsed.log.value(0), u"⚠️ BEXT CSV header/value count mismatch: headers=3, values=2"_s);
    EXPECT_EQ(parsed.bext.originatorReference, u"b"_s);
    EXPECT_TRUE(parsed.bext.umid.isEmpty());
}

TEST(BextCsv, AQuotedDescriptionWithCommaAndLineBreakStaysOneField) {
    const BEXTMetadata bext = parse(u"Description,Originator\n\"sSCENE=1, 2\nsTAKE=3\",O\n"_s).bext;
    EXPECT_EQ(bext.description, u"sSCENE=1, 2\nsTAKE=3"_s);
    EXPECT_EQ(bext.scene, u"1, 2"_s);
    EXPECT_EQ(bext.take, u"3"_s);
    EXPECT_EQ(bext.originator, u"O"_s);
}

TEST(BextCsv, AFoundSceneIsLogged) {
    const Parsed parsed = parse(u"Description\n\"sSCENE=101A\nsTRK1=Boom\nsTRK2=Lav\"\n"_s);
    EXPECT_EQ(parsed.log.value(0),
              u"✅ Parsed Sound Devices Description: scene=101A, take=no take, tape=no tape, tracks=2"_s);
    EXPECT_TRUE(parsed.log.value(1).startsWith(u"✅ BEXT metadata built: "_s));
}

TEST(BextCsv, ADescriptionWithoutTracksLeavesTheListAbsent) {
    EXPECT_FALSE(parse(u"Description\nplain text\n"_s).bext.soundDevicesTracks);
}

TEST(SoundDevicesDescription, EveryKeySetsItsField) {
    const auto parsed = parseSoundDevicesDescription(
        u"sSPEED=023.976-ND\r\nsTAKE=4\r\nsUBITS=$00\r\nsSCENE=A101\r\nsTAPE=18Y12M31\r\nsNOTE=hum\r\n"_s);
    EXPECT_EQ(parsed, (SoundDevicesDescription{u"A101"_s, u"4"_s, u"18Y12M31"_s, u"023.976-ND"_s, u"hum"_s, {}}));
}

TEST(SoundDevicesDescription, KeysAreCaseSensitive) {
    EXPECT_EQ(parseSoundDevicesDescription(u"SSCENE=1\nsscene=2\ngSCENE=3\nSCENE=4"_s), SoundDevicesDescription());
}

TEST(SoundDevicesDescription, TracksComeInChannelOrder) {
    EXPECT_EQ(parseSoundDevicesDescription(u"sTRK2=Mix L\nsTRK1=Boom"_s).tracks,
              (Tracks{{1, u"Boom"_s}, {2, u"Mix L"_s}}));
}

TEST(SoundDevicesDescription, TracksOfOneChannelKeepTheirOrder) {
    EXPECT_EQ(parseSoundDevicesDescription(u"sTRK2=b\nsTRK1=a\nsTRK2=c"_s).tracks,
              (Tracks{{1, u"a"_s}, {2, u"b"_s}, {2, u"c"_s}}));
}

TEST(SoundDevicesDescription, ALineWithoutAValueIsSkipped) {
    EXPECT_EQ(parseSoundDevicesDescription(u"sTRK1=\nsSCENE=\n=x\nsTAKE"_s), SoundDevicesDescription());
}

TEST(SoundDevicesDescription, AValueKeepsItsEqualsSign) {
    EXPECT_EQ(parseSoundDevicesDescription(u"sNOTE=a=b"_s).note, u"a=b"_s);
}

TEST(SoundDevicesDescription, OfTwoLinesOfOneKeyTheLaterWins) {
    EXPECT_EQ(parseSoundDevicesDescription(u"sTAKE=1\nsTAKE=2"_s).take, u"2"_s);
}

TEST(SoundDevicesDescription, ATrackNumberEndsAtTheFirstBlank) {
    EXPECT_EQ(parseSoundDevicesDescription(u"sTRK 3 x=Boom\nsTRKA=Lav\nsTRK=Mix\nsTRK0x1=no"_s).tracks,
              (Tracks{{3, u"Boom"_s}}));
}

TEST(SoundDevicesDescription, EveryKindOfLineBreakSplits) {
    const auto parsed = parseSoundDevicesDescription(QStringLiteral("sSCENE=1\rsTAKE=2\u2028sTAPE=3\u0085sNOTE=4"));
    EXPECT_EQ(parsed, (SoundDevicesDescription{u"1"_s, u"2"_s, u"3"_s, QString(), u"4"_s, {}}));
}

} // namespace
} // namespace ostrel
