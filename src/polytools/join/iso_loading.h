// Reads the ISOs of one poly, in the order that their metadata gives, and publishes them. Main thread; the reading goes
// on behind it.
#pragma once

#include "polytools/grouping/iso_loader.h"
#include "polytools/services/poly_tools_services.h"
#include "polytools/state/join_state.h"
#include "polytools/state/poly_tools_state.h"

#include <QStringList>
#include <functional>
#include <vector>

namespace ostrel {

class IsoLoading {
public:
    // `onLoaded`: the ISOs that were asked for are published.
    IsoLoading(PolyToolsState& state, JoinState& join, PolyToolsServices& services, std::function<void()> onLoaded)
        : state_(state), join_(join), services_(services), onLoaded_(std::move(onLoaded)) {}

    // Takes the place of a reading that is under way. `known`: later parts of these go on belonging to them.
    void start(const QStringList& urls, const std::vector<ISOFile>& known = {});
    // These, as they come; whoever asked knows them already.
    void publish(std::vector<ISOFile> files);

private:
    QCoro::Task<> load(QStringList urls, std::vector<ISOFile> known, TaskHandle handle);
    void showLoaded(const LoadedISOs& loaded);
    void logOrdering(const LoadedISOs& loaded);
    void validate();

    PolyToolsState& state_;
    JoinState& join_;
    PolyToolsServices& services_;
    std::function<void()> onLoaded_;
};

} // namespace ostrel
