#include "bwfmetaedit/tool_test.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel::testing {
namespace {

class Documents : public ToolTest {
public:
    Documents() {
        put("a.wav", riff(format() + bext({.description = "old", .originator = "o", .timeReference = 5}) + audio()));
    }

    ToolResult apply(const std::string& document, std::vector<std::string> files = {"{D}/a.wav"}) {
        std::string text = document;
        for (std::size_t at = text.find("{D}"); at != std::string::npos; at = text.find("{D}"))
            text.replace(at, 3, folder());
        put("doc", text);
        files.insert(files.begin(), "--in-core={D}/doc");
        return run(files);
    }
};

TEST_F(Documents, CsvSetsClearsAndKeeps) {
    EXPECT_EQ(apply("FileName,Description,ICMT,Unknown\n{D}/a.wav,\"new, \"\"q\"\"\",c,x,surplus\n").err, "");
    EXPECT_EQ(cell("a.wav", "Description"), "new, \"q\"");
    EXPECT_EQ(cell("a.wav", "ICMT"), "c");
    EXPECT_EQ(cell("a.wav", "Originator"), "o");
    EXPECT_EQ(apply("FileName;description;ICMT\r\n\r\n{D}/a.wav;second").err, "");
    EXPECT_EQ(cell("a.wav", "Description"), "second");
    EXPECT_EQ(cell("a.wav", "ICMT"), "") << "a missing cell clears";
}

TEST_F(Documents, CsvQuotingIsLeftToRight) {
    const std::pair<const char*, const char*> cases[] = {{"\"a\"\"b\"", "a\"b"},
                                                         {"x\"y, z\"w", "xy, zw"},
                                                         {"\"\"", "\""},
                                                         {"\"line 1\nline 2\"", "line 1\nline 2"},
                                                         {"\"unclosed,\n", "unclosed,"}};
    for (const auto& [written, read] : cases) {
        EXPECT_EQ(apply(std::string("FileName,Description\n{D}/a.wav,") + written).err, "");
        EXPECT_EQ(cell("a.wav", "Description").substr(0, std::string(read).size()), read) << written;
    }
}

TEST_F(Documents, CsvThatIsNoUtf8IsIso88591) {
    EXPECT_EQ(apply("FileName,Description\n{D}/a.wav,caf\xe9\n").err, "");
    EXPECT_EQ(cell("a.wav", "Description"), "caf\xc3\xa9");
}

TEST_F(Documents, XmlSetsClearsAndKeeps) {
    EXPECT_EQ(apply("\xef\xbb\xbf<?xml version=\"1.0\"?>\n<!-- c --><conformance_point_document><Other/><File "
                    "name='{D}/a.wav'><Core>"
                    "<description>a &lt;b&gt; &#233;&#x20ac;<![CDATA[<&]]></description><Originator> </Originator>"
                    "<ICMT><x>no</x>c</ICMT><Unknown>u</Unknown></Core></File></conformance_point_document>")
                  .err,
              "");
    EXPECT_EQ(cell("a.wav", "Description"), "a &lt;b&gt; \xc3\xa9\xe2\x82\xac&lt;&amp;");
    EXPECT_EQ(cell("a.wav", "Originator"), "");
    EXPECT_EQ(cell("a.wav", "ICMT"), "c");
    EXPECT_EQ(cell("a.wav", "TimeReference"), "5");
}

TEST_F(Documents, NothingButTheRightElementsIsLookedAt) {
    const std::string before = identity("a.wav");
    for (const char* inner :
         {"<File name='{D}/a.wav'><Core/></File>", "<file name='{D}/a.wav'><Core><ICMT>c</ICMT></Core></file>",
          "<File name='{D}/a.wav'><core><ICMT>c</ICMT></core></File>", "<File name='{D}/a.wav'><ICMT>c</ICMT></File>",
          "<x><File name='{D}/a.wav'><Core><ICMT>c</ICMT></Core></File></x>"}) {
        EXPECT_EQ(
            apply(std::string("<?xml?>\n<conformance_point_document>") + inner + "</conformance_point_document>").err,
            "")
            << inner;
        EXPECT_EQ(identity("a.wav"), before) << inner;
    }
}

TEST_F(Documents, WhatIsNoDocumentIsAnErrorWithStatus1) {
    const std::string before = identity("a.wav");
    for (const char* document :
         {"", "This is no document.\n", "filename,Description\na,b\n", "FileName\n{D}/a.wav\n",
          "\"FileName\",Description\n{D}/a.wav,x\n", "<conformance_point_document/>\n",
          "<?xml?><conformance_point_document/>", "<?xml?>\n<a><b></a></b>", "<?xml?>\n<a>", "<?xml?>\n<a/><b/>",
          "<?xml?>\n<a>&unknown;</a>", "<?xml?>\n<a>&#xD800;</a>", "<?xml?>\n<a b=c/>", "<?xml?>\n",
          "<?xml?>\n<!DOCTYPE a [<!ENTITY x 'y'>]><a/>", "<?xml?>\n<a>\xff</a>"}) {
        const ToolResult result = apply(document);
        EXPECT_EQ(result.status, 1) << document;
        EXPECT_EQ(result.err, "<TIME> --in-core=: not a valid file\n\nCorrect errors before trying again\n")
            << document;
    }
    EXPECT_EQ(run({"--in-core={D}/none", "{D}/a.wav"}).err,
              "<TIME> --in-core=: file does not exist\n\nCorrect errors before trying again\n");
    EXPECT_EQ(run({"--in-core={D}", "{D}/a.wav"}).err,
              "<TIME> --in-core=: file is too big, it can not be loaded\n\nCorrect errors before trying again\n");
    EXPECT_EQ(identity("a.wav"), before);
}

TEST_F(Documents, AFileThatIsNotGivenIsNeverChanged) {
    put("b.wav", riff(format() + bext({.description = "source"}) + audio()));
    const std::string before = identity("b.wav");
    const ToolResult result = apply("FileName,Description\n{D}/b.wav,x\n{D}/a.wav,y\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "<TIME> {D}/b.wav: is named in the document, but was not given as an argument; it is left as it is\n\n");
    EXPECT_EQ(identity("b.wav"), before);
    EXPECT_EQ(cell("a.wav", "Description"), "y") << "the others go on";
    EXPECT_EQ(run({"--in-core={D}/doc"}).status, 1) << "no file given at all";
    EXPECT_EQ(identity("b.wav"), before);
}

TEST_F(Documents, AFileIsKnownByWhateverPath) {
    ASSERT_EQ(::symlink("a.wav", path("link.wav").c_str()), 0);
    EXPECT_EQ(apply("FileName,Description\n{D}/./link.wav,x\n").err, "");
    EXPECT_EQ(cell("a.wav", "Description"), "x");
    EXPECT_EQ(apply("FileName,Description\n{D}\\a.wav,y\n").err, "") << "a backslash reads as a slash";
    EXPECT_EQ(cell("a.wav", "Description"), "y");
}

TEST_F(Documents, AFolderNamesTheGivenFilesInIt) {
    put("f/b.wav", riff(format() + audio()));
    put("f/sub/c.wav", riff(format() + audio()));
    const std::string before = identity("f/sub/c.wav");
    EXPECT_EQ(apply("FileName,Description\n{D}/f,x\n", {"{D}/a.wav", "{D}/f/b.wav"}).err, "");
    EXPECT_EQ(cell("f/b.wav", "Description"), "x");
    EXPECT_EQ(cell("a.wav", "Description"), "old");
    EXPECT_EQ(identity("f/sub/c.wav"), before);
    // No folder is searched on the word of a document: the root would be the whole machine.
    EXPECT_EQ(apply("FileName,Description\n/usr,x\n").err,
              "<TIME> /usr: is named in the document, but was not given as an argument; it is left as it is\n\n");
}

TEST_F(Documents, ANulEndsNoPath) {
    const std::string before = identity("a.wav");
    const ToolResult result = apply("FileName,Description\n{D}/a.wav" + std::string(1, '\0') + ",x\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(identity("a.wav"), before);
}

TEST_F(Documents, RowsForOneFileAreBothApplied) {
    EXPECT_EQ(apply("FileName,Description,ICMT\n{D}/a.wav,x,1\n{D}/a.wav,y,2\n").err, "");
    EXPECT_EQ(cell("a.wav", "Description") + cell("a.wav", "ICMT"), "y2");
}

TEST_F(Documents, AnyErrorMeansThatNothingIsWritten) {
    put("b.wav", riff(format() + bext({.description = "b"}) + audio()));
    const std::string before = identity("a.wav");
    const std::vector<std::string> both{"{D}/a.wav", "{D}/b.wav"};
    EXPECT_EQ(apply("FileName,OriginationTime\n{D}/a.wav,10:00:00\n{D}/b.wav,25:00:00\n", both).status, 1);
    EXPECT_EQ(apply("FileName,OriginationTime\n{D}/a.wav,10:00:00\n{D}/none.wav,10:00:00\n", both).err,
              "<TIME> {D}/none.wav: File does not exist\n\n");
    EXPECT_EQ(identity("a.wav"), before);
}

TEST_F(Documents, TheTranslatedTimeCanWin) {
    struct Case {
        const char* translated;
        const char* number;
        const char* result;
    };
    for (const Case& c : {Case{"00:00:06.000", "48001", "48001"}, {"00:00:06.000", "99999", "48000"}, {"", "77", ""}}) {
        put("a.wav", riff(format() + bext({.timeReference = 5}) + audio()));
        EXPECT_EQ(apply(std::string("FileName,TimeReference (translated),TimeReference\n{D}/a.wav,") + c.translated +
                        "," + c.number)
                      .err,
                  "");
        EXPECT_EQ(cell("a.wav", "TimeReference"), c.result);
    }
    put("a.wav", riff(format() + bext({.timeReference = 5}) + audio()));
    EXPECT_EQ(apply("FileName,TimeReference (translated)\n{D}/a.wav,00:00:01.000\n").err, "");
    EXPECT_EQ(cell("a.wav", "TimeReference"), "8000");
    EXPECT_EQ(apply("FileName,TimeReference (translated)\n{D}/a.wav,1 s\n").err,
              "<TIME> {D}/a.wav: malformed input, TimeReference (translated) format must be HH:MM:SS.mmm\n\n");
}

TEST_F(Documents, UmidAndLoudnessRaiseTheVersion) {
    const std::string umid = "0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f20";
    EXPECT_EQ(apply("FileName,UMID\n{D}/a.wav," + umid + "\n").err, "");
    EXPECT_EQ(cell("a.wav", "BextVersion"), "1");
    EXPECT_EQ(cell("a.wav", "UMID").substr(0, 20), "0102030405060708090A");
    EXPECT_EQ(apply("FileName,LoudnessRange\n{D}/a.wav,-5.5\n").err, "");
    EXPECT_EQ(cell("a.wav", "BextVersion"), "2");
    EXPECT_EQ(cell("a.wav", "LoudnessRange"), "-5.50");
    EXPECT_EQ(cell("a.wav", "LoudnessValue"), "") << "unset, not 0";
    EXPECT_EQ(apply("FileName,BextVersion\n{D}/a.wav,1\n").err, "");
    EXPECT_EQ(cell("a.wav", "BextVersion"), "2") << "as long as there is loudness";
    EXPECT_EQ(apply("FileName,BextVersion,LoudnessRange\n{D}/a.wav,,\n").err, "");
    EXPECT_EQ(cell("a.wav", "LoudnessRange"), "");
    EXPECT_EQ(apply("FileName,BextVersion\n{D}/a.wav,\n").err, "");
    EXPECT_EQ(cell("a.wav", "BextVersion"), "1");
    for (const char* bad : {"01", "xx", "0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1fzz"}) {
        EXPECT_EQ(apply(std::string("FileName,UMID\n{D}/a.wav,") + bad).err,
                  "<TIME> {D}/a.wav: malformed input, UMID must be 0-, 32- or 64-byte long\n\n");
    }
    for (const char* bad : {"x", "1.234", "101", "1,0", "--1", "."}) {
        EXPECT_EQ(apply(std::string("FileName;LoudnessValue\n{D}/a.wav;") + bad).err,
                  "<TIME> {D}/a.wav: malformed input, loudnessvalue must be XX.XX or -XX.XX\n\n")
            << bad;
    }
}

TEST_F(Documents, ADocumentGivenBackLeavesTheFileAlone) {
    std::string umid(64, 'u');
    put("a.wav", riff(format(48000) +
                      bext({.description = "d",
                            .originator = "\"o,",
                            .date = "2024-01-01",
                            .time = "10:00:00",
                            .timeReference = 4294967299,
                            .version = 2,
                            .umid = umid,
                            .loudness = {-2300, -105, 0x7fff, 12, 0}}) +
                      infoList(infoField("ICMT", "c") + infoField("IXYZ", "x")) + audio()));
    const std::string before = identity("a.wav");
    for (const char* option : {"--out-core={D}/doc", "--out-core-xml={D}/doc"}) {
        EXPECT_EQ(run({option, "{D}/a.wav"}).err, "");
        EXPECT_EQ(run({"--in-core={D}/doc", "{D}/a.wav"}).err, "");
        EXPECT_EQ(identity("a.wav"), before) << option;
    }
    put("shown", run({"--out-core=-", "{D}/a.wav"}).out);
    EXPECT_EQ(apply(get("shown")).err, "") << "the form for the terminal";
    EXPECT_EQ(identity("a.wav"), before);
}

TEST_F(Documents, ALineBreakIsStoredAnewAndOnlyOnce) {
    put("a.wav", riff(format() + bext({.description = "1\r\n2", .timeReference = 5}) + audio()));
    EXPECT_EQ(apply("FileName,Description\n{D}/a.wav,\"1\n2\"\n").err, "");
    EXPECT_EQ(dataOf(get("a.wav"), "bext").substr(0, 4), std::string("1\n2\0", 4));
    const std::string before = identity("a.wav");
    EXPECT_EQ(apply("FileName,Description\n{D}/a.wav,\"1\n2\"\n").err, "");
    EXPECT_EQ(identity("a.wav"), before);
}

} // namespace
} // namespace ostrel::testing
