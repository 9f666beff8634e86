#include "polytools/preview/join_preview.h"

#include "platform/files/files.h"

#include <algorithm>

namespace ostrel {
namespace {

QStringList urlsOf(const std::vector<ISOFile>& isos) {
    QStringList urls;
    for (const ISOFile& iso : isos) urls << iso.url;
    return urls;
}

} // namespace

QStringList JoinPreview::selectedISOs() const {
    QStringList urls;
    for (const ISOFile& iso : join_.isoFiles) {
        if (iso.isSelected) urls << iso.url;
    }
    return urls;
}

void JoinPreview::loadAllISOsForPreview() {
    const QStringList urls = selectedISOs();
    if (!deck_.isEnabled() || urls.isEmpty()) return;
    loadISOs(urls, join_.isoFiles[0].bitDepth,
             QStringLiteral("Loaded %1 ISOs for instant preview — generating poly source...").arg(urls.size()));
}

// The ISOs can be heard at once; their poly joins them when it is made.
void JoinPreview::loadISOs(const QStringList& urls, int bitDepth, const QString& what) {
    const TaskHandle handle = deck_.begin();
    deck_.clear();
    deck_.mixer()->loadMix(urls);
    deck_.log(LogLevel::info, what);
    if (urls.size() > 1) services_.run(addPolySource(urls, bitDepth, handle));
}

QCoro::Task<> JoinPreview::addPolySource(QStringList urls, int bitDepth, TaskHandle handle) {
    QString folder;
    try {
        folder = folder_.makeFresh();
    } catch (const FileError& error) {
        deck_.log(LogLevel::error, QStringLiteral("Failed to create temp directory: ") + error.description);
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
        deck_.log(LogLevel::warning,
                  QStringLiteral("⚠️ Poly source generation failed — ISO-only playback (may have phasing)"));
    } else {
        deck_.mixer()->setPolySource(poly);
    }
}

void JoinPreview::updatePreviewMix() {
    if (!deck_.isEnabled()) return;
    const QStringList urls = selectedISOs();
    if (urls.isEmpty()) return deck_.mixer()->cleanup();
    if (deck_.mixer()->sourceURLs() != urls) return loadAllISOsForPreview();
    deck_.mixer()->updateVolumes();
    deck_.mixer()->publishSourceStates();
    deck_.log(LogLevel::info, QStringLiteral("Preview updated: %1 ISOs in mix").arg(urls.size()));
}

void JoinPreview::selectISOForPlayback(int row) {
    if (!deck_.isEnabled() || row < 0 || static_cast<std::size_t>(row) >= join_.isoFiles.size()) return;
    if (deck_.mixer()->sourceURLs() != selectedISOs()) loadAllISOsForPreview();
    const ISOFile& iso = join_.isoFiles[static_cast<std::size_t>(row)];
    deck_.listenTo(preview_.selectedISOForPlayback, row, iso.url, QStringLiteral("Selected ISO %1").arg(row + 1));
}

void JoinPreview::toggleISOSolo(int row) {
    if (!deck_.isEnabled() || row < 0 || static_cast<std::size_t>(row) >= join_.isoFiles.size()) return;
    if (deck_.mixer()->sourceURLs() != selectedISOs()) loadAllISOsForPreview();
    deck_.toggleSolo(preview_.selectedISOForPlayback, row, join_.isoFiles[static_cast<std::size_t>(row)].url);
}

// After the preview was cleared, or another mode had the mixer, the ISOs are loaded again.
void JoinPreview::playJoinPolySource() {
    if (!deck_.isEnabled()) return;
    if (deck_.mixer()->sourceURLs() != selectedISOs()) loadAllISOsForPreview();
    deck_.playWhole(preview_.selectedISOForPlayback);
}

void JoinPreview::loadGroupForPreview(const ISOGroupCandidate& group) {
    const std::vector<ISOFile> isos = group.sortedISOs();
    if (!deck_.isEnabled() || isos.empty()) return;
    preview_.previewedGroupISOs = isos;
    preview_.previewedGroupOutputName = group.suggestedOutputName();
    std::set<int> all;
    for (int i = 0; i < static_cast<int>(isos.size()); ++i) all.insert(i);
    preview_.previewIncludedIndices = all;
    const QStringList urls = urlsOf(isos);
    loadISOs(urls, isos.front().bitDepth,
             QStringLiteral("Loaded %1 ISOs for group preview — generating poly source...").arg(urls.size()));
    preview_.previewedGroupID = group.id;
}

void JoinPreview::selectPreviewISO(int row) {
    const std::vector<ISOFile>& isos = preview_.previewedGroupISOs.value();
    if (!deck_.isEnabled() || row < 0 || static_cast<std::size_t>(row) >= isos.size()) return;
    deck_.toggleSolo(preview_.selectedPreviewISOIndex, row, isos[static_cast<std::size_t>(row)].url);
}

bool JoinPreview::holdsGroup(const QUuid& group) const {
    return deck_.isEnabled() && preview_.previewedGroupID.value() == group &&
           deck_.mixer()->sourceURLs() == urlsOf(preview_.previewedGroupISOs.value());
}

void JoinPreview::previewGroupISO(const ISOGroupCandidate& group, int row) {
    if (!holdsGroup(group.id)) loadGroupForPreview(group);
    selectPreviewISO(row);
}

void JoinPreview::playGroup(const ISOGroupCandidate& group) {
    if (!holdsGroup(group.id)) loadGroupForPreview(group);
    playPreviewPolySource();
}

void JoinPreview::groupsChanged() {
    const QUuid id = preview_.previewedGroupID.value();
    if (id.isNull()) return;
    const std::vector<ISOGroupCandidate>& groups = join_.reviewedGroups.rows();
    const auto group = std::ranges::find(groups, id, &ISOGroupCandidate::id);
    if (group != groups.end() && group->sortedISOs() == preview_.previewedGroupISOs.value()) return;
    preview_.previewedGroupISOs = std::vector<ISOFile>();
    preview_.previewedGroupOutputName = QString();
    deck_.clear();
}

void JoinPreview::playPreviewPolySource() { deck_.playWhole(preview_.selectedPreviewISOIndex); }

QString JoinPreview::joinPlaybackDisplayLabel() const {
    if (const auto& index = preview_.selectedISOForPlayback.value()) {
        const auto row = static_cast<std::size_t>(*index);
        if (row < join_.isoFiles.size()) return PreviewDeck::numbered(*index, join_.isoFiles[row].fileName);
    }
    if (deck_.isEnabled() && deck_.mixer()->isPlaying.value()) return join_.joinOutputName.value();
    return QStringLiteral("Click an ISO to preview");
}

QString JoinPreview::previewGroupDisplayLabel() const {
    const std::vector<ISOFile>& isos = preview_.previewedGroupISOs.value();
    if (const auto& index = preview_.selectedPreviewISOIndex.value()) {
        const auto row = static_cast<std::size_t>(*index);
        if (row < isos.size()) return PreviewDeck::numbered(*index, isos[row].fileName);
    }
    return isos.empty() ? QStringLiteral("Click an ISO to preview") : preview_.previewedGroupOutputName.value();
}

std::optional<int> JoinPreview::activeJoinChannelNumber() const {
    return PreviewDeck::oneBased(preview_.selectedISOForPlayback.value());
}

std::optional<int> JoinPreview::activePreviewChannelNumber() const {
    return PreviewDeck::oneBased(preview_.selectedPreviewISOIndex.value());
}

void JoinPreview::cleanupJoinPreview() {
    if (deck_.isEnabled()) deck_.mixer()->cleanup();
    folder_.remove();
}

} // namespace ostrel
