// What the names of polys, and of the folders of their ISOs, are made of.
#pragma once

#include "polytools/records/iso_group.h"

#include <QString>

namespace ostrel {

// `stem` + `ending` ("-T3_poly") without ".wav", for which there is room left; what is too long loses the end of the
// stem, see `fittedFileName`. Never empty.
QString polyStem(const QString& stem, const QString& ending = QString());

// "{stem}{ending}.wav" that fits.
QString polyFileName(const QString& stem, const QString& ending = QString());

// "-T{take}". A long take is cut, so that behind a scene of any length one take is told from the next.
QString takeEnding(const QString& take);

// The file name of a group's poly, without its extension: the suggested name, less "_poly" if the original is kept. A
// slash in a scene or take becomes "-".
QString groupOutputName(const ISOGroupCandidate& group, bool keepOriginalName);

// The name as one component of a path: "/" becomes "-", and what would lead elsewhere or hide the file is defused.
QString safeFileName(const QString& name);

} // namespace ostrel
