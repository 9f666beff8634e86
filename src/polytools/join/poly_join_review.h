// What a person changes in the groups before they are joined. No file is lost on the way: what leaves a group without
// going to another one is ungrouped. Main thread.
#pragma once

#include "polytools/services/poly_tools_services.h"
#include "polytools/state/join_state.h"

#include <QSet>
#include <QUuid>

namespace ostrel {

class PolyPreview;

class PolyJoinReview {
public:
    PolyJoinReview(JoinState& join, PolyToolsServices& services, PolyPreview& preview)
        : join_(join), services_(services), preview_(preview) {}

    void deleteGroups(const QSet<QUuid>& groups);
    // The group counts as made by hand from then on; a group that is left empty goes.
    void moveToGroup(const QSet<QUuid>& isos, const QUuid& group);
    // Returns the new group's id; null where none of the files is known.
    QUuid moveToNewGroup(const QSet<QUuid>& isos);
    void ungroup(const QSet<QUuid>& isos);

private:
    struct Lists {
        std::vector<ISOGroupCandidate> groups;
        std::vector<ISOFile> ungrouped;
    };
    Lists lists() const { return {join_.reviewedGroups.rows(), join_.ungroupedFiles.rows()}; }
    static std::vector<ISOFile> take(Lists& lists, const QSet<QUuid>& isos);
    void publish(Lists lists, const QString& what);

    JoinState& join_;
    PolyToolsServices& services_;
    PolyPreview& preview_;
};

} // namespace ostrel
