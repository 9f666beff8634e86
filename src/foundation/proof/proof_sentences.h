// Sentences that the proof and the glance both say.
#pragma once

#include "foundation/proof/sample_reader.h"
#include "platform/paths.h"

namespace ostrel {

inline QString brokenSentence(const QString& file) {
    return QStringLiteral("%1 does not end where its head says: a tool was ended as it wrote")
        .arg(paths::lastComponent(file));
}

inline QString framesSentence(const SampleReader& reader) {
    return QStringLiteral("%1 has %2 frames").arg(paths::lastComponent(reader.path())).arg(reader.frames());
}

} // namespace ostrel
