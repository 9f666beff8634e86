// File operations that must never lose a recording. All may be called from any thread.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>
#include <stdexcept>

namespace ostrel {

// An operation on a file failed; `description` is a sentence that names the file and the platform's reason.
class FileError : public std::runtime_error {
public:
    explicit FileError(const QString& text) : std::runtime_error(text.toStdString()), description(text) {}
    QString description;
};

// The name for a new file is taken by another one.
class NameTakenError : public FileError {
public:
    using FileError::FileError;
};

namespace files {

// With its parents. No error if it is there already.
void createFolder(const QString& path);

// Moves a file, across file systems too: there the copy is on the disk and was compared byte for byte before the
// original goes. Never replaces what stands at `to`: that is an error, and both files stay.
void move(const QString& from, const QString& to);

// A new name in one step, on one file system. Without replacing, a name that is taken is a NameTakenError. Where the
// file system can't do that itself, a hard link or a placeholder does.
void renameWithoutReplacing(const QString& from, const QString& to);
void renameOver(const QString& from, const QString& to);

// Waits until the disk has the contents of a file or the names in a folder. A failure is an error: the disk may not
// have them.
void flush(const QString& path);

// What is read of the file from here on comes from the disk, as far as the system does that for a file that was
// flushed; a file system in memory has no other place for it.
void forgetCached(const QString& path);

// Copies contents and mode into a file that is not there yet; a part of it stays where that fails. Shares the blocks
// where the file system can.
void copy(const QString& from, const QString& to);

// Whole contents, byte for byte, through fixed buffers. A file that can't be read to its end is an error.
bool sameBytes(const QString& a, const QString& b);

// Removes one file. A missing file is an error.
void remove(const QString& path);

// For temporary files and folders of our own, where nothing depends on success.
void removeQuietly(const QString& path);
void removeFolderQuietly(const QString& path);

QByteArray read(const QString& path);
void writeAtomically(const QString& path, const QByteArray& contents);

// "{temporary folder}/{UUID}.{extension}", not created.
QString temporaryPath(const QString& extension);

// What a walk through a folder found.
struct Listing {
    QStringList files;      // regular files with one of the extensions, in natural order of their paths
    QStringList unreadable; // one sentence each: folders that could not be opened, names that are not UTF-8
    QStringList unfinished; // files under private names: never recordings, whatever was asked for
};

// Regular files below `folder` whose extension, in lower case, is in `extensions`; an empty list takes every file.
// Links are left out, and so are hidden entries (with a leading point) unless they are asked for. Nothing at all if the
// folder itself can't be opened.
enum class HiddenEntries { leftOut, included };
std::optional<Listing> list(const QString& folder, bool recursive, const QStringList& extensions,
                            HiddenEntries hidden = HiddenEntries::leftOut);

} // namespace files

} // namespace ostrel
