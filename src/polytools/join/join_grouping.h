// Groups a pile of loose ISOs into takes and publishes what it found for the review. Main thread; the reading goes on
// behind it.
#pragma once

#include "polytools/services/poly_tools_services.h"
#include "polytools/state/join_state.h"
#include "polytools/state/poly_tools_state.h"

#include <functional>

namespace ostrel {

class JoinGrouping {
public:
    // `onOneTake`: the pile is one take beyond doubt, so there is nothing to review.
    JoinGrouping(PolyToolsState& state, JoinState& join, PolyToolsServices& services,
                 std::function<void(const ISOGroupCandidate& take)> onOneTake)
        : state_(state), join_(join), services_(services), onOneTake_(std::move(onOneTake)) {}

    // The folder or the files of the state; what is wrong with them is a line in the log.
    void scan();

private:
    QCoro::Task<> group(TaskHandle handle);
    void showGroups(const GroupingResult& result);

    PolyToolsState& state_;
    JoinState& join_;
    PolyToolsServices& services_;
    std::function<void(const ISOGroupCandidate& take)> onOneTake_;
};

} // namespace ostrel
