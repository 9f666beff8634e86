// Where a new file comes from and which one of its set it is, as its iXML document tells (HISTORY and FILE_SET of
// BWFXML). Edits of the text that leave every other character as it stands; pure.
#pragma once

#include <QString>
#include <QStringView>

namespace ostrel {

struct IxmlPlace {
    QString fileName;        // of the new file, as it will stand
    QString parentName;      // of the file that it was made of; empty: not told
    int number = 0;          // within the files made of one source, from 1
    int total = 0;           // of those files; 0: the new file takes its source's place in the source's own set
    bool isNumbered = false; // a file alone too

    // The one file that was made of several.
    static IxmlPlace alone(const QString& fileName, const QString& parentName) { return {fileName, parentName, 1, 1}; }
    // FILE_SET_INDEX, as recorders write it: "A" for a file alone, or else its number, which all readers take.
    QString index() const { return total == 1 && !isNumbered ? QStringLiteral("A") : QString::number(number); }
};

// The document with that place: TOTAL_FILES and FILE_SET_INDEX, PARENT_FILENAME, and CURRENT_FILENAME where it has one.
// ORIGINAL_FILENAME stays, for it tells what the recorder called the audio.
QString placedIxml(QString xml, const IxmlPlace& place);

// Sets "<TAG>text</TAG>" inside the first "<GROUP>", which is made behind FILE_UID where it is missing. Without a place
// for the group the document stays as it is. `text` is XML text.
void setInGroup(QString& xml, QStringView group, QStringView tag, const QString& text);

} // namespace ostrel
