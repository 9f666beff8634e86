#include "preview/preview_cache.h"

#include "platform/background.h"
#include "platform/paths.h"

namespace ostrel {

QCoro::Task<QString> PreviewCache::prepared(PreviewRecipe recipe) {
    const QString target = generator_.pathOf(recipe);
    if (paths::exists(target)) {
        debugLog_(QStringLiteral("Using cached %1: %2").arg(recipe.what, target));
        made_ << target;
        co_return target;
    }
    if (ffmpegPath_.isEmpty()) debugLog_(QStringLiteral("ERROR: ffmpeg not found!"));
    ++generating_;
    onGenerating(true);
    const auto work = [generator = generator_, ffmpegPath = ffmpegPath_, recipe] {
        return generator.generate(ffmpegPath, recipe);
    };
    QString preview;
    QString error;
    try {
        preview = co_await inBackground(owner_, work);
    } catch (const PreviewError& failure) {
        error = failure.errorDescription();
    }
    onGenerating(--generating_ > 0);
    if (!error.isEmpty()) {
        debugLog_(error);
        co_return QString();
    }
    debugLog_(QStringLiteral("ffmpeg completed successfully"));
    made_ << preview;
    co_return preview;
}

void PreviewCache::clear() {
    made_.removeDuplicates();
    generator_.remove(made_);
    made_.clear();
}

} // namespace ostrel
