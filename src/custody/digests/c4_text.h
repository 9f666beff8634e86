// C4 identifiers: a SHA-512 digest as one big number in base 58, "c4" and 88 letters.
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace ostrel {

inline constexpr qsizetype kC4Bytes = 64;

QString c4Text(const QByteArray& sha512);                // of kC4Bytes bytes
std::optional<QByteArray> c4Digest(const QString& text); // nothing where the text is no such identifier

} // namespace ostrel
