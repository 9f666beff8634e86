// The first minutes: what an empty tab says, recordings to try it on, and what to do about a tool that is missing.
#include "app/window_test.h"

#include "app/controls/alert_dialog.h"
#include "app/panels/first_steps.h"
#include "app/panels/help_texts.h"
#include "app/panels/install_command.h"
#include "demo/demo_folder.h"

#include <QDirIterator>
#include <QFile>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class FirstMinutesTest : public WindowTest {
protected:
    FirstMinutesTest() { qputenv("XDG_DATA_HOME", folder_.path(QStringLiteral("data")).toUtf8()); }
    ~FirstMinutesTest() override { qunsetenv("XDG_DATA_HOME"); }

    FirstSteps* shownSteps() {
        settle();
        FirstSteps* shown = nullptr;
        for (FirstSteps* steps : window_.currentPage().findChildren<FirstSteps*>()) {
            if (!steps->isVisible()) continue;
            EXPECT_EQ(shown, nullptr) << "one at a time";
            shown = steps;
        }
        return shown;
    }
    // What the tab has selected when the demo recordings are there.
    void tryDemo() {
        FirstSteps* steps = shownSteps();
        ASSERT_NE(steps, nullptr);
        find<QAbstractButton>(*steps, QStringLiteral("Try it with demo recordings"))->click();
    }
    QString demo(const char* part) const { return demoFolder() + u'/' + QString::fromLatin1(part); }
};

TEST_F(FirstMinutesTest, EveryEmptyTabSaysWhatItDoesInOneSentenceAndThreeSteps) {
    for (const auto& [tab, modes] :
         {std::pair(AppTab::interleave, 2), {AppTab::polyTools, 3}, {AppTab::stereoValidator, 1}}) {
        show(tab);
        for (int mode = 0; mode < modes; ++mode) {
            window_.currentPage().setModeIndex(mode);
            FirstSteps* steps = shownSteps();
            ASSERT_NE(steps, nullptr) << rawText(tab).toStdString() << mode;
            const QString sentence = steps->accessibleDescription();
            EXPECT_EQ(sentence.count(u'.'), 1) << sentence.toStdString();
            int labels = 0;
            for (const QLabel* label : steps->findChildren<QLabel*>()) labels += !label->text().isEmpty();
            EXPECT_EQ(labels, 4) << "the sentence and the words of three pictures";
        }
    }
}

TEST_F(FirstMinutesTest, DemoRecordingsAreMadeAndSelected) {
    show();
    tryDemo();
    EXPECT_TRUE(waitUntil([this] { return interleaver_.selectedFiles.value() == QStringList{demo("pairs")}; }, 60'000));
    EXPECT_EQ(shownSteps(), nullptr) << "the tab has something to show";
    EXPECT_FALSE(QDir(demo("pairs")).isEmpty());
    EXPECT_FALSE(QFile::exists(demo("polys"))) << "those of this tab alone";
    EXPECT_TRUE(waitForInterleaver());
    press(Qt::Key_S);
    EXPECT_TRUE(waitForInterleaver());
    EXPECT_GT(interleaver_.totalCount(), 2);
}

TEST_F(FirstMinutesTest, TheOtherTabsHaveDemoRecordingsOfTheirOwn) {
    show(AppTab::stereoValidator);
    tryDemo();
    EXPECT_TRUE(waitUntil([this] { return validator_.sourceFolder.value() == demo("validator"); }, 60'000));
    show(AppTab::polyTools);
    tryDemo();
    EXPECT_TRUE(waitUntil([this] { return polyTools_.sourceFolder.value() == demo("polys"); }, 60'000));
    EXPECT_TRUE(waitForPolyTools());
    press(Qt::Key_Period);
    tryDemo();
    EXPECT_TRUE(waitUntil([this] { return polyTools_.joinSourceFolder.value() == demo("isos"); }, 60'000));
    EXPECT_TRUE(waitForPolyTools());
}

TEST_F(FirstMinutesTest, WhatAPersonChangedAmongThemStaysAsItIs) {
    const QString folder = writeDemoRecordings(folder_.path(QStringLiteral("demo")), DemoKind::stereo);
    const QStringList names = QDir(folder).entryList(QDir::Files);
    ASSERT_GT(names.size(), 5);
    const QString changed = folder + u'/' + names[0];
    const QString gone = folder + u'/' + names[1];
    const QString added = folder + QStringLiteral("/my own.wav");
    for (const QString& path : {changed, added}) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("mine");
    }
    QFile::remove(gone);
    EXPECT_EQ(writeDemoRecordings(folder_.path(QStringLiteral("demo")), DemoKind::stereo), folder);
    for (const QString& path : {changed, added}) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(file.readAll(), "mine") << path.toStdString();
    }
    EXPECT_TRUE(QFile::exists(gone)) << "what is missing comes back";
}

TEST_F(FirstMinutesTest, AFolderThatCanNotBeMadeIsTold) {
    folder_.write(QStringLiteral("data"), "a file stands where the folder would");
    show();
    tryDemo();
    EXPECT_TRUE(waitUntil([this] { return !desktop_.alerts.empty(); }, 60'000));
    EXPECT_EQ(desktop_.alerts[0].title, QStringLiteral("No Demo Recordings"));
    EXPECT_FALSE(desktop_.alerts[0].text.isEmpty());
    EXPECT_TRUE(interleaver_.selectedFiles.value().isEmpty());
}

TEST(InstallCommand, GoesByTheDistributionAndItsFamily) {
    const QString package = QStringLiteral("ffmpeg");
    const std::pair<const char*, const char*> cases[] = {
        {"PRETTY_NAME=\"Debian GNU/Linux 12\"\nID=debian\n", "sudo apt install ffmpeg"},
        {"ID=linuxmint\nID_LIKE=\"ubuntu debian\"\n", "sudo apt install ffmpeg"},
        {"ID=fedora\n", "sudo dnf install ffmpeg"},
        {"ID=\"rocky\"\nID_LIKE=\"rhel centos fedora\"\n", "sudo dnf install ffmpeg"},
        {"ID=\"opensuse-tumbleweed\"\nID_LIKE=\"opensuse suse\"\n", "sudo zypper install ffmpeg"},
        {"ID=manjaro\nID_LIKE=arch\n", "sudo pacman -S ffmpeg"},
        {"ID=alpine\nID_LIKE=''\n", "sudo apk add ffmpeg"},
        {"ID=something\nVERSION_ID=debian\n", ""},
        {"", ""}};
    for (const auto& [osRelease, command] : cases)
        EXPECT_EQ(installCommand(package, QString::fromLatin1(osRelease)), QString::fromLatin1(command)) << osRelease;
}

TEST(HelpTexts, StandInsideTheScreen) {
    for (const QString& text : {aboutInterleaverText(), aboutPolyToolsText(), aboutStereoValidatorText(),
                                aboutOstrelText(QStringLiteral("1")), keyboardShortcutsText(),
                                aboutInterleaverText() + aboutPolyToolsText() + aboutStereoValidatorText()}) {
        AlertRequest request;
        request.title = QStringLiteral("Help");
        request.text = text;
        AlertDialog dialog(request);
        dialog.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
        const QSize screen = dialog.screen()->availableSize();
        EXPECT_LE(dialog.frameGeometry().height(), screen.height());
        EXPECT_LE(dialog.frameGeometry().width(), screen.width());
        EXPECT_TRUE(find<QAbstractButton>(dialog, QStringLiteral("OK"))->isVisible());
    }
}

} // namespace
} // namespace ostrel::testing
