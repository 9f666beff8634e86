#include "bwfmetaedit/tool_test.h"

#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class Ixml : public ToolTest {
public:
    ToolResult store(const std::string& text) {
        put("i.xml", text);
        return run({"--in-iXML={D}/i.xml", "{D}/a.wav"});
    }
};

TEST_F(Ixml, ANewChunkIsTheLastOneAndMadeInPlace) {
    put("a.wav", riff(format() + audio() + chunk("abcd", "x")));
    const ino_t before = inode(path("a.wav"));
    EXPECT_EQ(store("<a/>").err, "");
    EXPECT_EQ(layoutOf(get("a.wav")), "fmt 16 | data 400 | abcd 1 | iXML 4");
    EXPECT_EQ(inode(path("a.wav")), before);
}

TEST_F(Ixml, AnOldChunkIsReplacedWhereItIs) {
    put("a.wav", riff(format() + chunk("iXML", std::string(90, 'x')) + audio()));
    store(std::string(60, 'y'));
    EXPECT_EQ(layoutOf(get("a.wav")), "fmt 16 | iXML 60 | FLLR 22 | data 400");
    put("a.wav", riff(format() + chunk("iXML", std::string(90, 'x')) + audio()));
    store(std::string(110, 'y'));
    EXPECT_EQ(layoutOf(get("a.wav")), "fmt 16 | iXML 110 | data 400");
}

TEST_F(Ixml, BytesAreKeptButForLineBreaks) {
    put("a.wav", riff(format() + audio()));
    EXPECT_EQ(store("\xef\xbb\xbf no XML \xff\r\n\r ").status, 0);
    EXPECT_EQ(dataOf(get("a.wav"), "iXML"), "\xef\xbb\xbf no XML \xff\n\n ");
}

TEST_F(Ixml, TheSameTextLeavesTheFileAlone) {
    put("a.wav", riff(format() + chunk("iXML", std::string("<a>\n</a>\0\0rest", 14)) + audio()));
    const std::string before = identity("a.wav");
    EXPECT_EQ(store("<a>\r\n</a>").status, 0);
    EXPECT_EQ(identity("a.wav"), before);
    put("a.wav", riff(format() + chunk("iXML", "<a>\r\n</a>") + audio()));
    EXPECT_EQ(store("<a>\r\n</a>").status, 0);
    EXPECT_EQ(dataOf(get("a.wav"), "iXML"), "<a>\n</a>");
}

TEST_F(Ixml, AnEmptyDocumentRemovesTheChunk) {
    put("a.wav", riff(format() + chunk("iXML", "<a/>") + audio()));
    EXPECT_EQ(store("").status, 0);
    EXPECT_EQ(layoutOf(get("a.wav")), "fmt 16 | FLLR 4 | data 400");
    const std::string before = identity("a.wav");
    EXPECT_EQ(store("").status, 0);
    EXPECT_EQ(identity("a.wav"), before);
}

TEST_F(Ixml, AMissingDocumentIsAnErrorOfEveryTarget) {
    put("a.wav", riff(format() + audio()));
    put("b.wav", riff(format() + audio()));
    const std::string before = identity("a.wav");
    const ToolResult result = run({"--in-iXML={D}/no.xml", "--Description=x", "{D}/a.wav", "{D}/b.wav"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "<TIME> {D}/a.wav: Malformed input (ixml=file://{D}/no.xml, File does not exist)\n\n"
                          "<TIME> {D}/b.wav: Malformed input (ixml=file://{D}/no.xml, File does not exist)\n\n");
    EXPECT_EQ(identity("a.wav"), before);
}

TEST_F(Ixml, AFolderAsDocumentIsAnError) {
    put("a.wav", riff(format() + audio()));
    EXPECT_EQ(run({"--in-iXML={D}", "{D}/a.wav"}).err,
              "<TIME> {D}/a.wav: Malformed input (ixml=file://{D}, File is a folder)\n\n");
}

TEST_F(Ixml, TheNewTextIsShownInTheSameRun) {
    put("a.wav", riff(format() + audio()));
    put("i.xml", "<new/>");
    EXPECT_EQ(run({"--in-iXML={D}/i.xml", "--out-iXML=-", "{D}/a.wav"}).out, "<new/>\n");
}

TEST_F(Ixml, TextThatIsNoUtf8GoesToTheStandardOutputOnly) {
    put("a.wav", riff(format() + chunk("iXML", "<a>\xe9</a>") + audio()));
    EXPECT_EQ(run({"--out-iXML=-", "{D}/a.wav"}).out, "<a>\xe9</a>\n");
    const ToolResult result = run({"--out-iXML={D}/o.xml", "{D}/a.wav"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "<TIME> --out-iXML=: error during file writing\n");
    EXPECT_EQ(get("o.xml"), "");
}

} // namespace
} // namespace ostrel::testing
