// The preview files of one player: made by ffmpeg when they are first asked for, kept until they are removed.
//
// Main thread; ffmpeg runs behind it. Failures are lines in the debug log.
#pragma once

#include "preview/preview_generator.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QProperty>
#include <QStringList>
#include <functional>

namespace ostrel {

class PreviewCache {
public:
    // `owner` is the player: nothing is called once it is gone.
    PreviewCache(QObject* owner, const QString& ffmpegPath, std::function<void(const QString&)> debugLog)
        : owner_(owner), ffmpegPath_(ffmpegPath), debugLog_(std::move(debugLog)) {}
    ~PreviewCache() { clear(); }
    PreviewCache(const PreviewCache&) = delete;
    PreviewCache& operator=(const PreviewCache&) = delete;

    // The preview's path, made if it is not there; empty if that failed.
    QCoro::Task<QString> prepared(PreviewRecipe recipe);
    void clear();

    std::function<void(bool isGenerating)> onGenerating;

private:
    QObject* owner_;
    QString ffmpegPath_;
    std::function<void(const QString&)> debugLog_;
    PreviewGenerator generator_;
    QStringList made_;
    int generating_ = 0; // runs of ffmpeg under way
};

} // namespace ostrel
