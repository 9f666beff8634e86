// The temporary files that previews are made of: channels of a poly, and a poly of ISOs. Blocks; for the thread pool.
#pragma once

#include "preview/preview_folders.h"

#include <QString>
#include <QStringList>
#include <functional>

namespace ostrel {

QStringList buildExtractChannelCommand(const QString& polyURL, int channelIndex, const QString& output);
QStringList buildPreviewPolyCommand(const QStringList& isoURLs, int bitDepth, const QString& output);

// One channel, zero-based, as 24-bit mono. Throws DomainError "Preview" with ffmpeg's reason, and ProcessLaunchError.
// Nothing is left of a failed run.
void extractChannel(const QString& polyURL, int channelIndex, const QString& output, const QString& ffmpegPath);

// "preview_poly.wav" in the folder; empty if it could not be made. `tell` takes the lines that say why.
QString generateTempPreviewPoly(const QStringList& isoURLs, int bitDepth, const QString& folder,
                                const QString& ffmpegPath, const std::function<void(const QString&)>& tell);

// A folder of its own below this process's one of that name (see preview_folders.h), made when first asked for and
// removed with everything in it.
class PreviewFolder {
public:
    explicit PreviewFolder(const QString& name) : name_(name) {}
    ~PreviewFolder() { remove(); }
    PreviewFolder(const PreviewFolder&) = delete;
    PreviewFolder& operator=(const PreviewFolder&) = delete;

    // A fresh one each time. Throws FileError.
    QString makeFresh();
    // The one at hand, or a fresh one. Throws FileError.
    QString get() { return path_.isEmpty() ? makeFresh() : path_; }
    void remove();

private:
    QString name_;
    QString path_;
};

} // namespace ostrel
