// What a manifest and a grouping cost over the bare tools: the hash of a long poly, the reading of 40 loose ISOs.
#include "bench/ratio.h"
#include "foundation/tools/external_tool_detector.h"
#include "metadata/file_hash.h"
#include "platform/diagnostics.h"
#include "polytools/grouping/iso_grouping_engine.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace ostrel;
using bench::Side;

// Above the size of a recorder's 4 GiB pieces nothing changes; 1 GiB stays in the page cache.
void benchHash() {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("poly.wav"));
    bench::runBare(QStringLiteral("/bin/dd"), {QStringLiteral("if=/dev/urandom"), QStringLiteral("of=") + path,
                                               QStringLiteral("bs=1M"), QStringLiteral("count=1024")});
    const QString openssl = QStandardPaths::findExecutable(QStringLiteral("openssl"));
    const Side ours{QStringLiteral("sha256OfFile"), [&] {
                        if (sha256OfFile(path).size() != 64) ::_Exit(1);
                    }};
    const Side bare{QStringLiteral("openssl"), [&] {
                        bench::runBare(openssl, {QStringLiteral("dgst"), QStringLiteral("-sha256"), path});
                    }};
    // 0.9 of its speed is 1.11 of its time.
    bench::compare(QStringLiteral("SHA-256 of 1 GiB : openssl dgst"), 1.11, ours, bare);
}

// The bare side runs the same child processes one after the other, from a shell.
void benchGrouping(const ExternalToolDetector& tools) {
    const QTemporaryDir folder;
    constexpr int kFiles = 40;
    for (int i = 0; i < kFiles; ++i) {
        const QString path = folder.filePath(QStringLiteral("%1A-T%2_%3.wav").arg(i / 40).arg(i / 8 % 5).arg(i % 8));
        bench::runBare(tools.ffmpegPath.value(),
                       {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-f"), QStringLiteral("lavfi"),
                        QStringLiteral("-i"), QStringLiteral("anoisesrc=r=48000:d=0.1"), path});
    }
    const Side ours{QStringLiteral("group"), [&] {
                        const ISOGroupingEngine engine(tools.ffprobePath.value(), tools.bwfmetaeditPath.value());
                        if (engine.groupISOFilesInFolder(folder.path(), false).totalFiles != kFiles) ::_Exit(1);
                    }};
    const QString script =
        QStringLiteral("for f in '%1'/*.wav; do for e in channels sample_rate bits_per_sample duration; do '%2' -v "
                       "error -select_streams a:0 -show_entries stream=$e -of csv=p=0 \"$f\"; done; for o in iXML core "
                       "iXML; do '%3' --out-$o=/dev/null \"$f\"; done; done")
            .arg(folder.path(), tools.ffprobePath.value(), tools.bwfmetaeditPath.value());
    const Side bare{QStringLiteral("sh"), [&] {
                        bench::runBare(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), script});
                    }};
    bench::compare(QStringLiteral("group 40 ISOs : the tools in turn"), 1.0, ours, bare, 3);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    setDiagnosticStream(DiagnosticStream::nowhere);
    const ExternalToolDetector tools;
    std::printf("%-46s %11s %11s\n", "ours : bare tool", "ours", "bare");
    benchHash();
    if (tools.ffmpegAvailable.value() && tools.bwfmetaeditAvailable.value()) benchGrouping(tools);
}
