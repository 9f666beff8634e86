// Walks a selection of folders and files and proposes work: sets of mono siblings, or multichannel files.
//
// Made per scan. Blocks; for any thread but the main one. ffprobe runs for one file after the other; the direct engine
// reads headers side by side.
#pragma once

#include "foundation/records/interleave_group.h"
#include "foundation/records/multi_channel_source.h"
#include "foundation/tools/ffprobe_parser.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <stdexcept>
#include <vector>

namespace ostrel {

class ScanError : public std::runtime_error {
public:
    // Nothing throws directoryNotReadable: such a folder can't be enumerated either.
    enum class Kind { cannotEnumerate, directoryNotReadable };
    ScanError(Kind errorKind, const QString& errorPath)
        : std::runtime_error(errorPath.toStdString()), kind(errorKind), path(errorPath) {}
    QString errorDescription() const;

    Kind kind;
    QString path;
};

struct ScanRequest {
    QString root;      // relative paths are told from here
    QStringList items; // folders to walk and files to take; usually the root alone
    bool includeSubfolders = true;
    std::function<void(const QString& text)> progress; // called on the scanner's threads; may be empty
    std::function<void(const QString& text)> warn;     // files and folders that could not be looked at; may be empty
    std::function<bool()> isCancelled;                 // looked at between files; may be empty
    std::function<void(double)> share;                 // of the files found, how many were read, 0 to 1; as `progress`

    static ScanRequest folder(const QString& path, bool includeSubfolders = true) {
        return {path, {path}, includeSubfolders, {}, {}, {}, {}};
    }
};

class LibraryScanner {
public:
    // An empty bwfmetaeditPath: not known; containers are then not looked at.
    LibraryScanner(const QString& ffprobePath, const QString& bwfmetaeditPath,
                   EngineChoice engine = EngineChoice::ffmpeg);

    // What the scans take, in lower case.
    static QStringList extensions(bool wavOnly);

    // All three throw ScanError for a folder that can't be walked, and nothing else. Sorted by name; a cancelled scan
    // gives what it has.
    std::vector<InterleaveGroup> scanForLibrarySafeLRMerge(const ScanRequest& request) const;
    std::vector<InterleaveGroup> scanForInterleave(const ScanRequest& request, const ChannelLayout& layout) const;
    std::vector<MultiChannelSource> scanForDeinterleave(const ScanRequest& request, const ChannelLayout& layout) const;

    // Hand-picked files; both throw FFProbeError. The group with the facts of its first file, not checked against the
    // others.
    InterleaveGroup probed(InterleaveGroup group) const;
    // The file as a source, if it has as many channels as the layout.
    std::optional<MultiChannelSource> analyzed(const QString& file, const ChannelLayout& layout) const;

private:
    template <class Record>
    void classify(Record& record, const QString& file) const;
    InterleaveGroup validatedLRPair(InterleaveGroup group) const;
    InterleaveGroup validatedGroup(InterleaveGroup group, const ChannelLayout& layout) const;
    void validateAll(std::vector<InterleaveGroup>& groups, const ScanRequest& request,
                     const std::function<InterleaveGroup(InterleaveGroup)>& validated) const;
    // Nothing for a file of another number of channels, and for one that can't be read, which is warned of.
    std::optional<MultiChannelSource> sourceOf(const QString& file, const ScanRequest& request,
                                               const ChannelLayout& layout) const;
    // Headers are read side by side; tools are asked one after the other.
    void forEachFile(const ScanRequest& request, std::size_t count, const std::function<void(std::size_t)>& work) const;

    EngineChoice engine_;
    FFProbeParser parser_;
    QString bwfmetaeditPath_;
};

} // namespace ostrel
