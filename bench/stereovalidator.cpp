// What an analysis of a stereo file costs over decoding it, and against the tools that a person would reach for.
#include "bench/ratio.h"
#include "foundation/tools/external_tool_detector.h"
#include "platform/diagnostics.h"
#include "stereovalidator/native_stereo_analyzer.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <cstdlib>
#include <sndfile.h>
#include <vector>

namespace {

using namespace ostrel;
using bench::Side;

// Two channels of 24-bit noise that have nothing to do with each other.
QString makeStereo(const QTemporaryDir& folder, const QString& ffmpeg, int minutes) {
    const QString path = folder.filePath(QStringLiteral("%1.wav").arg(minutes));
    QStringList arguments{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y")};
    for (const int seed : {1, 2}) {
        arguments << QStringLiteral("-f") << QStringLiteral("lavfi") << QStringLiteral("-i")
                  << QStringLiteral("anoisesrc=r=48000:d=%1:a=0.2:seed=%2").arg(minutes * 60).arg(seed);
    }
    arguments << QStringLiteral("-filter_complex") << QStringLiteral("[0:a][1:a]amerge=inputs=2")
              << QStringLiteral("-c:a") << QStringLiteral("pcm_s24le") << path;
    bench::runBare(ffmpeg, arguments);
    return path;
}

Side analysis(const QString& file, bool gathersEvidence = false) {
    return {gathersEvidence ? QStringLiteral("evidence") : QStringLiteral("analyze"), [=] {
                StereoValidatorOptions options;
                options.gathersEvidence = gathersEvidence;
                const auto result = NativeStereoAnalyzer().analyzeFile(file, options);
                if (result.classification != StereoClassification::trueStereo) ::_Exit(1);
            }};
}

Side decoding(const QString& path) {
    return {QStringLiteral("libsndfile"), [path] {
                SF_INFO info{};
                SNDFILE* file = ::sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
                std::vector<float> block(2 * 16'384);
                sf_count_t frames = 0;
                while (const sf_count_t got = ::sf_readf_float(file, block.data(), 16'384)) frames += got;
                ::sf_close(file);
                if (frames != info.frames) ::_Exit(1);
            }};
}

Side tool(const QString& program, const QStringList& arguments) {
    return {program, [=] { bench::runBare(program, arguments); }};
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    setDiagnosticStream(DiagnosticStream::nowhere);
    const ExternalToolDetector tools;
    const QTemporaryDir folder;
    const QString hour = makeStereo(folder, tools.ffmpegPath.value(), 60);
    const QString tenMinutes = makeStereo(folder, tools.ffmpegPath.value(), 10);
    const QString sox = tools.findTool(QStringLiteral("sox"), {QStringLiteral("/usr/bin/sox")});
    const Side ours = analysis(hour);
    bench::compare(QStringLiteral("24-bit stereo, 60 min : libsndfile alone"), 1.30, ours, decoding(hour), 9);
    bench::compare(QStringLiteral("24-bit stereo, 10 min : libsndfile alone"), 1.30, analysis(tenMinutes),
                   decoding(tenMinutes), 9);
    bench::compare(QStringLiteral("24-bit stereo, 60 min : sox -n stats"), 0.40, ours,
                   tool(sox, {hour, QStringLiteral("-n"), QStringLiteral("stats")}), 3);
    const Side judged = analysis(hour, true);
    bench::compare(QStringLiteral("with evidence, 60 min : libsndfile alone"), 2.00, judged, decoding(hour), 9);
    bench::compare(QStringLiteral("with evidence, 60 min : sox -n stats"), 0.55, judged,
                   tool(sox, {hour, QStringLiteral("-n"), QStringLiteral("stats")}), 3);
    bench::compare(QStringLiteral("24-bit stereo, 60 min : ffmpeg -af astats"), 0.05, ours,
                   tool(tools.ffmpegPath.value(), {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"),
                                                   hour, QStringLiteral("-af"), QStringLiteral("astats"),
                                                   QStringLiteral("-f"), QStringLiteral("null"), QStringLiteral("-")}),
                   3);
    return 0;
}
