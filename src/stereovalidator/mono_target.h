// What is asked of one conversion to mono, and where its result goes. Pure rules over what stands on the disk.
#pragma once

#include "platform/files/file_stamp.h"

#include <QString>
#include <optional>
#include <stdexcept>

namespace ostrel {

class ProcessingError : public std::runtime_error {
public:
    enum class Kind { processingFailed, notStereo };
    static ProcessingError processingFailed(const QString& text);
    static ProcessingError notStereo();

    // The general sentence for a failed operation, the reason behind it in brackets.
    QString errorDescription() const;
    Kind kind() const { return kind_; }

private:
    ProcessingError(Kind kind, const QString& text);
    Kind kind_;
    QString text_;
};

struct MonoRequest {
    QString file;         // the stereo source
    QString outputFolder; // receives the result; made if it is not there
    bool useLeftChannel = true;
    bool allowOverwrite = false;                  // an existing target may be replaced, the source itself included
    bool addSuffix = true;                        // "_mono" behind the base name
    QString outputFormat = QStringLiteral("wav"); // the result's extension
    std::optional<FileStamp> analyzed;            // the source as it was when it was judged; none: nobody did
    bool proves = false;                          // the result is read back and compared with the channel
};

struct MonoTarget {
    enum class Kind {
        file,    // a new file, or one that is there already
        source,  // the source itself, in its own place
        numbered // the name is taken, and a number behind it finds a free one
    };

    Kind kind = Kind::file;
    QString path; // of a numbered one: the name that is taken
};

// A source keeps its place under its own name however its extension is written: "X.WAV" is replaced as "X.WAV". A file
// "X.wav" beside it would be another recording here and the same one on a recorder's card.
MonoTarget monoTargetOf(const MonoRequest& request);

// Why a file that stands there is left alone.
QString fileExistsSentence(const QString& path);

// "{folder}/{base}_{number}.{format}"
QString numberedTarget(const MonoRequest& request, int number);

} // namespace ostrel
