#include "polytools/records/poly_file.h"

namespace ostrel {

QString rawText(SplitNamingPattern pattern) {
    switch (pattern) {
    case SplitNamingPattern::channelNumber: return QStringLiteral("Channel Number (ch1, ch2...)");
    case SplitNamingPattern::channelLetter: return QStringLiteral("Channel Letter (A, B, C...)");
    case SplitNamingPattern::takeNumber: return QStringLiteral("Track Number (_1, _2..., for Avid)");
    case SplitNamingPattern::trackName: break;
    }
    return QStringLiteral("Track Name (from iXML)");
}

QString rawText(FolderOrganization organization) {
    switch (organization) {
    case FolderOrganization::flat: return QStringLiteral("Flat (all files in output folder)");
    case FolderOrganization::bySceneTake: return QStringLiteral("By Scene/Take (e.g., 9C-T01/)");
    case FolderOrganization::byScene: break;
    }
    return QStringLiteral("By Scene Only (e.g., 9C/)");
}

bool isUsableTrackName(const QString& name) { return !name.isEmpty() && name != noTrackName(); }

} // namespace ostrel
