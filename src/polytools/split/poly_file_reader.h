// Finds and reads poly files for a batch: one ffprobe run a value, so that a file that lacks one value keeps the
// others. Blocks; for the thread pool.
#pragma once

#include "foundation/records/engine_choice.h"
#include "polytools/records/poly_file.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

namespace ostrel {

class PolyFileReader {
public:
    using Debug = std::function<void(const QString&)>;

    // `debug` takes the lines that tell why a file was left out.
    PolyFileReader(const QString& ffprobePath, Debug debug, EngineChoice engine = EngineChoice::ffmpeg)
        : ffprobePath_(ffprobePath), debug_(std::move(debug)), engine_(engine) {}

    struct Scan {
        std::vector<PolyFile> files;
        QStringList remarks; // sentences on what could not be read, and on further names of one file
    };

    // WAV files of more than one channel below the folder, each once, hidden ones left out, by file name. Throws
    // DomainError "ScanError" 1.
    Scan scan(const QString& folder, bool recursive) const;

    // The same for one selected file; nothing if it is no WAV file of more than one channel.
    std::optional<PolyFile> readSelected(const QString& url) const;

private:
    PolyFile read(const QString& url, int channelCount) const;
    int channelCount(const QString& url) const;

    QString ffprobePath_;
    Debug debug_;
    EngineChoice engine_;
};

} // namespace ostrel
