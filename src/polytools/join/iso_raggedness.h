// ISOs of one join that do not run side by side from end to end: the poly then is shorter than some of them, or sets
// sounds against each other that were not together.
#pragma once

#include <QStringList>

namespace ostrel {

// One sentence each for unequal lengths and unequal start times (the TimeReference of their BEXT), with the figures.
// Files without a header that can be walked, or without BEXT, have no say. Blocks on the disk.
QStringList raggedness(const QStringList& isos);

} // namespace ostrel
