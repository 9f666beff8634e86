// The CORE documents that bwfmetaedit exports and imports.
//
// A document names the files that it is meant for, and an import changes exactly those, whichever file stands on the
// command line. A document exported from a recording and imported "onto" an output would rewrite the recording. So
// every document is re-aimed at its target between export and import, by this one function.
#pragma once

#include <QByteArray>
#include <QString>
#include <stdexcept>

namespace ostrel {

class CoreDocumentError : public std::runtime_error {
public:
    explicit CoreDocumentError(const QString& text) : std::runtime_error(text.toStdString()), description(text) {}
    QString description;
};

// The document's text with every file that it names replaced by `target`. In XML the name attributes become the
// target's last component, inserted as it stands, so the import has to run in the target's folder; in CSV the FileName
// cells become the whole path. Throws CoreDocumentError for what is neither.
QString reaimedCoreDocument(const QString& document, const QString& target);

// The same for a file, replaced atomically. Throws FileError too, and CoreDocumentError for bytes that are not UTF-8.
void reaimCoreDocumentFile(const QString& documentPath, const QString& target);

} // namespace ostrel
