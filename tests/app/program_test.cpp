// The built `ostrel` where no window can open, and under signals.
#include "support/held_tool.h"
#include "support/wave_file.h"

#include <QProcess>
#include <csignal>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

struct Ended {
    QProcess::ExitStatus how;
    int status;
    QString errors;
};

Ended runWithoutDisplay(const QStringList& arguments) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(QString::fromLatin1(name));
    process.setProcessEnvironment(environment);
    process.start(builtProgram(QStringLiteral("ostrel")), arguments);
    process.waitForFinished();
    return {process.exitStatus(), process.exitCode(), QString::fromUtf8(process.readAllStandardError())};
}

TEST(Program, WithoutADisplayItSaysSoAndEnds) {
    const Ended ended = runWithoutDisplay({});
    EXPECT_EQ(ended.how, QProcess::NormalExit);
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.errors, QStringLiteral("ostrel: there is no display to open a window on; ostrel-cli does the same "
                                           "jobs on a terminal\n"));
}

TEST(Program, BadUsageIsToldWithOrWithoutADisplay) {
    const QList<std::pair<QStringList, QString>> cases{
        {{QStringLiteral("--tab"), QStringLiteral("mixer")}, QStringLiteral("ostrel: no such tab: mixer\n")},
        {{QStringLiteral("--mode"), QStringLiteral("split")},
         QStringLiteral("ostrel: no such mode on that tab: split\n")},
        {{QStringLiteral("/no/such/take.wav")}, QStringLiteral("ostrel: no such file or folder: /no/such/take.wav\n")},
        {{QStringLiteral("--loud")}, QStringLiteral("ostrel: Unknown option 'loud'.\n")},
    };
    for (const auto& [arguments, message] : cases) {
        for (const QStringList& platform :
             {QStringList{}, QStringList{QStringLiteral("-platform"), QStringLiteral("offscreen")}}) {
            const Ended ended = runWithoutDisplay(platform + arguments);
            EXPECT_EQ(ended.how, QProcess::NormalExit);
            EXPECT_EQ(ended.status, 2);
            EXPECT_TRUE(ended.errors.endsWith(message)) << ended.errors.toStdString(); // Qt may complain before
        }
    }
}

// The window, open where nobody sees it, with an ffprobe that is held.
class Window {
public:
    explicit Window(const HeldTool& tool, const QStringList& arguments) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("OSTREL_RESOURCE_FOLDER"), tool.environment().first().section(u'=', 1));
        process_.setProcessEnvironment(environment);
        process_.setChildProcessModifier([] { ::signal(SIGHUP, SIG_DFL); }); // or it would be inherited from nohup
        process_.start(builtProgram(QStringLiteral("ostrel")),
                       QStringList{QStringLiteral("-platform"), QStringLiteral("offscreen")} + arguments);
        EXPECT_TRUE(waitUntil([this] { return handles(SIGTERM); }, 200'000))
            << process_.readAllStandardError().toStdString();
    }
    ~Window() { process_.kill(); }

    void signal(int number) {
        ASSERT_EQ(process_.state(), QProcess::Running);
        ASSERT_EQ(::kill(static_cast<pid_t>(process_.processId()), number), 0);
    }
    bool hasEnded(int limit = 200'000) {
        return waitUntil([this] { return process_.state() == QProcess::NotRunning; }, limit);
    }
    int exitStatus() const { return process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1; }

private:
    // From then on it does with the signal what it does.
    bool handles(int number) const {
        QFile status(QStringLiteral("/proc/%1/status").arg(process_.processId()));
        if (!status.open(QIODevice::ReadOnly)) return false;
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith("SigCgt:")) return (line.mid(7).trimmed().toULongLong(nullptr, 16) >> (number - 1)) & 1;
        }
        return false;
    }

    QProcess process_;
};

class SignalledProgram : public ::testing::TestWithParam<int> {
protected:
    // A selection of loose ISOs is grouped as soon as the window opens.
    QStringList groupingOf(const TestFolder& folder) {
        for (const char* name : {"S1T1_Boom.wav", "S1T1_Lav.wav"}) {
            folder.write(QString::fromLatin1(name), waveBytes({}));
        }
        return {QStringLiteral("--tab"), QStringLiteral("poly"), QStringLiteral("--mode"), QStringLiteral("join"),
                folder.path()};
    }
    TestFolder folder_;
    HeldTool ffprobe_{QStringLiteral("ffprobe")};
};

TEST_P(SignalledProgram, QuitsAnIdleWindow) {
    Window window(ffprobe_, {});
    window.signal(GetParam());
    EXPECT_TRUE(window.hasEnded());
    EXPECT_EQ(window.exitStatus(), 128 + GetParam());
}

TEST_P(SignalledProgram, WaitsForWhatIsBeingWorkedOn) {
    Window window(ffprobe_, groupingOf(folder_));
    ASSERT_TRUE(ffprobe_.waitForStarts(1));
    window.signal(GetParam());
    EXPECT_FALSE(window.hasEnded(1'000)); // nobody is asked, and the tool is not let go
    ffprobe_.letGo();
    EXPECT_TRUE(window.hasEnded());
    EXPECT_EQ(window.exitStatus(), 128 + GetParam());
}

TEST_P(SignalledProgram, EndsAtOnceWithASecondOne) {
    Window window(ffprobe_, groupingOf(folder_));
    ASSERT_TRUE(ffprobe_.waitForStarts(1));
    do {
        window.signal(GetParam());
    } while (!window.hasEnded(200));
    EXPECT_EQ(window.exitStatus(), 128 + GetParam());
    EXPECT_TRUE(waitUntil([this] { return !ffprobe_.isAnyAlive(); }));
}

INSTANTIATE_TEST_SUITE_P(Program, SignalledProgram, ::testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& each) { return std::string("SIG") + ::sigabbrev_np(each.param); });

} // namespace
} // namespace ostrel::testing
