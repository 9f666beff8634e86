#include "platform/processes/child_process.h"

#include "support/captured_output.h"
#include "support/test_folder.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::readAll;
using testing::TestFolder;

ProcessResult runScript(const QString& body, const QStringList& arguments = {}) {
    const TestFolder folder;
    return ChildProcess::runForResult(folder.writeScript(QStringLiteral("tool"), body), arguments);
}

QString launchError(const QString& executable, const QString& workingFolder = QString()) {
    try {
        ChildProcess::runSilently(executable, {}, ChildProcess::StandardError::captured, workingFolder);
    } catch (const ProcessLaunchError& error) {
        return error.description;
    }
    return QStringLiteral("no error");
}

TEST(ChildProcess, GivesBothOutputsAndTheExitStatus) {
    const ProcessResult result = runScript(QStringLiteral("printf out; printf err >&2; exit 7"));
    EXPECT_EQ(result.standardOutput, "out");
    EXPECT_EQ(result.standardError, "err");
    EXPECT_EQ(result.exitStatus, 7);
    EXPECT_FALSE(result.crashed);
    EXPECT_FALSE(result.succeeded());
    EXPECT_TRUE(runScript(QStringLiteral("exit 0")).succeeded());
}

TEST(ChildProcess, AToolThatASignalEndedIsToldApart) {
    for (const int number : {SIGSEGV, SIGKILL, SIGABRT}) {
        const ProcessResult result = runScript(QStringLiteral("printf early; kill -%1 $$").arg(number));
        EXPECT_TRUE(result.crashed);
        EXPECT_EQ(result.exitStatus, 128 + number);
        EXPECT_FALSE(result.succeeded());
        EXPECT_EQ(result.standardOutput, "early");
    }
}

TEST(ChildProcess, AToolThatIsNotThereIsALaunchError) {
    const TestFolder folder;
    EXPECT_EQ(launchError(folder.path(QStringLiteral("none"))), QStringLiteral("No such file or directory"));
}

TEST(ChildProcess, AToolThatMayNotBeRunIsALaunchError) {
    const TestFolder folder;
    EXPECT_EQ(launchError(folder.write(QStringLiteral("tool"), "#!/bin/sh\n")), QStringLiteral("Permission denied"));
    EXPECT_EQ(launchError(folder.path()), QStringLiteral("Permission denied"));
}

TEST(ChildProcess, AFileThatIsNoProgramIsALaunchError) {
    const TestFolder folder;
    const QString tool = folder.writeScript(QStringLiteral("tool"), QString());
    folder.write(QStringLiteral("tool"), "neither a program nor a script");
    EXPECT_EQ(launchError(tool), QStringLiteral("Exec format error"));
}

TEST(ChildProcess, AWorkingFolderThatIsNotThereIsALaunchError) {
    const TestFolder folder;
    EXPECT_EQ(launchError(QStringLiteral("/bin/true"), folder.path(QStringLiteral("none"))),
              QStringLiteral("No such file or directory"));
}

TEST(ChildProcess, ArgumentsArriveAsTheyStand) {
    const QStringList arguments{QStringLiteral("-dash"),       QStringLiteral("--in=quo'te\"s"),
                                QStringLiteral("two  blanks"), QStringLiteral("line\nbreak\r\n"),
                                QStringLiteral("🎬 日本語 é"),  QString(),
                                QStringLiteral("%s %1 $HOME"), QStringLiteral("*?[a]"),
                                QStringLiteral("back\\slash"), QStringLiteral("`id`;&|<>()")};
    const ProcessResult result = runScript(QStringLiteral("printf '%s\\0' \"$@\""), arguments);
    QStringList received = result.outputText().split(QChar(u'\0'));
    received.removeLast(); // behind the last end mark
    EXPECT_EQ(received, arguments);
}

TEST(ChildProcess, AToolWithAnOddPathIsFound) {
    const TestFolder folder;
    const QString tool = folder.writeScript(QStringLiteral("a 'b' \"c\"\n🎬/-tool %1"), QStringLiteral("printf ran"));
    EXPECT_EQ(ChildProcess::runForResult(tool, {}).standardOutput, "ran");
}

TEST(ChildProcess, AHugeStandardErrorNeitherBlocksNorFillsMemory) {
    rusage before;
    getrusage(RUSAGE_SELF, &before);
    const ProcessResult result = runScript(
        QStringLiteral("echo 'first words' >&2; yes 'a long complaint of a tool' | head -c 100000000 >&2; printf out; "
                       "echo 'last words' >&2; exit 3"));
    rusage after;
    getrusage(RUSAGE_SELF, &after);
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_EQ(result.standardOutput, "out");
    EXPECT_LE(result.standardError.size(), (4 << 20) + (64 << 10) + 100);
    EXPECT_GT(result.standardError.size(), 4 << 20);
    EXPECT_TRUE(result.standardError.startsWith("first words\na long"));
    EXPECT_EQ(result.standardError.count(" bytes left out ...]\n"), 1);
    EXPECT_TRUE(result.standardError.endsWith("last words\n"));
#ifndef __SANITIZE_ADDRESS__                                  // which keeps freed memory for a while
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 48 * 1024); // KiB
#endif
}

TEST(ChildProcess, AHugeStandardErrorStaysReadableWhereItIsCut) {
    // Three bytes a letter: somewhere the cut falls into one.
    for (const char* end : {"", "x", "xx"}) {
        const ProcessResult result =
            runScript(QStringLiteral("yes '日本語日本語日本語' | head -n 321428 >&2; printf '\\nlast words%1' >&2")
                          .arg(QLatin1String(end)));
        EXPECT_TRUE(result.errorText().endsWith(QStringLiteral("last words") + QLatin1String(end)));
    }
}

TEST(ChildProcess, AHugeStandardOutputArrivesWhole) {
    const ProcessResult result = runScript(QStringLiteral("head -c 30000000 /dev/zero; printf end"));
    EXPECT_EQ(result.standardOutput.size(), 30'000'003);
    EXPECT_TRUE(result.standardOutput.endsWith("end"));
}

TEST(ChildProcess, OutputsThatTakeTurnsDoNotBlockEachOther) {
    const ProcessResult result = runScript(
        QStringLiteral("for i in 1 2 3 4 5; do head -c 300000 /dev/zero; head -c 300000 /dev/zero >&2; done"));
    EXPECT_EQ(result.standardOutput.size(), 1'500'000);
    EXPECT_EQ(result.standardError.size(), 1'500'000);
}

TEST(ChildProcess, UndecodableOutputCountsAsEmptyText) {
    const ProcessResult result = runScript(QStringLiteral("printf 'caf\\351'; printf '\\377' >&2"));
    EXPECT_EQ(result.outputText(), QString());
    EXPECT_EQ(result.errorText(), QString());
    EXPECT_EQ(result.standardOutput, "caf\xe9");
}

TEST(ChildProcess, StandardInputIsEmpty) {
    EXPECT_EQ(runScript(QStringLiteral("cat; readlink /proc/$$/fd/0")).standardOutput, "/dev/null\n");
}

TEST(ChildProcess, TheLocaleIsUtf8WhateverOursIs) {
    const bool hadLocale = qEnvironmentVariableIsSet("LC_ALL");
    const QByteArray before = qgetenv("LC_ALL");
    qputenv("LC_ALL", "de_DE.ISO-8859-1");
    qputenv("OSTREL_TEST_KEPT", "kept");
    const ProcessResult result = runScript(QStringLiteral("env"));
    hadLocale ? qputenv("LC_ALL", before) : qunsetenv("LC_ALL");
    qunsetenv("OSTREL_TEST_KEPT");
    const QStringList lines = result.outputText().split(u'\n');
    EXPECT_EQ(lines.count(QStringLiteral("LC_ALL=C.UTF-8")), 1);
    EXPECT_EQ(lines.filter(QStringLiteral("LC_ALL=")).size(), 1);
    EXPECT_TRUE(lines.contains(QStringLiteral("OSTREL_TEST_KEPT=kept")));
}

TEST(ChildProcess, NothingIsTakenFromTheWorkingFolderByWayOfThePath) {
    const QByteArray before = qgetenv("PATH");
    const auto pathInside = [](const char* path) {
        qputenv("PATH", path);
        QStringList lines = ChildProcess::runForResult(QStringLiteral("/usr/bin/env"), {}).outputText().split(u'\n');
        lines.removeIf([](const QString& line) { return !line.startsWith(QStringLiteral("PATH=")); });
        return lines;
    };
    const QStringList clean{QStringLiteral("PATH=/usr/bin:/bin")};
    EXPECT_EQ(pathInside("/usr/bin:/bin"), clean);
    EXPECT_EQ(pathInside(":/usr/bin:.::bin:./x:/bin:"), clean);
    EXPECT_EQ(pathInside(":"), QStringList()); // then the system's own one counts
    EXPECT_EQ(pathInside(""), QStringList());
    qputenv("PATH", before);
}

TEST(ChildProcess, TheToolHasAProcessGroupOfItsOwn) {
    const ProcessResult result = runScript(QStringLiteral("echo $$; cut -d' ' -f5 /proc/$$/stat"));
    const QStringList lines = result.outputText().split(u'\n');
    ASSERT_GE(lines.size(), 2);
    EXPECT_EQ(lines[0], lines[1]);
    EXPECT_NE(lines[1].toInt(), ::getpgrp());
}

TEST(ChildProcess, NoDescriptorOfOursReachesTheTool) {
    const TestFolder folder;
    const QByteArray path = folder.write(QStringLiteral("ours"), "").toUtf8();
    const int open[] = {::open(path.constData(), O_RDWR), ::open(path.constData(), O_RDWR)};
    // 3 is the listing's own.
    EXPECT_EQ(ChildProcess::runForResult(QStringLiteral("/bin/ls"), {QStringLiteral("/proc/self/fd")}).standardOutput,
              "0\n1\n2\n3\n");
    for (const int descriptor : open) ::close(descriptor);
}

TEST(ChildProcess, NoDescriptorStaysWithUs) {
    const auto openDescriptors = [] {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
    };
    runScript(QStringLiteral("exit 0"));
    const auto before = openDescriptors();
    for (int i = 0; i < 20; ++i) {
        runScript(QStringLiteral("exit 0"));
        EXPECT_THROW(ChildProcess::runForResult(QStringLiteral("/nowhere/tool"), {}), ProcessLaunchError);
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST(ChildProcess, SignalsThatWeIgnoreEndTheToolAsEver) {
    const int signals[] = {SIGPIPE, SIGINT, SIGTERM, SIGHUP};
    std::vector<void (*)(int)> old;
    for (const int number : signals) old.push_back(std::signal(number, SIG_IGN));
    const ProcessResult result = ChildProcess::runForResult(
        QStringLiteral("/bin/grep"), {QStringLiteral("^SigIgn"), QStringLiteral("/proc/self/status")});
    for (std::size_t i = 0; i < old.size(); ++i) std::signal(signals[i], old[i]);
    bool isNumber = false;
    const quint64 ignored = result.outputText().section(u'\t', 1).trimmed().toULongLong(&isNumber, 16);
    ASSERT_TRUE(isNumber);
    for (const int number : signals) EXPECT_EQ(ignored & (1ULL << (number - 1)), 0u) << number;
}

TEST(ChildProcess, SilentRunsDropStandardOutput) {
    const TestFolder folder;
    const QString tool =
        folder.writeScript(QStringLiteral("tool"),
                           QStringLiteral("echo noise; where=$(readlink /proc/$$/fd/1); echo \"$where\" >&2; exit 4"));
    const ProcessResult captured = ChildProcess::runSilently(tool, {});
    EXPECT_EQ(captured.standardOutput, "");
    EXPECT_EQ(captured.standardError, "/dev/null\n");
    EXPECT_EQ(captured.exitStatus, 4);
    const ProcessResult dropped = ChildProcess::runSilently(tool, {}, ChildProcess::StandardError::dropped);
    EXPECT_EQ(dropped.standardError, "");
    EXPECT_EQ(dropped.exitStatus, 4);
}

TEST(ChildProcess, ASilentRunMayHaveAWorkingFolder) {
    const TestFolder folder;
    folder.path(QStringLiteral("odd 'name' 🎬/x"));
    const QString work = folder.path(QStringLiteral("odd 'name' 🎬"));
    const QString tool = folder.writeScript(QStringLiteral("tool"), QStringLiteral("pwd > here"));
    const QString ours = QDir::currentPath();
    EXPECT_TRUE(ChildProcess::runSilently(tool, {}, ChildProcess::StandardError::captured, work).succeeded());
    EXPECT_EQ(readAll(work + QStringLiteral("/here")).trimmed(), QDir(work).canonicalPath().toUtf8());
    EXPECT_EQ(QDir::currentPath(), ours);
}

TEST(ChildProcess, AnInheritedRunWritesWhereWeWrite) {
    const TestFolder folder;
    const QString tool = folder.writeScript(QStringLiteral("tool"), QStringLiteral("echo out; echo err >&2; exit 5"));
    testing::CapturedOutput output(STDOUT_FILENO);
    testing::CapturedOutput error(STDERR_FILENO);
    const ProcessResult result = ChildProcess::runInherited(tool, {});
    EXPECT_EQ(error.finish(), "err\n");
    EXPECT_EQ(output.finish(), "out\n");
    EXPECT_EQ(result.exitStatus, 5);
    EXPECT_TRUE(result.standardOutput.isEmpty());
    EXPECT_TRUE(result.standardError.isEmpty());
}

TEST(ChildProcess, ManyThreadsRunToolsSideBySide) {
    // A pipe's end that leaked into another's child would hold that pipe open, and a run would wait for the slow tool.
    const TestFolder folder;
    const QString tool = folder.writeScript(QStringLiteral("tool"), QStringLiteral("printf \"$1\"; printf \"$1\" >&2"));
    std::vector<int> wrong(4);
    {
        std::vector<std::jthread> threads;
        for (std::size_t thread = 0; thread < wrong.size(); ++thread) {
            threads.emplace_back([&, thread] {
                for (int i = 0; i < 25; ++i) {
                    const QString word = QStringLiteral("%1-%2").arg(thread).arg(i);
                    const ProcessResult result = ChildProcess::runForResult(tool, {word});
                    wrong[thread] += result.outputText() != word || result.errorText() != word;
                }
            });
        }
    }
    EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

} // namespace
} // namespace ostrel
