// An output on its way: written under a private name in its own folder, and given its final name when it is done.
//
// A program that is killed, a full disk or a failed step leaves a hidden file and never a stump under a name that a
// person, or the next run, would take for a recording. While it is being written its folder is held by a shared lock
// (flock), so that a later run can tell a file that is being written from one that was left behind.
//
// Blocks on the disk; belongs to one thread at a time. Every failure is a FileError.
#pragma once

#include "platform/files/file_stamp.h"
#include "platform/files/files.h"
#include "platform/processes/in_flight.h"

#include <QString>
#include <memory>
#include <optional>

namespace ostrel {

// Keeps a folder's private names from being cleared away by others. Shared: any number of programs may hold a folder.
class FolderHold {
public:
    explicit FolderHold(const QString& folder);
    ~FolderHold();
    FolderHold(const FolderHold&) = delete;
    FolderHold& operator=(const FolderHold&) = delete;

private:
    int descriptor_;
};

class NewFile {
public:
    // Nothing is created yet: whoever writes `path()` creates it. The folder must exist.
    explicit NewFile(const QString& finalPath);
    // Removes what was written, unless it was published.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    // "{folder}/.ostrel-{UUID}.{final extension}"
    const QString& path() const { return path_; }
    const QString& finalPath() const { return finalPath_; }
    // What a tool says of the private file, said of the final one.
    QString namingFinal(QString message) const;

    // Gives the file its final name in one step. Without replacing, a name that is taken meanwhile is an error and both
    // files stay as they are. `isDurable`: the file and its name are on the disk first, as they must be ahead of the
    // removal of what it was made of.
    enum class Over { nothing, oldFile };
    void publish(Over over, bool isDurable = false);
    bool isPublished() const { return published_.has_value(); }

    // Takes back a file that was published over nothing, unless another one stands there by now; it counts as
    // published no longer. One that took the place of another stays, as there is nothing to come back.
    void withdraw();

    // The private name is no longer ours to remove: whoever calls this sees to what stands there.
    void release();

private:
    QString finalPath_;
    QString path_;
    std::unique_ptr<FolderHold> hold_;
    inFlight::UnfinishedFile unfinished_;
    std::optional<FileStamp> published_;
    bool replaced_ = false;
    bool released_ = false;
};

// Whether a file name (the last component) is a private one: of this version, or of earlier ones that put
// ".{UUID}_temp.wav" and ".{UUID}_backup.wav" beside a recording that they replaced.
bool isPrivateName(const QString& name);
bool isBackupName(const QString& name); // of those, the ones under which a recording itself was kept

// "{folder}/.ostrel-{UUID}.{extension}", or without a point where the extension is empty.
QString privatePath(const QString& folder, const QString& extension);

// Whether somebody is writing new files in this folder now, this process included. True where that can't be told.
bool isHeld(const QString& folder);

} // namespace ostrel
