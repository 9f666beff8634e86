// Files as recorders leave them, and files that are broken.
#include "bwfmetaedit/tool_test.h"

#include <gtest/gtest.h>
#include <string>

using namespace std::string_literals;

namespace ostrel::testing {
namespace {

class Recorders : public ToolTest {
public:
    std::string error(const std::string& bytes) {
        put("bad.wav", bytes);
        const std::string before = identity("bad.wav");
        const ToolResult result = run({"--Description=x", "{D}/bad.wav"});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(identity("bad.wav"), before);
        const std::string start = "<TIME> {D}/bad.wav: ";
        return result.err.substr(start.size(), result.err.size() - start.size() - 2);
    }

    // Shown without a complaint, and not written: the message.
    std::string refusal(const std::string& bytes) {
        put("bad.wav", bytes);
        EXPECT_EQ(cell("bad.wav", "Description"), "shown");
        return error(bytes);
    }
};

const std::string kShown = bext({.description = "shown", .timeReference = 5});

std::string withRiffSize(std::string file, std::uint64_t size) { return file.replace(4, 4, le(size, 4)); }

TEST_F(Recorders, InvalidFilesHaveTheirMessages) {
    const std::string truncated = riff(format() + audio()).substr(0, 144);
    const std::pair<std::string, const char*> cases[] = {
        {"", "invalid Wave: no WAV header"},
        {"RIFF" + le(4, 4) + "AVI ", "invalid Wave: no WAV header"},
        {"RIF", "invalid Wave: small"},
        {"RIFF" + le(4, 4) + "WA", "invalid Wave: small"},
        {"RIFX" + le(4, 4) + "WAVE", "invalid Wave: no RIFF/RF64 header"},
        {"This is a text, no recording.", "invalid Wave: no RIFF/RF64 header"},
        {riff(format() + chunk("LIST", "IN") + audio()), "invalid Wave: small"},
        {riff(format() + format() + audio()), "invalid Wave: 2 fmt_ chunks"},
        {riff(format() + audio() + audio()), "invalid Wave: 2 data chunks"},
        {riff(format() + kShown + kShown + audio()), "invalid Wave: 2 bext chunks"},
        {riff(format() + infoList("") + infoList("") + audio()), "invalid Wave: 2 INFO chunks"},
        {riff(format() + infoList(infoField("ICMT", "a") + infoField("ICMT", "b")) + audio()),
         "invalid Wave: 2 ICMT chunks"},
        {withRiffSize(truncated, 136),
         "invalid Wave: truncated (The data chunk should be 400 bytes, but is 100 bytes.)"},
        {truncated, "invalid Wave: truncated (The RIFF chunk should be 432 bytes, but is 132 bytes. The data chunk "
                    "should be 400 bytes, but is 100 bytes.)"},
        {riff(chunk("fmt ", le(1, 2) + le(2, 2) + le(48000, 4) + le(384000, 4) + le(8, 2) + le(24, 2)) + audio()),
         "invalid Wave: fmt_"},
        {riff(format() + chunk("cue ", le(2, 4) + std::string(24, 'c')) + audio()),
         "invalid Wave: wrong cue points count"},
        {riff(format() + chunk("\x01\x02\xff ", "x").substr(0, 9) + "Z" + "????" + audio()),
         "invalid Wave: 0x0102FF20, missing padding byte at 0x0000002e"},
        {"RF64" + le(0xffffffff, 4) + "WAVE" + format() + audio(), "invalid Wave: no ds64 chunk"},
        {"RF64" + le(0xffffffff, 4) + "WAVE" + chunk("ds64", std::string(24, '\0') + le(1, 4) + std::string(12, '\0')) +
             format() + audio(),
         "invalid Wave: extended ds64 is not supported"},
    };
    for (const auto& [bytes, message] : cases) EXPECT_EQ(error(bytes), message);
}

TEST_F(Recorders, FieldsBeforeTheErrorAreShown) {
    put("a.wav", riff(format() + kShown + audio() + audio()));
    const ToolResult result = run({"--out-core=-", "{D}/a.wav"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find(",shown,"), std::string::npos);
}

TEST_F(Recorders, AMissingPadByteIsReadAndSupplied) {
    // At the end of the file, before another chunk, and inside a list.
    const std::string odd = audio(199).substr(0, 207);
    put("a.wav", riff(format() + kShown + odd));
    EXPECT_EQ(run({"--Description=x", "{D}/a.wav"}).err, "");
    EXPECT_EQ(layoutOf(get("a.wav")), "fmt 16 | bext 602 | data 199");
    EXPECT_EQ(get("a.wav").size() % 2, 0U);
    put("a.wav", riff(format() + kShown + odd + chunk("iXML", "<a/>")));
    EXPECT_EQ(run({"--out-iXML=-", "{D}/a.wav"}).out, "<a/>\n");
    EXPECT_EQ(run({"--Description=x", "{D}/a.wav"}).err, "");
    EXPECT_EQ(layoutOf(get("a.wav")), "fmt 16 | bext 602 | data 199 | iXML 4");
    EXPECT_EQ(dataOf(get("a.wav"), "data"), odd.substr(8));
    put("a.wav", riff(format() + chunk("iXML", "<a/>x").substr(0, 13) + kShown + audio(200)));
    EXPECT_EQ(run({"--Description=x", "{D}/a.wav"}).err, "");
    EXPECT_EQ(layoutOf(get("a.wav")), "fmt 16 | iXML 5 | bext 602 | data 200");
    EXPECT_EQ(dataOf(get("a.wav"), "data"), audio(200).substr(8));
    put("a.wav", riff(format() +
                      infoList("ICMT" + le(3, 4) +
                               "c1\0"
                               "ISFT"s +
                               le(2, 4) + "s\0"s) +
                      kShown + audio()));
    EXPECT_EQ(cell("a.wav", "ICMT") + cell("a.wav", "ISFT"), "c1s");
}

TEST_F(Recorders, APadByteMayBeAnything) {
    std::string odd = chunk("abcd", "x");
    for (const char pad : {'\0', '1', '\xff', 'A', ' '}) {
        odd.back() = pad;
        put("a.wav", riff(format() + odd + kShown + audio()));
        EXPECT_EQ(cell("a.wav", "Description"), "shown") << static_cast<int>(pad);
        EXPECT_EQ(run({"--Description=x", "{D}/a.wav"}).err, "");
        EXPECT_EQ(get("a.wav").substr(36, 10), chunk("abcd", "x")) << "written back as 0";
    }
}

TEST_F(Recorders, ARiffSizeThatIsOffIsReadAndCorrected) {
    const std::string right = riff(format() + kShown + audio(199) + chunk("iXML", "<a/>"));
    for (const std::uint64_t size : {right.size() - 8 + 1, right.size() - 8 + 1000, std::size_t{0xffffffff},
                                     std::size_t{0}, right.size() - 8 - 12, right.size() - 8 - 1, std::size_t{100}}) {
        put("a.wav", withRiffSize(right, size));
        EXPECT_EQ(cell("a.wav", "Description"), "shown") << size;
        EXPECT_EQ(run({"--out-iXML=-", "{D}/a.wav"}).out, "<a/>\n") << size;
        EXPECT_EQ(run({"--Description=shown!", "{D}/a.wav"}).err, "") << size;
        EXPECT_EQ(get("a.wav").substr(0, 8), right.substr(0, 8));
        EXPECT_EQ(layoutOf(get("a.wav")), layoutOf(right));
    }
}

TEST_F(Recorders, BytesBehindTheEndAreNotWrittenOver) {
    const std::string good = riff(format() + kShown + audio());
    for (const std::string& behind :
         {std::string("x"), std::string(7, '\0'), std::string(500, '\0'),
          std::string("some notes of 30 bytes, no chunk"), good, "TAG" + std::string(125, 'x')}) {
        EXPECT_EQ(refusal(good + behind), "is not written, what lies behind its last chunk belongs to none: " +
                                              std::to_string(behind.size()) + " bytes");
    }
    // Inside the RIFF they are as little clear.
    EXPECT_EQ(refusal(riff(format() + kShown + audio() + std::string(100, '\0'))),
              "is not written, what lies behind its last chunk belongs to none: 100 bytes");
}

TEST_F(Recorders, ARecordingThatWasNeverClosedIsShown) {
    const std::string message = "is not written, the recording was never closed, its data chunk has no size";
    const std::string sound = audio(400).substr(8);
    const std::string head = format() + kShown + "data";
    EXPECT_EQ(refusal(withRiffSize(riff(head + le(0, 4) + sound), 0)), message);
    EXPECT_EQ(refusal(withRiffSize(riff(head + le(0, 4) + sound), head.size() + 8)), message);
    EXPECT_EQ(refusal(withRiffSize(riff(head + le(0xffffffff, 4) + sound), 0xffffffff)), message);
    const std::string unclosedRf64 = rf64(head + le(0xffffffff, 4) + sound, 0, 0);
    EXPECT_EQ(refusal(unclosedRf64), message);
    EXPECT_EQ(refusal(std::string(unclosedRf64).replace(20, 8, le(0, 8))), message) << "no RIFF size in ds64";
    // Silence looks like empty chunks, but is none.
    EXPECT_EQ(refusal(withRiffSize(riff(head + le(0, 4) + std::string(4000, '\0')), 0)), message);
    // No audio at all is a legitimate file.
    put("a.wav", riff(head + le(0, 4)));
    EXPECT_EQ(run({"--Description=x", "{D}/a.wav"}).err, "");
    put("a.wav", riff(head + le(0, 4) + chunk("iXML", "<a/>")));
    EXPECT_EQ(run({"--Description=x", "{D}/a.wav"}).err, "");
    EXPECT_EQ(run({"--out-iXML=-", "{D}/a.wav"}).out, "<a/>\n");
}

TEST_F(Recorders, OfTwoIxmlChunksTheFirstCounts) {
    const std::string two = riff(format() + chunk("iXML", "<1/>") + kShown + audio() + chunk("iXML", "<2/>"));
    put("a.wav", two);
    EXPECT_EQ(run({"--out-iXML=-", "{D}/a.wav"}).out, "<1/>\n");
    EXPECT_EQ(run({"--Description=x", "{D}/a.wav"}).err, "");
    EXPECT_EQ(layoutOf(get("a.wav")), "fmt 16 | iXML 4 | bext 602 | data 400 | iXML 4");
    const std::string before = identity("a.wav");
    put("i.xml", "<3/>");
    EXPECT_EQ(run({"--in-iXML={D}/i.xml", "{D}/a.wav"}).err,
              "<TIME> {D}/a.wav: is not written, which of its 2 iXML chunks to replace is not clear\n\n");
    EXPECT_EQ(identity("a.wav"), before);
}

TEST_F(Recorders, OversizedMetadataIsRefusedWithAMessage) {
    const std::string large((1 << 20) + 2, 'x');
    EXPECT_EQ(error(riff(format() + chunk("iXML", large) + audio())),
              "invalid Wave: the iXML chunk of 1048578 bytes is too big");
    std::string many;
    for (int i = 0; i < 20'001; ++i) many += chunk("abcd", "");
    EXPECT_EQ(error(riff(format() + many + audio())), "invalid Wave: more than 20000 chunks");
}

} // namespace
} // namespace ostrel::testing
