// The documents that the direct engine reads from a WAV file's own bytes, where bwfmetaedit would export them.
#pragma once

#include "foundation/tools/source_answers.h"

#include <QByteArray>
#include <QString>
#include <optional>

namespace ostrel {

// For the options "--out-iXML=" (UTF-8, whatever the file declares) and "--out-core=" (CSV: a head and one row, with
// the columns of the bext chunk, EBU Tech 3285, blank where there is none); nothing where the tool would make no
// document. Blocks on the disk.
std::optional<QByteArray> ownDocument(const QString& option, const QString& file);

// Answers of the direct engine.
std::shared_ptr<SourceAnswers> answersFromBytes();

} // namespace ostrel
