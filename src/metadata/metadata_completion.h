// What a job does last to the metadata of a new WAV file, whatever tools wrote it before: its bext chunk becomes the
// source's, chunks that no tool has carried go along as they were, and a checksum of the audio is made true.
#pragma once

#include "metadata/bext_completion.h"

#include <QString>
#include <QStringList>

namespace ostrel {

struct MetadataCompletion {
    BextCompletion bext;
    QStringList warnings; // whole sentences; they name the source, since the target's name may be private yet
};

// Changes the target in place, so only for files that can be made again. Never fails: what could not be done is a
// warning. Blocks on the disk; reads the target's audio where it has an `MD5 ` chunk. For any thread.
// `fileName` is what the target will be called, where a recorder wrote that into the Description.
MetadataCompletion completeMetadata(const QString& source, const QString& target, SourceUmid umid,
                                    const QString& fileName = QString(), const DescriptionWish& wish = {});

} // namespace ostrel
