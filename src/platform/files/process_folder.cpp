#include "platform/files/process_folder.h"

#include "platform/files/files.h"
#include "platform/paths.h"

#include <QDir>
#include <QFile>
#include <QStringList>
#include <unistd.h>

namespace ostrel {
namespace {

// Of /proc/{process}/stat, in ticks; empty if there is no such process.
QString startOf(const QString& process) {
    QFile file(QStringLiteral("/proc/%1/stat").arg(process));
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QByteArray line = file.readAll();
    // The name of the program, in brackets, may hold anything; behind it the 20th field is the 22nd of all.
    constexpr int startField = 19;
    const QByteArrayList fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    return QString::fromLatin1(fields.value(startField));
}

// "pid:[4026531836]" without the words.
QString ownNamespace() {
    char target[64];
    const ssize_t length = ::readlink("/proc/self/ns/pid", target, sizeof target);
    QString result;
    for (ssize_t at = 0; at < length; ++at) {
        if (target[at] >= '0' && target[at] <= '9') result += QLatin1Char(target[at]);
    }
    return result;
}

} // namespace

QString processFolderName() {
    const QString process = QString::number(::getpid());
    return QStringLiteral("%1-%2-%3").arg(process, startOf(process), ownNamespace());
}

void sweepProcessFolders(const QString& parent) {
    const QString here = ownNamespace();
    if (here.isEmpty()) return;
    const QStringList folders = QDir(parent).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks);
    for (const QString& name : folders) {
        const QStringList parts = name.split(u'-');
        bool isProcess = false;
        if (parts.size() != 3 || parts[0].toInt(&isProcess) <= 0 || !isProcess) continue;
        if (parts[1].isEmpty() || parts[2] != here || startOf(parts[0]) == parts[1]) continue;
        files::removeFolderQuietly(paths::append(parent, name));
    }
}

} // namespace ostrel
