// What was measured of files in earlier runs: a small database in the cache folder, so that a changed threshold reads
// no file again and a second scan only what is new.
//
// An entry answers for the file that stands under its path with the same inode, size, time of change of contents and of
// anything at all, to the nanosecond, and was measured by the same version of the analysis. The cache never stops a
// job: a database that is damaged, locked or can't be made is one that knows nothing. One object belongs to one thread.
#pragma once

#include "platform/files/file_stamp.h"
#include "stereovalidator/measured_file.h"

#include <QByteArray>
#include <QString>
#include <memory>
#include <optional>
#include <vector>

class QSqlQuery;

namespace ostrel {

class MeasureCache {
public:
    // Where it stands for this user.
    static QString usualPath();

    // An empty path knows nothing and keeps nothing.
    explicit MeasureCache(const QString& path);
    ~MeasureCache(); // brings to the disk what was kept
    MeasureCache(const MeasureCache&) = delete;
    MeasureCache& operator=(const MeasureCache&) = delete;

    // With `wantsEvidence` only what was measured with it.
    std::optional<MeasuredFile> find(const QString& file, const FileStamp& stamp, bool wantsEvidence);
    void keep(const QString& file, const FileStamp& stamp, const MeasuredFile& measured);

private:
    struct Entry {
        QString file;
        QString state;
        bool hasEvidence = false;
        QByteArray document;
    };
    enum class Opened { yes, no, damaged };

    Opened open(const QString& path);
    void flush();
    void close();

    QString connection_; // empty: there is no database
    std::unique_ptr<QSqlQuery> query_;
    std::vector<Entry> kept_; // not yet on the disk: written together, which takes a fraction of the time
};

} // namespace ostrel
