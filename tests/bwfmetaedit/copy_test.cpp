#include "bwfmetaedit/tool_test.h"

#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class Copy : public ToolTest {
public:
    const TestBext full{.description = "line 1\r\nline 2",
                        .originator = "Recorder",
                        .reference = "REF",
                        .date = "9999-99-99",
                        .time = "99:99:99",
                        .history = "A=PCM,F=48000\r\n",
                        .timeReference = 4294967299,
                        .version = 2,
                        .umid = std::string(64, 'u'),
                        .loudness = {-2300, 850, -105, 0x7fff, -1999}};

    ToolResult copy() { return run({"--copy", "{D}/src.wav", "{D}/dst.wav"}); }
    ToolResult copyMissing() { return run({"--reject-overwrite", "--copy", "{D}/src.wav", "{D}/dst.wav"}); }

    // Everything but the name and the translated time, which depends on the sample rate.
    std::string core(const std::string& name) {
        const std::string out = run({"--out-core-xml=-", path(name)}).out;
        const std::size_t begin = out.find("<Core");
        return out.substr(begin, out.find("</File>") - begin);
    }
};

TEST_F(Copy, GivesEveryFieldThatTheSourceHolds) {
    put("src.wav", riff(format() + bext(full) + infoList(infoField("ICMT", "c") + infoField("ITCH", "t")) + audio()));
    put("dst.wav", riff(format() + audio(200)));
    const std::string before = identity("src.wav");
    EXPECT_EQ(copy().err, "");
    std::string copied = core("dst.wav");
    std::string source = core("src.wav");
    // The chunk is written by the one arithmetic that all its writers share: -1.05 moves by 0.01.
    source.replace(source.find("-1.05"), 5, "-1.04");
    EXPECT_EQ(copied, source);
    EXPECT_EQ(dataOf(get("dst.wav"), "bext").substr(0, 15), std::string("line 1\r\nline 2\0", 15))
        << "line breaks stay";
    EXPECT_EQ(dataOf(get("dst.wav"), "data"), audio(200).substr(8));
    EXPECT_EQ(identity("src.wav"), before);
}

TEST_F(Copy, ASecondCopyLeavesTheTargetAlone) {
    TestBext values = full;
    values.loudness = {-2300, 850};
    put("src.wav", riff(format() + bext(values) + infoList(infoField("ICMT", "c")) + audio()));
    put("dst.wav", riff(format() + audio(200)));
    EXPECT_EQ(copy().status, 0);
    const std::string before = identity("dst.wav");
    EXPECT_EQ(copy().status, 0);
    EXPECT_EQ(copyMissing().status, 0);
    EXPECT_EQ(identity("dst.wav"), before);
}

TEST_F(Copy, FieldsThatTheSourceLacksStay) {
    put("src.wav", riff(format() + bext({.originator = "new", .timeReference = 7}) + audio()));
    put("dst.wav",
        riff(format() + bext({.description = "keep", .originator = "old", .version = 1, .umid = std::string(64, 'k')}) +
             infoList(infoField("ICMT", "keep")) + audio()));
    EXPECT_EQ(copy().err, "");
    EXPECT_EQ(cell("dst.wav", "Description"), "keep");
    EXPECT_EQ(cell("dst.wav", "Originator"), "new");
    EXPECT_EQ(cell("dst.wav", "TimeReference"), "7");
    EXPECT_EQ(cell("dst.wav", "UMID").substr(0, 4), "6B6B");
    EXPECT_EQ(cell("dst.wav", "ICMT"), "keep");
}

TEST_F(Copy, WithRejectOverwriteOnlyMissingFieldsAreAdded) {
    put("src.wav", riff(format() + bext(full) + infoList(infoField("ICMT", "c") + infoField("ITCH", "t")) + audio()));
    put("dst.wav", riff(format() + bext({.description = "keep", .timeReference = 11}) +
                        infoList(infoField("ICMT", "keep")) + audio()));
    const ToolResult result = copyMissing();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(cell("dst.wav", "Description"), "keep");
    EXPECT_EQ(cell("dst.wav", "TimeReference"), "11");
    EXPECT_EQ(cell("dst.wav", "ICMT"), "keep");
    EXPECT_EQ(cell("dst.wav", "Originator"), "Recorder");
    EXPECT_EQ(cell("dst.wav", "UMID").size(), 128U);
    EXPECT_EQ(cell("dst.wav", "LoudnessRange"), "8.50");
    EXPECT_EQ(cell("dst.wav", "CodingHistory"), "A=PCM,F=48000\n");
    EXPECT_EQ(cell("dst.wav", "ITCH"), "t");
}

TEST_F(Copy, ASourceAtMidnightSetsTheTimeToZero) {
    put("src.wav", riff(format() + bext({.originator = "o", .timeReference = 0}) + audio()));
    put("dst.wav", riff(format() + bext({.originator = "o", .timeReference = 11}) + audio()));
    EXPECT_EQ(copyMissing().status, 0);
    EXPECT_EQ(cell("dst.wav", "TimeReference"), "11");
    EXPECT_EQ(copy().status, 0);
    EXPECT_EQ(cell("dst.wav", "TimeReference"), "0");
}

TEST_F(Copy, EncodingsAreKeptOrConverted) {
    put("src.wav", riff(format() + bext({.originator = "\xe9", .timeReference = 1}) + audio()));
    put("dst.wav", riff(format() + audio()));
    EXPECT_EQ(copy().err, "");
    EXPECT_EQ(dataOf(get("dst.wav"), "bext").substr(256, 2), std::string("\xe9\0", 2))
        << "a target of ASCII takes the source's";
    put("dst.wav", riff(format() + infoList(infoField("ICMT", "\xe2\x82\xac")) + audio()));
    EXPECT_EQ(copy().err, "");
    EXPECT_EQ(cell("dst.wav", "Originator"), "\xc3\xa9");
    EXPECT_EQ(cell("dst.wav", "ICMT"), "\xe2\x82\xac");
    put("src.wav", riff(format() + bext({.originator = "\xe2\x82\xac"}) + audio()));
    put("dst.wav", riff(format() + bext({.description = "\xe9"}) + audio()));
    const std::string before = identity("dst.wav");
    const ToolResult result = copy();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "<TIME> {D}/dst.wav: '\xe2\x82\xac' Is invalid for ISO 8859-1 encoding\n\n");
    EXPECT_EQ(identity("dst.wav"), before);
}

TEST_F(Copy, BadUseAndBadFilesAreErrors) {
    put("src.wav", riff(format() + bext(full) + audio()));
    put("bad.wav", "RIFX");
    EXPECT_EQ(run({"--copy", "{D}/src.wav"}).err, "--copy needs two files, the source and the target\n");
    EXPECT_EQ(run({"--copy", "{D}/src.wav", "{D}/dst.wav", "{D}/x.wav"}).status, 1);
    EXPECT_EQ(run({"--copy", "--Description=x", "{D}/src.wav", "{D}/dst.wav"}).status, 1);
    EXPECT_EQ(copy().err, "<TIME> {D}/dst.wav: File does not exist\n\n");
    EXPECT_EQ(run({"--copy", "{D}/none.wav", "{D}/src.wav"}).err, "<TIME> {D}/none.wav: File does not exist\n\n");
    EXPECT_EQ(run({"--copy", "{D}/bad.wav", "{D}/src.wav"}).err, "<TIME> {D}/bad.wav: invalid Wave: small\n\n");
    const std::string before = identity("src.wav");
    EXPECT_EQ(run({"--copy", "{D}/src.wav", "{D}/src.wav"}).status, 0);
    EXPECT_EQ(identity("src.wav"), before);
}

} // namespace
} // namespace ostrel::testing
