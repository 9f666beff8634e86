// The one reader of CSV text (RFC 4180): commas between fields, line breaks between rows, quotes around what holds
// either.
#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

struct CSVCell {
    QString text;
    qsizetype begin = 0; // its place in the text that was read, quotes included
    qsizetype end = 0;
};

// A double quote switches quoting on and off anywhere in a field; two of them inside a quoted field stand for one. A
// row of one empty field is dropped, so blank lines vanish; the last row needs no line break, and a carriage return
// alone is one.
std::vector<std::vector<CSVCell>> parseCSVCells(const QString& text, QChar separator = u',');

// What the cells say, without their places.
std::vector<QStringList> parseCSV(const QString& text);

// A field as it is written, whatever it holds.
QString quotedCell(QString text);

// A row of such fields, without its line break.
QString csvRow(const QStringList& fields);

} // namespace ostrel
