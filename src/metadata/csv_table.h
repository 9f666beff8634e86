// A small reader of CSV text (RFC 4180): commas between fields, line breaks between rows, quotes around what holds
// either.
#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

// A double quote switches quoting on and off anywhere in a field; two of them inside a quoted field stand for one. A
// row of one empty field is dropped, so blank lines vanish; the last row needs no line break.
std::vector<QStringList> parseCSV(const QString& text);

} // namespace ostrel
