#include "platform/diagnostics.h"
#include "platform/files/standard_folders.h"
#include "support/captured_output.h"
#include "support/test_folder.h"

#include <QCoreApplication>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::CapturedOutput;

TEST(StandardFolders, CachesFollowTheDesktopsCacheFolder) {
    EXPECT_EQ(cacheFolder(), qEnvironmentVariable("XDG_CACHE_HOME") + QStringLiteral("/Ostrel"));
}

TEST(StandardFolders, TemporaryFilesGoWhereTheSystemKeepsThem) { EXPECT_EQ(temporaryFolder(), QDir::tempPath()); }

TEST(StandardFolders, ResourcesLieBesideTheProgramsFolder) {
    ASSERT_FALSE(qEnvironmentVariableIsSet("OSTREL_RESOURCE_FOLDER"));
    const QString beside = QFileInfo(QCoreApplication::applicationDirPath()).path();
    EXPECT_EQ(resourceFolder(), beside + QStringLiteral("/libexec/ostrel"));
}

TEST(StandardFolders, AnotherResourceFolderMayBeChosen) {
    qputenv("OSTREL_RESOURCE_FOLDER", "/some/where else");
    const QString chosen = resourceFolder();
    qputenv("OSTREL_RESOURCE_FOLDER", "");
    const QString empty = resourceFolder();
    qunsetenv("OSTREL_RESOURCE_FOLDER");
    EXPECT_EQ(chosen, QStringLiteral("/some/where else"));
    EXPECT_EQ(empty, resourceFolder());
}

TEST(Diagnostics, LinesGoWhereTheProgramSays) {
    CapturedOutput output(STDOUT_FILENO);
    CapturedOutput error(STDERR_FILENO);
    printDiagnostic(QStringLiteral("✅ first"));
    setDiagnosticStream(DiagnosticStream::standardError);
    printDiagnostic(QStringLiteral("second"));
    setDiagnosticStream(DiagnosticStream::nowhere);
    printDiagnostic(QStringLiteral("third"));
    setDiagnosticStream(DiagnosticStream::standardOutput);
    printDiagnostic(QStringLiteral("fourth"));
    EXPECT_EQ(error.finish(), "second\n");
    EXPECT_EQ(output.finish(), "✅ first\nfourth\n");
}

TEST(Diagnostics, LinesOfManyThreadsStayWhole) {
    const QString line(300, u'x');
    CapturedOutput output(STDOUT_FILENO);
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] {
                for (int i = 0; i < 200; ++i) printDiagnostic(line);
            });
        }
    }
    const QList<QByteArray> lines = output.finish().trimmed().split('\n');
    EXPECT_EQ(lines.size(), 800);
    EXPECT_TRUE(std::all_of(lines.begin(), lines.end(), [&](const QByteArray& one) { return one == line.toUtf8(); }));
}

} // namespace
} // namespace ostrel
