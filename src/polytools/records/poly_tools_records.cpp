#include "polytools/records/poly_tools_records.h"

namespace ostrel {

QString rawText(PolyMode mode) {
    switch (mode) {
    case PolyMode::split: return QStringLiteral("Split Poly → ISOs");
    case PolyMode::join: return QStringLiteral("Join ISOs → Poly");
    case PolyMode::editPoly: break;
    }
    return QStringLiteral("Edit Poly");
}

QString displayName(ItemStatus status) {
    switch (status) {
    case ItemStatus::pending: return QStringLiteral("Pending");
    case ItemStatus::processing: return QStringLiteral("Processing");
    case ItemStatus::complete: return QStringLiteral("Complete");
    case ItemStatus::skipped: return QStringLiteral("Skipped");
    case ItemStatus::error: break;
    }
    return QStringLiteral("Error");
}

QString rawText(IsoOrdering ordering) {
    switch (ordering) {
    case IsoOrdering::none: break;
    case IsoOrdering::metadata: return QStringLiteral("metadata");
    case IsoOrdering::manifest: return QStringLiteral("manifest");
    case IsoOrdering::autoOrder: return QStringLiteral("auto-order");
    case IsoOrdering::selection: return QStringLiteral("selection");
    }
    return {};
}

QString sentence(IsoOrdering ordering) {
    switch (ordering) {
    case IsoOrdering::none: break;
    case IsoOrdering::metadata: return QStringLiteral("Ordered by iXML channel number");
    case IsoOrdering::manifest: return QStringLiteral("Ordered by metadata manifest");
    case IsoOrdering::autoOrder: return QStringLiteral("Auto-ordered by track name (no iXML found)");
    case IsoOrdering::selection: return QStringLiteral("Using file selection order (no metadata found)");
    }
    return {};
}

} // namespace ostrel
