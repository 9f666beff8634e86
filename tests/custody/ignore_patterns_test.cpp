// Patterns by table: what git's ignore files would do.
#include "custody/ignore_patterns.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

struct IgnoreCase {
    const char* patterns; // parted by blanks
    const char* path;     // ends with "/": a folder
    bool isIgnored;
};

class IgnoreTable : public ::testing::TestWithParam<IgnoreCase> {};

TEST_P(IgnoreTable, DecidesAsGitDoes) {
    const IgnorePatterns patterns(QString::fromUtf8(GetParam().patterns).split(u'|'));
    QString path = QString::fromUtf8(GetParam().path);
    const bool isFolder = path.endsWith(u'/');
    if (isFolder) path.chop(1);
    EXPECT_EQ(patterns.isIgnored(path, isFolder), GetParam().isIgnored)
        << GetParam().patterns << " : " << GetParam().path;
}

INSTANTIATE_TEST_SUITE_P(
    IgnorePatterns, IgnoreTable,
    ::testing::Values(
        IgnoreCase{"", "a.wav", false}, IgnoreCase{"", ".DS_Store", true}, IgnoreCase{"", "x/.DS_Store", true},
        IgnoreCase{"", "ascmhl/", true}, IgnoreCase{"", "x/ascmhl/", true}, IgnoreCase{"!ascmhl", "ascmhl/", true},
        IgnoreCase{"*.tmp", "a.tmp", true}, IgnoreCase{"*.tmp", "x/y/a.tmp", true},
        IgnoreCase{"*.tmp", "a.tmpx", false}, IgnoreCase{"*.tmp", "x/", false}, IgnoreCase{"x/", "x", false},
        IgnoreCase{"x/", "x/", true}, IgnoreCase{"x/", "y/x/", true}, IgnoreCase{"/x", "x", true},
        IgnoreCase{"/x", "y/x", false}, IgnoreCase{"y/x", "y/x", true}, IgnoreCase{"y/x", "z/y/x", false},
        IgnoreCase{"**/x", "x", true}, IgnoreCase{"**/x", "a/b/x", true}, IgnoreCase{"a/**", "a/", false},
        IgnoreCase{"a/**", "a/b", true}, IgnoreCase{"a/**", "a/b/c", true}, IgnoreCase{"a/**/b", "a/b", true},
        IgnoreCase{"a/**/b", "a/x/y/b", true}, IgnoreCase{"a/**/b", "ab", false}, IgnoreCase{"a/*", "a/b", true},
        IgnoreCase{"a/*", "a/b/c", false}, IgnoreCase{"a*c", "abc", true}, IgnoreCase{"a*c", "a/c", false},
        IgnoreCase{"a**c", "abbc", true}, IgnoreCase{"?.wav", "ä.wav", true}, IgnoreCase{"?.wav", "😀.wav", true},
        IgnoreCase{"?.wav", "ab.wav", false}, IgnoreCase{"[a-c].wav", "b.wav", true},
        IgnoreCase{"[!a-c].wav", "b.wav", false}, IgnoreCase{"[^a-c].wav", "d.wav", true}, IgnoreCase{"[]]", "]", true},
        IgnoreCase{"[a", "[a", false}, IgnoreCase{"[[:digit:]].wav", "7.wav", true}, IgnoreCase{"[a\\]]", "]", true},
        IgnoreCase{"\\*.wav", "*.wav", true}, IgnoreCase{"\\*.wav", "a.wav", false}, IgnoreCase{"\\!a", "!a", true},
        IgnoreCase{"\\#a", "#a", true}, IgnoreCase{"#a", "#a", false}, IgnoreCase{"a ", "a", true},
        IgnoreCase{"a\\ ", "a ", true}, IgnoreCase{"A", "a", false}, IgnoreCase{"*.wav|!keep.wav", "keep.wav", false},
        IgnoreCase{"*.wav|!keep.wav", "x.wav", true}, IgnoreCase{"!keep.wav|*.wav", "keep.wav", true},
        IgnoreCase{"!x/|x", "x/", true}, IgnoreCase{"**", "a", true}));

TEST(IgnorePatterns, TakeAFileByAnyOfItsFolders) {
    const IgnorePatterns patterns({u"Trash/"_s, u"!Trash/kept.wav"_s});
    EXPECT_TRUE(patterns.isFileIgnored(u"a/Trash/b/c.wav"_s));
    EXPECT_TRUE(patterns.isFileIgnored(u"Trash/kept.wav"_s));
    EXPECT_FALSE(patterns.isFileIgnored(u"a/b/c.wav"_s));
}

TEST(IgnorePatterns, CostNoMoreThanTheirLengths) {
    const QString name(3000, u'a');
    const IgnorePatterns patterns({u"*a*a*a*a*a*a*a*a*a*a*a*a*a*a*b"_s, u"**/**/**/**/**/**/**/**/x"_s});
    EXPECT_FALSE(patterns.isIgnored(name, false));
    EXPECT_FALSE(patterns.isIgnored(u"a/"_s.repeated(2000) + u'b', false));
}

} // namespace
} // namespace ostrel
