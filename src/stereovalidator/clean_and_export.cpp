#include "stereovalidator/clean_and_export.h"

#include "stereovalidator/trust_rules.h"

namespace ostrel {

QString rawText(ExportScope scope) {
    return scope == ExportScope::allResults ? QStringLiteral("All Results") : QStringLiteral("Selected Files");
}

QString rawText(DualMonoSideSelection side) {
    switch (side) {
    case DualMonoSideSelection::automatic: return QStringLiteral("Auto (Safe Default)");
    case DualMonoSideSelection::left: return QStringLiteral("Left Channel");
    case DualMonoSideSelection::right: break;
    }
    return QStringLiteral("Right Channel");
}

bool isConverted(StereoClassification classification, const ConversionToggles& toggles) {
    switch (classification) {
    case StereoClassification::dualMono:
    case StereoClassification::dualMonoGainMismatch: return toggles.dualMono;
    case StereoClassification::oneSidedL:
    case StereoClassification::oneSidedR: return toggles.oneSided;
    case StereoClassification::broken: return toggles.broken;
    default: return false;
    }
}

bool keepsLeftChannel(StereoClassification classification, DualMonoSideSelection side, const StereoEvidence* evidence) {
    if (classification == StereoClassification::oneSidedL) return true;
    if (classification == StereoClassification::oneSidedR) return false;
    if (side == DualMonoSideSelection::automatic && evidence) return isLeftTheCleanerChannel(*evidence);
    return side != DualMonoSideSelection::right;
}

} // namespace ostrel
