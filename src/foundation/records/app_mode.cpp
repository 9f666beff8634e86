#include "foundation/records/app_mode.h"

namespace ostrel {

QString rawText(AppMode mode) {
    return mode == AppMode::interleave ? QStringLiteral("Interleave") : QStringLiteral("De-interleave");
}

} // namespace ostrel
