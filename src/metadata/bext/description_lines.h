// The lines of a bext Description (EBU Tech 3285) as recorders and Avid write them: "sSCENE=12A", with a letter of the
// recorder's own ahead of the key. The one reader of them. Pure.
#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <optional>
#include <vector>

namespace ostrel {

struct DescriptionLine {
    QByteArray letter; // the recorder's own, in lower case; empty: none
    QByteArray key;    // "SCENE"; empty: a line of free text, which is the value
    QByteArray value;
    QByteArray end; // "\r\n", "\n", "\r", or nothing at the end of the text

    QByteArray bytes() const { return key.isEmpty() ? value + end : letter + key + '=' + value + end; }
    // Of "TRK2": the number of the recorder's input; 0: the line names no track.
    int track() const;
};

// Of the field's text, which ends at its first NUL.
std::vector<DescriptionLine> descriptionLinesOf(const QByteArray& field);
QByteArray bytesOf(const std::vector<DescriptionLine>& lines);

// What the keys say that recorders are known to write, without the letter: "SCENE", "TRK2", "TR2", "SPEED". The first
// of several.
QMap<QString, QString> descriptionKeys(const QByteArray& field);

// The field (256 bytes) with these values behind the keys that it has; other lines stay as they are, and so do the
// letters ahead of keys. `endsWithCrLf`: every line does that ends, and the last one if it has a key and there is
// room. Nothing where all that does not go into 256 bytes.
std::optional<QByteArray> descriptionWith(const QByteArray& field, const QMap<QByteArray, QByteArray>& values,
                                          bool endsWithCrLf);

} // namespace ostrel
