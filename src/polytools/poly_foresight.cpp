#include "polytools/poly_foresight.h"

#include "foundation/run/run_ledger.h"
#include "platform/paths.h"
#include "polytools/join/join_names.h"
#include "polytools/records/iso_file_names.h"
#include "polytools/records/poly_names.h"

namespace ostrel {

PolyForesight::PolyForesight(PolyToolsState& state, SourceState& source, SplitState& split, JoinState& join,
                             EditState& edit)
    : state_(state), source_(source), split_(split), join_(join), edit_(edit) {
    timer_.setSingleShot(true);
    timer_.setInterval(0);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] {
        const bool isListing = source_.isScanningBatchFiles.value() || join_.isScanningJoinISOs.value();
        if (!state_.isProcessing.value() && !isListing) foresee();
    });
    const auto request = [this] { timer_.start(); };
    const auto watch = [&](auto&... properties) { (watches_.push_back(properties.addNotifier(request)), ...); };
    watch(state.mode, source.splitOutputFolder, split.splitNamingPattern, split.splitKeepOriginalName,
          split.folderOrganization, source.batchMode, edit.channelRemovalOutputSameFolder, edit.editPolyEditInPlace,
          join.joinOutputFolder, join.joinKeepOriginalName, source.isScanningBatchFiles, join.isScanningJoinISOs,
          state.isProcessing);
    for (const RecordListSignals* list :
         std::initializer_list<const RecordListSignals*>{&source.batchPolyMetadata, &join.reviewedGroups}) {
        QObject::connect(list, &RecordListSignals::reset, &timer_, request);
        QObject::connect(list, &RecordListSignals::rowsAppended, &timer_, request);
    }
}

void PolyForesight::foresee() {
    QStringList sources;
    std::vector<QStringList> outputs;
    const std::vector<Item> all = items();
    for (const Item& item : all) {
        sources << item.sources;
        outputs.push_back(item.outputs);
    }
    QHash<QUuid, QString> refusals;
    QString first;
    const std::vector<QString> reasons = RunLedger(sources).foresee(outputs);
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (reasons[i].isEmpty()) continue;
        if (first.isEmpty()) first = reasons[i];
        refusals.insert(all[i].id, reasons[i]);
    }
    helperEnding_ =
        first.isEmpty() ? QString() : QStringLiteral(" · %1 will be refused: %2").arg(refusals.size()).arg(first);
    state_.foreseenRefusals = refusals; // whoever watches it may ask for the ending
}

std::vector<PolyForesight::Item> PolyForesight::items() const {
    if (state_.mode.value() == PolyMode::join) return joins();
    std::vector<Item> result;
    for (const BatchPolyMetadata& poly : source_.batchPolyMetadata) {
        result.push_back(state_.mode.value() == PolyMode::split ? split(poly) : edit(poly));
    }
    return result;
}

PolyForesight::Item PolyForesight::split(const BatchPolyMetadata& poly) const {
    const QString folder = source_.splitOutputFolder.value();
    Item item{poly.id, {poly.url}, {}};
    if (folder.isEmpty() || split_.folderOrganization.value() != FolderOrganization::flat) return item;
    // As the split takes them: a track list of another length than the poly counts for nothing.
    const bool isListed = poly.trackInfo.size() == static_cast<std::size_t>(poly.channelCount);
    std::vector<IsoNameRequest> requests;
    for (int channel = 0; channel < poly.channelCount; ++channel) {
        const TrackInfo track = isListed ? poly.trackInfo[static_cast<std::size_t>(channel)] : TrackInfo();
        requests.push_back({isListed ? track.interleaveIndex - 1 : channel, track.name});
    }
    for (const QString& name : isoNamesOf(poly.url, folder, requests, split_.splitNamingPattern.value(),
                                          split_.splitKeepOriginalName.value())) {
        item.outputs << paths::append(folder, name);
    }
    return item;
}

// A poly that is written anew beside itself gets another name, which its edit decides.
PolyForesight::Item PolyForesight::edit(const BatchPolyMetadata& poly) const {
    Item item{poly.id, {poly.url}, {}};
    const QString folder = edit_.channelRemovalOutputSameFolder.value() ? QString() : source_.splitOutputFolder.value();
    if (edit_.editPolyEditInPlace.value() || folder.isEmpty()) return item;
    const QString output = paths::append(folder, polyFileName(poly.baseName));
    if (!paths::isSameFile(output, poly.url)) item.outputs << output;
    return item;
}

std::vector<PolyForesight::Item> PolyForesight::joins() const {
    std::vector<Item> result;
    QStringList sources;
    for (const ISOGroupCandidate& group : join_.reviewedGroups) {
        Item item{group.id, {}, {}};
        item.sources << group.files();
        sources << item.sources;
        result.push_back(std::move(item));
    }
    const QString folder = join_.joinOutputFolder.value();
    if (folder.isEmpty()) return result;
    const std::vector<QString> names =
        joinNames(join_.reviewedGroups.rows(), folder, join_.joinKeepOriginalName.value(), RunLedger(sources));
    for (std::size_t i = 0; i < result.size(); ++i) {
        if (result[i].sources.size() > 1) result[i].outputs << paths::append(folder, polyFileName(names[i]));
    }
    return result;
}

} // namespace ostrel
