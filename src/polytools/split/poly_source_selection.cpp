#include "polytools/split/poly_source_selection.h"

#include "foundation/run/recording_list.h"
#include "platform/files/file_name.h"
#include "platform/parallel.h"
#include "platform/paths.h"
#include "platform/text/text.h"
#include "polytools/preview/poly_preview.h"
#include "polytools/records/iso_file_names.h"
#include "polytools/records/poly_track_reading.h"

namespace ostrel {
namespace {

using Task = PolyToolsServices::Task;

// The text that stands for a track in a file name of the list of channels.
QString cleanTrackName(QString name) {
    name.replace(u' ', u'_').replace(u'/', u'-').replace(u':', u'-').replace(u'\\', u'-');
    return name.remove(u'?').remove(u'*');
}

} // namespace

void PolySourceSelection::applySplitModeDetection(const QStringList& folders, const QStringList& files) {
    if (!folders.isEmpty()) return selectFolders(folders);
    if (files.size() > 1 || (files.size() == 1 && isEditing())) return selectSeveralFiles(files);
    if (files.size() == 1) selectOneFile(files.first());
}

void PolySourceSelection::selectSeveralFiles(const QStringList& files) {
    source_.batchMode = true;
    if (files.size() > 1) {
        services_.info(kScan, QStringLiteral("✅ Auto-enabled Batch Mode (%1 files selected)").arg(files.size()));
    }
    source_.selectedFiles = files;
    source_.sourceFolder = QString();
    services_.info(kScan, files.size() == 1 ? QStringLiteral("Selected 1 poly file")
                                            : QStringLiteral("Selected %1 poly file(s)").arg(files.size()));
    if (isEditing()) defaultOutputFolder(paths::parent(files.first()), QStringLiteral("✅ Auto-set output folder to: "));
    populateBatchPolyMetadata(files);
}

void PolySourceSelection::selectOneFile(const QString& file) {
    source_.batchMode = false;
    services_.info(kScan, QStringLiteral("✅ Auto-disabled Batch Mode (single file selected)"));
    source_.selectedFiles = std::nullopt;
    source_.sourceFolder = QString();
    analyzePolyFile(file);
}

void PolySourceSelection::selectFolders(const QStringList& folders) {
    source_.batchMode = true;
    services_.info(kScan, QStringLiteral("✅ Auto-enabled Batch Mode (folder(s) selected)"));
    if (folders.size() == 1) {
        const QString folder = folders.first();
        source_.sourceFolder = folder;
        source_.selectedFiles = std::nullopt;
        services_.info(kScan, QStringLiteral("Source folder selected: ") + paths::lastComponent(folder));
        if (!isEditing()) {
            // The run reads the folder by itself; for the list of polys it is read here.
            if (preview_.deck().isEnabled()) services_.run(showFolder(folder, services_.begin(Task::listing)));
            return;
        }
        defaultOutputFolder(folder, QStringLiteral("✅ Auto-set output folder to source: "));
    } else {
        services_.info(kScan, QStringLiteral("Scanning %1 folders for poly files...").arg(folders.size()));
    }
    source_.isScanningBatchFiles = true;
    services_.run(listFolders(folders, services_.begin(Task::listing)));
}

void PolySourceSelection::defaultOutputFolder(const QString& folder, const QString& logStart) {
    if (!source_.splitOutputFolder.value().isEmpty()) return;
    source_.splitOutputFolder = folder;
    services_.info(kScan, logStart + paths::lastComponent(folder));
}

QCoro::Task<> PolySourceSelection::listFolders(QStringList folders, TaskHandle handle) {
    const bool recursive = source_.recursiveScan.value();
    const auto work = [folders, recursive] { return collectRecordings(folders, recursive, {QStringLiteral("wav")}); };
    const CollectedRecordings found = co_await inBackground(services_.owner(), work);
    if (handle.isCancelled()) co_return;
    source_.isScanningBatchFiles = false;
    for (const QString& folder : found.unopened)
        services_.warning(kScan, QStringLiteral("Folder can't be read: ") + folder);
    for (const QString& sentence : found.remarks) services_.warning(kScan, sentence);
    if (found.files.isEmpty()) {
        services_.warning(kScan, folders.size() > 1 ? QStringLiteral("No .wav files found in selected folders")
                                                    : QStringLiteral("No .wav files found in folder"));
        co_return;
    }
    source_.selectedFiles = found.files;
    if (folders.size() > 1) {
        source_.sourceFolder = QString();
        services_.info(
            kScan, QStringLiteral("Found %1 poly file(s) in %2 folders").arg(found.files.size()).arg(folders.size()));
    } else {
        services_.info(kScan, QStringLiteral("Found %1 poly file(s) in folder").arg(found.files.size()));
    }
    populateBatchPolyMetadata(found.files);
}

QCoro::Task<> PolySourceSelection::showFolder(QString folder, TaskHandle handle) {
    const auto work = [folder, recursive = source_.recursiveScan.value()] {
        return collectRecordings({folder}, recursive, {QStringLiteral("wav")});
    };
    const CollectedRecordings found = co_await inBackground(services_.owner(), work);
    if (!handle.isCancelled()) populateBatchPolyMetadata(found.files);
}

void PolySourceSelection::selectPolyFile() {
    OpenPanelRequest request;
    request.message = QStringLiteral("Select a poly file to split");
    request.allowedExtensions = {QStringLiteral("wav")};
    const QStringList chosen = services_.desktop().showOpenPanel(request);
    if (!chosen.isEmpty()) analyzePolyFile(chosen.first());
}

void PolySourceSelection::analyzePolyFile(const QString& url) {
    state_.isAnalyzing = true;
    services_.info(kScan, QStringLiteral("🔴 analyzePolyFile START for: ") + paths::lastComponent(url));
    if (!services_.requireFFprobe()) {
        state_.isAnalyzing = false;
        return;
    }
    services_.run(analyze(url, services_.begin(Task::analysis)));
}

QCoro::Task<> PolySourceSelection::analyze(QString url, TaskHandle handle) {
    const auto work = [url, tools = services_.engineTools()] {
        return std::pair(readPolyFile(url, tools.ffprobePath, tools.answers),
                         readTrackInfo(url, tools.bwfmetaeditPath, *tools.answers));
    };
    const auto [loaded, failure] = co_await services_.attempt(work);
    if (handle.isCancelled()) co_return; // stopped, or another file was chosen
    if (!loaded) {
        services_.error(kScan, QStringLiteral("Analysis failed: ") + failure);
        source_.polyFile = std::nullopt;
        source_.refreshSplitSections();
        state_.isAnalyzing = false;
        co_return;
    }
    showPoly(loaded->first, loaded->second.tracks);
    if (services_.manifestExtractor() && !loaded->second.hasIXML) {
        services_.info(LogCategory::metadata, QStringLiteral("No iXML in the file, no manifest made"));
    } else if (services_.manifestExtractor()) {
        const auto saved = std::make_shared<std::promise<void>>();
        manifestSaved_ = saved->get_future().share();
        services_.run(saveManifest(loaded->first, saved));
    }
    source_.refreshSplitSections();
    co_await preview_.channels().extractAllChannelsForPreview();
    if (!handle.isCancelled()) state_.isAnalyzing = false;
}

void PolySourceSelection::showPoly(const PolyFile& poly, const std::vector<TrackInfo>& tracks) {
    QStringList names;
    for (const TrackInfo& track : tracks) names << track.name;
    source_.polyFile = poly;
    source_.hasIXMLTrackNames = !names.isEmpty();
    source_.trackNames = names;
    split_.splitNamingPattern = names.isEmpty() ? SplitNamingPattern::channelNumber : SplitNamingPattern::trackName;
    source_.splitOutputFolder = paths::parent(poly.url);

    std::vector<ChannelItem> items;
    for (int i = 0; i < poly.channelCount; ++i) {
        ChannelItem item;
        item.channelIndex = i;
        item.trackName = isUsableTrackName(names.value(i)) ? names.value(i) : noTrackName();
        item.outputFileName = generateOutputName(paths::stem(poly.url), i, item.trackName);
        items.push_back(std::move(item));
    }
    source_.channelItems.assign(std::move(items));
    services_.success(kScan, QStringLiteral("Loaded: %1 (%2 channels)").arg(poly.fileName).arg(poly.channelCount));
    if (state_.bwfmetaeditPath.value().isEmpty()) {
        services_.warning(LogCategory::metadata, QStringLiteral("bwfmetaedit not found - no track names from iXML"));
    } else if (!names.isEmpty()) {
        services_.info(LogCategory::metadata, QStringLiteral("Found %1 track names in iXML").arg(names.size()));
    }
}

QCoro::Task<> PolySourceSelection::saveManifest(PolyFile poly, std::shared_ptr<std::promise<void>> saved) {
    const auto work = [poly, saved, extractor = *services_.manifestExtractor()] {
        const auto finish = qScopeGuard([saved] { saved->set_value(); });
        MetadataManifest manifest = extractor.extractAndSaveManifest(poly.url);
        AudioProperties& audio = manifest.audioProperties;
        audio.sampleRate = poly.sampleRate;
        audio.bitDepth = poly.bitDepth;
        audio.channelCount = poly.channelCount;
        audio.duration = poly.duration;
        audio.channelLayout = poly.channelLayout;
        MetadataManifestExtractor::writeManifest(manifest, poly.url);
    };
    QString failure;
    try {
        co_await inBackground(services_.owner(), work);
    } catch (const std::exception& error) {
        failure = describe(error);
    }
    if (!failure.isEmpty()) {
        services_.error(LogCategory::metadata, QStringLiteral("Failed to extract metadata manifest: ") + failure);
    }
}

void PolySourceSelection::populateBatchPolyMetadata(const QStringList& urls) {
    if (state_.ffprobePath.value().isEmpty() && state_.engine.value() == EngineChoice::ffmpeg) {
        services_.error(LogCategory::system, QStringLiteral("Cannot get poly metadata: ffprobe not available"));
        return;
    }
    preview_.batch().cleanupBatchPreviewTempFiles();
    source_.batchPolyMetadata.clear();
    source_.listingProgress = -1;
    services_.run(populate(urls, services_.begin(Task::listing)));
}

// Rows come as they are read, in order, a few files side by side.
QCoro::Task<> PolySourceSelection::populate(QStringList urls, TaskHandle handle) {
    const qsizetype step = static_cast<qsizetype>(parallelWidth());
    for (qsizetype first = 0; first < urls.size() && !handle.isCancelled(); first += step) {
        const QStringList some = urls.mid(first, step);
        const auto work = [some, tools = services_.engineTools()] {
            std::vector<std::optional<BatchPolyMetadata>> rows(static_cast<std::size_t>(some.size()));
            std::vector<QString> failures(rows.size());
            forEachInParallel(rows.size(), [&](std::size_t i) {
                try {
                    rows[i] = readBatchPolyMetadata(some[static_cast<qsizetype>(i)], tools.ffprobePath,
                                                    tools.bwfmetaeditPath, tools.answers);
                } catch (const std::exception& error) {
                    failures[i] = QStringLiteral("Failed to analyze %1: %2")
                                      .arg(paths::lastComponent(some[static_cast<qsizetype>(i)]), describe(error));
                }
            });
            return std::pair(std::move(rows), std::move(failures));
        };
        const auto [rows, failures] = co_await inBackground(services_.owner(), work);
        if (handle.isCancelled()) co_return;
        source_.listingProgress = static_cast<double>(first + some.size()) / static_cast<double>(urls.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (rows[i]) {
                source_.batchPolyMetadata.append(*rows[i]);
            } else {
                services_.warning(kScan, failures[i]);
            }
        }
    }
    if (!handle.isCancelled()) source_.listingProgress = -1;
}

void PolySourceSelection::selectOutputFolder() {
    const QString folder = services_.chooseFolder(QStringLiteral("Select output folder"));
    if (!folder.isEmpty()) source_.splitOutputFolder = folder;
}

QString PolySourceSelection::generateOutputName(const QString& baseName, int index, const QString& trackName) const {
    if (split_.splitKeepOriginalName.value()) return fittedFileName(baseName, QStringLiteral(".wav"));
    const SplitNamingPattern pattern = split_.splitNamingPattern.value();
    if (pattern == SplitNamingPattern::trackName && isUsableTrackName(trackName)) {
        return trackFileName(baseName, cleanTrackName(trackName));
    }
    return isoOutputName(baseName, index, pattern, QString());
}

void PolySourceSelection::updateOutputNames() {
    const auto& poly = source_.polyFile.value();
    if (!poly) return;
    const QString baseName = paths::stem(poly->url);
    source_.channelItems.updateAll([&](ChannelItem& item) {
        item.outputFileName = generateOutputName(baseName, item.channelIndex, item.trackName);
    });
}

bool PolySourceSelection::hasContent() const {
    const auto& selected = source_.selectedFiles.value();
    return !source_.sourceFolder.value().isEmpty() || (selected && !selected->isEmpty()) || source_.polyFile.value();
}

QString PolySourceSelection::batchProcessHelperText() const {
    const auto& selected = source_.selectedFiles.value();
    if (source_.sourceFolder.value().isEmpty() && (!selected || selected->isEmpty())) return {};
    qsizetype channels = 0;
    for (const BatchPolyMetadata& poly : source_.batchPolyMetadata) channels += poly.channelCount;
    const qsizetype polys = static_cast<qsizetype>(source_.batchPolyMetadata.size());
    const QString what = QStringLiteral("Split %1 %2 → %3 ISOs").arg(polys).arg(plural("poly", polys)).arg(channels);
    switch (split_.folderOrganization.value()) {
    case FolderOrganization::flat: return what + QStringLiteral(" (flat)");
    case FolderOrganization::bySceneTake: return what + QStringLiteral(" into Scene-Take folders");
    case FolderOrganization::byScene: break;
    }
    return what + QStringLiteral(" into Scene folders");
}

void PolySourceSelection::clear() {
    services_.cancel(Task::analysis);
    services_.cancel(Task::listing);
    source_.listingProgress = -1;
    state_.isAnalyzing = false;
    source_.isScanningBatchFiles = false;
    source_.polyFile = std::nullopt;
    source_.channelItems.clear();
    source_.trackNames = std::nullopt;
    source_.hasIXMLTrackNames = false;
    split_.splitNamingPattern = SplitNamingPattern::channelNumber;
    source_.sourceFolder = QString();
    source_.selectedFiles = std::nullopt;
    source_.batchResults = std::nullopt;
    source_.batchProgress = std::nullopt;
    preview_.deck().clear();
    preview_.channels().cleanupPreviewTempFiles();
    preview_.batch().cleanupBatchPreviewTempFiles();
    source_.batchPolyMetadata.clear();
    preview_.batch().selectNoPoly();
    source_.expandedBatchPolyIndices = std::set<int>();
    source_.refreshSplitSections();
    services_.info(LogCategory::system, QStringLiteral("Cleared split data - ready for new file"));
}

} // namespace ostrel
