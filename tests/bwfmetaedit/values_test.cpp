#include "bwfmetaedit/tool_test.h"

#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class Values : public ToolTest {
public:
    Values() { put("a.wav", riff(format() + bext({.description = "old", .timeReference = 5}) + audio())); }

    std::string problem(const std::string& option) {
        const std::string before = identity("a.wav");
        const ToolResult result = run({option, "{D}/a.wav"});
        EXPECT_EQ(result.status, 1) << option;
        EXPECT_EQ(identity("a.wav"), before) << option;
        const std::string start = "<TIME> {D}/a.wav: ";
        EXPECT_EQ(result.err.substr(0, start.size()), start);
        EXPECT_EQ(result.err.substr(result.err.size() - 2), "\n\n");
        return result.err.substr(start.size(), result.err.size() - start.size() - 2);
    }
};

TEST_F(Values, EveryBadValueHasItsMessage) {
    const std::string year =
        "OriginationDate 1st to 4th characters (Year) must be between '0000' and '9999' (BWF requirements)";
    const std::string month =
        "OriginationDate 6th and 7th characters (Month) must be between '01' and '12' (BWF requirements)";
    const std::string day =
        "OriginationDate 9th and 10th characters (Day) must be between '01' and '23' (BWF requirements)";
    const std::string hours = "OriginationTime 1st and 2nd characters (Hours) must be between '00' and '23'";
    const std::string minutes = "OriginationTime 4th and 5th characters (Minutes) must be between '00' and '59'";
    const std::string seconds = "OriginationTime 7th and 8th characters (Seconds) must be between '00' and '59'";
    const std::pair<std::string, std::string> cases[] = {
        {"--Description=" + repeated(257, 'x'), "Description length is maximum 256 characters (format limitation)"},
        {"--Description=" + repeated(255, 'x') + "\n",
         "Description length is maximum 256 characters (format limitation)"},
        {"--Originator=" + repeated(31, 'x') + "\xc3\xa9",
         "Originator length is maximum 32 characters (format limitation)"},
        {"--OriginatorReference=" + repeated(33, 'x'),
         "OriginatorReference length is maximum 32 characters (format limitation)"},
        {"--OriginationDate=2024-01-011", "OriginationDate length is maximum 10 characters (format limitation)"},
        {"--OriginationDate=2024-1-1", "OriginationDate must be YYYY-MM-DD (BWF requirements)"},
        {"--OriginationDate=20x4-01-01", year},
        {"--OriginationDate=2024-00-01", month},
        {"--OriginationDate=2024-13-01", month},
        {"--OriginationDate=2024-01-00", day},
        {"--OriginationDate=2024-01-32", day},
        {"--OriginationTime=10:10:100", "OriginationTime length is maximum 8 characters (format limitation)"},
        {"--OriginationTime=10:10", "OriginationTime must be HH:MM:SS"},
        {"--OriginationTime=24:00:00", hours},
        {"--OriginationTime=00:60:00", minutes},
        {"--OriginationTime=00:00:60", seconds},
        {"--TimeReference=abc", "TimeReference must be a number"},
        {"--TimeReference=-1", "TimeReference must be a number"},
        {"--TimeReference=00:60:00.000", "TimeReference must be a number"},
        {"--TimeReference=0:00:00.000", "TimeReference must be a number"},
        {"--TimeReference=" + repeated(19, '1'), "TimeReference must be a number less than 18 digits"},
        {"--Description=\xff", "Description is not valid UTF-8"},
    };
    for (const auto& [option, message] : cases) EXPECT_EQ(problem(option), "malformed input, " + message) << option;
    EXPECT_EQ(problem("--ICMT=a\nb\rc"), "malformed input (ICMT=a\r\nb\r\nc, carriage return are not acceptable)");
}

TEST_F(Values, AcceptableValuesComeBack) {
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"Description", repeated(256, 'x'), repeated(256, 'x')},
        {"Description", "a\r\nb\rc\nd", "a\nb\nc\nd"},
        {"Description", " \\n 'literal' ", " \\n 'literal' "},
        {"Originator", repeated(30, 'x') + "\xc3\xa9", repeated(30, 'x') + "\xc3\xa9"},
        {"OriginationDate", "2024:02.31", "2024:02.31"},
        {"OriginationTime", "23-59-59", "23-59-59"},
        {"TimeReference", "4294967299", "4294967299"},
        {"TimeReference", repeated(18, '9'), repeated(18, '9')},
        {"TimeReference", "100:00:00.001", "2880000008"},
        {"ICMT", "comment", "comment"},
        {"ITCH", "two\r\nlines", "two\nlines"},
    };
    for (const auto& [name, value, shown] : cases) {
        EXPECT_EQ(run({"--" + name + "=" + value, "{D}/a.wav"}).err, "") << name;
        EXPECT_EQ(cell("a.wav", name), shown) << name;
    }
}

TEST_F(Values, TimestampIsTheTimeOfCreation) {
    EXPECT_EQ(run({"--OriginationDate=TIMESTAMP", "--OriginationTime=TIMESTAMP", "{D}/a.wav"}).err, "");
    EXPECT_EQ(cell("a.wav", "OriginationDate").size(), 10U);
    EXPECT_EQ(cell("a.wav", "OriginationDate").substr(0, 2), "20");
    EXPECT_EQ(cell("a.wav", "OriginationTime").size(), 8U);
}

TEST_F(Values, AllMessagesComeInOrderAndNothingIsWritten) {
    const std::string before = identity("a.wav");
    const ToolResult result =
        run({"--OriginationTime=x", "--ICMT=a\nb", "--Description=" + repeated(300, 'x'), "{D}/a.wav"});
    const std::size_t description = result.err.find("Description length");
    const std::size_t comment = result.err.find("ICMT=");
    const std::size_t time = result.err.find("OriginationTime must");
    EXPECT_TRUE(description < comment && comment < time && time != std::string::npos) << result.err;
    EXPECT_EQ(identity("a.wav"), before);
}

TEST_F(Values, FilesBeforeTheFirstErrorAreWritten) {
    put("b.wav", riff(format() + bext({.originator = "\xe9", .timeReference = 5}) + audio()));
    put("c.wav", riff(format() + bext({.description = "old"}) + audio()));
    const ToolResult result = run({"--Description=\xe2\x82\xac", "{D}/a.wav", "{D}/b.wav", "{D}/c.wav"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "<TIME> {D}/b.wav: '\xe2\x82\xac' Is invalid for ISO 8859-1 encoding\n\n");
    EXPECT_EQ(cell("a.wav", "Description"), "\xe2\x82\xac");
    EXPECT_EQ(cell("c.wav", "Description"), "old");
}

TEST_F(Values, AnIso88591FileStaysOne) {
    put("a.wav", riff(format() + bext({.description = "caf\xe9", .timeReference = 5}) + audio()));
    EXPECT_EQ(run({"--Originator=Zo\xc3\xab", "{D}/a.wav"}).status, 0);
    EXPECT_EQ(dataOf(get("a.wav"), "bext"),
              bextData({.description = "caf\xe9", .originator = "Zo\xeb", .timeReference = 5}));
}

TEST_F(Values, EqualValuesLeaveTheFileAlone) {
    const std::string before = identity("a.wav");
    EXPECT_EQ(run({"--Description=old", "--Originator=", "--TimeReference=5", "--ICMT=", "{D}/a.wav"}).status, 0);
    EXPECT_EQ(identity("a.wav"), before);
}

TEST_F(Values, RejectOverwriteAllowsWhatIsMissing) {
    EXPECT_EQ(run({"--reject-overwrite", "--Description=old", "--Originator=new", "--ICMT=c", "{D}/a.wav"}).err, "");
    EXPECT_EQ(cell("a.wav", "Originator"), "new");
    const std::pair<std::string, std::string> refused[] = {
        {"--Description=", "description"}, {"--TimeReference=6", "timereference"}, {"--ICMT=d", "ICMT"}};
    for (const auto& [option, name] : refused) {
        const ToolResult result = run({"--reject-overwrite", option, "{D}/a.wav"});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "<TIME> {D}/a.wav: overwriting is not authorized (" + name + ")\n\n");
    }
    put("i.xml", "<b/>");
    put("b.wav", riff(format() + chunk("iXML", "<a/>") + audio()));
    EXPECT_EQ(run({"--reject-overwrite", "--in-iXML={D}/i.xml", "{D}/b.wav"}).err,
              "<TIME> {D}/b.wav: overwriting is not authorized (ixml)\n\n");
}

} // namespace
} // namespace ostrel::testing
