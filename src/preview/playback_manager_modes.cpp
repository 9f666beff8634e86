// The preview modes of a selection and the files that they need.
#include "preview/playback_manager.h"

#include "platform/paths.h"

namespace ostrel {
namespace {

QString failureText(PreviewMode mode) {
    switch (mode) {
    case PreviewMode::postInterleave: return QStringLiteral("Failed to load stereo preview, staying in source mode");
    case PreviewMode::postInterleaveSurround:
        return QStringLiteral("Failed to load surround preview, staying in source mode");
    case PreviewMode::leftChannel: return QStringLiteral("Failed to load left channel preview, staying in source mode");
    case PreviewMode::rightChannel:
        return QStringLiteral("Failed to load right channel preview, staying in source mode");
    case PreviewMode::centerChannel:
        return QStringLiteral("Failed to load center channel preview, staying in source mode");
    case PreviewMode::source: break;
    }
    return QStringLiteral("Failed to load the source file");
}

} // namespace

QCoro::Task<> PlaybackManager::setPreviewMode(PreviewMode target) {
    if (!canTogglePreviewMode.value()) {
        debugLog(QStringLiteral("Cannot set mode - canTogglePreviewMode is false"));
        co_return;
    }
    if (target == previewMode.value()) {
        debugLog(QStringLiteral("Already in mode %1").arg(displayText(target)));
        co_return;
    }
    debugLog(QStringLiteral("Switching to mode: %1").arg(displayText(target)));
    const int selection = selection_;
    const bool isLoaded = co_await loadMode(target);
    if (selection != selection_) co_return;
    if (!isLoaded) {
        debugLog(failureText(target));
        co_return;
    }
    previewMode = target;
    selectedChannelTag = QString();
    debugLog(QStringLiteral("Mode switched to: %1").arg(displayText(target)));
}

QCoro::Task<bool> PlaybackManager::loadMode(PreviewMode target) {
    switch (target) {
    case PreviewMode::source: co_return loadSourceMode();
    case PreviewMode::postInterleave: co_return co_await loadPostInterleavePreview();
    case PreviewMode::postInterleaveSurround: co_return co_await loadPostInterleaveSurroundPreview();
    case PreviewMode::leftChannel: co_return co_await loadChannelPreview(QStringLiteral("left"), QStringLiteral("L"));
    case PreviewMode::rightChannel: co_return co_await loadChannelPreview(QStringLiteral("right"), QStringLiteral("R"));
    case PreviewMode::centerChannel: break;
    }
    co_return co_await loadChannelPreview(QStringLiteral("center"), QStringLiteral("C"));
}

QCoro::Task<bool> PlaybackManager::loadPostInterleavePreview() {
    if (!currentGroup_) co_return false;
    const QString left = currentGroup_->channelFiles.value(QStringLiteral("L"));
    const QString right = currentGroup_->channelFiles.value(QStringLiteral("R"));
    if (left.isEmpty() || right.isEmpty()) co_return false;
    const PreviewRecipe recipe = stereoPreview(left, right);
    const QString name = QStringLiteral("%1 (Stereo)").arg(currentGroup_->baseName);
    co_return co_await loadPreview(recipe, name);
}

QCoro::Task<bool> PlaybackManager::loadPostInterleaveSurroundPreview() {
    if (!currentGroup_ || !currentLayout_) co_return false;
    if (usesSimpleJoin(availableChannelTags.value(), *currentLayout_)) {
        debugLog(QStringLiteral("Using simple join for %1").arg(currentLayout_->id));
    }
    const PreviewRecipe recipe = surroundPreview(currentGroup_->baseName, currentGroup_->channelFiles, *currentLayout_);
    const QString name = QStringLiteral("%1 (Surround)").arg(currentGroup_->baseName);
    co_return co_await loadPreview(recipe, name);
}

QCoro::Task<bool> PlaybackManager::loadChannelPreview(QString channel, QString suffix) {
    if (!currentStereoFile_) co_return false;
    const QString file = currentStereoFile_->sourceURL;
    const PreviewRecipe recipe = channelPreview(file, channel);
    const QString name = QStringLiteral("%1 (%2)").arg(paths::lastComponent(file), suffix);
    co_return co_await loadPreview(recipe, name);
}

QCoro::Task<bool> PlaybackManager::loadPreview(PreviewRecipe recipe, QString name) {
    const int selection = selection_;
    const QString preview = co_await preparedPreview(recipe);
    if (preview.isEmpty() || selection != selection_) co_return false;
    co_return loadIntoPlayer(preview, name);
}

// The preview's path, made if it is not there; empty if that failed.
QCoro::Task<QString> PlaybackManager::preparedPreview(PreviewRecipe recipe) {
    const QString target = generator_.pathOf(recipe);
    if (paths::exists(target)) {
        debugLog(QStringLiteral("Using cached %1: %2").arg(recipe.what, target));
        tempPreviewCache_.insert(target, target);
        co_return target;
    }
    if (ffmpegPath_.isEmpty()) debugLog(QStringLiteral("ERROR: ffmpeg not found!"));
    ++generating_;
    isGeneratingStereoPreview = true;
    const auto work = [generator = generator_, ffmpegPath = ffmpegPath_, recipe] {
        return generator.generate(ffmpegPath, recipe);
    };
    QString preview;
    QString error;
    try {
        preview = co_await inBackground(this, work);
    } catch (const PreviewError& failure) {
        error = failure.errorDescription();
    }
    isGeneratingStereoPreview = --generating_ > 0;
    if (!error.isEmpty()) {
        debugLog(error);
        co_return QString();
    }
    debugLog(QStringLiteral("ffmpeg completed successfully"));
    tempPreviewCache_.insert(preview, preview);
    co_return preview;
}

QCoro::Task<> PlaybackManager::reloadSourceFile() {
    if (previewMode.value() != PreviewMode::postInterleaveSurround) {
        loadSourceMode();
        co_return;
    }
    const bool isLoaded = co_await loadPostInterleaveSurroundPreview();
    if (isLoaded) debugLog(QStringLiteral("Reloaded surround preview"));
}

} // namespace ostrel
