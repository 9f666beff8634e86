#include "foundation/run/in_place.h"

#include "platform/files/files.h"
#include "platform/files/replacement.h"

#include <QFile>

namespace ostrel {

void copyForChanges(const NewFile& copy) {
    files::copy(copy.finalPath(), copy.path());
    // A read-only recording is refused later on; its copy has to be written to meanwhile.
    QFile::setPermissions(copy.path(), QFile::permissions(copy.path()) | QFileDevice::WriteUser);
}

void takePlace(NewFile& copy, const FileStamp& before, Journal& journal, const QString& detail) {
    const int step = journal.begin(JournalOperation::replace, copy.finalPath(), copy.finalPath(), copy.path(), detail);
    try {
        replaceRecording(copy, before);
    } catch (const FileError& error) {
        journal.fail(step, error.description);
        throw;
    }
    journal.end(step);
}

} // namespace ostrel
