// The digests that hash lists hold, and their words. The order is the one in which a list names several of one file.
#pragma once

#include <QByteArray>
#include <QString>
#include <map>
#include <optional>
#include <set>

namespace ostrel {

// xxh3 is XXH3 with 64 bits; xxh32 occurs in lists of version 1 alone.
enum class HashFormat { c4, md5, sha1, xxh128, xxh3, xxh64, xxh32 };

// Of one content, the bytes in the order of the text.
using Digests = std::map<HashFormat, QByteArray>;
using HashFormats = std::set<HashFormat>;

QString rawText(HashFormat format);                          // "xxh128"
std::optional<HashFormat> hashFormatOf(const QString& word); // of those that rawText gives

// Whether it keeps up with the page cache; the others take a core for half a gigabyte a second or less.
bool isFast(HashFormat format);

qsizetype digestLength(HashFormat format); // bytes

// As it stands in a list: hexadecimal in lower case with leading zeros; a C4 identifier for c4.
QString digestText(HashFormat format, const QByteArray& digest);
// Nothing where the text is no digest of that format. Hexadecimal digits in upper case are taken too.
std::optional<QByteArray> digestFromText(HashFormat format, const QString& text);

} // namespace ostrel
