#include "platform/text/text.h"

#include "platform/text/regular_expression.h"
#include "support/test_folder.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace ostrel {
namespace {

TEST(Text, DecodesUtf8OrNothing) {
    EXPECT_EQ(decodeUtf8("caf\xc3\xa9 🎬"), QStringLiteral("café 🎬"));
    EXPECT_EQ(decodeUtf8(""), QString());
    for (const char* bad : {"caf\xe9", "\xc3", "cut \xe6\x97", "\xff\xfe", "\xed\xa0\x80", "\xc0\x80"}) {
        EXPECT_EQ(decodeUtf8(bad), std::nullopt) << bad;
    }
}

TEST(Text, FreshUuidsAreUpperCaseAndDiffer) {
    const RegularExpression form(QStringLiteral("^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$"));
    EXPECT_TRUE(form.matches(freshUuid()));
    EXPECT_NE(freshUuid(), freshUuid());
}

TEST(Text, NaturalOrderIsAPersons) {
    const QStringList ordered{QString(),
                              QStringLiteral("A.wav"),
                              QStringLiteral("a1.wav"),
                              QStringLiteral("a2.wav"),
                              QStringLiteral("A10.wav"),
                              QStringLiteral("a10b2.wav"),
                              QStringLiteral("a10b12.wav"),
                              QStringLiteral("a99999999999999999999.wav"),
                              QStringLiteral("a100000000000000000000.wav"),
                              QStringLiteral("b"),
                              QStringLiteral("b.wav"),
                              QStringLiteral("Take 2/x"),
                              QStringLiteral("take 10/a")};
    QStringList shuffled = ordered;
    std::reverse(shuffled.begin(), shuffled.end());
    std::sort(shuffled.begin(), shuffled.end(), naturalLess);
    EXPECT_EQ(shuffled, ordered);
}

TEST(Text, NaturalOrderTellsEveryTwoTextsApart) {
    const QStringList texts{QStringLiteral("a1"), QStringLiteral("A1"), QStringLiteral("a01"), QStringLiteral("A001"),
                            QStringLiteral("a"),  QStringLiteral("0"),  QStringLiteral("00")};
    for (const QString& a : texts) {
        EXPECT_FALSE(naturalLess(a, a));
        for (const QString& b : texts) {
            if (a == b) continue;
            EXPECT_NE(naturalLess(a, b), naturalLess(b, a)) << a.toStdString() << " " << b.toStdString();
        }
    }
}

TEST(Text, FixedHasAPointAndSoManyDigits) {
    EXPECT_EQ(fixed(1.0, 3), QStringLiteral("1.000"));
    EXPECT_EQ(fixed(44.1, 1), QStringLiteral("44.1"));
    EXPECT_EQ(fixed(-0.0005, 3), QString::asprintf("%.3f", -0.0005));
    EXPECT_EQ(fixed(1234567.891, 2), QStringLiteral("1234567.89"));
}

TEST(Text, MediumTimeHasHoursMinutesAndSeconds) {
    const QString text = mediumTime(QDateTime(QDate(2026, 3, 14), QTime(9, 26, 53)));
    EXPECT_TRUE(RegularExpression(QStringLiteral("9.26.53")).matches(text)) << text.toStdString();
    EXPECT_FALSE(text.contains(QStringLiteral("2026")));
}

TEST(Text, ClockTextTruncatesToWholeSeconds) {
    const std::vector<std::pair<double, const char*>> rows{
        {0, "0:00"},         {0.999, "0:00"},      {59.999, "0:59"},     {60, "1:00"},
        {61.5, "1:01"},      {3599.9, "59:59"},    {3600, "1:00:00"},    {3661.2, "1:01:01"},
        {36000, "10:00:00"}, {359999, "99:59:59"}, {360000, "100:00:00"}};
    for (const auto& [seconds, text] : rows) EXPECT_EQ(clockText(seconds), QString::fromLatin1(text));
}

TEST(Text, ClockTextOfNoSensibleDurationIsZero) {
    EXPECT_EQ(clockText(std::numeric_limits<double>::quiet_NaN()), QStringLiteral("0:00"));
    EXPECT_EQ(clockText(std::numeric_limits<double>::infinity()), QStringLiteral("0:00"));
    EXPECT_EQ(clockText(1e300), QStringLiteral("0:00"));
    EXPECT_EQ(clockText(-5), QStringLiteral("0:00"));
}

} // namespace
} // namespace ostrel
