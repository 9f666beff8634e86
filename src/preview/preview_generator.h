// Makes preview files with ffmpeg and keeps them for as long as its owner wants to flip between them.
//
// An engine: `generate` blocks, and may be called from any thread. A preview lies under its file name in a folder of
// this process's own (see preview_folders.h) that is named after its inputs, as they are on disk: takes of one name in
// two folders are never heard for each other, nor an older version of a file for the new one. It gets its name only
// when it is complete.
#pragma once

#include "preview/preview_commands.h"

#include <QString>
#include <stdexcept>

namespace ostrel {

class PreviewError : public std::runtime_error {
public:
    explicit PreviewError(const QString& text) : std::runtime_error(text.toStdString()), text_(text) {}
    QString errorDescription() const { return text_; }

private:
    QString text_;
};

class PreviewGenerator {
public:
    // The delivered ffmpeg, else the first in the usual places; empty if there is none.
    static QString findFFmpeg();

    // Where the recipe's file lies, there or not.
    QString pathOf(const PreviewRecipe& recipe) const;

    // Runs ffmpeg; the preview's path. Throws PreviewError; nothing is left at the path then.
    QString generate(const QString& ffmpegPath, const PreviewRecipe& recipe) const;

    // Removes previews that `pathOf` gave, and the folder once nothing else is in it. Failures are ignored.
    void remove(const QStringList& previews) const;
};

} // namespace ostrel
