// What split, join and edit cost over the bare ffmpeg command lines: 8 channels of 10 minutes at 24 bit, with iXML,
// BEXT and all that is done for them.
#include "bench/ratio.h"
#include "foundation/tools/external_tool_detector.h"
#include "metadata/chunks/riff_chunks.h"
#include "metadata/universal_metadata_engine.h"
#include "platform/diagnostics.h"
#include "platform/files/files.h"
#include "platform/paths.h"
#include "polytools/edit/poly_channel_filter_engine.h"
#include "polytools/join/poly_join_engine.h"
#include "polytools/records/poly_track_reading.h"
#include "polytools/split/poly_split_engine.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <cstdio>

namespace {

using namespace ostrel;
using bench::Side;

constexpr int kChannels = 8;
constexpr int kSeconds = 600;
constexpr double kGoal = 1.10;

QByteArray ixml() {
    QByteArray xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML><IXML_VERSION>1.5</IXML_VERSION><SCENE>12A</SCENE>"
        "<TAKE>3</TAKE><FILE_UID>BENCH</FILE_UID><TRACK_LIST><TRACK_COUNT>8</TRACK_COUNT>";
    for (int i = 1; i <= kChannels; ++i) {
        const QByteArray n = QByteArray::number(i);
        xml += "<TRACK><CHANNEL_INDEX>" + n + "</CHANNEL_INDEX><INTERLEAVE_INDEX>" + n +
               "</INTERLEAVE_INDEX><NAME>Track" + n + "</NAME></TRACK>";
    }
    return xml + "</TRACK_LIST></BWFXML>";
}

PolyFile makePoly(const PolyEngineTools& tools, const QString& path) {
    bench::runBare(
        tools.ffmpegPath,
        {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"),
         QStringLiteral("lavfi"), QStringLiteral("-i"),
         QStringLiteral(
             "aevalsrc=random(0)|random(1)|random(2)|random(3)|random(4)|random(5)|random(6)|random(7):s=48000:d=%1")
             .arg(kSeconds),
         QStringLiteral("-metadata"), QStringLiteral("description=sSCENE=12A"), QStringLiteral("-write_bext"),
         QStringLiteral("1"), QStringLiteral("-c:a"), QStringLiteral("pcm_s24le"), path});
    RIFFChunkWriter::injectPreservedChunks(path, {{"iXML", ixml(), 0}});
    return readPolyFile(path, tools.ffprobePath);
}

void benchSplit(const PolyEngineTools& tools, const PolyFile& poly, const QTemporaryDir& folder) {
    const QString isos = folder.filePath(QStringLiteral("isos"));
    const QString bareIsos = folder.filePath(QStringLiteral("bare"));
    const Side ours{QStringLiteral("split"),
                    [&] {
                        if (PolySplitEngine(tools).split(poly, isos, {}).createdCount != kChannels) ::_Exit(1);
                    },
                    [&] {
                        files::removeFolderQuietly(isos);
                        files::createFolder(isos);
                    }};
    const Side bare{QStringLiteral("ffmpeg"),
                    [&] {
                        for (int i = 0; i < kChannels; ++i) {
                            bench::runBare(tools.ffmpegPath,
                                           PolySplitEngine::buildSplitCommand(
                                               poly, i, paths::append(bareIsos, QStringLiteral("%1.wav").arg(i))));
                        }
                    },
                    [&] {
                        files::removeFolderQuietly(bareIsos);
                        files::createFolder(bareIsos);
                    }};
    bench::compare(QStringLiteral("split 8 ch, 10 min : ffmpeg"), kGoal, ours, bare);
}

void benchJoin(const PolyEngineTools& tools, const PolyFile& poly, const QTemporaryDir& folder) {
    const QString isos = folder.filePath(QStringLiteral("sources"));
    files::createFolder(isos);
    std::vector<ISOFile> sources;
    for (const QString& url : PolySplitEngine(tools).split(poly, isos, {}).outcome.outputs) {
        ISOFile iso;
        iso.url = url;
        iso.fileName = paths::lastComponent(url);
        iso.sampleRate = poly.sampleRate;
        iso.bitDepth = poly.bitDepth;
        sources.push_back(iso);
    }
    const QString output = folder.filePath(QStringLiteral("joined.wav"));
    const QString bareOutput = folder.filePath(QStringLiteral("bare.wav"));
    const Side ours{QStringLiteral("join"),
                    [&] {
                        if (!PolyJoinEngine(tools).join(sources, output, {}).outcome.succeeded()) ::_Exit(1);
                    },
                    [&] { files::removeQuietly(output); }};
    const Side bare{QStringLiteral("ffmpeg"),
                    [&] { bench::runBare(tools.ffmpegPath, PolyJoinEngine::buildJoinCommand(sources, bareOutput)); },
                    [&] { files::removeQuietly(bareOutput); }};
    bench::compare(QStringLiteral("join 8 ISOs, 10 min : ffmpeg"), kGoal, ours, bare);
}

void benchEdit(const PolyEngineTools& tools, const PolyFile& poly, const QTemporaryDir& folder) {
    const QString edited = folder.filePath(QStringLiteral("edited"));
    const QString bareEdited = folder.filePath(QStringLiteral("bare-edited"));
    ChannelFilterOptions filter;
    filter.selectedChannelIndices = {2};
    const auto fresh = [](const QString& path) {
        files::removeFolderQuietly(path);
        files::createFolder(path);
    };
    const Side ours{
        QStringLiteral("edit"),
        [&] { PolyChannelFilterEngine(tools).removeChannelsFromPoly(poly, filter, edited, {}, {}, std::nullopt); },
        [&] { fresh(edited); }};
    const Side bare{
        QStringLiteral("ffmpeg"),
        [&] {
            const auto run = [&](const QString& pan, const QString& name) {
                bench::runBare(tools.ffmpegPath,
                               PolyChannelFilterEngine::buildFilterCommand(poly.url, pan, QStringLiteral("pcm_s24le"),
                                                                           paths::append(bareEdited, name)));
            };
            run(QStringLiteral("[0:a]pan=7c|c0=c0|c1=c2|c2=c3|c3=c4|c4=c5|c5=c6|c6=c7[out]"), QStringLiteral("P.wav"));
            for (const int channel : {0, 2, 3, 4, 5, 6, 7}) {
                run(QStringLiteral("[0:a]pan=1c|c0=c%1[out]").arg(channel), QStringLiteral("%1.wav").arg(channel));
            }
        },
        [&] { fresh(bareEdited); }};
    bench::compare(QStringLiteral("edit, 7 of 8 ch, 10 min : ffmpeg"), kGoal, ours, bare);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    setDiagnosticStream(DiagnosticStream::nowhere);
    const ExternalToolDetector found;
    if (!found.ffmpegAvailable.value() || !found.bwfmetaeditAvailable.value()) {
        std::puts("needs ffmpeg, ffprobe and bwfmetaedit");
        return 1;
    }
    PolyEngineTools tools{found.ffmpegPath.value(), found.ffprobePath.value(), found.bwfmetaeditPath.value(),
                          std::make_shared<UniversalMetadataEngine>(found.bwfmetaeditPath.value())};
    const QTemporaryDir folder;
    const PolyFile poly = makePoly(tools, folder.filePath(QStringLiteral("12AT3.wav")));
    benchSplit(tools, poly, folder);
    benchJoin(tools, poly, folder);
    benchEdit(tools, poly, folder);
    return 0;
}
