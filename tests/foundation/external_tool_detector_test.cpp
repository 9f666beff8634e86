#include "foundation/tools/external_tool_detector.h"

#include "support/captured_output.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::TestFolder;

// PATH for a scope.
class SearchPath {
public:
    explicit SearchPath(const QString& path) : before_(qgetenv("PATH")) { qputenv("PATH", path.toUtf8()); }
    ~SearchPath() { qputenv("PATH", before_); }
    SearchPath(const SearchPath&) = delete;
    SearchPath& operator=(const SearchPath&) = delete;

private:
    QByteArray before_;
};

// A machine with nothing but what the test puts on it.
class ToolDetection : public ::testing::Test {
protected:
    QString add(const QString& place, const QString& tool) const {
        return folder_.writeScript(place + u'/' + tool, QString());
    }
    QString resources() const { return folder_.path(QStringLiteral("resources")); }
    ExternalToolDetector detect() {
        testing::CapturedOutput output(STDOUT_FILENO);
        const auto places = [this](const QString& tool) {
            return QStringList{folder_.path(QStringLiteral("system/") + tool),
                               folder_.path(QStringLiteral("system2/") + tool)};
        };
        return ExternalToolDetector(resources(), places);
    }

    TestFolder folder_;
    SearchPath path_{folder_.path(QStringLiteral("onpath"))};
};

TEST_F(ToolDetection, WithNothingInstalledFfmpegIsNotAvailableAndTheTimeIsStillSet) {
    const ExternalToolDetector detector = detect();
    EXPECT_EQ(detector.ffmpegPath.value(), QString());
    EXPECT_EQ(detector.ffprobePath.value(), QString());
    EXPECT_EQ(detector.bwfmetaeditPath.value(), QString());
    EXPECT_FALSE(detector.ffmpegAvailable.value());
    EXPECT_FALSE(detector.bwfmetaeditAvailable.value());
    ASSERT_TRUE(detector.lastCheckTime.value());
    EXPECT_LT(detector.lastCheckTime.value()->secsTo(QDateTime::currentDateTime()), 60);
}

TEST_F(ToolDetection, FfprobeMissingMakesFfmpegUnavailable) {
    const QString ffmpeg = add(QStringLiteral("system"), QStringLiteral("ffmpeg"));
    add(QStringLiteral("system2"), QStringLiteral("bwfmetaedit"));
    const ExternalToolDetector detector = detect();
    EXPECT_EQ(detector.ffmpegPath.value(), ffmpeg);
    EXPECT_FALSE(detector.ffmpegAvailable.value());
    EXPECT_TRUE(detector.bwfmetaeditAvailable.value());
}

TEST_F(ToolDetection, ResourcesThenPathThenUsualPlaces) {
    const QString tool = QStringLiteral("ffmpeg");
    const QStringList places{QStringLiteral("resources/Resources/bin"), QStringLiteral("resources/bin"),
                             QStringLiteral("onpath"), QStringLiteral("system"), QStringLiteral("system2")};
    QStringList found;
    for (const QString& place : places) found << add(place, tool);
    for (const QString& path : found) { // the best goes away, the next comes up
        EXPECT_EQ(detect().ffmpegPath.value(), path);
        QFile::remove(path);
    }
    EXPECT_EQ(detect().ffmpegPath.value(), QString());
}

TEST_F(ToolDetection, OnlyExecutableFilesCount) {
    for (const char* place : {"resources/bin/ffmpeg", "onpath/ffmpeg", "system/ffmpeg"})
        folder_.write(QString::fromLatin1(place), "no rights to run");
    folder_.path(QStringLiteral("resources/Resources/bin/ffmpeg/a folder of that name"));
    const QString real = add(QStringLiteral("system2"), QStringLiteral("ffmpeg"));
    EXPECT_EQ(detect().ffmpegPath.value(), real);
}

TEST_F(ToolDetection, NothingIsTakenFromTheWorkingFolder) {
    const QString ours = QDir::currentPath();
    add(QStringLiteral("recordings"), QStringLiteral("ffmpeg"));
    add(QStringLiteral("recordings/bin"), QStringLiteral("ffmpeg"));
    ASSERT_TRUE(QDir::setCurrent(folder_.path(QStringLiteral("recordings"))));
    const QString onPath = add(QStringLiteral("onpath"), QStringLiteral("ffmpeg"));
    for (const char* relative : {"", ".", "bin", "./bin", "../recordings", ":.:bin"}) {
        const QString entry = QString::fromLatin1(relative);
        const SearchPath aheadOfTheRealOne(entry + u':' + folder_.path(QStringLiteral("onpath")));
        EXPECT_EQ(detect().ffmpegPath.value(), onPath) << relative;
        const SearchPath noOther(entry);
        EXPECT_FALSE(detect().ffmpegPath.value().startsWith(folder_.path())) << relative;
        EXPECT_TRUE(QDir::isAbsolutePath(detect().ffmpegPath.value()) || detect().ffmpegPath.value().isEmpty());
    }
    QDir::setCurrent(ours);
}

TEST_F(ToolDetection, DetectingAgainSeesWhatWasInstalledMeanwhile) {
    ExternalToolDetector detector = detect();
    add(QStringLiteral("onpath"), QStringLiteral("ffmpeg"));
    add(QStringLiteral("onpath"), QStringLiteral("ffprobe"));
    EXPECT_FALSE(detector.ffmpegAvailable.value());
    testing::CapturedOutput output(STDOUT_FILENO);
    detector.detectTools();
    EXPECT_TRUE(detector.ffmpegAvailable.value());
}

TEST_F(ToolDetection, EveryOutcomePrintsOneLine) {
    add(QStringLiteral("resources/bin"), QStringLiteral("ffmpeg"));
    add(QStringLiteral("onpath"), QStringLiteral("ffprobe"));
    const ExternalToolDetector detector = detect();
    const auto printed = [&](const QString& tool) {
        testing::CapturedOutput output(STDOUT_FILENO);
        detector.findTool(tool, {folder_.path(QStringLiteral("system/") + tool)});
        return QString::fromUtf8(output.finish());
    };
    EXPECT_EQ(printed(QStringLiteral("ffmpeg")),
              QStringLiteral("✅ Found bundled ffmpeg: %1/bin/ffmpeg\n").arg(resources()));
    EXPECT_EQ(printed(QStringLiteral("ffprobe")),
              QStringLiteral("✅ Found ffprobe via which: %1\n").arg(folder_.path(QStringLiteral("onpath/ffprobe"))));
    EXPECT_EQ(printed(QStringLiteral("sox")),
              QStringLiteral("❌ sox not found (checked bundled, PATH, and system paths)\n"));
    const QString sox = add(QStringLiteral("system"), QStringLiteral("sox"));
    EXPECT_EQ(printed(QStringLiteral("sox")), QStringLiteral("✅ Found sox at system path: %1\n").arg(sox));
}

TEST(ExternalToolDetector, LooksUpResourcesInTheDataFoldersAheadOfThePath) {
    const TestFolder folder;
    const QByteArray before = qgetenv("XDG_DATA_HOME");
    const QByteArray chosen = qgetenv("OSTREL_RESOURCE_FOLDER");
    qunsetenv("OSTREL_RESOURCE_FOLDER");
    qputenv("XDG_DATA_HOME", folder.path().toUtf8());
    const auto found = [](const QString& tool) {
        testing::CapturedOutput output(STDOUT_FILENO);
        const ExternalToolDetector detector;
        const QString path = detector.findTool(tool, {});
        return std::pair(path, QString::fromUtf8(output.finish()).split(u'\n').filter(tool));
    };
    const QString name = QStringLiteral("a-made-up-tool");
    for (const char* place : {"ostrel/bin/", "ostrel/Resources/bin/"}) { // the second goes ahead of the first
        const QString tool = folder.writeScript(QString::fromLatin1(place) + name, QString());
        const auto [path, lines] = found(name);
        EXPECT_EQ(path, tool);
        EXPECT_EQ(lines, QStringList{QStringLiteral("✅ Found bundled %1 via forResource: %2").arg(name, tool)});
    }
    qputenv("OSTREL_RESOURCE_FOLDER", folder.path().toUtf8()); // stands alone
    EXPECT_EQ(found(name).first, QString());
    chosen.isNull() ? qunsetenv("OSTREL_RESOURCE_FOLDER") : qputenv("OSTREL_RESOURCE_FOLDER", chosen);
    qputenv("XDG_DATA_HOME", before);
}

TEST(ExternalToolDetector, TheUsualPlaces) {
    EXPECT_EQ(ExternalToolDetector::systemPaths(QStringLiteral("ffmpeg")),
              QStringList({QStringLiteral("/opt/homebrew/bin/ffmpeg"), QStringLiteral("/usr/local/bin/ffmpeg"),
                           QStringLiteral("/usr/bin/ffmpeg")}));
    EXPECT_EQ(
        ExternalToolDetector::systemPaths(QStringLiteral("bwfmetaedit")),
        QStringList({QStringLiteral("/opt/homebrew/bin/bwfmetaedit"), QStringLiteral("/usr/local/bin/bwfmetaedit"),
                     QStringLiteral("/Applications/BWF MetaEdit.app/Contents/MacOS/bwfmetaedit"),
                     QStringLiteral("/usr/bin/bwfmetaedit")}));
}

} // namespace
} // namespace ostrel
