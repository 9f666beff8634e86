// The groups under review and, below each, its ISOs in channel order. A change of the controller's lists keeps every
// group that is still there with what a person did to its row: selection, unfolding, scroll position. ISOs can be
// dragged from one group to another.
#pragma once

#include "app/controls/bindings.h"
#include "polytools/poly_tools_view_model.h"

#include <QAbstractItemModel>
#include <QHash>
#include <QSet>
#include <memory>
#include <vector>

namespace ostrel {

// The ids of ISOs that are dragged between the lists of the review.
inline constexpr auto kIsoIdsMime = u"application/x-ostrel-iso-ids";
QMimeData* isoIdsMime(const QSet<QUuid>& isos);
QSet<QUuid> isoIdsOf(const QMimeData& data);

class GroupTreeModel : public QAbstractItemModel {
    Q_OBJECT

public:
    explicit GroupTreeModel(PolyToolsViewModel& viewModel, QObject* parent = nullptr);

    bool isGroup(const QModelIndex& index) const { return index.isValid() && !index.internalPointer(); }
    bool isIso(const QModelIndex& index) const { return index.isValid() && index.internalPointer(); }
    const ISOGroupCandidate& group(const QModelIndex& index) const; // of an ISO: the one that it is in
    const ISOFile& iso(const QModelIndex& index) const;
    QString outputName(const QModelIndex& index) const;
    bool isHeard(const QModelIndex& index) const;
    const GroupJoinResult* result(const QModelIndex& index) const; // of the last run; null without one
    QString foreseen(const QModelIndex& index) const; // why a run would refuse the group; empty: it would not
    QModelIndex indexOf(const QUuid& group) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& = QModelIndex()) const override { return 1; }
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    Qt::DropActions supportedDropActions() const override { return Qt::CopyAction | Qt::MoveAction; }
    QStringList mimeTypes() const override { return {QString::fromUtf16(kIsoIdsMime)}; }
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

Q_SIGNALS:
    // Any of the rows may have to be painted again. (A change of data would have a tree measure all of them.)
    void looksChanged();

private:
    // A copy, so that views which ask in the middle of a change get what they were told of.
    struct Entry {
        Entry(const ISOGroupCandidate& ofGroup, int atRow) : group(ofGroup), row(atRow), isos(ofGroup.sortedISOs()) {}
        ISOGroupCandidate group;
        int row = 0;
        std::vector<ISOFile> isos; // in channel order
    };

    void sync();
    bool removeGone();
    void refill(Entry& entry, const ISOGroupCandidate& group);
    void rebuild();
    QString description(const QModelIndex& index) const;

    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
    std::vector<std::unique_ptr<Entry>> entries_;
    QHash<QUuid, GroupJoinResult> results_;
};

} // namespace ostrel
