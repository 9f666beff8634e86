#include "bwfmetaedit/tool_test.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel::testing {
namespace {

class Arguments : public ToolTest {};

TEST_F(Arguments, WithoutFilesTellTheUsage) {
    const ToolResult result = run({});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Usage: \"bwfmetaedit [-Options...] FileName1 [Filename2...]\"\n"
                          "\"bwfmetaedit --Help\" for displaying more information\n");
    EXPECT_EQ(run({"--Description=x"}).out, result.out);
}

TEST_F(Arguments, VersionAndHelp) {
    EXPECT_EQ(run({"--version"}).out, "BWF MetaEdit 26.01\n");
    for (const char* help : {"--help", "--Help", "-h"}) {
        EXPECT_EQ(run({help}).status, 0);
        EXPECT_NE(run({help}).out.find("delivered with Ostrel"), std::string::npos);
    }
}

TEST_F(Arguments, UnknownOptionsStopEverything) {
    put("a.wav", riff(format() + audio()));
    const std::string before = identity("a.wav");
    const std::pair<std::string, std::string> options[] = {{"--Foo=Bar", "--foo=Bar is unknown\n"},
                                                           {"--Description", "--description is unknown\n"},
                                                           {"-z.wav", "-z.wav is unknown\n"},
                                                           {"--", "-- is unknown\n"},
                                                           {"-", "- is unknown\n"}};
    for (const auto& [option, message] : options) {
        const ToolResult result = run({"--Description=x", option, "--Other", "{D}/a.wav"});
        EXPECT_EQ(result.status, 1) << option;
        EXPECT_EQ(result.err, message);
    }
    EXPECT_EQ(identity("a.wav"), before);
}

TEST_F(Arguments, OptionNamesIgnoreCaseAndTheLastOneWins) {
    put("a.wav", riff(format() + bext({.description = "old"}) + audio()));
    EXPECT_EQ(run({"--DESCRIPTION=first", "{D}/a.wav", "--description=Second"}).status, 0);
    EXPECT_EQ(cell("a.wav", "Description"), "Second");
}

TEST_F(Arguments, AnyFourLettersAreAccepted) {
    put("a.wav", riff(format() + audio()));
    const std::string before = identity("a.wav");
    EXPECT_EQ(run({"--IXYZ=x", "--UMID=x", "{D}/a.wav"}).status, 0);
    EXPECT_EQ(identity("a.wav"), before);
}

TEST_F(Arguments, EmptyOutputsAndDocumentsAreNone) {
    put("a.wav", riff(format() + audio()));
    const ToolResult result = run({"--out-core=", "--out-iXML=", "--in-iXML=", "--in-core=", "{D}/a.wav"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out + result.err, "");
}

TEST_F(Arguments, SimulationWritesNothing) {
    put("a.wav", riff(format() + audio()));
    const std::string before = identity("a.wav");
    EXPECT_EQ(run({"--simulate", "--Description=x", "{D}/a.wav"}).status, 0);
    EXPECT_EQ(identity("a.wav"), before);
    EXPECT_EQ(run({"--simulate", "--TimeReference=x", "{D}/a.wav"}).status, 1);
}

TEST_F(Arguments, FoldersStandForTheirFiles) {
    put("f/b.wav", riff(format() + audio()));
    put("f/a.wav", riff(format() + audio()));
    put("f/sub/c.bin", riff(format() + audio()));
    put("f/.hidden.wav", "no recording");
    const ToolResult result = run({"--out-core-xml=-", "{D}/f", "{D}/f/a.wav"});
    EXPECT_EQ(result.status, 0);
    const std::size_t a = result.out.find("{D}/f/a.wav");
    const std::size_t b = result.out.find("{D}/f/b.wav");
    const std::size_t c = result.out.find("{D}/f/sub/c.bin");
    EXPECT_TRUE(a < b && b < c && c != std::string::npos);
    EXPECT_EQ(result.out.find("{D}/f/a.wav", a + 1), std::string::npos);
    EXPECT_EQ(result.out.find("hidden"), std::string::npos);
}

TEST_F(Arguments, WhatIsNoFileDoesNotExist) {
    ASSERT_EQ(::mkdir(path("empty").c_str(), 0755), 0);
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0644), 0);
    for (const char* name : {"{D}/none.wav", "{D}/empty", "{D}/pipe", "/dev/null"}) {
        const ToolResult result = run({name});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, std::string("<TIME> ") + name + ": File does not exist\n\n");
    }
    EXPECT_EQ(run({""}).err, "<TIME> : File does not exist\n\n");
}

TEST_F(Arguments, OneOutputOnTheStandardOutput) {
    put("a.wav", riff(format() + audio()));
    const ToolResult result = run({"--out-core=-", "--out-iXML=-", "{D}/a.wav"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "Cannot combine --out-core=- with others display output\n");
}

TEST_F(Arguments, OneFileForTheIxmlOutput) {
    put("a.wav", riff(format() + audio()));
    put("b.wav", riff(format() + audio()));
    const ToolResult result = run({"--out-iXML=-", "{D}/a.wav", "{D}/b.wav"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "Only one input file is allowed for the output(s): --out-ixml=\n");
}

TEST_F(Arguments, AnOutputNeverOverwritesItsInput) {
    put("a.wav", riff(format() + audio()));
    ASSERT_EQ(::symlink("a.wav", path("link").c_str()), 0);
    const std::string before = get("a.wav");
    for (const char* option : {"--out-core={D}/a.wav", "--out-core-xml={D}/link", "--out-iXML={D}/./a.wav"}) {
        const ToolResult result = run({option, "{D}/a.wav"});
        EXPECT_EQ(result.status, 1) << option;
        EXPECT_NE(result.err.find("is one of the input files"), std::string::npos) << result.err;
        EXPECT_EQ(get("a.wav"), before) << option;
    }
}

} // namespace
} // namespace ostrel::testing
