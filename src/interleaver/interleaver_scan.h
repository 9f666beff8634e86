// One scan of the Interleaver: a selection of folders and files becomes groups, or multichannel sources.
//
// Driven on the main thread, where it also reports; the reading is done behind it.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/interleave_group.h"
#include "foundation/records/multi_channel_source.h"
#include "interleaver/library_scanner.h"
#include "platform/background.h"

#include <QCoro/QCoroTask>
#include <functional>
#include <vector>

namespace ostrel {

class InterleaverScan {
public:
    struct Request {
        QStringList selection; // each file and folder once
        ChannelLayout layout;
        bool includeSubfolders = true;
        QString ffprobePath;
        QString bwfmetaeditPath; // empty: not known
        EngineChoice engine = EngineChoice::ffmpeg;
    };
    struct Hooks {
        std::function<void(LogLevel level, const QString& message, const QString& item)> log;
        std::function<void(const QString& text)> status;
        std::function<void(double share)> share; // of the files found, how many were read, 0 to 1
    };

    // `owner` is the controller: nothing is called once it is gone. A scan that was stopped gives what it has.
    InterleaverScan(QObject* owner, Request request, Hooks hooks, TaskHandle handle)
        : owner_(owner), request_(std::move(request)), hooks_(std::move(hooks)), handle_(std::move(handle)),
          scanner_(request_.ffprobePath, request_.bwfmetaeditPath, request_.engine) {}

    // Both throw ScanError for a folder that can't be walked.
    QCoro::Task<std::vector<InterleaveGroup>> groups();
    QCoro::Task<std::vector<MultiChannelSource>> sources();

private:
    QCoro::Task<std::vector<InterleaveGroup>> pairHandPicked();
    QCoro::Task<std::vector<InterleaveGroup>> groupsOfFolders();
    QCoro::Task<std::vector<MultiChannelSource>> handPickedSources();
    ScanRequest scanRequest() const;
    bool holdsFolders() const;

    QObject* owner_;
    const Request request_;
    const Hooks hooks_;
    const TaskHandle handle_;
    const LibraryScanner scanner_;
};

} // namespace ostrel
