#include "roads/road.h"

namespace ostrel {

Road::Road(EngineChoice chosen, const QStringList& sources, int channels, const QString& container) {
    if (chosen == EngineChoice::ffmpeg || sources.isEmpty()) return;
    QString why;
    if (container != QStringLiteral("wav")) {
        why = QStringLiteral("it writes WAV files only, not %1").arg(container);
    } else {
        direct_.emplace(sources, channels);
        why = direct_->objection();
    }
    if (why.isEmpty()) return;
    direct_.reset();
    detour_ = QStringLiteral("The direct engine can't take this, so it goes the usual way: %1").arg(why);
}

QStringList Road::make(const std::vector<PlannedOutput>& outputs, const std::function<void()>& byFFmpeg,
                       const std::function<void(double)>& progress, SourceHashes* hashes) const {
    if (direct_) return direct_->make(outputs, progress, hashes);
    byFFmpeg();
    return {};
}

} // namespace ostrel
