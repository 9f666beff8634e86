// What the Interleaver costs over the bare tools: a pair of 10 and of 60 minutes, a chunk injection, a scan of 500
// pairs. With names, only these: 10 and 60 (minutes of a pair), injection, collecting, scan.
#include "bench/ratio.h"
#include "foundation/tools/external_tool_detector.h"
#include "interleaver/interleave_command.h"
#include "interleaver/interleave_engine.h"
#include "interleaver/library_scanner.h"
#include "metadata/chunks/riff_chunks.h"
#include "metadata/metadata_engine.h"
#include "platform/diagnostics.h"
#include "platform/files/files.h"
#include "platform/paths.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <cstdio>

namespace {

using namespace ostrel;
using bench::Side;

QString at(const QTemporaryDir& folder, const char* name) { return folder.filePath(QString::fromUtf8(name)); }

// 24-bit noise, made by ffmpeg so that the file is what a recorder's would be in size.
void makeMono(const QString& ffmpeg, const QString& path, int seconds) {
    bench::runBare(ffmpeg, {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"),
                            QStringLiteral("lavfi"), QStringLiteral("-i"),
                            QStringLiteral("anoisesrc=r=48000:d=%1:a=0.2").arg(seconds), QStringLiteral("-c:a"),
                            QStringLiteral("pcm_s24le"), path});
}

// From engine call to final status, the metadata step of the controller included.
void benchPair(const ExternalToolDetector& tools, int minutes, double goal, bool withChunks) {
    const QTemporaryDir folder;
    InterleaveGroup group;
    group.baseName = QStringLiteral("Take");
    group.bitDepth = 24;
    group.duration = minutes * 60.0;
    group.containerKind = ContainerKind::riffWave;
    for (const QString& tag : ChannelLayout::stereo.channelTags) {
        const QString path = folder.filePath(QStringLiteral("Take.%1.wav").arg(tag));
        makeMono(tools.ffmpegPath.value(), path, minutes * 60);
        if (withChunks) RIFFChunkWriter::injectPreservedChunks(path, {{"iXML", QByteArray(4000, ' '), 0}});
        group.channelFiles.insert(tag, path);
    }
    const QString output = InterleaveEngine::generateOutputURL(group, {});
    const QString bareOutput = at(folder, "bare.wav");
    const Side ours{QStringLiteral("interleave"),
                    [&] {
                        const InterleaveEngine engine(tools.ffmpegPath.value(), tools.bwfmetaeditPath.value());
                        const MetadataEngine metadata(tools.bwfmetaeditPath.value(), QStringLiteral("bench"));
                        const auto complete = [&](const QString& unfinished, bool) {
                            if (tools.bwfmetaeditPath.value().isEmpty()) return;
                            metadata.copyMetadata(group.channelFiles.value(QStringLiteral("L")), unfinished);
                        };
                        const InterleaveResult result =
                            engine.interleave(group, ChannelLayout::stereo, output, {}, nullptr, complete);
                        if (!result.outcome.succeeded()) ::_Exit(1);
                        metadata.cleanup();
                    },
                    [&] { files::removeQuietly(output); }};
    const Side bare{QStringLiteral("ffmpeg"),
                    [&] {
                        bench::runBare(
                            tools.ffmpegPath.value(),
                            buildInterleaveCommand(group, ChannelLayout::stereo, QStringLiteral("wav"), bareOutput));
                    },
                    [&] { files::removeQuietly(bareOutput); }};
    bench::compare(QStringLiteral("24-bit pair, %1 min%2 : ffmpeg")
                       .arg(minutes)
                       .arg(withChunks ? QStringLiteral(", chunks") : QString()),
                   goal, ours, bare, 5);
}

void benchInjection(const ExternalToolDetector& tools) {
    const QTemporaryDir folder;
    const QString source = at(folder, "source.wav");
    makeMono(tools.ffmpegPath.value(), source, 7200); // 1.04 GB
    const QString target = at(folder, "target.wav");
    const QString copy = at(folder, "copy.wav");
    const auto makeTarget = [&] {
        files::removeQuietly(target);
        bench::runBare(QStringLiteral("/bin/cp"), {source, target});
        bench::runBare(QStringLiteral("/bin/sync"), {target});
    };
    const Side ours{QStringLiteral("inject"),
                    [&] {
                        RIFFChunkWriter::injectPreservedChunks(target, {{"iXML", QByteArray(4096, 'x'), 0}});
                    },
                    makeTarget};
    const Side bare{QStringLiteral("cp"),
                    [&] {
                        bench::runBare(QStringLiteral("/bin/cp"), {source, copy});
                    },
                    [&] { files::removeQuietly(copy); }};
    bench::compare(QStringLiteral("4 KB into a 1 GB file : cp"), 0.4, ours, bare);
}

void benchScan(const ExternalToolDetector& tools) {
    const QTemporaryDir folder;
    const QString model = at(folder, "model.wav");
    makeMono(tools.ffmpegPath.value(), model, 1);
    const QString library = at(folder, "library");
    files::createFolder(library);
    QStringList all;
    for (int i = 0; i < 500; ++i) {
        for (const char* tag : {"L", "R"}) {
            const QString path = QStringLiteral("%1/Take%2.%3.wav").arg(library).arg(i).arg(QString::fromLatin1(tag));
            files::writeAtomically(path, files::read(model));
            all << path;
        }
    }
    const Side ours{QStringLiteral("scan"), [&] {
                        const LibraryScanner scanner(tools.ffprobePath.value(), tools.bwfmetaeditPath.value());
                        if (scanner.scanForLibrarySafeLRMerge(ScanRequest::folder(library)).size() != 500) ::_Exit(1);
                    }};
    const Side bare{QStringLiteral("ffprobe"), [&] {
                        for (const QString& path : all) {
                            bench::runBare(tools.ffprobePath.value(),
                                           {QStringLiteral("-v"), QStringLiteral("error"),
                                            QStringLiteral("-show_entries"), QStringLiteral("format=duration"),
                                            QStringLiteral("-of"), QStringLiteral("json"), path});
                        }
                    }};
    bench::compare(QStringLiteral("scan of 500 pairs : 1000 ffprobe runs"), 1.15, ours, bare, 1);
}

// Collecting and bagging 20,000 files, all loners so that nothing is probed.
void benchCollecting(const ExternalToolDetector& tools) {
    const QTemporaryDir folder;
    for (int i = 0; i < 20'000; ++i) {
        const QString sub = folder.filePath(QStringLiteral("reel%1").arg(i / 500));
        if (i % 500 == 0) files::createFolder(sub);
        QFile file(QStringLiteral("%1/Take%2.L.wav").arg(sub).arg(i));
        if (!file.open(QIODevice::WriteOnly)) ::_Exit(1);
    }
    const Side ours{QStringLiteral("collect"), [&] {
                        const LibraryScanner scanner(tools.ffprobePath.value(), QString());
                        if (scanner.scanForLibrarySafeLRMerge(ScanRequest::folder(folder.path())).size() != 20'000)
                            ::_Exit(1);
                    }};
    const Side bare{QStringLiteral("find"), [&] { bench::runBare(QStringLiteral("/usr/bin/find"), {folder.path()}); }};
    bench::compare(QStringLiteral("collect and bag 20,000 files : find"), 0, ours, bare);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    setDiagnosticStream(DiagnosticStream::nowhere);
    const ExternalToolDetector tools;
    std::printf("%-46s %11s %11s\n", "ours : bare tool", "ours", "bare");
    const QStringList named = QCoreApplication::arguments().mid(1);
    const auto asks = [&](const char* name) { return named.isEmpty() || named.contains(QString::fromLatin1(name)); };
    for (const bool withChunks : {false, true}) {
        if (asks("10")) benchPair(tools, 10, 1.10, withChunks);
        if (asks("60")) benchPair(tools, 60, 1.05, withChunks);
    }
    if (asks("injection")) benchInjection(tools);
    if (asks("collecting")) benchCollecting(tools);
    if (asks("scan")) benchScan(tools);
}
