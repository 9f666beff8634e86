#include "polytools/records/join_records.h"

namespace ostrel {

QString rawText(JoinChannelLayout layout) {
    switch (layout) {
    case JoinChannelLayout::automatic: return QStringLiteral("Auto-detect");
    case JoinChannelLayout::mono: return QStringLiteral("Mono (1ch)");
    case JoinChannelLayout::stereo: return QStringLiteral("Stereo (2ch)");
    case JoinChannelLayout::surround51: return QStringLiteral("5.1 Surround (6ch)");
    case JoinChannelLayout::surround71: break;
    }
    return QStringLiteral("7.1 Surround (8ch)");
}

QString caseName(JoinChannelLayout layout) {
    switch (layout) {
    case JoinChannelLayout::automatic: return QStringLiteral("auto");
    case JoinChannelLayout::mono: return QStringLiteral("mono");
    case JoinChannelLayout::stereo: return QStringLiteral("stereo");
    case JoinChannelLayout::surround51: return QStringLiteral("surround51");
    case JoinChannelLayout::surround71: break;
    }
    return QStringLiteral("surround71");
}

} // namespace ostrel
