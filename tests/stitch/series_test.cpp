// Which recordings belong together, by arithmetic alone.
#include "stitch/series.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

constexpr quint64 kDay = 86'400ULL * 48'000;

struct Told {
    QString path;
    quint64 start = 0;
    quint64 frames = 48'000;
    QStringList tracks = {};
    QString family = {};
    QString take = {};
};

Part part(const Told& told) {
    Part result{.path = told.path, .originator = "R", .start = told.start};
    result.layout.format =
        WaveFormat{.tag = WaveFormat::pcm, .channels = 1, .sampleRate = 48'000, .blockAlign = 3, .bits = 24};
    result.layout.data = WaveChunk{.id = "data", .payload = 44, .size = told.frames * 3};
    result.layout.fileSize = 44 + told.frames * 3;
    result.familyUid = told.family;
    result.take = told.take;
    result.tracks = told.tracks;
    return result;
}

// "A+B", "C", in order.
QStringList found(const std::vector<Part>& parts) {
    QStringList result;
    for (const Series& series : seriesOf(parts)) {
        QStringList names;
        for (const Part& each : series.parts) names << each.path;
        result << names.join(u'+') + (series.ambiguity.isEmpty() ? QString() : u"?"_s);
    }
    return result;
}

TEST(SeriesArithmetic, TheNextPartBeginsWhereTheOneBeforeItEnds) {
    const std::vector<Part> parts{part({u"b"_s, 148'000}), part({u"a"_s, 100'000}), part({u"c"_s, 196'000})};
    EXPECT_EQ(found(parts), QStringList(u"a+b+c"_s));
    EXPECT_TRUE(seriesOf(parts).front().isExact());
    EXPECT_EQ(seriesOf(parts).front().frames(), 144'000U);
}

TEST(SeriesArithmetic, OneSampleOffIsTold) {
    const Part first = part({u"a"_s, 100'000});
    EXPECT_EQ(seamBetween(first, part({u"b"_s, 148'001})), 1);
    EXPECT_EQ(seamBetween(first, part({u"b"_s, 147'999})), -1);
    EXPECT_EQ(seamBetween(first, part({u"b"_s, 148'000})), 0);
    EXPECT_FALSE(seriesOf({first, part({u"b"_s, 148'001})}).front().isExact());
}

TEST(SeriesArithmetic, WhatTellsAnotherRecorderFormatOrTracksIsNoPart) {
    const Part first = part({u"a"_s, 100'000});
    Part other = part({u"b"_s, 148'000});
    other.originator = "S";
    EXPECT_FALSE(seamBetween(first, other));
    other = part({u"b"_s, 148'000});
    other.layout.format->bits = 20;
    EXPECT_FALSE(seamBetween(first, other));
    EXPECT_FALSE(seamBetween(first, part({.path = u"b"_s, .start = 148'000, .tracks = {u"2 Lav"_s}})));
    EXPECT_FALSE(seamBetween(part({.path = u"a"_s, .start = 100'000, .take = u"1"_s}),
                             part({.path = u"b"_s, .start = 148'000, .take = u"2"_s})))
        << "takes may touch by chance";
}

TEST(SeriesArithmetic, MidnightIsNoGap) {
    EXPECT_EQ(seamBetween(part({u"a"_s, kDay - 20'000}), part({u"b"_s, 28'000})), 0);
    EXPECT_EQ(seamBetween(part({u"a"_s, kDay - 48'000}), part({u"b"_s, 0})), 0);
    EXPECT_EQ(seamBetween(part({u"a"_s, kDay - 20'000}), part({u"b"_s, 28'007})), 7);
    EXPECT_EQ(seamBetween(part({u"a"_s, kDay - 20'000}), part({u"b"_s, kDay + 28'000})), 0) << "counted on";
    EXPECT_EQ(found({part({u"b"_s, 28'000}), part({u"a"_s, kDay - 20'000}), part({u"c"_s, 76'000})}),
              QStringList(u"a+b+c"_s));
}

TEST(SeriesArithmetic, ADayOfLabelsIsAnother) {
    const auto at = [](quint64 start, const char* rate, const char* flag) {
        Part result = part({u"a"_s, start});
        result.timecodeRate = TimecodeRate::of(QString::fromLatin1(rate), QString::fromLatin1(flag));
        return result;
    };
    EXPECT_EQ(seamBetween(at(4'151'347'200 - 20'000, "24000/1001", "NDF"), part({u"b"_s, 28'000})), 0);
    // 20735979264/5 samples: the next part begins at one of two
    EXPECT_EQ(seamBetween(at(4'147'195'852 - 20'000, "30000/1001", "DF"), part({u"b"_s, 28'000})), 0);
    EXPECT_EQ(seamBetween(at(4'147'195'853 - 20'000, "30000/1001", "DF"), part({u"b"_s, 28'000})), 0);
    EXPECT_EQ(seamBetween(at(4'147'195'852 - 20'000, "30000/1001", "DF"), part({u"b"_s, 28'002})), 2);
}

TEST(SeriesArithmetic, AFullDayDoesNotBiteItsTail) {
    const std::vector<Part> parts{part({u"a"_s, 0, kDay / 2}), part({u"b"_s, kDay / 2, kDay / 2})};
    EXPECT_EQ(found(parts).size(), 1);
    EXPECT_EQ(seriesOf(parts).front().parts.size(), 2U);
}

TEST(SeriesArithmetic, NearAndFarGaps) {
    const Part first = part({u"a"_s, 0});
    EXPECT_EQ(seamBetween(first, part({u"b"_s, 96'000})), 48'000);
    EXPECT_FALSE(seamBetween(first, part({u"b"_s, 96'001}))) << "more than a second, and nothing else tells";
    EXPECT_EQ(
        seamBetween(part({.path = u"a"_s, .take = u"7"_s}), part({.path = u"b"_s, .start = 288'000, .take = u"7"_s})),
        240'000);
    Part large = part({u"a"_s, 0});
    large.layout.fileSize = 2'147'000'000;
    EXPECT_EQ(seamBetween(large, part({u"b"_s, 288'000})), 240'000) << "near a size at which recorders split";
    EXPECT_EQ(seamBetween(part({.path = u"a"_s, .family = u"F"_s}),
                          part({.path = u"b"_s, .start = 48'000'000, .family = u"F"_s})),
              47'952'000);
}

TEST(SeriesArithmetic, OneFamilyAtOneStartRunsSideBySide) {
    const Told boom{.path = u"x_1"_s, .start = 500, .tracks = {u"1 Boom"_s}, .family = u"F"_s};
    const Told lav{.path = u"x_2"_s, .start = 500, .tracks = {u"2 Lav"_s}, .family = u"F"_s};
    const Told boomOn{.path = u"y_1"_s, .start = 48'500, .tracks = {u"1 Boom"_s}, .family = u"F"_s};
    const Told lavOn{.path = u"y_2"_s, .start = 48'500, .tracks = {u"2 Lav"_s}, .family = u"F"_s};
    const auto series = seriesOf({part(boom), part(lav), part(boomOn), part(lavOn)});
    ASSERT_EQ(series.size(), 2U);
    EXPECT_EQ(found({part(boom), part(lav), part(boomOn), part(lavOn)}), (QStringList{u"x_1+y_1"_s, u"x_2+y_2"_s}));
    EXPECT_EQ(parallelSets(series), (std::vector<std::vector<std::size_t>>{{0, 1}}));
}

TEST(SeriesArithmetic, NamesDecideWhereTwoFit) {
    EXPECT_EQ(found({part({u"/T01_1"_s, 0}), part({u"/T01_2"_s, 0}), part({u"/T02_1"_s, 48'000}),
                     part({u"/T02_2"_s, 48'000})}),
              (QStringList{u"/T01_1+/T02_1"_s, u"/T01_2+/T02_2"_s}));
    EXPECT_EQ(
        found({part({u"/Boom1"_s, 0}), part({u"/Lav1"_s, 0}), part({u"/Boom2"_s, 48'000}), part({u"/Lav2"_s, 48'000})}),
        (QStringList{u"/Boom1+/Boom2"_s, u"/Lav1+/Lav2"_s}));
    for (const QString& doubtful :
         found({part({u"/one"_s, 0}), part({u"/two"_s, 48'000}), part({u"/three"_s, 48'000})}))
        EXPECT_TRUE(doubtful.endsWith(u'?') || !doubtful.contains(u'+')) << doubtful.toStdString();
}

TEST(SeriesArithmetic, ThousandsAreFoundInOnePass) {
    std::vector<Part> parts;
    for (int i = 0; i < 5000; ++i) parts.push_back(part({u"/T%1"_s.arg(i), static_cast<quint64>(i) * 48'000}));
    ASSERT_EQ(seriesOf(parts).size(), 1U);
    EXPECT_EQ(seriesOf(parts).front().parts.size(), 5000U);
}

} // namespace
} // namespace ostrel
