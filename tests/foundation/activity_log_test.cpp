#include "foundation/logs/activity_log.h"

#include "support/scripted_desktop.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

QString lastOf(const ActivityLog& log) {
    const ProcessingLogEntry& entry = log.rows().back();
    return QStringLiteral("%1 %2 %3").arg(rawText(entry.level), rawText(entry.category), entry.message);
}

TEST(ActivityLog, TellsWhereItWasSavedOrWhyNot) {
    const testing::TestFolder folder;
    testing::ScriptedDesktop desktop;
    ActivityLog log;
    log.add(LogLevel::warning, LogCategory::scan, QStringLiteral("one"));
    log.save(desktop, QStringLiteral("Log.txt"), log.lines());
    EXPECT_EQ(log.size(), 1u) << "nothing was chosen";
    EXPECT_EQ(desktop.savePanels.at(0).suggestedName, QStringLiteral("Log.txt"));

    desktop.savePanelAnswer = folder.path(QStringLiteral("kept.txt"));
    log.save(desktop, QStringLiteral("Log.txt"), log.lines());
    EXPECT_TRUE(testing::readAll(desktop.savePanelAnswer).endsWith("[WARN] [SCAN] one"));
    EXPECT_EQ(lastOf(log), QStringLiteral("OK SYSTEM Log saved to: ") + desktop.savePanelAnswer);

    desktop.savePanelAnswer = folder.path() + QStringLiteral("/gone/log.txt");
    log.save(desktop, QStringLiteral("Log.txt"), log.lines());
    EXPECT_TRUE(lastOf(log).startsWith(QStringLiteral("ERROR SYSTEM Failed to save log: ")));
}

TEST(ActivityLog, TellsAsItsToolDoes) {
    const testing::TestFolder folder;
    testing::ScriptedDesktop desktop;
    ActivityLog log{ActivityLog::Telling{.level = LogLevel::info, .showsFolder = false}};
    desktop.savePanelAnswer = folder.path(QStringLiteral("kept.txt"));
    log.save(desktop, QStringLiteral("Log.txt"), QStringLiteral("text"));
    EXPECT_EQ(testing::readAll(desktop.savePanelAnswer), "text");
    EXPECT_EQ(lastOf(log), QStringLiteral("INFO SYSTEM Log saved to: kept.txt"));
    log.copy(desktop, log.lines());
    EXPECT_TRUE(desktop.pasteboard.at(0).endsWith(QStringLiteral("Log saved to: kept.txt")));
    EXPECT_EQ(lastOf(log), QStringLiteral("INFO SYSTEM Log copied to clipboard (1 entries)"));
}

} // namespace
} // namespace ostrel
