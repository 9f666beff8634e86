#include "polytools/join/poly_join_review.h"

#include "polytools/preview/poly_preview.h"
#include "polytools/records/poly_names.h"

#include <algorithm>
#include <iterator>

namespace ostrel {
namespace {

QString nameOf(const ISOGroupCandidate& group, const JoinState& join) {
    return groupOutputName(group, join.joinKeepOriginalName.value());
}

// Moves out of `files` what is wanted, in order.
void takeFrom(std::vector<ISOFile>& files, const QSet<QUuid>& wanted, std::vector<ISOFile>& taken) {
    const auto isKept = [&](const ISOFile& file) { return !wanted.contains(file.id); };
    const auto first = std::stable_partition(files.begin(), files.end(), isKept);
    std::move(first, files.end(), std::back_inserter(taken));
    files.erase(first, files.end());
}

} // namespace

std::vector<ISOFile> PolyJoinReview::take(Lists& lists, const QSet<QUuid>& isos) {
    std::vector<ISOFile> taken;
    for (ISOGroupCandidate& group : lists.groups) takeFrom(group.isoFiles, isos, taken);
    takeFrom(lists.ungrouped, isos, taken);
    return taken;
}

void PolyJoinReview::publish(Lists lists, const QString& what) {
    std::erase_if(lists.groups, [](const ISOGroupCandidate& group) { return group.isoFiles.empty(); });
    join_.reviewedGroups.assign(std::move(lists.groups));
    join_.ungroupedFiles.assign(std::move(lists.ungrouped));
    services_.info(LogCategory::scan, what);
    preview_.join().groupsChanged();
}

void PolyJoinReview::deleteGroups(const QSet<QUuid>& groups) {
    Lists lists = this->lists();
    QStringList names;
    std::size_t files = 0;
    for (ISOGroupCandidate& group : lists.groups) {
        if (!groups.contains(group.id)) continue;
        names << nameOf(group, join_);
        files += group.isoFiles.size();
        std::move(group.isoFiles.begin(), group.isoFiles.end(), std::back_inserter(lists.ungrouped));
        group.isoFiles.clear();
    }
    if (names.isEmpty()) return;
    const QString which =
        names.size() == 1 ? QStringLiteral("group: ") + names.first() : QStringLiteral("%1 groups").arg(names.size());
    publish(std::move(lists), QStringLiteral("Deleted %1 (%2 files ungrouped)").arg(which).arg(files));
}

void PolyJoinReview::moveToGroup(const QSet<QUuid>& isos, const QUuid& group) {
    Lists lists = this->lists();
    const auto target = std::ranges::find(lists.groups, group, &ISOGroupCandidate::id);
    if (target == lists.groups.end()) return;
    QSet<QUuid> strangers = isos; // those that are in the group already stay where they are
    for (const ISOFile& file : target->isoFiles) strangers.remove(file.id);
    std::vector<ISOFile> moved = take(lists, strangers);
    if (moved.empty()) return;
    const QString what = QStringLiteral("Moved %1 file(s) to group: %2").arg(moved.size()).arg(nameOf(*target, join_));
    std::move(moved.begin(), moved.end(), std::back_inserter(target->isoFiles));
    target->groupingMethod = GroupingMethod::manual;
    publish(std::move(lists), what);
}

QUuid PolyJoinReview::moveToNewGroup(const QSet<QUuid>& isos) {
    Lists lists = this->lists();
    ISOGroupCandidate made;
    made.isoFiles = take(lists, isos);
    if (made.isoFiles.empty()) return {};
    made.duration = made.isoFiles.front().duration;
    const QString what =
        QStringLiteral("Moved %1 file(s) to new group: %2").arg(made.isoFiles.size()).arg(nameOf(made, join_));
    lists.groups.push_back(made);
    publish(std::move(lists), what);
    return made.id;
}

void PolyJoinReview::ungroup(const QSet<QUuid>& isos) {
    Lists lists = this->lists();
    std::vector<ISOFile> moved;
    for (ISOGroupCandidate& group : lists.groups) takeFrom(group.isoFiles, isos, moved);
    if (moved.empty()) return;
    const QString what = QStringLiteral("Ungrouped %1 file(s)").arg(moved.size());
    std::move(moved.begin(), moved.end(), std::back_inserter(lists.ungrouped));
    publish(std::move(lists), what);
}

} // namespace ostrel
