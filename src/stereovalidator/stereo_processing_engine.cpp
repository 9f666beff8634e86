#include "stereovalidator/stereo_processing_engine.h"

#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "stereovalidator/mono_conversion.h"

namespace ostrel {

StereoProcessingEngine::StereoProcessingEngine(const QString& ffmpegPath, const QStringList& bwfmetaeditPaths,
                                               EngineChoice engine)
    : ffmpegPath_(ffmpegPath), bwfmetaeditPaths_(bwfmetaeditPaths), engine_(engine) {}

QStringList StereoProcessingEngine::defaultBwfmetaeditPaths() {
    return {QStringLiteral("/opt/homebrew/bin/bwfmetaedit"), QStringLiteral("/usr/local/bin/bwfmetaedit"),
            QStringLiteral("/usr/bin/bwfmetaedit"), paths::append(resourceFolder(), QStringLiteral("bin/bwfmetaedit"))};
}

ItemOutcome StereoProcessingEngine::convertToMono(const MonoRequest& request, RunLedger& ledger,
                                                  Journal& journal) const {
    return MonoConversion(request, {ffmpegPath_, bwfmetaeditPaths_, engine_}, ledger, journal).run();
}

} // namespace ostrel
