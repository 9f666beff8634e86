// The two directions of the Interleaver.
#pragma once

#include <QString>

namespace ostrel {

enum class AppMode { interleave, deinterleave };
QString rawText(AppMode mode); // "Interleave", "De-interleave"

} // namespace ostrel
