#include "app/panels/install_command.h"

#include <QFile>
#include <QStringList>

namespace ostrel {
namespace {

// The words of one field, without its quotes.
QStringList field(const QString& osRelease, const QString& name) {
    for (QString line : osRelease.split(u'\n')) {
        if (!line.startsWith(name + u'=')) continue;
        line = line.mid(name.size() + 1).trimmed();
        return line.remove(u'"').remove(u'\'').split(u' ', Qt::SkipEmptyParts);
    }
    return {};
}

QString commandOf(const QString& family) {
    static const QHash<QString, QString> commands{
        {QStringLiteral("debian"), QStringLiteral("sudo apt install")},
        {QStringLiteral("ubuntu"), QStringLiteral("sudo apt install")},
        {QStringLiteral("fedora"), QStringLiteral("sudo dnf install")},
        {QStringLiteral("rhel"), QStringLiteral("sudo dnf install")},
        {QStringLiteral("suse"), QStringLiteral("sudo zypper install")},
        {QStringLiteral("opensuse"), QStringLiteral("sudo zypper install")},
        {QStringLiteral("arch"), QStringLiteral("sudo pacman -S")},
        {QStringLiteral("alpine"), QStringLiteral("sudo apk add")},
    };
    return commands.value(family);
}

} // namespace

QString installCommand(const QString& package, const QString& osRelease) {
    const QStringList names = field(osRelease, QStringLiteral("ID")) + field(osRelease, QStringLiteral("ID_LIKE"));
    for (const QString& name : names) {
        if (const QString command = commandOf(name); !command.isEmpty()) return command + u' ' + package;
    }
    return QString();
}

QString installCommand(const QString& package) {
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
        QFile file(QString::fromLatin1(path));
        if (file.open(QIODevice::ReadOnly)) return installCommand(package, QString::fromUtf8(file.read(0x10000)));
    }
    return QString();
}

} // namespace ostrel
