// Previews of ISOs with the poly that they would make.
#include "platform/files/files.h"
#include "polytools/preview/poly_preview.h"

#include <algorithm>

namespace ostrel {
namespace {

QStringList urlsOf(const std::vector<ISOFile>& isos) {
    QStringList urls;
    for (const ISOFile& iso : isos) urls << iso.url;
    return urls;
}

} // namespace

QStringList PolyPreview::selectedISOs() const {
    QStringList urls;
    for (const ISOFile& iso : state_.isoFiles) {
        if (iso.isSelected) urls << iso.url;
    }
    return urls;
}

void PolyPreview::loadAllISOsForPreview() {
    const QStringList urls = selectedISOs();
    if (!isEnabled() || urls.isEmpty()) return;
    loadISOs(urls, state_.isoFiles[0].bitDepth,
             QStringLiteral("Loaded %1 ISOs for instant preview — generating poly source...").arg(urls.size()));
}

// The ISOs can be heard at once; their poly joins them when it is made.
void PolyPreview::loadISOs(const QStringList& urls, int bitDepth, const QString& what) {
    const TaskHandle handle = beginPreview();
    clearPlaybackState();
    mixer_->loadMix(urls);
    log(LogLevel::info, what);
    if (urls.size() > 1) services_.run(addPolySource(urls, bitDepth, handle));
}

QCoro::Task<> PolyPreview::addPolySource(QStringList urls, int bitDepth, TaskHandle handle) {
    QString folder;
    try {
        folder = joinFolder_.makeFresh();
    } catch (const FileError& error) {
        log(LogLevel::error, QStringLiteral("Failed to create temp directory: ") + error.description);
        co_return;
    }
    const auto tell = [hop = services_.hop(), services = &services_](const QString& line) {
        hop([services, line] { services->info(LogCategory::process, line); });
    };
    const auto work = [urls, bitDepth, folder, ffmpeg = state_.ffmpegPath.value(), tell] {
        return generateTempPreviewPoly(urls, bitDepth, folder, ffmpeg, tell);
    };
    const QString poly = co_await inBackground(services_.owner(), work);
    if (handle.isCancelled()) co_return;
    if (poly.isEmpty()) {
        log(LogLevel::warning,
            QStringLiteral("⚠️ Poly source generation failed — ISO-only playback (may have phasing)"));
    } else {
        mixer_->setPolySource(poly);
    }
}

void PolyPreview::updatePreviewMix() {
    if (!isEnabled()) return;
    const QStringList urls = selectedISOs();
    if (urls.isEmpty()) return mixer_->cleanup();
    if (mixer_->sourceURLs() != urls) return loadAllISOsForPreview();
    mixer_->updateVolumes();
    mixer_->publishSourceStates();
    log(LogLevel::info, QStringLiteral("Preview updated: %1 ISOs in mix").arg(urls.size()));
}

void PolyPreview::selectISOForPlayback(int row) {
    if (!isEnabled() || row < 0 || static_cast<std::size_t>(row) >= state_.isoFiles.size()) return;
    if (mixer_->sourceURLs() != selectedISOs()) loadAllISOsForPreview();
    const ISOFile& iso = state_.isoFiles[static_cast<std::size_t>(row)];
    listenTo(state_.selectedISOForPlayback, row, iso.url, QStringLiteral("Selected ISO %1").arg(row + 1));
}

void PolyPreview::toggleISOSolo(int row) {
    if (!isEnabled() || row < 0 || static_cast<std::size_t>(row) >= state_.isoFiles.size()) return;
    if (mixer_->sourceURLs() != selectedISOs()) loadAllISOsForPreview();
    toggleSolo(state_.selectedISOForPlayback, row, state_.isoFiles[static_cast<std::size_t>(row)].url);
}

// After the preview was cleared, or another mode had the mixer, the ISOs are loaded again.
void PolyPreview::playJoinPolySource() {
    if (!isEnabled()) return;
    if (mixer_->sourceURLs() != selectedISOs()) loadAllISOsForPreview();
    playWhole(state_.selectedISOForPlayback);
}

void PolyPreview::loadGroupForPreview(const ISOGroupCandidate& group) {
    const std::vector<ISOFile> isos = group.sortedISOs();
    if (!isEnabled() || isos.empty()) return;
    state_.previewedGroupISOs = isos;
    state_.previewedGroupOutputName = group.suggestedOutputName();
    std::set<int> all;
    for (int i = 0; i < static_cast<int>(isos.size()); ++i) all.insert(i);
    state_.previewIncludedIndices = all;
    const QStringList urls = urlsOf(isos);
    loadISOs(urls, isos.front().bitDepth,
             QStringLiteral("Loaded %1 ISOs for group preview — generating poly source...").arg(urls.size()));
    state_.previewedGroupID = group.id;
}

void PolyPreview::selectPreviewISO(int row) {
    const std::vector<ISOFile>& isos = state_.previewedGroupISOs.value();
    if (!isEnabled() || row < 0 || static_cast<std::size_t>(row) >= isos.size()) return;
    toggleSolo(state_.selectedPreviewISOIndex, row, isos[static_cast<std::size_t>(row)].url);
}

bool PolyPreview::holdsGroup(const QUuid& group) const {
    return isEnabled() && state_.previewedGroupID.value() == group &&
           mixer_->sourceURLs() == urlsOf(state_.previewedGroupISOs.value());
}

void PolyPreview::previewGroupISO(const ISOGroupCandidate& group, int row) {
    if (!holdsGroup(group.id)) loadGroupForPreview(group);
    selectPreviewISO(row);
}

void PolyPreview::playGroup(const ISOGroupCandidate& group) {
    if (!holdsGroup(group.id)) loadGroupForPreview(group);
    playPreviewPolySource();
}

void PolyPreview::groupsChanged() {
    const QUuid id = state_.previewedGroupID.value();
    if (id.isNull()) return;
    const std::vector<ISOGroupCandidate>& groups = state_.reviewedGroups.rows();
    const auto group = std::ranges::find(groups, id, &ISOGroupCandidate::id);
    if (group != groups.end() && group->sortedISOs() == state_.previewedGroupISOs.value()) return;
    state_.previewedGroupISOs = std::vector<ISOFile>();
    state_.previewedGroupOutputName = QString();
    clearPlaybackState();
}

void PolyPreview::playPreviewPolySource() { playWhole(state_.selectedPreviewISOIndex); }

} // namespace ostrel
