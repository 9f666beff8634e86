#include "bwfmetaedit/tool_test.h"

#include <fstream>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

const std::string kHeader =
    "FileName,Description,Originator,OriginatorReference,OriginationDate,OriginationTime,TimeReference (translated),"
    "TimeReference,BextVersion,UMID,LoudnessValue,LoudnessRange,MaxTruePeakLevel,MaxMomentaryLoudness,"
    "MaxShortTermLoudness,CodingHistory,IARL,IART,ICMS,ICMT,ICOP,ICRD,IDIT,IENG,IGNR,IKEY,IMED,INAM,IPRD,ISBJ,ISFT,"
    "ISRC,ISRF,ITCH\n";

class Display : public ToolTest {};

std::string commas(int count) { return std::string(static_cast<std::size_t>(count), ','); }

TEST_F(Display, CsvOfAFileWithoutMetadata) {
    put("a.wav", riff(format() + audio()));
    EXPECT_EQ(run({"--out-core=-", "{D}/a.wav"}).out, kHeader + "{D}/a.wav" + commas(32));
    EXPECT_EQ(run({"--out-core={D}/o.csv", "{D}/a.wav"}).out, "");
    EXPECT_EQ(masked(get("o.csv")), kHeader + "{D}/a.wav" + commas(33) + "\n");
}

TEST_F(Display, CsvOfEveryField) {
    std::string umid(64, '\0');
    for (std::size_t i = 0; i < 32; ++i) umid[i] = static_cast<char>(i + 0x80);
    const std::string fields = infoField("ICMT", "a \"comment\"") + infoField("ISFT", "soft") +
                               infoField("IXYZ", "no") + infoField("ITCH", "tech");
    put("a.wav", riff(format() +
                      bext({.description = "line 1\r\nline 2\rline 3",
                            .originator = "o",
                            .reference = "r, s",
                            .date = "2024-02-31",
                            .time = "99:99:99",
                            .history = "A=PCM\r\n",
                            .timeReference = 8001,
                            .version = 2,
                            .umid = umid,
                            .loudness = {-2300, 5, 0, 0x7fff, -1}}) +
                      infoList(fields) + audio()));
    EXPECT_EQ(run({"--out-core=-", "{D}/a.wav"}).out,
              kHeader + "{D}/a.wav,\"line 1\nline 2\nline 3\",o,\"r, s\",2024-02-31,99:99:99,00:00:01.000,8001,2,"
                        "808182838485868788898A8B8C8D8E8F909192939495969798999A9B9C9D9E9F,-23.00,0.05,0.00,,-0.01,"
                        "\"A=PCM\n\",,,,\"a \"\"comment\"\"\",,,,,,,,,,,soft,,,tech");
}

TEST_F(Display, XmlEscapesAndLeavesEmptyFieldsOut) {
    put("a&'b.wav", riff(format() + bext({.description = "<&>\"'\r\nx", .timeReference = 4294967296}) + audio()));
    EXPECT_EQ(run({"--out-core-xml=-", "{D}/a&'b.wav"}).out,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<conformance_point_document>\n"
              "    <File name=\"{D}/a&amp;&apos;b.wav\">\n        <Core>\n"
              "            <Description>&lt;&amp;&gt;\"'\nx</Description>\n"
              "            <TimeReference_translated>149:07:50.912</TimeReference_translated>\n"
              "            <TimeReference>4294967296</TimeReference>\n            <BextVersion>0</BextVersion>\n"
              "        </Core>\n    </File>\n</conformance_point_document>\n");
    put("b.wav", riff(format() + audio()));
    EXPECT_EQ(run({"--out-core-xml={D}/o.xml", "{D}/b.wav"}).status, 0);
    EXPECT_NE(get("o.xml").find("        <Core/>\n"), std::string::npos);
}

TEST_F(Display, TimeReferenceIsTranslatedRoundedDown) {
    struct Case {
        std::uint64_t samples;
        std::uint32_t rate;
        const char* translated;
    };
    const Case cases[] = {{1, 48000, "00:00:00.000"},
                          {47, 48000, "00:00:00.000"},
                          {48, 48000, "00:00:00.001"},
                          {48000ULL * 3600 * 23 + 59, 48000, "23:00:00.001"},
                          {8000ULL * 3600 * 255, 8000, "255:00:00.000"},
                          {8000ULL * 3600 * 300, 8000, "44:15360:00.000"},
                          {5, 0, "00:00:00.000"}};
    for (const Case& c : cases) {
        put("a.wav", riff(format(c.rate) + bext({.timeReference = c.samples}) + audio()));
        EXPECT_EQ(cell("a.wav", "TimeReference_translated"), c.translated) << c.samples;
    }
    // Without any fmt chunk there is nothing to translate with.
    put("a.wav", riff(bext({.timeReference = 5}) + audio()));
    EXPECT_EQ(cell("a.wav", "TimeReference_translated"), "00:00:00.000");
}

TEST_F(Display, FieldsCountIfTheChunkHoldsAllOfThem) {
    const std::string whole = bextData({.description = "d",
                                        .originator = "o",
                                        .reference = "r",
                                        .timeReference = 7,
                                        .version = 1,
                                        .umid = std::string(64, 'u')});
    put("a.wav", riff(format() + chunk("bext", whole.substr(0, 300)) + audio()));
    EXPECT_EQ(cell("a.wav", "Originator"), "o");
    EXPECT_EQ(cell("a.wav", "OriginatorReference"), "");
    EXPECT_EQ(cell("a.wav", "TimeReference"), "0");
    // The UMID is cut: it counts for nothing, and no memory behind the chunk is shown.
    put("a.wav", riff(format() + chunk("bext", whole.substr(0, 400)) + audio()));
    EXPECT_EQ(cell("a.wav", "TimeReference"), "7");
    EXPECT_EQ(cell("a.wav", "BextVersion"), "1");
    EXPECT_EQ(cell("a.wav", "UMID"), "");
}

TEST_F(Display, VersionDecidesWhichFieldsCount) {
    TestBext values{.umid = std::string(64, 'u'), .loudness = {1, 2, 3, 4, 5}};
    for (const int version : {0, 1, 2, 8}) {
        values.version = static_cast<std::uint16_t>(version);
        put("a.wav", riff(format() + bext(values) + audio()));
        EXPECT_EQ(cell("a.wav", "UMID").size(), version >= 1 ? 128U : 0U) << version;
        EXPECT_EQ(cell("a.wav", "LoudnessRange"), version >= 2 ? "0.02" : "") << version;
        EXPECT_EQ(cell("a.wav", "BextVersion"), std::to_string(version));
    }
}

TEST_F(Display, AnEmptyBextShowsItsVersionOnly) {
    put("a.wav", riff(format() + bext({.version = 1}) + audio()));
    EXPECT_EQ(run({"--out-core=-", "{D}/a.wav"}).out, kHeader + "{D}/a.wav,,,,,,,,1" + commas(24));
}

TEST_F(Display, OneTextThatIsNoUtf8MakesAllIso88591) {
    put("a.wav", riff(format() + bext({.description = "\xc3\xbc", .originator = "\xe9"}) + audio()));
    EXPECT_EQ(cell("a.wav", "Description"), "\xc3\x83\xc2\xbc");
    EXPECT_EQ(cell("a.wav", "Originator"), "\xc3\xa9");
    put("a.wav", riff(format() + bext({.description = "\xc3\xbc", .originator = "\xc3\xa9"}) + audio()));
    EXPECT_EQ(cell("a.wav", "Description"), "\xc3\xbc");
    // An INFO field that is not shown decides too, and so does a label.
    put("a.wav", riff(format() + bext({.description = "\xc3\xbc"}) + infoList(infoField("IXYZ", "\xff")) + audio()));
    EXPECT_EQ(cell("a.wav", "Description"), "\xc3\x83\xc2\xbc");
    put("a.wav", riff(format() + bext({.description = "\xc3\xbc"}) + audio() +
                      chunk("LIST", "adtl" + chunk("labl", le(1, 4) + "\xff"))));
    EXPECT_EQ(cell("a.wav", "Description"), "\xc3\x83\xc2\xbc");
}

TEST_F(Display, ShowingNeverWrites) {
    put("a.wav", riff(format() + bext({.description = "caf\xe9\nx", .timeReference = 0}) +
                      chunk("JUNK", std::string(100, 'j')) + chunk("LIST", "INFO" + chunk("ISFT", "soft")) + audio()));
    const std::string before = identity("a.wav");
    for (const char* option : {"--out-core=-", "--out-core-xml=-", "--out-iXML=-", "--verbose"}) {
        EXPECT_EQ(run({option, "{D}/a.wav"}).status, 0);
        EXPECT_EQ(identity("a.wav"), before) << option;
    }
}

TEST_F(Display, MissingFilesEndFilesButNotTheStandardOutput) {
    put("a.wav", riff(format() + audio()));
    put("c.wav", riff(format() + audio()));
    const ToolResult shown = run({"--out-core=-", "{D}/a.wav", "{D}/b.wav", "{D}/c.wav"});
    EXPECT_EQ(shown.status, 1);
    EXPECT_EQ(shown.err, "<TIME> {D}/b.wav: File does not exist\n\n");
    EXPECT_EQ(shown.out, kHeader + "{D}/a.wav" + commas(32) + "\n{D}/b.wav" + commas(32) + "\n{D}/c.wav" + commas(32));
    EXPECT_EQ(run({"--out-core={D}/o.csv", "--out-core-xml={D}/o.xml", "{D}/a.wav", "{D}/b.wav", "{D}/c.wav"}).status,
              1);
    EXPECT_EQ(masked(get("o.csv")), kHeader + "{D}/a.wav" + commas(33) + "\n");
    EXPECT_NE(get("o.xml").find("a.wav"), std::string::npos);
    EXPECT_EQ(get("o.xml").find("c.wav"), std::string::npos);
    EXPECT_EQ(run({"--out-core-xml=-", "{D}/b.wav"}).out,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<conformance_point_document/>\n");
}

TEST_F(Display, OutputsThatCannotBeMadeAreErrors) {
    put("a.wav", riff(format() + chunk("iXML", "<a/>") + audio()));
    const std::string before = identity("a.wav");
    EXPECT_EQ(run({"--out-core={D}/none/o", "--Description=x", "{D}/a.wav"}).err,
              "<TIME> --out-Core-CSV=file: error during file creation\n");
    EXPECT_EQ(identity("a.wav"), before);
    EXPECT_EQ(run({"--out-core-xml={D}/none/o", "{D}/a.wav"}).err,
              "<TIME> --out-Core-XML=file: error during file writing\n");
    const ToolResult ixml = run({"--out-iXML={D}/none/o", "{D}/a.wav"});
    EXPECT_EQ(ixml.err, "<TIME> --out-iXML=: error during file creation\n");
    EXPECT_EQ(ixml.status, 1);
}

TEST_F(Display, IxmlIsTheTextUpToTheFirstNul) {
    put("a.wav", riff(format() + chunk("iXML", std::string("\xef\xbb\xbf<a>\r\n \r</a>\0junk", 19)) + audio()));
    EXPECT_EQ(run({"--out-iXML=-", "{D}/a.wav"}).out, "\xef\xbb\xbf<a>\n \n</a>\n");
    EXPECT_EQ(run({"--out-iXML={D}/o.xml", "{D}/a.wav"}).status, 0);
    EXPECT_EQ(get("o.xml"), "\xef\xbb\xbf<a>\n \n</a>");
}

TEST_F(Display, WithoutIxmlNoFileIsMadeAndAnOldOneStays) {
    put("a.wav", riff(format() + audio()));
    put("old.xml", "old");
    EXPECT_EQ(run({"--out-iXML=-", "{D}/a.wav"}).out, "\n");
    EXPECT_EQ(run({"--out-iXML={D}/new.xml", "{D}/a.wav"}).status, 0);
    EXPECT_EQ(run({"--out-iXML={D}/old.xml", "{D}/a.wav"}).status, 0);
    EXPECT_EQ(run({"--out-iXML={D}/old.xml", "{D}/none.wav"}).status, 1);
    EXPECT_FALSE(std::ifstream(path("new.xml")).is_open());
    EXPECT_EQ(get("old.xml"), "old");
}

} // namespace
} // namespace ostrel::testing
