#include "app/poly/edit/published_edits.h"

#include <QScopedValueRollback>
#include <algorithm>

namespace ostrel {
namespace {

// An order of other channels than these polys have says nothing any more.
bool isOrderOf(std::vector<int> order, int channels) {
    std::ranges::sort(order);
    for (int n = 1; n <= channels; ++n) {
        if (order.size() < static_cast<std::size_t>(n) || order[static_cast<std::size_t>(n) - 1] != n) return false;
    }
    return order.size() == static_cast<std::size_t>(channels);
}

} // namespace

PublishedEdits::PublishedEdits(PolyToolsViewModel& viewModel, QObject* parent)
    : QObject(parent), viewModel_(viewModel) {
    const auto& polys = viewModel.batchPolyMetadata;
    followPolys(0);
    connect(&polys, &RecordListSignals::reset, this, [this] { followPolys(0); });
    connect(&polys, &RecordListSignals::rowsAppended, this, [this](int first) { followPolys(first); });
    inPlace = viewModel.editPolyEditInPlace.value();
    bindings_.bind(viewModel.channelRemovalFilter,
                   [this] { take([this] { takeFilter(viewModel_.channelRemovalFilter.value()); }); });
    bindings_.bind(viewModel.channelReorderMap,
                   [this] { take([this] { takeReorder(viewModel_.channelReorderMap.value()); }); });
    bindings_.bind(viewModel.channelRemovalRenameMap,
                   [this] { take([this] { takeRenames(viewModel_.channelRemovalRenameMap.value()); }); });
    isBound_ = true;
    bindings_.watch(viewModel.editPolyEditInPlace, [this] { inPlace = viewModel_.editPolyEditInPlace.value(); });
    const auto publishAgain = [this] { publish(); };
    bindings_.watch(removes, publishAgain);
    bindings_.watch(filterMode, publishAgain);
    bindings_.watch(numbersText, publishAgain);
    bindings_.watch(namesText, publishAgain);
    bindings_.watch(reorders, publishAgain);
    bindings_.watch(order, publishAgain);
    bindings_.watch(renames, publishAgain);
    bindings_.watch(newNames, publishAgain);
    bindings_.watch(tracks, publishAgain);
    bindings_.watch(inPlace, publishAgain);
}

// New rows cost what they are: the widest so far is known.
void PublishedEdits::followPolys(int first) {
    const auto& polys = viewModel_.batchPolyMetadata;
    if (first == 0) widest_ = 0;
    if (polys.empty()) {
        tracks = std::vector<SourceTrack>();
        return;
    }
    for (auto row = static_cast<std::size_t>(first); row < polys.size(); ++row) {
        if (polys[row].channelCount <= widest_) continue;
        widest_ = polys[row].channelCount;
        tracks = tracksOfAll(polys[0], polys[row]);
    }
}

void PublishedEdits::fitOrder() {
    const auto& polys = viewModel_.batchPolyMetadata;
    if (!reorders.value() || inPlace.value() || polys.empty() || isOrderOf(order.value(), polys[0].channelCount))
        return;
    viewModel_.edit().initializeReorderFromChannelItems();
    order = viewModel_.channelReorderMap.value().value_or(std::vector<int>());
}

void PublishedEdits::publish() {
    if (isTaking_ || isPublishing_) return;
    const QScopedValueRollback busy(isPublishing_, true);
    fitOrder();
    viewModel_.channelRemovalFilter = filter();
    viewModel_.channelReorderMap = reorder();
    viewModel_.channelRemovalRenameMap = renameMap();
}

void PublishedEdits::take(const std::function<void()>& taking) {
    if (isTaking_ || isPublishing_) return;
    {
        const QScopedValueRollback busy(isTaking_, true);
        taking();
    }
    if (isBound_) publish(); // where channels moved, their names went with them
}

} // namespace ostrel
