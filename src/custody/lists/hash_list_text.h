// What reader and writer of hash lists have in common.
#pragma once

#include "platform/files/files.h"

#include <QDateTime>
#include <QString>

namespace ostrel {

inline const QString kListNamespace = QStringLiteral("urn:ASC:MHL:v2.0");
inline const QString kChainNamespace = QStringLiteral("urn:ASC:MHL:DIRECTORY:v2.0");

// A list or chain is not one, or tells what no list may. The sentence does not name the file.
class HashListError : public FileError {
public:
    using FileError::FileError;
};

// "2026-01-02T09:08:07+00:00": in UTC, whole seconds.
QString listDate(const QDateTime& date);
// That form, with any zone and with fractions; and "2012-12-01 18-34-54" of old lists, taken as UTC. Invalid otherwise.
QDateTime dateFromList(const QString& text);

// Whether a document of XML 1.0 can hold the text at all: most control characters have no place in it.
bool fitsXml(const QString& text);
// For the text of an element or, in quotes, of an attribute. White space stays what it is.
QString xmlEscaped(const QString& text);

// Whether a path of a list stays within its folder: relative, and none of its names empty, "." or "..".
bool staysWithin(const QString& path);

} // namespace ostrel
