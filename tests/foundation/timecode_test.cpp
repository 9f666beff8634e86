#include "foundation/records/timecode.h"

#include <array>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

struct Known {
    quint64 samples;
    const char* rate;
    const char* flag;
    const char* label;
};

// Read off recorders and other programs' reports.
constexpr std::array kKnown{
    Known{2190940753, "24000/1001", "NDF", "12:39:59:00"}, Known{172974802, "24000/1001", "NDF", "01:00:00:01"},
    Known{1728000000, "24/1", "NDF", "10:00:00:00"},       Known{2350375830, "25/1", "NDF", "13:36:06:04"},
    Known{172972800, "30000/1001", "NDF", "01:00:00:00"},  Known{172799827, "30000/1001", "DF", "01:00:00;00"},
    Known{2881278, "30000/1001", "DF", "00:00:59;29"},     Known{2882880, "30000/1001", "DF", "00:01:00;02"},
    Known{4147194251, "30000/1001", "DF", "23:59:59;29"},  Known{1728024000, "30/1", "NDF", "10:00:00:15"},
    Known{3917280000, "25/1", "NDF", "22:40:10:00"},
};

TEST(Timecode, RecordersAndReportsAgreeOnTheseLabels) {
    for (const Known& each : kKnown) {
        const auto rate = TimecodeRate::of(QString::fromLatin1(each.rate), QString::fromLatin1(each.flag));
        ASSERT_TRUE(rate) << each.rate;
        EXPECT_EQ((TimecodeOfDay{each.samples, 48000, *rate}.label().toStdString()), each.label) << each.samples;
    }
}

TEST(Timecode, EveryFrameOfADayComesBackFromItsFirstSample) {
    for (const char* told : {"24000/1001", "24/1", "25/1", "30000/1001", "30/1", "60000/1001"}) {
        for (const char* flag : {"NDF", "DF"}) {
            const auto rate = TimecodeRate::of(QString::fromLatin1(told), QString::fromLatin1(flag));
            if (!rate) continue; // drop frame at another rate
            for (const quint32 samples : {44100U, 48000U}) {
                for (qint64 frame = 0; frame < rate->framesPerDay(); frame += 7) {
                    const TimecodeOfDay time{TimecodeOfDay::sampleOf(frame, samples, *rate), samples, *rate};
                    ASSERT_EQ(time.frame(), frame) << told << flag << samples;
                }
            }
        }
    }
}

// Counted label by label, which no formula can get wrong.
TEST(Timecode, DropFrameLeavesOutTwoLabelsAMinuteButInTheTenth) {
    const TimecodeRate rate = *TimecodeRate::of(QStringLiteral("29.97"), QStringLiteral("DF"));
    qint64 frame = 0;
    for (int minute = 0; minute < 24 * 60; ++minute) {
        for (int second = 0; second < 60; ++second) {
            const int first = second == 0 && minute % 10 != 0 ? 2 : 0;
            const QString label = QStringLiteral("%1:%2:%3;%4")
                                      .arg(minute / 60, 2, 10, QLatin1Char('0'))
                                      .arg(minute % 60, 2, 10, QLatin1Char('0'))
                                      .arg(second, 2, 10, QLatin1Char('0'))
                                      .arg(first, 2, 10, QLatin1Char('0'));
            ASSERT_EQ(TimecodeOfDay::labelOf(frame, rate), label);
            ASSERT_EQ(TimecodeOfDay::frameOf(label, rate), frame);
            frame += 30 - first;
        }
    }
    EXPECT_EQ(frame, rate.framesPerDay());
    EXPECT_FALSE(TimecodeOfDay::frameOf(QStringLiteral("00:01:00;01"), rate));
}

TEST(Timecode, RatesAreReadAsRecordersWriteThem) {
    const auto named = [](const char* rate, const char* flag = "") {
        const auto read = TimecodeRate::of(QString::fromLatin1(rate), QString::fromLatin1(flag));
        return read ? read->name().toStdString() : "none";
    };
    EXPECT_EQ(named("023.976-ND"), "23.976");
    EXPECT_EQ(named("23.98"), "23.976");
    EXPECT_EQ(named("23.97 ND"), "23.976");
    EXPECT_EQ(named("029.97-DF"), "29.97 DF");
    EXPECT_EQ(named("30000/1001", "DF"), "29.97 DF");
    EXPECT_EQ(named("30000/1001", "NDF"), "29.97");
    EXPECT_EQ(named("25.000"), "25");
    EXPECT_EQ(named("50/2"), "25");
    EXPECT_EQ(named("25/1", "DF"), "none");
    EXPECT_EQ(named("0/1"), "none");
    EXPECT_EQ(named("48000"), "none");
    EXPECT_EQ(named("fast"), "none");
}

TEST(Timecode, NoNumberOfSamplesOverflows) {
    const TimecodeOfDay late{~quint64{0}, 192000,
                             *TimecodeRate::of(QStringLiteral("60000/1001"), QStringLiteral("DF"))};
    EXPECT_GE(late.frame(), 0);
    EXPECT_LT(late.frame(), late.rate.framesPerDay());
    EXPECT_EQ((TimecodeOfDay{5, 0, {}}.frame()), 0);
}

} // namespace
} // namespace ostrel
