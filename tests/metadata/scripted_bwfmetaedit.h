// A bwfmetaedit whose every kind of call can be made to fail, and whose imports change the files that the document
// names, as the original's do.
#pragma once

#include "support/test_folder.h"

#include <QStringList>
#include <vector>

namespace ostrel::testing {

class ScriptedBwfmetaedit {
public:
    // In `place` below the folder. Without further words it exports nothing and succeeds at everything else.
    ScriptedBwfmetaedit(const TestFolder& folder, const QString& place);

    QString path() const { return path_; }

    // What a call of a kind finds: "export" is copied to where an export goes, "table" and "xml" are printed.
    void provide(const QString& kind, const QByteArray& contents) const;

    // How calls of a kind ("export", "import", "apply", "xml", "table") end.
    void failing(const QString& kind, int exitStatus, const QByteArray& standardError = {}) const;

    // The argument lists so far, in order, and the working folder of each call.
    std::vector<QStringList> calls() const;
    QStringList workingFolders() const;

    // The document of the last import.
    QByteArray imported() const;

private:
    const TestFolder& folder_;
    QString place_;
    QString path_;
};

} // namespace ostrel::testing
