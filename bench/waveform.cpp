// What a waveform costs: against bare decoding with the same library, and against ffmpeg's own picture of the same
// file.
#include "bench/ratio.h"
#include "foundation/tools/external_tool_detector.h"
#include "preview/waveform_generator.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <cstdio>
#include <sndfile.h>
#include <vector>

namespace {

using namespace ostrel;
using bench::Side;

QString makeRecording(const QString& ffmpeg, const QTemporaryDir& folder, int channels, int minutes,
                      const QString& name, const QString& codec) {
    const QString path = folder.filePath(name);
    QStringList sources;
    for (int channel = 0; channel < channels; ++channel) sources << QStringLiteral("0.2*(random(%1)-0.5)").arg(channel);
    bench::runBare(ffmpeg, {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"),
                            QStringLiteral("lavfi"), QStringLiteral("-i"),
                            QStringLiteral("aevalsrc=%1:s=48000:d=%2").arg(sources.join(u'|')).arg(minutes * 60),
                            QStringLiteral("-c:a"), codec, path});
    return path;
}

void decode(const QString& path) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.toUtf8().constData(), SFM_READ, &info);
    if (!file) ::_Exit(1);
    std::vector<float> block(static_cast<std::size_t>(16384 * info.channels));
    while (sf_readf_float(file, block.data(), 16384) > 0) {
    }
    sf_close(file);
}

void benchFile(const QString& ffmpeg, const QString& path, const QString& title) {
    const Side ours{QStringLiteral("waveform"), [&] {
                        WaveformGenerator generator;
                        if (generator.generateWaveform(path, 200).empty()) ::_Exit(1);
                    }};
    const Side lanes{QStringLiteral("lanes"), [&] {
                         WaveformGenerator generator;
                         if (generator.generateMultiChannelWaveform(path, 200).empty()) ::_Exit(1);
                     }};
    const Side decoding{QStringLiteral("decode"), [&] { decode(path); }};
    const Side picture{QStringLiteral("ffmpeg"), [&] {
                           bench::runBare(ffmpeg, {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"),
                                                   path, QStringLiteral("-filter_complex"),
                                                   QStringLiteral("showwavespic=s=200x100[picture]"),
                                                   QStringLiteral("-map"), QStringLiteral("[picture]"),
                                                   QStringLiteral("-f"), QStringLiteral("null"), QStringLiteral("-")});
                       }};
    bench::compare(title + QStringLiteral(" : decoding"), 1.3, ours, decoding);
    bench::compare(title + QStringLiteral(", lanes : decoding"), 1.3, lanes, decoding);
    bench::compare(title + QStringLiteral(" : showwavespic"), 0.4, ours, picture);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const ExternalToolDetector tools;
    const QString ffmpeg = tools.ffmpegPath.value();
    const QTemporaryDir folder;
    std::printf("%-46s %11s %11s\n", "ours : bare", "ours", "bare");
    const QString pcm = QStringLiteral("pcm_s24le");
    benchFile(ffmpeg, makeRecording(ffmpeg, folder, 2, 4, QStringLiteral("a.wav"), pcm),
              QStringLiteral("4 min stereo"));
    benchFile(ffmpeg, makeRecording(ffmpeg, folder, 1, 60, QStringLiteral("b.wav"), pcm),
              QStringLiteral("60 min mono"));
    benchFile(ffmpeg, makeRecording(ffmpeg, folder, 8, 10, QStringLiteral("c.wav"), pcm),
              QStringLiteral("10 min, 8 ch"));
    benchFile(ffmpeg, makeRecording(ffmpeg, folder, 2, 20, QStringLiteral("d.flac"), QStringLiteral("flac")),
              QStringLiteral("20 min stereo FLAC"));
}
