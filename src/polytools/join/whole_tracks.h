// ISOs in several files, each as one file for as long as a join works with them.
#pragma once

#include "platform/files/new_file.h"
#include "polytools/records/iso_file.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

namespace ostrel {

// Belongs to one join. The files stand under private names beside its output, and go with this. Blocks on the disk.
class WholeTracks {
public:
    // Each ISO that has later parts leads to a whole file from then on. Gives warnings; throws FileError where parts
    // don't fit to the sample any more, and for whatever keeps the file from being written. `isStopped` may be empty.
    QStringList make(std::vector<ISOFile>& isos, const QString& output, const std::function<bool()>& isStopped);

    // The recording behind a path, that of its first part; other paths as they are.
    QString originalOf(const QString& path) const { return originals_.value(path, path); }
    // What is said of the private files, said of their first parts.
    QString named(QString text) const;

private:
    QString stitch(const ISOFile& iso, const QString& output, const std::function<bool()>& isStopped,
                   QStringList& warnings);

    std::vector<std::unique_ptr<NewFile>> files_;
    QHash<QString, QString> originals_; // by private path
};

} // namespace ostrel
