// What the direct engine costs, whole commands from start to exit, against the best free peers of the distribution
// (sndfile-programs), `cat` of the same bytes, and the way by ffmpeg. With names, only these: interleave, split, edit,
// join, scan, counts, proof, hash.
#include "bench/ratio.h"
#include "platform/files/files.h"
#include "wave/wave_head.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <cstdio>
#include <random>

namespace {

using namespace ostrel;
using bench::Side;

constexpr std::uint32_t kRate = 48'000;
constexpr std::uint16_t kBytes = 3; // of a sample

QString cli() { return QCoreApplication::applicationDirPath() + QStringLiteral("/ostrel-cli"); }

// 24-bit noise.
void makeWave(const QString& path, int channels, int seconds) {
    WaveHead head;
    head.format.tag = WaveFormat::pcm;
    head.format.channels = static_cast<std::uint16_t>(channels);
    head.format.sampleRate = kRate;
    head.format.blockAlign = static_cast<std::uint16_t>(channels * kBytes);
    head.format.bits = 8 * kBytes;
    head.audioBytes = std::uint64_t{kRate} * static_cast<std::uint64_t>(seconds) * head.format.blockAlign;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) ::_Exit(1);
    file.write(QByteArray::fromStdString(headBytes(head)));
    QByteArray noise(1 << 20, '\0');
    std::mt19937 random(static_cast<unsigned>(channels));
    for (char& byte : noise) byte = static_cast<char>(random());
    for (std::uint64_t left = head.audioBytes; left > 0;) {
        const auto some = static_cast<qint64>(std::min<std::uint64_t>(left, static_cast<std::uint64_t>(noise.size())));
        if (file.write(noise.constData(), some) != some) ::_Exit(1);
        left -= static_cast<std::uint64_t>(some);
    }
}

QStringList makeMonos(const QTemporaryDir& folder, int count, int seconds) {
    QStringList files;
    for (int i = 0; i < count; ++i) {
        files << folder.filePath(QStringLiteral("14A-T1_CH%1.wav").arg(i + 1));
        makeWave(files.last(), 1, seconds);
    }
    return files;
}

Side command(const QString& name, const QString& program, const QStringList& arguments, const QString& output) {
    return {name, [=] { bench::runBare(program, arguments); },
            [=] {
                files::removeFolderQuietly(output);
                QDir().mkpath(output);
            }};
}

Side ours(const QStringList& arguments, const QString& output, const QString& engine = QStringLiteral("direct")) {
    return command(
        arguments.first() + u' ' + engine, cli(),
        QStringList{arguments.first(), QStringLiteral("--engine"), engine, QStringLiteral("--output"), output} +
            arguments.mid(1),
        output);
}

// `cat` of the same bytes, and the start of a program: 20 ms.
Side cat(const QStringList& files, const QString& output) {
    QString script = QStringLiteral("sleep 0.02; cat");
    for (const QString& file : files) script += QStringLiteral(" '%1'").arg(file);
    return command(QStringLiteral("cat + 20 ms"), QStringLiteral("/bin/sh"),
                   {QStringLiteral("-c"), script + QStringLiteral(" > '%1/cat.wav'").arg(output)}, output);
}

// Empty, and said, where the distribution's package is not installed.
QString peer(const char* name) {
    const QString path = QStandardPaths::findExecutable(QString::fromLatin1(name));
    if (path.isEmpty()) std::printf("%s is not installed: left out\n", name);
    return path;
}

void benchInterleave() {
    const QTemporaryDir folder;
    const QString left = folder.filePath(QStringLiteral("Take.L.wav"));
    const QString right = folder.filePath(QStringLiteral("Take.R.wav"));
    makeWave(left, 1, 600);
    makeWave(right, 1, 600);
    const QString sndfile = peer("sndfile-interleave");
    if (sndfile.isEmpty()) return;
    const QString theirs = folder.filePath(QStringLiteral("theirs"));
    bench::compare(QStringLiteral("interleave a pair of 10 min : sndfile-interleave"), 0.70,
                   ours({QStringLiteral("interleave"), left, right}, folder.filePath(QStringLiteral("ours"))),
                   command(QStringLiteral("sndfile-interleave"), sndfile,
                           {left, right, QStringLiteral("-o"), theirs + QStringLiteral("/o.wav")}, theirs));
}

void benchSplit() {
    const QTemporaryDir folder;
    const QString poly = folder.filePath(QStringLiteral("poly.wav"));
    const QString output = folder.filePath(QStringLiteral("ours"));
    makeWave(poly, 8, 600);
    if (const QString sndfile = peer("sndfile-deinterleave"); !sndfile.isEmpty()) {
        const QString theirs = folder.filePath(QStringLiteral("theirs"));
        const QString linked = theirs + QStringLiteral("/poly.wav"); // it writes beside what it reads
        Side bare{QStringLiteral("sndfile-deinterleave"), [=] { bench::runBare(sndfile, {linked}); },
                  [=] {
                      files::removeFolderQuietly(theirs);
                      QDir().mkpath(theirs);
                      QFile::link(poly, linked);
                  }};
        bench::compare(QStringLiteral("split 8 channels of 10 min : sndfile-deinterleave"), 0.70,
                       ours({QStringLiteral("split"), poly}, output), bare);
    }
    QFile::remove(poly);
    makeWave(poly, 32, 120);
    bench::compare(
        QStringLiteral("split 32 channels of 2 min : by ffmpeg"), 0.04, ours({QStringLiteral("split"), poly}, output),
        ours({QStringLiteral("split"), poly}, folder.filePath(QStringLiteral("theirs")), QStringLiteral("ffmpeg")), 1);
}

void benchEdit() {
    const QTemporaryDir folder;
    const QString poly = folder.filePath(QStringLiteral("poly.wav"));
    makeWave(poly, 8, 300);
    bench::compare(QStringLiteral("edit 8 channels of 5 min, two swapped : cat"), 1.3,
                   ours({QStringLiteral("edit"), QStringLiteral("--reorder"), QStringLiteral("2,1,3,4,5,6,7,8"), poly},
                        folder.filePath(QStringLiteral("ours"))),
                   cat({poly}, folder.filePath(QStringLiteral("theirs"))));
}

void benchJoin() {
    const QTemporaryDir folder;
    const QStringList isos = makeMonos(folder, 8, 300);
    bench::compare(QStringLiteral("join 8 channels of 5 min : cat"), 1.3,
                   ours(QStringList{QStringLiteral("join"), QStringLiteral("--single"), QStringLiteral("--name"),
                                    QStringLiteral("K")} +
                            isos,
                        folder.filePath(QStringLiteral("ours"))),
                   cat(isos, folder.filePath(QStringLiteral("theirs"))));
}

void benchScan() {
    const QTemporaryDir folder;
    const QString library = folder.filePath(QStringLiteral("library"));
    QDir().mkpath(library);
    for (int i = 0; i < 500; ++i) {
        for (const char tag : {'L', 'R'}) {
            makeWave(QStringLiteral("%1/Rain %2.%3.wav").arg(library).arg(i).arg(QLatin1Char(tag)), 1, 1);
        }
    }
    const QString output = folder.filePath(QStringLiteral("ours"));
    const QString theirs = folder.filePath(QStringLiteral("theirs"));
    const Side probes{QStringLiteral("1,000 ffprobes"), [=] {
                          bench::runBare(QStringLiteral("/bin/sh"),
                                         {QStringLiteral("-c"),
                                          QStringLiteral("for file in '%1'/*; do ffprobe -v error -show_entries "
                                                         "stream=channels -of json \"$file\" > /dev/null; done")
                                              .arg(library)});
                      }};
    bench::compare(QStringLiteral("scan 500 short pairs : 1,000 ffprobes"), 0.02,
                   ours({QStringLiteral("interleave"), QStringLiteral("--dry-run"), library}, output), probes, 1);
    bench::compare(QStringLiteral("scan and make 500 short pairs : by ffmpeg"), 0.03,
                   ours({QStringLiteral("interleave"), library}, output),
                   ours({QStringLiteral("interleave"), library}, theirs, QStringLiteral("ffmpeg")), 1);
}

// Cost by bytes, whatever the number of files.
void benchCounts() {
    const QTemporaryDir folder;
    const QString few = folder.filePath(QStringLiteral("few.wav"));
    makeWave(few, 4, 800);
    for (const int channels : {8, 16, 32, 64}) {
        const QString many = folder.filePath(QStringLiteral("many.wav"));
        QFile::remove(many);
        makeWave(many, channels, 3200 / channels);
        bench::compare(QStringLiteral("split %1 channels : 4 channels of as many bytes").arg(channels), 1.5,
                       ours({QStringLiteral("split"), many}, folder.filePath(QStringLiteral("ours"))),
                       ours({QStringLiteral("split"), few}, folder.filePath(QStringLiteral("theirs"))), 3);
    }
}

// The same job with and without. What a proof waits for is mostly the disk: with TMPDIR=/dev/shm there is none.
void benchProof() {
    const QTemporaryDir folder;
    const QString poly = folder.filePath(QStringLiteral("poly.wav"));
    makeWave(poly, 8, 300);
    const QStringList isos = makeMonos(folder, 8, 300);
    const auto compare = [&](const QStringList& arguments) {
        bench::compare(
            arguments.first() + QStringLiteral(" of 8 channels of 5 min, proven : not proven"), 1.4,
            ours(arguments + QStringList(QStringLiteral("--proof")), folder.filePath(QStringLiteral("ours"))),
            ours(arguments, folder.filePath(QStringLiteral("theirs"))));
    };
    compare({QStringLiteral("split"), poly});
    compare({QStringLiteral("edit"), QStringLiteral("--reorder"), QStringLiteral("2,1,3,4,5,6,7,8"), poly});
    compare(
        QStringList{QStringLiteral("join"), QStringLiteral("--single"), QStringLiteral("--name"), QStringLiteral("K")} +
        isos);
}

// XXH128 of every channel, and the MD5 with it.
void benchHash() {
    const QTemporaryDir folder;
    const QString output = folder.filePath(QStringLiteral("theirs"));
    for (const int channels : {1, 8}) {
        const QString file = folder.filePath(QStringLiteral("%1.wav").arg(channels));
        makeWave(file, channels, 4800 / channels);
        const Side read{QStringLiteral("cat + 20 ms"), [=] {
                            bench::runBare(
                                QStringLiteral("/bin/sh"),
                                {QStringLiteral("-c"), QStringLiteral("sleep 0.02; cat '%1' > /dev/null").arg(file)});
                        }};
        const auto hash = [&](const QStringList& options) {
            return Side{QStringLiteral("hash"), [=] {
                            bench::runBare(cli(), QStringList{QStringLiteral("hash")} + options + QStringList{file});
                        }};
        };
        const QString what = QStringLiteral(" of %1 channels, 690 MB : cat").arg(channels);
        bench::compare(QStringLiteral("hash --fast") + what, 1.2, hash({QStringLiteral("--fast")}), read);
        bench::compare(QStringLiteral("hash") + what, 16, hash({}), read);
    }
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList names = QCoreApplication::arguments().mid(1);
    const auto wanted = [&](const char* name) { return names.isEmpty() || names.contains(QString::fromLatin1(name)); };
    if (wanted("interleave")) benchInterleave();
    if (wanted("split")) benchSplit();
    if (wanted("edit")) benchEdit();
    if (wanted("join")) benchJoin();
    if (wanted("scan")) benchScan();
    if (wanted("counts")) benchCounts();
    if (wanted("proof")) benchProof();
    if (wanted("hash")) benchHash();
    return 0;
}
