// What a launch of the delivered bwfmetaedit costs. A job launches it several times a file, so its start-up is compared
// with that of ffprobe, which is launched as often; both look at the same small recording.
#include "bench/ratio.h"
#include "foundation/tools/external_tool_detector.h"
#include "platform/diagnostics.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <cstdio>

namespace {

using namespace ostrel;
using bench::Side;

constexpr int kLaunches = 100;

void launch(const QString& program, const QStringList& arguments) {
    for (int i = 0; i < kLaunches; ++i) bench::runBare(program, arguments);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    setDiagnosticStream(DiagnosticStream::nowhere);
    const ExternalToolDetector tools;
    const QTemporaryDir folder;
    const QString recording = folder.filePath(QStringLiteral("a.wav"));
    bench::runBare(tools.ffmpegPath.value(),
                   {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-f"), QStringLiteral("lavfi"),
                    QStringLiteral("-i"), QStringLiteral("sine=d=1:r=48000"), QStringLiteral("-metadata"),
                    QStringLiteral("description=a take"), QStringLiteral("-write_bext"), QStringLiteral("1"),
                    recording});

    const Side ours{QStringLiteral("bwfmetaedit"), [&] {
                        launch(tools.bwfmetaeditPath.value(), {QStringLiteral("--out-core=-"), recording});
                    }};
    const Side probe{QStringLiteral("ffprobe"), [&] {
                         launch(tools.ffprobePath.value(), {QStringLiteral("-v"), QStringLiteral("error"),
                                                            QStringLiteral("-show_format"), recording});
                     }};
    std::printf("%-46s %11s %11s\n", "bwfmetaedit : ffprobe", "ours", "ffprobe");
    bench::compare(QStringLiteral("%1 launches on a small file").arg(kLaunches), 0.25, ours, probe);
}
