#include "platform/text/regular_expression.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>
#include <thread>

namespace ostrel {
namespace {

using Option = RegularExpression::Option;

TEST(RegularExpression, SpeaksTheDialectOfICU) {
    // Each of these would fail to compile or mean something else in another dialect.
    EXPECT_TRUE(RegularExpression(QStringLiteral("^\\p{Lu}\\p{L}+$")).matches(QStringLiteral("Äther")));
    EXPECT_TRUE(RegularExpression(QStringLiteral("[[a-z]&&[^aeiou]]{3}")).matches(QStringLiteral("xyz")));
    EXPECT_FALSE(RegularExpression(QStringLiteral("[[a-z]&&[^aeiou]]{3}")).matches(QStringLiteral("xaz")));
    EXPECT_TRUE(RegularExpression(QStringLiteral("(?<scene>\\d++)[A-Z]")).matches(QStringLiteral("12A")));
    EXPECT_TRUE(RegularExpression(QStringLiteral("(?<=_)T\\d+(?!\\d)")).matches(QStringLiteral("A_T12")));
    EXPECT_TRUE(RegularExpression(QStringLiteral("^\\d+$")).matches(QStringLiteral("٣٤"))); // digits of any script
}

TEST(RegularExpression, GivesGroupsWithTheirPlaces) {
    const RegularExpression pattern(QStringLiteral("(\\w+)-(\\d+)(x)?"));
    const auto match = pattern.firstMatch(QStringLiteral("🎬 take-42."));
    ASSERT_TRUE(match);
    EXPECT_EQ(match->text(), QStringLiteral("take-42"));
    EXPECT_EQ(match->start(), 3); // in UTF-16 units: the emoji takes two
    EXPECT_EQ(match->end(), 10);
    EXPECT_EQ(match->text(1), QStringLiteral("take"));
    EXPECT_EQ(match->text(2), QStringLiteral("42"));
    EXPECT_EQ(match->groups[2].start, 8);
    ASSERT_EQ(match->groups.size(), 4u);
    EXPECT_EQ(match->groups[3].start, -1); // took no part
    EXPECT_EQ(match->text(3), QString());
    EXPECT_EQ(match->text(9), QString());
}

TEST(RegularExpression, OptionsAreOffUntilAskedFor) {
    const QString lines = QStringLiteral("<A>one\ntwo</A>");
    EXPECT_FALSE(RegularExpression(QStringLiteral("<A>(.+?)</A>")).matches(lines));
    const auto match =
        RegularExpression(QStringLiteral("<A>(.+?)</A>"), Option::dotMatchesLineBreaks).firstMatch(lines);
    ASSERT_TRUE(match);
    EXPECT_EQ(match->text(1), QStringLiteral("one\ntwo"));
    EXPECT_FALSE(RegularExpression(QStringLiteral("lfe")).matches(QStringLiteral("LFE")));
    EXPECT_TRUE(RegularExpression(QStringLiteral("lfe"), Option::caseInsensitive).matches(QStringLiteral("LFE")));
    EXPECT_FALSE(RegularExpression(QStringLiteral("^two")).matches(QStringLiteral("one\ntwo")));
    EXPECT_TRUE(
        RegularExpression(QStringLiteral("^two"), Option::anchorsMatchLines).matches(QStringLiteral("one\ntwo")));
    EXPECT_TRUE(RegularExpression(QStringLiteral("^TWO.x"),
                                  Option::anchorsMatchLines | Option::caseInsensitive | Option::dotMatchesLineBreaks)
                    .matches(QStringLiteral("one\ntwo\nx")));
}

TEST(RegularExpression, FindsFromAPlaceOn) {
    const RegularExpression pattern(QStringLiteral("\\d+"));
    const QString text = QStringLiteral("1 22 333");
    EXPECT_EQ(pattern.firstMatch(text, 1)->text(), QStringLiteral("22"));
    EXPECT_EQ(pattern.firstMatch(text, 3)->text(), QStringLiteral("2"));
    EXPECT_FALSE(pattern.firstMatch(text, text.size()));
    EXPECT_FALSE(pattern.firstMatch(text, text.size() + 1));
}

TEST(RegularExpression, FindsAllMatchesEmptyOnesIncluded) {
    QStringList found;
    for (const auto& match : RegularExpression(QStringLiteral("b*")).allMatches(QStringLiteral("abba")))
        found << match.text();
    EXPECT_EQ(found, QStringList({QString(), QStringLiteral("bb"), QString(), QString()}));
    EXPECT_TRUE(RegularExpression(QStringLiteral("x")).allMatches(QString()).empty());
    EXPECT_TRUE(RegularExpression(QStringLiteral("^$")).matches(QString()));
}

TEST(RegularExpression, AReplacementIsTakenAsItStands) {
    const RegularExpression pattern(QStringLiteral("name=\"[^\"]*\""));
    EXPECT_EQ(pattern.replacingAll(QStringLiteral("<a name=\"x\"/><b name=\"\"/>"), QStringLiteral("$1 \\0 $&")),
              QStringLiteral("<a $1 \\0 $&/><b $1 \\0 $&/>"));
    EXPECT_EQ(pattern.replacingAll(QStringLiteral("untouched"), QStringLiteral("x")), QStringLiteral("untouched"));
    EXPECT_EQ(RegularExpression(QStringLiteral("🎬")).replacingAll(QStringLiteral("a🎬b"), QString()),
              QStringLiteral("ab"));
}

TEST(RegularExpression, EscapedTextMatchesItselfOnly) {
    const QString odd = QStringLiteral("Take (1) [a-z]{2}.*+?^$|\\ #&~-\"'é🎬\tx");
    const RegularExpression pattern(u'^' + RegularExpression::escaped(odd) + u'$');
    EXPECT_TRUE(pattern.matches(odd));
    EXPECT_FALSE(pattern.matches(QString(odd).replace(u'.', u'x')));
    EXPECT_TRUE(RegularExpression(u'[' + RegularExpression::escaped(QStringLiteral("a-c&&b")) + u']')
                    .matches(QStringLiteral("-")));
}

TEST(RegularExpression, APatternThatDoesNotCompileThrows) {
    EXPECT_THROW(RegularExpression(QStringLiteral("(open")), std::invalid_argument);
    EXPECT_THROW(RegularExpression(QStringLiteral("[")), std::invalid_argument);
    EXPECT_THROW(RegularExpression(QStringLiteral("a{2,1}")), std::invalid_argument);
}

TEST(RegularExpression, APatternThatRunsAwayGivesUp) {
    // Doubles its work with every letter: 2^60 steps without the limit.
    const RegularExpression runaway(QStringLiteral("^(a+)+$"));
    const QString hostile = QString(60, u'a') + u'!';
    EXPECT_FALSE(runaway.firstMatch(hostile));
}

TEST(RegularExpression, ALongTextIsSearchedToItsEnd) {
    const QString megabyte(1'000'000, u'x');
    const RegularExpression pattern(QStringLiteral("<D>(.+?)</D>"), Option::dotMatchesLineBreaks);
    const auto match = pattern.firstMatch(QStringLiteral("<D>%1</D>").arg(megabyte));
    ASSERT_TRUE(match);
    EXPECT_EQ(match->text(1).size(), megabyte.size());
}

TEST(RegularExpression, OneObjectServesManyThreads) {
    const RegularExpression pattern(QStringLiteral("take_(\\d+)"));
    std::vector<int> wrong(4);
    {
        std::vector<std::jthread> threads;
        for (std::size_t thread = 0; thread < wrong.size(); ++thread) {
            threads.emplace_back([&, thread] {
                for (int i = 0; i < 2000; ++i) {
                    const QString number = QString::number(i * 10 + static_cast<int>(thread));
                    const auto match = pattern.firstMatch(QStringLiteral("a take_%1.wav").arg(number));
                    wrong[thread] += !match || match->text(1) != number;
                }
            });
        }
    }
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

} // namespace
} // namespace ostrel
