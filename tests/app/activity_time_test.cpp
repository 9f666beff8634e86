#include "app/panels/activity_feed.h"

#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

TEST(ActivityTimeTest, TellsWhatIsLeftOnceThatCanBeTold) {
    EXPECT_EQ(timeLeftText(4'000, 0.5), QString()) << "too early";
    EXPECT_EQ(timeLeftText(60'000, 0.01), QString()) << "too little";
    EXPECT_EQ(timeLeftText(10'000, 0.5), QStringLiteral("10 s left"));
    EXPECT_EQ(timeLeftText(60'000, 0.25), QStringLiteral("3 min left"));
    EXPECT_EQ(timeLeftText(3'600'000, 0.4), QStringLiteral("1.5 h left"));
    EXPECT_EQ(timeLeftText(60'000, 1), QString());
}

} // namespace
} // namespace ostrel::testing
