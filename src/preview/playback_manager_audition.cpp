// One channel of a selection by itself.
#include "preview/playback_manager.h"

#include "platform/paths.h"

namespace ostrel {
namespace {

QString monoName(const QString& file, const QString& tag) {
    return QStringLiteral("%1 (%2)").arg(paths::lastComponent(file), tag);
}

QString routedName(const QString& file, const QString& tag) { return monoName(file, tag) + QStringLiteral(" [QC]"); }

} // namespace

QCoro::Task<> PlaybackManager::auditionChannel(QString tag) {
    if (!canAuditionChannels.value()) {
        debugLog(QStringLiteral("Channel audition not available"));
        co_return;
    }
    if (tag.isEmpty() || (tag == selectedChannelTag.value() && !isReAuditioning_)) {
        returnToDefault(QStringLiteral("Channel deselected, returning to default"));
        co_return;
    }
    if (!availableChannelTags.value().contains(tag)) {
        returnToDefault(QStringLiteral("Channel %1 not available in current layout").arg(tag));
        co_return;
    }
    const int selection = selection_;
    const bool isLoaded =
        currentAppMode_ == AppMode::interleave ? co_await auditionInGroup(tag) : co_await auditionInFile(tag);
    if (isLoaded && selection == selection_) selectedChannelTag = tag;
}

void PlaybackManager::returnToDefault(const QString& logLine) {
    selectedChannelTag = QString();
    previewMode = PreviewMode::source; // the default is a source, whatever was heard before
    debugLog(logLine);
    loadDefaultChannelOrSource();
}

QCoro::Task<bool> PlaybackManager::auditionInGroup(QString tag) {
    if (!currentGroup_ || !currentLayout_ || !currentGroup_->channelFiles.contains(tag)) {
        returnToDefault(QStringLiteral("Channel %1 not in group").arg(tag));
        co_return false;
    }
    debugLog(QStringLiteral("Channel %1 in group").arg(tag));
    const QString file = currentGroup_->channelFiles.value(tag);
    if (previewRouting.value() == PreviewRouting::speakerRouted) {
        const int selection = selection_;
        const PreviewRecipe recipe = speakerRouted(currentGroup_->baseName, file, tag, *currentLayout_, 0);
        const bool isLoaded = co_await loadPreview(recipe, routedName(file, tag));
        if (isLoaded || selection != selection_) co_return isLoaded;
        debugLog(QStringLiteral("Speaker-routed failed, falling back to mono"));
    }
    const bool isLoaded = loadIntoPlayer(file, monoName(file, tag));
    debugLog(QStringLiteral("%1 loaded for mono audition (interleave mode)").arg(tag));
    co_return isLoaded;
}

QCoro::Task<bool> PlaybackManager::auditionInFile(QString tag) {
    if (!currentStereoFile_ || !currentLayout_) {
        debugLog(QStringLiteral("Cannot extract channel - no stereo file or layout"));
        co_return false;
    }
    const QString file = currentStereoFile_->sourceURL;
    const ChannelLayout layout = *currentLayout_;
    if (previewRouting.value() == PreviewRouting::speakerRouted) {
        const int selection = selection_;
        const int channel = static_cast<int>(layout.channelTags.indexOf(tag));
        const PreviewRecipe routed = speakerRouted(paths::stem(file), file, tag, layout, channel);
        const bool isLoaded = co_await loadPreview(routed, routedName(file, tag));
        if (isLoaded || selection != selection_) co_return isLoaded;
        debugLog(QStringLiteral("Speaker-routed extraction failed, falling back to mono"));
    }
    const PreviewRecipe extracted = extractedChannel(file, tag, layout);
    co_return co_await loadPreview(extracted, monoName(file, tag));
}

QCoro::Task<> PlaybackManager::reAuditionCurrentChannel() {
    const QString tag = selectedChannelTag.value();
    if (tag.isEmpty()) {
        debugLog(QStringLiteral("reAuditionCurrentChannel: No channel selected, nothing to re-audition"));
        co_return;
    }
    isReAuditioning_ = true;
    co_await auditionChannel(tag);
    isReAuditioning_ = false;
}

} // namespace ostrel
