// What the tests of file operations share.
#pragma once

#include "platform/files/files.h"
#include "support/test_folder.h"

#include <functional>
#include <sys/stat.h>

namespace ostrel::testing {

// The sentence of the error that `action` throws.
inline QString errorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const FileError& error) {
        return error.description;
    }
    return QStringLiteral("no error");
}

// A folder on another file system than the temporary one; invalid where there is none.
class OtherFileSystem {
public:
    OtherFileSystem() : directory_(QStringLiteral("/dev/shm/ostrel-test-XXXXXX")) {}
    bool isOther(const TestFolder& folder) const {
        struct stat here;
        struct stat there;
        return directory_.isValid() && ::stat(QFile::encodeName(folder.path()).constData(), &here) == 0 &&
               ::stat(QFile::encodeName(directory_.path()).constData(), &there) == 0 && here.st_dev != there.st_dev;
    }
    QString path(const QString& name) const { return directory_.filePath(name); }
    QStringList entries() const {
        return QDir(directory_.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

private:
    QTemporaryDir directory_;
};

} // namespace ostrel::testing
