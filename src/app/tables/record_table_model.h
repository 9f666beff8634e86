// A table over a controller's list. One changed record costs O(1) and is announced as one row; a list that was replaced
// by one of the same items (all of them switched on, say) keeps the selection and the scroll position.
#pragma once

#include "foundation/records/record_list.h"

#include <QAbstractTableModel>
#include <QUuid>
#include <vector>

namespace ostrel {

template <class Record>
class RecordTableModel : public QAbstractTableModel {
public:
    explicit RecordTableModel(const RecordList<Record>& list, QObject* parent = nullptr)
        : QAbstractTableModel(parent), list_(list) {
        takeIds();
        connect(&list, &RecordListSignals::rowChanged, this, [this](int row) { announce(row, row); });
        connect(&list, &RecordListSignals::rowsAppended, this, [this](int first, int last) {
            beginInsertRows(QModelIndex(), first, last);
            takeIds();
            endInsertRows();
        });
        connect(&list, &RecordListSignals::reset, this, [this] { onReset(); });
    }

    int rowCount(const QModelIndex& parent = QModelIndex()) const override {
        return parent.isValid() ? 0 : static_cast<int>(ids_.size());
    }

    const Record& record(int row) const { return list_[static_cast<std::size_t>(row)]; }

    void announceAll() {
        if (rowCount() > 0) announce(0, rowCount() - 1);
    }

protected:
    void announce(int first, int last) { Q_EMIT dataChanged(index(first, 0), index(last, columnCount() - 1)); }
    bool isRow(const QModelIndex& index) const {
        return index.isValid() && index.row() < rowCount() && static_cast<std::size_t>(index.row()) < list_.size();
    }

private:
    bool sameItems() const {
        return std::equal(ids_.begin(), ids_.end(), list_.begin(), list_.end(),
                          [](const QUuid& id, const Record& record) { return id == record.id; });
    }

    void takeIds() {
        for (std::size_t row = ids_.size(); row < list_.size(); ++row) ids_.push_back(list_[row].id);
    }

    void onReset() {
        if (sameItems()) return announceAll();
        beginResetModel();
        ids_.clear();
        takeIds();
        endResetModel();
    }

    const RecordList<Record>& list_;
    std::vector<QUuid> ids_; // what the views have been told of
};

} // namespace ostrel
