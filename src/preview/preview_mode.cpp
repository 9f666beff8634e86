#include "preview/preview_mode.h"

namespace ostrel {

QString displayText(PreviewMode mode) {
    switch (mode) {
    case PreviewMode::source: return QStringLiteral("Source");
    case PreviewMode::postInterleave: return QStringLiteral("Post-Interleave (Stereo)");
    case PreviewMode::postInterleaveSurround: return QStringLiteral("Post-Interleave (Surround)");
    case PreviewMode::leftChannel: return QStringLiteral("L Channel");
    case PreviewMode::rightChannel: return QStringLiteral("R Channel");
    case PreviewMode::centerChannel: break;
    }
    return QStringLiteral("Center Channel");
}

QString rawText(PreviewRouting routing) {
    return routing == PreviewRouting::mono ? QStringLiteral("Mono (Unpanned)") : QStringLiteral("Speaker-Panned (QC)");
}

} // namespace ostrel
