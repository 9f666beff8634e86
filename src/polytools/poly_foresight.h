// What a run over the listed polys or groups would refuse, told ahead of it: a poly whose ISOs another poly of the list
// would write too, an output that is a source of the run.
//
// Follows the state by itself, a moment behind it, and publishes `foreseenRefusals`. Looks at names and the disk's
// directory alone, so what only a recording's metadata tells (folders by scene) is left to the run, which refuses it
// all the same. Main thread.
#pragma once

#include "polytools/state/edit_state.h"
#include "polytools/state/join_state.h"
#include "polytools/state/poly_tools_state.h"
#include "polytools/state/source_state.h"
#include "polytools/state/split_state.h"

#include <QTimer>
#include <vector>

namespace ostrel {

class PolyForesight {
public:
    PolyForesight(PolyToolsState& state, SourceState& source, SplitState& split, JoinState& join, EditState& edit);

    // At once, for a caller that can't wait for the event loop.
    void foresee();

    // " · 2 will be refused: {the first reason}"; empty where nothing will.
    const QString& helperEnding() const { return helperEnding_; }

private:
    struct Item {
        QUuid id;
        QStringList sources;
        QStringList outputs; // empty: not known ahead of the run
    };
    std::vector<Item> items() const;
    std::vector<Item> joins() const;
    Item edit(const BatchPolyMetadata& poly) const;
    Item split(const BatchPolyMetadata& poly) const;

    PolyToolsState& state_;
    const SourceState& source_;
    const SplitState& split_;
    const JoinState& join_;
    const EditState& edit_;
    QTimer timer_;
    QString helperEnding_;
    std::vector<QPropertyNotifier> watches_;
};

} // namespace ostrel
