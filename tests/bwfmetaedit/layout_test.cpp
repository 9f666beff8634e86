// Where chunks and audio end up. The arithmetic is written out: "gap" is the room before the audio once fillers are
// gone.
#include "bwfmetaedit/tool_test.h"

#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel::testing {
namespace {

class Layout : public ToolTest {
public:
    struct Outcome {
        std::string layout;
        bool replaced;
    };

    // Whatever happens, the audio and the size fields have to be right.
    Outcome change(const std::string& before, const std::vector<std::string>& options) {
        put("a.wav", before);
        const ino_t inodeBefore = inode(path("a.wav"));
        std::vector<std::string> arguments = options;
        arguments.push_back("{D}/a.wav");
        const ToolResult result = run(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        const std::string after = get("a.wav");
        EXPECT_EQ(dataOf(after, "data"), dataOf(before, "data"));
        if (after.substr(0, 4) == "RIFF") {
            EXPECT_EQ(after.substr(4, 4), le(after.size() - 8, 4));
        } else {
            EXPECT_EQ(dataOf(after, "ds64").substr(0, 8), le(after.size() - 8, 8));
        }
        EXPECT_GE(after.size(), before.size());
        return {layoutOf(after), inode(path("a.wav")) != inodeBefore};
    }

    Outcome setDescription(const std::string& before) { return change(before, {"--Description=x"}); }
};

std::string filler(std::size_t size) { return chunk("JUNK", std::string(size, 'j')); }

TEST_F(Layout, ANewBextNeedsANewFileWithRoom) {
    const Outcome outcome = setDescription(riff(format() + audio()));
    EXPECT_EQ(outcome.layout, "fmt 16 | bext 858 | FLLR 16384 | data 400");
    EXPECT_TRUE(outcome.replaced);
}

TEST_F(Layout, AChangeOfTheSameSizeIsMadeInPlace) {
    const Outcome outcome = setDescription(riff(format() + bext({.description = "y"}) + audio()));
    EXPECT_EQ(outcome.layout, "fmt 16 | bext 602 | data 400");
    EXPECT_FALSE(outcome.replaced);
}

TEST_F(Layout, FillersGiveRoom) {
    // A new bext takes 866 bytes.
    const std::pair<std::size_t, const char*> inPlace[] = {{1000, "fmt 16 | bext 858 | FLLR 134 | data 400"},
                                                           {866, "fmt 16 | bext 858 | FLLR 0 | data 400"},
                                                           {858, "fmt 16 | bext 858 | data 400"}};
    for (const auto& [size, layout] : inPlace) {
        const Outcome outcome = setDescription(riff(format() + filler(size) + audio()));
        EXPECT_EQ(outcome.layout, layout);
        EXPECT_FALSE(outcome.replaced) << size;
    }
    const std::pair<std::size_t, const char*> replaced[] = {{862, "fmt 16 | bext 858 | data 400 | FLLR 0"},
                                                            {850, "fmt 16 | bext 858 | data 400"},
                                                            {838, "fmt 16 | bext 858 | data 400"},
                                                            {836, "fmt 16 | bext 858 | FLLR 16384 | data 400"}};
    for (const auto& [size, layout] : replaced) {
        const Outcome outcome = setDescription(riff(format() + filler(size) + audio()));
        EXPECT_EQ(outcome.layout, layout);
        EXPECT_TRUE(outcome.replaced) << size;
    }
}

TEST_F(Layout, EveryKindOfFillerIsUsedWhereverItStands) {
    for (const char* name : {"JUNK", "junk", "JUNQ", "junq", "FLLR", "fllr", "FILR", "filr", "PAD ", "pad "}) {
        const Outcome outcome = setDescription(riff(chunk(name, std::string(900, 'j')) + format() + audio()));
        EXPECT_EQ(outcome.layout, "fmt 16 | bext 858 | FLLR 34 | data 400") << name;
        EXPECT_FALSE(outcome.replaced);
    }
    EXPECT_EQ(setDescription(riff(chunk("Junk", std::string(900, 'j')) + format() + audio())).layout,
              "Junk 900 | fmt 16 | bext 858 | FLLR 16384 | data 400");
    EXPECT_EQ(dataOf(get("a.wav"), "FLLR"), std::string(16384, '\0'));
}

TEST_F(Layout, FillersBehindTheAudioBecomeOneAtTheEnd) {
    put("empty.xml", "");
    const Outcome outcome =
        change(riff(format() + audio() + filler(50) + chunk("abcd", "x") + filler(30)), {"--in-iXML={D}/empty.xml"});
    EXPECT_EQ(outcome.layout, "fmt 16 | data 400 | JUNK 50 | abcd 1 | JUNK 30") << "nothing changes, nothing moves";
    put("i.xml", "<a/>");
    const Outcome grown =
        change(riff(format() + audio() + filler(50) + chunk("abcd", "x") + filler(30)), {"--in-iXML={D}/i.xml"});
    EXPECT_EQ(grown.layout, "fmt 16 | data 400 | abcd 1 | iXML 4 | FLLR 76");
    EXPECT_FALSE(grown.replaced);
}

TEST_F(Layout, UnknownChunksKeepTheirBytesAndOrder) {
    const std::string before = riff(chunk("aaaa", "1") + format() + chunk("bbbb", "23") + audio(199) +
                                    chunk("cccc", "456") + chunk("dddd", ""));
    const Outcome outcome = change(before, {"--Description=d", "--ICMT=c"});
    EXPECT_EQ(outcome.layout,
              "aaaa 1 | fmt 16 | LIST 14 | bext 858 | bbbb 2 | FLLR 16384 | data 199 | cccc 3 | dddd 0");
    EXPECT_EQ(dataOf(get("a.wav"), "cccc"), "456");
    EXPECT_EQ(dataOf(get("a.wav"), "LIST"), "INFO" + infoField("ICMT", "c"));
}

TEST_F(Layout, LargeChunksMoveWithinTheFileInEitherDirection) {
    // Larger than a copied block, so that a wrong direction would overwrite what is still to be read.
    std::string large;
    for (int i = 0; large.size() < 1'700'001; ++i) large += std::to_string(i);
    const std::string list = infoList(infoField("ICMT", std::string(999, 'c')));
    const std::string small = chunk("abcd", "12345");
    change(riff(format() + audio() + list + chunk("axml", large) + small), {"--ICMT="});
    EXPECT_EQ(dataOf(get("a.wav"), "axml"), large);
    EXPECT_EQ(dataOf(get("a.wav"), "abcd"), "12345");
    const Outcome up =
        change(riff(format() + audio() + infoList(infoField("ICMT", "c")) + chunk("axml", large) + small),
               {"--ICMT=" + std::string(301, 'c')});
    EXPECT_FALSE(up.replaced);
    EXPECT_EQ(dataOf(get("a.wav"), "axml"), large);
    EXPECT_EQ(dataOf(get("a.wav"), "abcd"), "12345");
    // Before the audio: down over a filler and up into it, in one run.
    const Outcome both = change(riff(format() + filler(300) + chunk("axml", large) + infoList(infoField("ICMT", "c")) +
                                     small + filler(500) + audio()),
                                {"--ICMT=" + std::string(401, 'c')});
    EXPECT_FALSE(both.replaced);
    EXPECT_EQ(dataOf(get("a.wav"), "axml"), large);
    EXPECT_EQ(dataOf(get("a.wav"), "abcd"), "12345");
}

TEST_F(Layout, ClearedChunksBecomeFillers) {
    const std::string before = riff(format() + bext({.description = "d"}) + infoList(infoField("ICMT", "c")) + audio());
    const Outcome outcome = change(before, {"--Description=", "--ICMT="});
    EXPECT_EQ(outcome.layout, "fmt 16 | FLLR 624 | data 400");
    EXPECT_FALSE(outcome.replaced);
    EXPECT_EQ(
        change(riff(format() + audio() + infoList(infoField("ICMT", "c")) + chunk("abcd", "x")), {"--ICMT="}).layout,
        "fmt 16 | data 400 | abcd 1 | FLLR 14");
}

TEST_F(Layout, AListThatIsEmptiedAndRefilledMovesToTheFront) {
    const Outcome outcome =
        change(riff(format() + audio() + infoList(infoField("ICMT", "c"))), {"--ICMT=", "--ITCH=t"});
    EXPECT_EQ(outcome.layout, "fmt 16 | LIST 14 | FLLR 16384 | data 400");
}

TEST_F(Layout, InfoFieldsKeepTheirPlaces) {
    const std::string fields = infoField("ISFT", "s") + infoField("IXYZ", "unknown") + infoField("ICMT", "old");
    change(riff(format() + infoList(fields) + audio()), {"--ITCH=t", "--ICMT=newer"});
    EXPECT_EQ(dataOf(get("a.wav"), "LIST"), "INFO" + infoField("ISFT", "s") + infoField("IXYZ", "unknown") +
                                                infoField("ICMT", "newer") + infoField("ITCH", "t"));
}

TEST_F(Layout, TheBextNeverShrinksAndGrowsWithItsHistory) {
    EXPECT_EQ(setDescription(riff(format() + bext({.size = 1000}) + audio())).layout, "fmt 16 | bext 1000 | data 400");
    EXPECT_EQ(setDescription(riff(format() + chunk("bext", std::string(300, '\0')) + audio())).layout,
              "fmt 16 | bext 602 | FLLR 16384 | data 400");
}

TEST_F(Layout, WritingBextSetsLineBreaksAndClearsWhatDoesNotCount) {
    std::string dirty = bextData(
        {.originator = "one\ntwo", .time = "10:10:10", .history = "A\nB\rC\r\n", .timeReference = 9, .version = 1});
    dirty.replace(2, 3, "???"); // behind the NUL of the Description
    dirty.replace(412, 10, "loudness??");
    dirty.replace(500, 3, "???"); // reserved
    change(riff(format() + chunk("bext", dirty) + audio()), {"--Description=x\ny"});
    const TestBext expected{.description = "x\ny",
                            .originator = "one\r\ntwo",
                            .time = "10:10:10",
                            .history = "A\r\nB\r\nC\r\n",
                            .timeReference = 9,
                            .version = 1};
    EXPECT_EQ(dataOf(get("a.wav"), "bext"), bextData(expected));
}

TEST_F(Layout, ABextAtAnyOtherTimeThanZeroIsKeptByteForByte) {
    std::string dirty = bextData({.originator = "one\ntwo", .timeReference = 9});
    dirty.replace(2, 3, "???");
    change(riff(format() + chunk("bext", dirty) + audio()), {"--ICMT=c"});
    EXPECT_EQ(dataOf(get("a.wav"), "bext"), dirty);
    dirty = bextData({.originator = "one\ntwo"});
    change(riff(format() + chunk("bext", dirty) + audio()), {"--ICMT=c"});
    EXPECT_EQ(dataOf(get("a.wav"), "bext"), bextData({.originator = "one\r\ntwo"}));
}

TEST_F(Layout, ABextThatIsEmptyOnTheWayStartsAgainAtVersion0) {
    change(riff(format() + bext({.description = "d", .version = 2}) + audio()), {"--Description=", "--Originator=x"});
    EXPECT_EQ(cell("a.wav", "BextVersion"), "2") << "loudness of 0.00 is a value";
    change(riff(format() + bext({.description = "d", .version = 1}) + audio()), {"--Description=", "--Originator=x"});
    EXPECT_EQ(cell("a.wav", "BextVersion"), "0");
    change(riff(format() + bext({.description = "d", .version = 1}) + audio()), {"--Description=e"});
    EXPECT_EQ(cell("a.wav", "BextVersion"), "1");
}

TEST_F(Layout, Rf64KeepsItsSampleCountAndGetsItsSizes) {
    const std::string wideData = "data" + le(0xffffffff, 4) + audio().substr(8);
    const Outcome outcome = setDescription(rf64(format() + wideData + chunk("abcd", "xy"), 400, 12345));
    EXPECT_EQ(outcome.layout, "ds64 28 | fmt 16 | bext 858 | FLLR 16384 | data 400 | abcd 2");
    EXPECT_EQ(dataOf(get("a.wav"), "ds64").substr(8), le(400, 8) + le(12345, 8) + le(0, 4));
    EXPECT_EQ(get("a.wav").substr(4, 4), le(0xffffffff, 4));
}

TEST_F(Layout, RiffBecomesRf64At4Gigabytes) {
    // 4 GB less 400 bytes in a file that takes no room; the last bytes of the audio tell whether it has moved whole.
    const std::uint64_t size = (std::uint64_t{1} << 32) - 44 - 400;
    const std::string head = "RIFF" + le(36 + size, 4) + "WAVE" + format() + "data" + le(size, 4);
    put("a.wav", head);
    ASSERT_EQ(::truncate(path("a.wav").c_str(), static_cast<off_t>(head.size() + size - 4)), 0);
    std::ofstream(path("a.wav"), std::ios::binary | std::ios::app) << "tail";
    EXPECT_EQ(run({"--Description=x", "{D}/a.wav"}).err, "");
    std::ifstream file(path("a.wav"), std::ios::binary);
    std::string start(17500, '\0');
    file.read(start.data(), static_cast<std::streamsize>(start.size()));
    const std::uint64_t dataAt = 12 + 36 + 24 + 866 + 8 + 16384;
    const std::uint64_t total = dataAt + 8 + size;
    EXPECT_EQ(start.substr(0, 48), "RF64" + le(0xffffffff, 4) + "WAVE" +
                                       chunk("ds64", le(total - 8, 8) + le(size, 8) + le(~0ULL, 8) + le(0, 4)));
    EXPECT_EQ(start.substr(dataAt, 8), "data" + le(0xffffffff, 4));
    file.seekg(-4, std::ios::end);
    EXPECT_EQ(static_cast<std::uint64_t>(file.tellg()) + 4, total);
    std::string tail(4, '\0');
    file.read(tail.data(), 4);
    EXPECT_EQ(tail, "tail");
    EXPECT_EQ(cell("a.wav", "Description"), "x");
    struct stat status {};
    ASSERT_EQ(::stat(path("a.wav").c_str(), &status), 0);
    EXPECT_LT(status.st_blocks * 512, 10'000'000) << "holes are kept";
}

TEST_F(Layout, AFileWithoutAudioIsNotWritten) {
    put("a.wav", riff(format()));
    const std::string before = identity("a.wav");
    EXPECT_EQ(run({"--Description=x", "{D}/a.wav"}).err, "<TIME> {D}/a.wav: error during writing\n\n");
    EXPECT_EQ(identity("a.wav"), before);
}

} // namespace
} // namespace ostrel::testing
