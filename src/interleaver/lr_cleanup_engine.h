// Takes the two mono sources of a certified stereo merge out of the library: both, or neither.
//
// Block; for any thread. Nothing is ever replaced, and nothing goes that the proof does not cover.
#pragma once

#include "foundation/run/source_steps.h"

#include <QString>

namespace ostrel {

class LRCleanupEngine {
public:
    // Into "{libraryRoot}/Originals", the library's folders mirrored below. A pair outside the root goes to "Originals"
    // beside it.
    static SourceStepsResult moveToBackupFolder(const QString& leftURL, const QString& rightURL,
                                                const QString& libraryRoot, const AudioProof& proof, Journal& journal);

    static SourceStepsResult deleteFiles(const QString& leftURL, const QString& rightURL, const AudioProof& proof,
                                         Journal& journal);
};

} // namespace ostrel
