// Runs the built ostrel-cli as a person does.
#pragma once

#include "support/test_folder.h"
#include "support/wave_file.h"

#include <QProcess>
#include <csignal>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ostrel::testing {

struct CliRun {
    int exitStatus = -1;
    QString out;
    QString err;

    nlohmann::json json() const { return nlohmann::json::parse(out.toStdString()); }
};

// `environment` holds "NAME=value" entries over our own.
inline CliRun runCli(const QStringList& arguments, const QStringList& environment = {}) {
    QProcess process;
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (const QString& entry : environment) variables.insert(entry.section(u'=', 0, 0), entry.section(u'=', 1));
    process.setProcessEnvironment(variables);
    process.start(builtProgram(QStringLiteral("ostrel-cli")), arguments);
    EXPECT_TRUE(process.waitForFinished(120'000)) << process.errorString().toStdString();
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

// To the program alone. One that has ended has the id 0, which would mean everybody in our own process group.
inline void sendSignal(const QProcess& process, int number) {
    ASSERT_EQ(process.state(), QProcess::Running);
    ASSERT_EQ(::kill(static_cast<pid_t>(process.processId()), number), 0);
}
inline void pressCtrlC(const QProcess& process) { sendSignal(process, SIGINT); }

// BASE.L.wav and BASE.R.wav.
inline void writePair(const TestFolder& folder, const QString& base) {
    WaveSpec spec;
    folder.write(base + QStringLiteral(".L.wav"), waveBytes(spec));
    spec.firstSignal = 1;
    folder.write(base + QStringLiteral(".R.wav"), waveBytes(spec));
}

inline QString text(const nlohmann::json& value) { return QString::fromStdString(value.get<std::string>()); }

} // namespace ostrel::testing
