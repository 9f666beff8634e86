// The built `ostrel` where no window can open.
#include "support/test_folder.h"

#include <QProcess>
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

} // namespace
} // namespace ostrel::testing
