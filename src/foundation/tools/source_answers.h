// What the tools said of source files, so that none is asked the same twice while it stands as it was.
//
// An answer belongs to the file as it stood: device, inode, size and both times, taken from the file itself ahead of
// the question and behind it. A file that changed, one that was written a moment ago, and a tool that failed are asked
// again. For sources alone: what is said of a new file, and whatever proves something, comes from the tool each time.
//
// A tool that shows metadata sees a copy of the recording's head where some releases would write the file anew
// (ShownRecording); its words name the recording all the same.
//
// One lives as long as the tools that it asks are the same. All calls block and may come from several threads.
#pragma once

#include "foundation/records/engine_choice.h"
#include "platform/files/file_stamp.h"
#include "platform/processes/child_process.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>

namespace ostrel {

struct ExportedDocument {
    ProcessResult result;
    std::optional<QByteArray> bytes; // nothing: the tool made no document
};

class SourceAnswers {
public:
    // How long a file must have lain still for an answer to be kept: some file systems tell times in steps of two
    // seconds, so that a second change in the same step would not show.
    explicit SourceAnswers(std::chrono::milliseconds settled = std::chrono::seconds(2)) : settled_(settled) {}
    // Of the direct engine: `own` reads what a tool is asked for with that option from the file's own bytes, and says
    // what it would write; a document that the file has not got is no bytes.
    using OwnReader = std::function<std::optional<QByteArray>(const QString& option, const QString& file)>;
    explicit SourceAnswers(OwnReader own) : own_(std::move(own)) {}
    SourceAnswers(const SourceAnswers&) = delete;
    SourceAnswers& operator=(const SourceAnswers&) = delete;

    // Direct: facts come from headers where they can, documents from bytes; no tool is started for those.
    EngineChoice engine() const { return own_ ? EngineChoice::direct : EngineChoice::ffmpeg; }

    // What the tool prints when it is run with these arguments and the file behind them. Throws ProcessLaunchError.
    ProcessResult printed(const QString& tool, const QStringList& arguments, const QString& file);

    // What the tool writes when it is run with the option, the path of a document joined to it, and the file. The
    // document is gone again. Throws ProcessLaunchError, and FileError for a document that can't be read.
    ExportedDocument exported(const QString& tool, const QString& option, const QString& document, const QString& file);

    // The file's iXML as bwfmetaedit prints it, one line break behind it. A document that was exported says the same.
    ProcessResult printedIxml(const QString& bwfmetaedit, const QString& file);

private:
    struct Answer {
        FileStamp stamp;
        std::optional<QByteArray> bytes;
    };
    using Question = QStringList; // tool, arguments, file

    static ProcessResult run(const QString& tool, const QStringList& arguments, const QString& file,
                             bool showsMetadata);
    std::optional<Answer> known(const Question& question, const std::optional<FileStamp>& stamp);
    void keep(const Question& question, const std::optional<FileStamp>& before, const std::optional<QByteArray>& bytes);

    const OwnReader own_;
    const std::chrono::milliseconds settled_ = std::chrono::seconds(2);
    std::mutex mutex_;
    std::map<Question, Answer> answers_;
    std::deque<Question> inTurn_; // the oldest first, which goes first
    qsizetype bytes_ = 0;
};

} // namespace ostrel
