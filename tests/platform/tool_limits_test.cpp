#include "platform/processes/tool_limits.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using testing::TestFolder;

QString sparse(const TestFolder& folder, const char* name, qint64 size) {
    QFile file(folder.path(QString::fromLatin1(name)));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(size));
    return file.fileName();
}

TEST(ToolLimits, TimeGrowsWithTheFiles) {
    const TestFolder folder;
    EXPECT_EQ(limitsByFileSize({folder.path(QStringLiteral("none"))}).total, 60s);
    EXPECT_EQ(limitsByFileSize({folder.write(QStringLiteral("empty"), "")}).total, 60s);
    const QString long1 = sparse(folder, "1", 4'000'000'000);
    const QString long2 = sparse(folder, "2", 8'000'000);
    EXPECT_EQ(limitsByFileSize({long1}).total, 60s + 1000s);
    EXPECT_EQ(limitsByFileSize({long1, long2}).total, 60s + 1002s);
    EXPECT_FALSE(limitsByFileSize({long1}).standStill); // it may wait for a slow disk
}

TEST(ToolLimits, AFileThatClaimsTerabytesGivesAWeek) {
    const TestFolder folder;
    EXPECT_EQ(limitsByFileSize({sparse(folder, "huge", 4'000'000'000'000)}).total, 168h);
}

TEST(ToolLimits, WhatWritesMayTakeAsLongAsItWorks) {
    const ChildLimits limits = limitsByProgress({QStringLiteral("/a.wav"), QStringLiteral("/b.wav")});
    EXPECT_FALSE(limits.total);
    ASSERT_TRUE(limits.standStill);
    EXPECT_EQ(limits.standStill->limit, 120s);
    EXPECT_EQ(limits.standStill->files, QStringList({QStringLiteral("/a.wav"), QStringLiteral("/b.wav")}));
}

} // namespace
} // namespace ostrel
