// Turns a stereo file into a mono file by copying one of its channels, sample for sample: no mixing, no gain, no
// resampling.
//
// An engine: it blocks (for bwfmetaedit too), holds no state between calls and uses the same memory for any length.
#pragma once

#include <QString>
#include <QStringList>
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
    QString outputFolder; // receives the result; must exist
    bool useLeftChannel = true;
    bool allowOverwrite = false;                  // an existing target may be replaced, the source itself included
    bool addSuffix = true;                        // "_mono" behind the base name
    QString outputFormat = QStringLiteral("wav"); // the result's extension
};

struct MonoConversion {
    QString url;             // the file that was written
    QString remainingBackup; // the replaced source, where its backup could not be removed; otherwise empty
};

class StereoProcessingEngine {
public:
    // ffmpeg decodes what libsndfile can't. The tools that may carry BWF metadata over are tried in order.
    explicit StereoProcessingEngine(const QString& ffmpegPath = QString(),
                                    const QStringList& bwfmetaeditPaths = defaultBwfmetaeditPaths());

    // The usual places, and the tool delivered with the application last.
    static QStringList defaultBwfmetaeditPaths();

    // Where the result would go if nothing stood there.
    static QString targetOf(const MonoRequest& request);

    // Writes 32-bit float samples at the source's rate. Throws AudioFileError, FileError, ProcessingError and, where
    // bwfmetaedit can't be started, nothing: metadata is best effort. The source survives every failure. A partly
    // written file is left where it is.
    MonoConversion convertToMono(const MonoRequest& request) const;

private:
    void copyBWFMetadata(const QString& source, const QString& target) const;

    QString ffmpegPath_;
    QStringList bwfmetaeditPaths_;
};

} // namespace ostrel
