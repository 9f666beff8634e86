#include "foundation/records/processing_options.h"

namespace ostrel {

QString rawText(OutputFormatPolicy policy) {
    switch (policy) {
    case OutputFormatPolicy::smart: return QStringLiteral("smart");
    case OutputFormatPolicy::alwaysWAV: return QStringLiteral("alwaysWAV");
    case OutputFormatPolicy::preserveFormat: break;
    }
    return QStringLiteral("preserveFormat");
}

QString displayName(OutputFormatPolicy policy) {
    switch (policy) {
    case OutputFormatPolicy::smart: return QStringLiteral("Smart (Recommended)");
    case OutputFormatPolicy::alwaysWAV: return QStringLiteral("Always WAV");
    case OutputFormatPolicy::preserveFormat: break;
    }
    return QStringLiteral("Preserve Format");
}

QString rawText(ChannelSeparator separator) {
    return separator == ChannelSeparator::dot ? QStringLiteral(".") : QStringLiteral("_");
}

QString rawText(LRCleanupMode mode) {
    switch (mode) {
    case LRCleanupMode::none: return QStringLiteral("none");
    case LRCleanupMode::verifiedConsolidation: return QStringLiteral("verifiedConsolidation");
    case LRCleanupMode::hardDelete: break;
    }
    return QStringLiteral("hardDelete");
}

QString outputFormat(std::optional<ContainerKind> container, OutputFormatPolicy policy) {
    const QString wav = QStringLiteral("wav");
    if (!container || policy == OutputFormatPolicy::alwaysWAV) return wav;
    const bool preserve = policy == OutputFormatPolicy::preserveFormat;
    switch (*container) {
    case ContainerKind::riffWave: return wav;
    case ContainerKind::rf64Wave: return QStringLiteral("rf64");
    case ContainerKind::wave64: return QStringLiteral("wave64");
    case ContainerKind::aiff: return QStringLiteral("aiff");
    case ContainerKind::caf: return QStringLiteral("caf");
    case ContainerKind::mp4: return preserve ? QStringLiteral("m4a") : wav;
    case ContainerKind::flac: return QStringLiteral("flac");
    case ContainerKind::ogg: return preserve ? QStringLiteral("ogg") : wav;
    case ContainerKind::mp3: return preserve ? QStringLiteral("mp3") : wav;
    case ContainerKind::unknown: break;
    }
    return QStringLiteral("unknown");
}

} // namespace ostrel
