// The Description of a bext chunk (EBU Tech 3285) as recorders and Avid write it: lines "sSCENE=12A", each ended by CR
// LF. Pure.
#pragma once

#include <QByteArray>
#include <QMap>
#include <optional>
#include <vector>

namespace ostrel {

// The field (256 bytes) with these values behind the keys that it has; other lines stay as they are, and so do the
// letters ahead of keys. `endsWithCrLf`: every line. Nothing where that does not go into 256 bytes.
std::optional<QByteArray> descriptionWith(const QByteArray& field, const QMap<QByteArray, QByteArray>& values,
                                          bool endsWithCrLf);

} // namespace ostrel
