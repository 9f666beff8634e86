// How the Split mode names and sorts its ISOs, and how far a split of one file is. `PolySplitFlow` writes it, but for
// the naming pattern, which follows the file that was chosen.
#pragma once

#include "polytools/records/poly_file.h"

#include <QProperty>

namespace ostrel {

struct SplitState {
    QProperty<SplitNamingPattern> splitNamingPattern{SplitNamingPattern::trackName};
    QProperty<bool> splitKeepOriginalName{false};
    QProperty<FolderOrganization> folderOrganization{FolderOrganization::bySceneTake};
    QProperty<double> splitProgress{0}; // 0 to 1
    QProperty<bool> isSplitting{false};
};

} // namespace ostrel
