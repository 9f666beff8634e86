// What a second start finds, and what it must not find.
#include "app/window_test.h"

#include "app/desktop/recent_folders.h"
#include "app/shell/session_memory.h"
#include "app/shell/window_memory.h"

#include <QHeaderView>
#include <QMainWindow>
#include <QSettings>
#include <QSplitter>
#include <QStandardItemModel>
#include <QTableView>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class SessionMemoryTest : public ::testing::Test {
protected:
    SessionMemoryTest() { QSettings().clear(); }
    ~SessionMemoryTest() override { QSettings().clear(); }

    // A start of the program, as far as it remembers.
    struct Start {
        ScriptedDesktop desktop;
        AudioOutput audio;
        QProperty<AppTab> tab{AppTab::interleave};
        AppViewModel interleaver{desktop, audio};
        PolyToolsViewModel polyTools{desktop, &audio};
        StereoValidatorViewModel validator{desktop, audio};
        SessionMemory memory{tab, interleaver, polyTools, validator};
    };
};

TEST_F(SessionMemoryTest, TheFirstStartIsAsTheProgramWasBuilt) {
    const Start start;
    EXPECT_EQ(start.tab.value(), AppTab::interleave);
    EXPECT_EQ(start.interleaver.options.value(), ProcessingOptions());
    EXPECT_EQ(start.polyTools.mode.value(), PolyMode::split);
    EXPECT_TRUE(start.validator.recursiveScan.value());
}

TEST_F(SessionMemoryTest, ASecondStartOpensWhereTheFirstLeftOff) {
    {
        Start first;
        first.tab = AppTab::polyTools;
        first.interleaver.currentMode = AppMode::deinterleave;
        ProcessingOptions options;
        options.outputFormatPolicy = OutputFormatPolicy::alwaysWAV;
        options.channelSeparator = ChannelSeparator::underscore;
        options.includeSubfolders = false;
        first.interleaver.options = options;
        first.polyTools.mode = PolyMode::editPoly;
        first.polyTools.folderOrganization = FolderOrganization::flat;
        first.polyTools.joinStrict = true;
        first.validator.skipMonoFiles = true;
        first.validator.dualMonoSideSelection = DualMonoSideSelection::right;
    }
    const Start second;
    EXPECT_EQ(second.tab.value(), AppTab::polyTools);
    EXPECT_EQ(second.interleaver.currentMode.value(), AppMode::deinterleave);
    EXPECT_EQ(second.interleaver.options.value().outputFormatPolicy, OutputFormatPolicy::alwaysWAV);
    EXPECT_EQ(second.interleaver.options.value().channelSeparator, ChannelSeparator::underscore);
    EXPECT_FALSE(second.interleaver.options.value().includeSubfolders);
    EXPECT_EQ(second.polyTools.mode.value(), PolyMode::editPoly);
    EXPECT_EQ(second.polyTools.folderOrganization.value(), FolderOrganization::flat);
    EXPECT_TRUE(second.polyTools.joinStrict.value());
    EXPECT_TRUE(second.validator.skipMonoFiles.value());
    EXPECT_EQ(second.validator.dualMonoSideSelection.value(), DualMonoSideSelection::right);
}

TEST_F(SessionMemoryTest, WhatDeletesMovesOrOverwritesIsNotKept) {
    {
        Start first;
        ProcessingOptions options;
        options.skipIfExists = false;
        options.overwriteExisting = true;
        options.moveOriginalsInterleave = options.moveOriginalsDeinterleave = true;
        options.deleteOriginalsInterleave = options.deleteOriginalsDeinterleave = true;
        options.lrCleanupMode = LRCleanupMode::hardDelete;
        options.channelSeparator = ChannelSeparator::underscore;
        first.interleaver.options = options;
        first.polyTools.overwriteExisting = true;
        first.polyTools.skipIfExists = false;
        first.polyTools.editPolyEditInPlace = true;
        first.polyTools.joinDownmix = true;
        first.validator.allowOverwrite = true;
        first.validator.addMonoSuffix = false;
    }
    const Start second;
    ProcessingOptions safe;
    safe.channelSeparator = ChannelSeparator::underscore;
    EXPECT_EQ(second.interleaver.options.value(), safe);
    EXPECT_FALSE(second.polyTools.overwriteExisting.value());
    EXPECT_TRUE(second.polyTools.skipIfExists.value());
    EXPECT_FALSE(second.polyTools.editPolyEditInPlace.value());
    EXPECT_FALSE(second.polyTools.joinDownmix.value());
    EXPECT_FALSE(second.validator.allowOverwrite.value());
    EXPECT_TRUE(second.validator.addMonoSuffix.value());
}

// Whoever writes into the file of settings gets no option that the program would not have kept itself, and no fault.
TEST_F(SessionMemoryTest, AnEditedFileOfSettingsTurnsNothingDangerousOn) {
    for (const char* room : {"interleaver", "poly", "validator"}) {
        for (const char* option :
             {"overwriteExisting", "overwrite", "allowOverwrite", "deleteOriginals", "deleteOriginalsInterleave",
              "deleteOriginalsDeinterleave", "moveOriginals", "moveOriginalsInterleave", "lrCleanupMode", "cleanup",
              "editInPlace", "editPolyEditInPlace", "joinDownmix", "downmix", "hardDelete"}) {
            QSettings().setValue(QStringLiteral("session/%1/%2").arg(QLatin1String(room), QLatin1String(option)),
                                 QStringLiteral("true"));
        }
        for (const char* option : {"skipIfExists", "skipExisting", "addMonoSuffix", "suffix"}) {
            QSettings().setValue(QStringLiteral("session/%1/%2").arg(QLatin1String(room), QLatin1String(option)),
                                 QStringLiteral("false"));
        }
    }
    for (const char* nonsense : {"tab", "interleaver/mode", "interleaver/outputFormat", "poly/mode", "poly/report"})
        QSettings().setValue(QStringLiteral("session/") + QLatin1String(nonsense), QStringLiteral("nonsense"));
    const Start start;
    EXPECT_EQ(start.tab.value(), AppTab::interleave);
    EXPECT_EQ(start.interleaver.options.value(), ProcessingOptions());
    EXPECT_EQ(start.interleaver.currentMode.value(), AppMode::interleave);
    EXPECT_EQ(start.polyTools.mode.value(), PolyMode::split);
    EXPECT_FALSE(start.polyTools.overwriteExisting.value());
    EXPECT_TRUE(start.polyTools.skipIfExists.value());
    EXPECT_FALSE(start.polyTools.editPolyEditInPlace.value());
    EXPECT_FALSE(start.polyTools.joinDownmix.value());
    EXPECT_FALSE(start.polyTools.generateCSV.value());
    EXPECT_FALSE(start.validator.allowOverwrite.value());
    EXPECT_TRUE(start.validator.addMonoSuffix.value());
}

TEST(WindowPlace, IsFittedToTheScreenThatShowsIt) {
    const QList<QRect> screens{QRect(0, 0, 1024, 700), QRect(1024, 0, 2560, 1440)};
    EXPECT_EQ(WindowMemory::fitted(QRect(10, 10, 900, 600), screens), QRect(10, 10, 900, 600)) << "as it was";
    EXPECT_EQ(WindowMemory::fitted(QRect(-50, -40, 1180, 820), screens), screens[0]) << "no larger than the screen";
    EXPECT_EQ(WindowMemory::fitted(QRect(500, 300, 600, 600), {screens[0]}), QRect(424, 100, 600, 600))
        << "its foot and its right edge are seen";
    EXPECT_EQ(WindowMemory::fitted(QRect(1100, 50, 1180, 820), screens), QRect(1100, 50, 1180, 820)) << "the second";
    const QRect again = WindowMemory::fitted(QRect(1100, 50, 900, 600), {screens[0]});
    EXPECT_EQ(again, QRect(61, 49, 900, 600)) << "the second screen is gone: in the middle";
    EXPECT_TRUE(screens[0].contains(again));
}

TEST_F(SessionMemoryTest, TheWindowComesBackWithItsSplittersAndColumns) {
    const auto makeWindow = [] {
        auto window = std::make_unique<QMainWindow>();
        auto* split = new QSplitter(Qt::Vertical);
        split->setAccessibleName(QStringLiteral("Items and preview"));
        auto* table = new QTableView;
        table->setAccessibleName(QStringLiteral("Items"));
        table->setModel(new QStandardItemModel(3, 4, table));
        split->addWidget(table);
        split->addWidget(new QWidget);
        window->setCentralWidget(split);
        window->setMinimumSize(300, 200);
        window->resize(500, 400);
        return window;
    };
    {
        auto first = makeWindow();
        WindowMemory memory(*first);
        first->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(first.get()));
        first->setGeometry(40, 60, 620, 510);
        first->findChild<QSplitter*>()->setSizes({360, 120});
        first->findChild<QTableView*>()->setColumnWidth(1, 177);
        first->findChild<QTableView*>()->setColumnHidden(3, true);
        first->close();
    }
    auto second = makeWindow();
    WindowMemory memory(*second);
    second->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(second.get()));
    EXPECT_EQ(second->geometry(), QRect(40, 60, 620, 510));
    const QList<int> sizes = second->findChild<QSplitter*>()->sizes();
    EXPECT_NEAR(sizes[0] / double(sizes[1]), 3, 0.1);
    auto* table = second->findChild<QTableView*>();
    EXPECT_EQ(table->columnWidth(1), 177);
    EXPECT_FALSE(table->isColumnHidden(3)) << "what is shown is the options' to say";
}

TEST_F(SessionMemoryTest, AWindowLargerThanTheScreenIsMadeSmaller) {
    QWidget window;
    window.setMinimumSize(5000, 4000);
    window.resize(6000, 5000);
    const WindowMemory memory(window);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_TRUE(window.screen()->availableGeometry().contains(window.frameGeometry()));
}

TEST_F(WindowTest, ADropIsRememberedAmongTheRecentFolders) {
    show();
    drop({folder_.write(QStringLiteral("day/a.L.wav"), "x")});
    EXPECT_EQ(recentFolders().value(0), folder_.path(QStringLiteral("day")));
    drop({folder_.path()});
    EXPECT_EQ(recentFolders().value(0), folder_.path());
    EXPECT_TRUE(waitForInterleaver());
}

} // namespace
} // namespace ostrel::testing
