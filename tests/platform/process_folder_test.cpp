#include "platform/files/process_folder.h"

#include "platform/paths.h"
#include "support/test_folder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::TestFolder;

// The name that the process gives itself, by way of ps and readlink.
QString nameOf(qint64 process) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(process));
    EXPECT_TRUE(stat.open(QIODevice::ReadOnly));
    const QString start = QString::fromLatin1(stat.readAll()).section(u' ', 21, 21);
    const QString space =
        QFile::symLinkTarget(QStringLiteral("/proc/self/ns/pid")).section(u'[', 1).section(u']', 0, 0);
    return QStringLiteral("%1-%2-%3").arg(QString::number(process), start, space);
}

struct ProcessFolders : ::testing::Test {
    TestFolder folder;

    QString with(const QString& name) {
        folder.write(name + QStringLiteral("/inner/sound.wav"), "x");
        return name;
    }
    QStringList left() const { return QDir(folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot); }
};

TEST_F(ProcessFolders, TheNameTellsProcessStartAndNamespace) {
    EXPECT_EQ(processFolderName(), nameOf(QCoreApplication::applicationPid()));
}

TEST_F(ProcessFolders, OnlyThoseOfProcessesThatHaveEndedAreSwept) {
    QProcess other;
    other.start(QStringLiteral("sleep"), {QStringLiteral("600")});
    ASSERT_TRUE(other.waitForStarted());
    const QString living = with(nameOf(other.processId()));
    const QString own = with(processFolderName());
    sweepProcessFolders(folder.path());
    EXPECT_EQ(left().size(), 2);
    other.kill();
    ASSERT_TRUE(other.waitForFinished());
    sweepProcessFolders(folder.path());
    EXPECT_EQ(left(), QStringList{own}) << living.toStdString();
}

TEST_F(ProcessFolders, ANumberThatWasGivenAgainIsAnotherProcess) {
    const QStringList parts = processFolderName().split(u'-');
    with(QStringLiteral("%1-%2-%3").arg(parts[0], QString::number(parts[1].toLongLong() - 1), parts[2]));
    sweepProcessFolders(folder.path());
    EXPECT_TRUE(left().isEmpty());
}

TEST_F(ProcessFolders, WhatIsNotKnownToBeOneOfOursStays) {
    const TestFolder elsewhere;
    elsewhere.write(QStringLiteral("sound.wav"), "x");
    const QString space = processFolderName().section(u'-', 2);
    const QStringList names{with(QStringLiteral("4000000-1-77")),      // of another container
                            with(QStringLiteral("0-1-") + space),      // no process
                            with(QStringLiteral("4000000--") + space), // no start
                            with(QStringLiteral("Sound Effects")),     // a person's
                            with(QStringLiteral("8c0a7b5e-0000-0000-"
                                                "1")),             // another kind of name
                            QStringLiteral("4000000-2-") + space}; // a link
    ASSERT_TRUE(QFile::link(elsewhere.path(), folder.path(names.last())));
    sweepProcessFolders(folder.path());
    EXPECT_EQ(left().size(), names.size());
    EXPECT_TRUE(QFile::exists(elsewhere.path(QStringLiteral("sound.wav"))));
}

} // namespace
} // namespace ostrel
