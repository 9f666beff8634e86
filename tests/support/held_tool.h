// An outside tool that says that it was started and waits until it may go on.
#pragma once

#include "support/test_folder.h"

#include <QFile>

namespace ostrel::testing {

class HeldTool {
public:
    // The first `free` starts go on at once; a start is one line of "starts", with the tool's process id.
    explicit HeldTool(const QString& name, int free = 0) {
        resources_.writeScript(QStringLiteral("bin/") + name,
                               QStringLiteral("echo $$ >> '%1/starts'\n"
                                              "if [ $(wc -l < '%1/starts') -gt %2 ]; then\n"
                                              "  until [ -e '%1/go' ]; do\n"
                                              "    [ -e '%1/starts' ] || exit 1\n" // the test is gone
                                              "    sleep 0.02\n"
                                              "  done\n"
                                              "fi\n"
                                              "exec /usr/bin/%3 \"$@\"")
                                   .arg(resources_.path())
                                   .arg(free)
                                   .arg(name));
        // What this folder hides.
        const QString bwfmetaedit = QStringLiteral("bwfmetaedit");
        QFile::link(builtProgram(QStringLiteral("../libexec/ostrel/bin/") + bwfmetaedit),
                    resources_.path(QStringLiteral("bin/") + bwfmetaedit));
    }

    // Of a program that finds this tool ahead of the installed one.
    QStringList environment() const { return {QStringLiteral("OSTREL_RESOURCE_FOLDER=") + resources_.path()}; }

    int starts() const { return static_cast<int>(ids().size()); }
    // A scan may go ahead of it, and on a busy machine that takes its time.
    bool waitForStarts(int count) const {
        return waitUntil([=, this] { return starts() >= count; }, 200'000);
    }
    void letGo() const { resources_.write(QStringLiteral("go"), "x"); }

    // Processes that a kill left behind for init to collect are no longer alive.
    bool isAnyAlive() const {
        for (const QByteArray& id : ids()) {
            const QByteArray status = contents(QStringLiteral("/proc/%1/status").arg(QString::fromLatin1(id)));
            if (!status.isEmpty() && !status.contains("State:\tZ")) return true;
        }
        return false;
    }

private:
    // Empty where there is no such file.
    static QByteArray contents(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QList<QByteArray> ids() const {
        const QByteArray starts = contents(resources_.path() + QStringLiteral("/starts")).trimmed();
        return starts.isEmpty() ? QList<QByteArray>() : starts.split('\n');
    }

    TestFolder resources_;
};

} // namespace ostrel::testing
