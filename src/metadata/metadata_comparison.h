// What a new file holds of its source's metadata, field by field of the bext chunk (EBU Tech 3285) and chunk by chunk,
// read from the bytes of both: no tool is believed. Blocks on the disk; for any thread.
#pragma once

#include "foundation/records/metadata_record.h"
#include "metadata/bext_completion.h"

namespace ostrel {

// Empty for a source that is no WAV file. A target that is none has lost everything. A UMID that is gone is lost,
// unless it was to be cleared; a Description that speaks of the target's tracks and `fileName`, and reads
// as wished, is renewed.
MetadataRecord compareMetadata(const QString& source, const QString& target, SourceUmid umid,
                               const QString& fileName = QString(), const DescriptionWish& wish = {});

} // namespace ostrel
