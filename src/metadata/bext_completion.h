// Makes the bext chunk (EBU Tech 3285) of a file that a job has just written the one of its source, byte for byte but
// for what it says of tracks and file name.
//
// Field commands carry some of its fields, a tool may refuse one of them and drop them all, line breaks come out in the
// tool's own way, and neither UMID, version, loudness nor coding history have a command that every tool knows. So the
// fields are copied by command first, and the chunk is completed from the source's bytes behind that.
#pragma once

#include "metadata/bext_description.h"

#include <QByteArray>
#include <QString>
#include <vector>

namespace ostrel {

// What becomes of the source's UMID (SMPTE 330M, the identity of the material). One new file keeps it. Of several files
// made of one source none does: two of one UMID would be a lie.
enum class SourceUmid { kept, cleared };

// How the Description of a new file is to read.
struct DescriptionWish {
    bool conforms = false; // as Avid reads it: each line ended by CR LF, no line of a track that the file has not got
    std::vector<NamedChannel> channels; // of the file, for one that has no iXML to list them; asked for to conform
};

struct BextCompletion {
    bool isComplete = false; // the target's chunk is the source's now, but for a UMID that was to be cleared
    QString why;             // why not; empty also where one of them has no place for it: then nothing was done
};

// The source's bext chunk as it goes onto the target: the lines of its Description that tell tracks and file name speak
// of the target's, which its iXML lists. `fileName` is what the target will be called; empty: that line stays. What
// has no room to conform reads as it did.
QByteArray bextFor(QByteArray sourceBext, const QByteArray& targetIxml, SourceUmid umid, const QString& fileName,
                   const DescriptionWish& wish = {});

// For WAV files with a bext chunk in the source; leaves others alone. Changes the target in place, so only for files
// that can be made again. Blocks on the disk; for any thread.
BextCompletion completeBext(const QString& source, const QString& target, SourceUmid umid,
                            const QString& fileName = QString(), const DescriptionWish& wish = {});

// The same for a file that is no other's: its Description as its own iXML wants it. False where that can't be written.
bool refitDescription(const QString& file);

// The payload of a bext chunk as it goes into a new file.
QByteArray bextFor(QByteArray bext, SourceUmid umid);

// What is said of a file whose completion has a `why`; it is named by its source, since its own name may be private
// yet.
QString differingBextSentence(const QString& source, const BextCompletion& completion);

} // namespace ostrel
