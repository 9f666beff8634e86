#include "metadata/ixml/ixml_text.h"

#include "platform/text/regular_expression.h"

#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace ostrel {
namespace {

std::optional<QString> inner(const QString& xml, const std::optional<IxmlElement>& element) {
    return element ? std::optional(element->innerText(xml)) : std::nullopt;
}

std::optional<QString> onOneLine(const QString& xml) { return inner(xml, elementOnOneLine(xml, u"A")); }
std::optional<QString> acrossLines(const QString& xml) { return inner(xml, elementAcrossLines(xml, u"A")); }

TEST(IxmlText, FindsTheFirstElement) {
    EXPECT_EQ(onOneLine(u"<A>1</A><A>2</A>"_s), u"1"_s);
    EXPECT_EQ(acrossLines(u"x<A>1\n2</A>"_s), u"1\n2"_s);
    EXPECT_EQ(onOneLine(u"<A></A>"_s), QString());
    EXPECT_EQ(onOneLine(u"<A>1"_s), std::nullopt);
    EXPECT_EQ(onOneLine(u"<A b=\"c\">1</A><a>2</a>"_s), std::nullopt);
}

TEST(IxmlText, ALineBreakEndsTheSearchOnOneLine) {
    EXPECT_EQ(onOneLine(u"<A>1\n</A><A>2</A>"_s), u"2"_s);
    EXPECT_EQ(onOneLine(u"<A>1\r<A>2</A>"_s), u"2"_s);
}

TEST(IxmlText, WholeTextIncludesTheTags) {
    const QString xml = u"x<A>1</A>y"_s;
    EXPECT_EQ(elementOnOneLine(xml, u"A")->wholeText(xml), u"<A>1</A>"_s);
}

TEST(IxmlText, AllElementsComeInDocumentOrder) {
    const QString xml = u"<A>1</A>\n<A>2\n<A>3</A></A>"_s;
    QStringList texts;
    for (const IxmlElement& element : allElementsAcrossLines(xml, u"A")) texts << element.innerText(xml);
    EXPECT_EQ(texts, (QStringList{u"1"_s, u"2\n<A>3"_s}));
}

TEST(IxmlText, PlainElementsHoldNoTag) {
    const QString xml = u"<A><B>1</B></A><A></A><A>2\n</A>"_s;
    EXPECT_EQ(inner(xml, plainElement(xml, u"A", false)), u"2\n"_s);
    EXPECT_EQ(inner(xml, plainElement(xml, u"A", true)), u""_s);
}

TEST(IxmlText, NumbersAreDigitsAlone) {
    EXPECT_EQ(numberInElement(u"<A> 1</A><A>-2</A><A>3</A>"_s, u"A"), 3);
    EXPECT_EQ(numberInElement(u"<A></A><A>x</A>"_s, u"A"), std::nullopt);
    EXPECT_EQ(numberInElement(u"<A>99999999999999999999</A><A>1</A>"_s, u"A"), std::nullopt)
        << "the first run of digits counts, and it doesn't fit";
}

// The patterns that these searches stand for, over random texts made of the characters that matter.
TEST(IxmlText, FindsWhatThePatternsFind) {
    const RegularExpression oneLine(u"<A>(.*?)</A>"_s);
    const RegularExpression across(u"<A>([\\s\\S]*?)</A>"_s);
    const RegularExpression plain(u"<A>([^<]+)</A>"_s);
    const RegularExpression plainOrEmpty(u"<A>([^<]*)</A>"_s);
    const RegularExpression digits(u"<A>(\\d+)</A>"_s);
    const QStringList pieces{
        u"<A>"_s, u"</A>"_s, u"\n"_s, u"\r"_s, u"7"_s, u"x"_s, u"<"_s, u">"_s, QString(QChar(0x2028)), u"<B>"_s};
    std::mt19937 random(1);
    const auto expected = [](const RegularExpression& pattern, const QString& text) {
        const auto match = pattern.firstMatch(text);
        return match ? std::optional(match->text(1)) : std::nullopt;
    };
    for (int run = 0; run < 20'000; ++run) {
        QString xml;
        for (auto count = random() % 14; count > 0; --count) xml += pieces[random() % pieces.size()];
        ASSERT_EQ(onOneLine(xml), expected(oneLine, xml)) << xml.toStdString();
        ASSERT_EQ(acrossLines(xml), expected(across, xml)) << xml.toStdString();
        ASSERT_EQ(inner(xml, plainElement(xml, u"A", false)), expected(plain, xml)) << xml.toStdString();
        ASSERT_EQ(inner(xml, plainElement(xml, u"A", true)), expected(plainOrEmpty, xml)) << xml.toStdString();
        const auto number = expected(digits, xml);
        ASSERT_EQ(numberInElement(xml, u"A"), number ? std::optional(number->toInt()) : std::nullopt)
            << xml.toStdString();
    }
}

TEST(IxmlText, HostileTextsTakeOnePass) {
    const QString opens = u"<A>"_s.repeated(1 << 20);
    EXPECT_EQ(onOneLine(opens), std::nullopt);
    EXPECT_EQ(acrossLines(opens), std::nullopt);
    EXPECT_EQ(plainElement(opens, u"A", false), std::nullopt);
    const QString lines = u"<A>\n"_s.repeated(1 << 20) + u"</A>"_s;
    EXPECT_EQ(onOneLine(lines), std::nullopt);
}

} // namespace
} // namespace ostrel
