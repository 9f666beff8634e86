// What seal and verify cost, whole commands from start to exit, against `cat` of the same files into /dev/null and
// against md5sum. With names, only these: verify, one, small, md5.
#include "bench/ratio.h"
#include "platform/files/files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <random>

namespace {

using namespace ostrel;
using bench::Side;

QString cli() { return QCoreApplication::applicationDirPath() + QStringLiteral("/ostrel-cli"); }

// Noise; all files of a folder alike in length.
void makeFiles(const QString& folder, int count, qint64 bytes) {
    QDir().mkpath(folder);
    QByteArray noise(1 << 20, '\0');
    std::mt19937 random(1);
    for (char& byte : noise) byte = static_cast<char>(random());
    for (int i = 0; i < count; ++i) {
        QFile file(QStringLiteral("%1/take%2.wav").arg(folder).arg(i));
        if (!file.open(QIODevice::WriteOnly)) ::_Exit(1);
        for (qint64 left = bytes; left > 0; left -= noise.size()) {
            noise[0] = static_cast<char>(i);
            file.write(noise.constData(), std::min<qint64>(left, noise.size()));
        }
    }
}

Side verify(const QString& folder) {
    return {QStringLiteral("verify"), [=] { bench::runBare(cli(), {QStringLiteral("verify"), folder}); }};
}

Side seal(const QString& folder, const QString& hash) {
    return {QStringLiteral("seal ") + hash,
            [=] {
                bench::runBare(cli(), {QStringLiteral("seal"), QStringLiteral("--hash"), hash, folder});
            },
            [=] { files::removeFolderQuietly(folder + QStringLiteral("/ascmhl")); }};
}

Side shell(const QString& name, const QString& script) {
    return {name, [=] { bench::runBare(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), script}); }};
}

Side cat(const QString& folder) {
    return shell(QStringLiteral("cat"), QStringLiteral("exec cat '%1'/*.wav > /dev/null").arg(folder));
}

void againstCat(const QString& what, int count, qint64 bytes, double goal) {
    const QTemporaryDir place;
    const QString folder = place.filePath(QStringLiteral("day"));
    makeFiles(folder, count, bytes);
    bench::compare(QStringLiteral("seal %1 : cat").arg(what), goal, seal(folder, QStringLiteral("xxh128")),
                   cat(folder));
    bench::compare(QStringLiteral("verify %1 : cat").arg(what), goal, verify(folder), cat(folder));
}

void benchMd5() {
    const QTemporaryDir place;
    const QString folder = place.filePath(QStringLiteral("day"));
    makeFiles(folder, 4, 256 << 20);
    bench::compare(QStringLiteral("seal 4 files of 256 MiB with md5 : md5sum"), 0.6,
                   seal(folder, QStringLiteral("md5")),
                   shell(QStringLiteral("md5sum"), QStringLiteral("exec md5sum '%1'/*.wav").arg(folder)), 3);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList names = QCoreApplication::arguments().mid(1);
    const auto wanted = [&](const char* name) { return names.isEmpty() || names.contains(QString::fromLatin1(name)); };
    if (wanted("verify")) againstCat(QStringLiteral("4 files of 512 MiB"), 4, 512 << 20, 1.15);
    if (wanted("one")) againstCat(QStringLiteral("one file of 1 GiB"), 1, 1 << 30, 1.5);
    if (wanted("small")) againstCat(QStringLiteral("2,000 files of 64 KiB"), 2000, 64 << 10, 3);
    if (wanted("md5")) benchMd5();
    return 0;
}
