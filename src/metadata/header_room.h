// Room for BEXT and INFO fields ahead of the audio of a file that a job has just written.
//
// ffmpeg leaves none, or next to none. A program that then adds fields has to write all of the audio once more, and a
// careful one waits until the disk has it, which takes longer than many a job. With a filler ahead of the audio it
// writes a few hundred bytes and leaves the rest alone.
#pragma once

#include "metadata/chunks/riff_chunks.h"
#include "metadata/metadata_engine.h"

#include <QString>
#include <optional>

namespace ostrel {

// The filler to be spliced in with a file's chunks, ahead of them, before the fields are written. Nothing where they
// fit as it is, and for what is no WAV file with audio. Only reads.
std::optional<RIFFChunk> fillerFor(const QString& url, const BWFMetadata& fields);

// Splices the filler in. For files that can be made again only: it happens in place. Never fails: without room, the
// program that writes the fields has to make its own.
void makeRoomFor(const QString& url, const BWFMetadata& fields);

} // namespace ostrel
