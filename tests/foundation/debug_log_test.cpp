#include "foundation/logs/debug_log.h"

#include "platform/text/regular_expression.h"
#include "support/captured_output.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::readAll;
using testing::TestFolder;

TEST(DebugLog, LinesHaveTheTimeAndTheTag) {
    const QString line = debugLogLine(QStringLiteral("StereoValidatorVM"), QStringLiteral("100%1 done\nnext"));
    EXPECT_TRUE(line.endsWith(QStringLiteral("] [StereoValidatorVM] 100%1 done next"))) << line.toStdString();
    EXPECT_TRUE(RegularExpression(QStringLiteral("^\\[\\d{1,2}.\\d\\d.\\d\\d")).matches(line)) << line.toStdString();
}

TEST(DebugLog, AppendsOneLineAnEventAndOnlyItsOwnerMayReadIt) {
    const TestFolder folder;
    const QString path = folder.path(QStringLiteral("debug.log"));
    EXPECT_TRUE(appendToLog(path, QStringLiteral("one 🎬")));
    EXPECT_TRUE(appendToLog(path, QStringLiteral("two")));
    EXPECT_EQ(readAll(path), "one 🎬\ntwo\n");
    struct stat found;
    ASSERT_EQ(::stat(path.toUtf8().constData(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777, 0600u);
}

TEST(DebugLog, NeverFollowsALink) {
    const TestFolder folder;
    const QString victim = folder.write(QStringLiteral("somebody's file"), "untouched");
    const QString link = folder.path(QStringLiteral("debug.log"));
    ASSERT_TRUE(QFile::link(victim, link));
    EXPECT_FALSE(appendToLog(link, QStringLiteral("line")));
    EXPECT_EQ(readAll(victim), "untouched");
}

TEST(DebugLog, WhatCannotBeWrittenIsTold) {
    const TestFolder folder;
    EXPECT_FALSE(appendToLog(folder.path(), QStringLiteral("line")));
    EXPECT_FALSE(appendToLog(folder.path() + QStringLiteral("/none/debug.log"), QStringLiteral("line")));
    const QString pipe = folder.path(QStringLiteral("pipe"));
    ASSERT_EQ(::mkfifo(pipe.toUtf8().constData(), 0600), 0);
    EXPECT_FALSE(appendToLog(pipe, QStringLiteral("line"))); // and does not wait for a reader
}

TEST(DebugLog, ALineGoesToTheFirstLogThatTakesItOrIsPrinted) {
    const TestFolder folder;
    const QString none = folder.path() + QStringLiteral("/none/debug.log");
    const QString second = folder.path(QStringLiteral("second.log"));
    const QString third = folder.path(QStringLiteral("third.log"));
    const auto printed = [](const QStringList& logs) {
        testing::CapturedOutput output(STDOUT_FILENO);
        writeToFirst(logs, QStringLiteral("a line"));
        return output.finish();
    };
    EXPECT_EQ(printed({none, QString(), second, third}), "");
    EXPECT_EQ(readAll(second), "a line\n");
    EXPECT_FALSE(QFile::exists(third));
    EXPECT_EQ(printed({none, QString()}), "a line\n");
}

TEST(DebugLog, LinesOfManyThreadsStayWhole) {
    const TestFolder folder;
    const QString path = folder.path(QStringLiteral("debug.log"));
    const QString line(200, u'x');
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] {
                for (int i = 0; i < 100; ++i) appendToLog(path, line);
            });
        }
    }
    EXPECT_EQ(readAll(path), (line.toUtf8() + '\n').repeated(400));
}

} // namespace
} // namespace ostrel
