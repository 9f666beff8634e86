// An observable list of records: the rows of a table, owned by a controller, touched on the main thread only.
//
// A change of one row costs O(1) and announces that row alone; views listen to the signals of RecordListSignals.
#pragma once

#include <QObject>
#include <cstddef>
#include <utility>
#include <vector>

namespace ostrel {

class RecordListSignals : public QObject {
    Q_OBJECT

Q_SIGNALS:
    void rowChanged(int row);
    void rowsAppended(int first, int last);
    void reset(); // anything may have changed, the length included
};

template <class Record>
class RecordList : public RecordListSignals {
public:
    const std::vector<Record>& rows() const { return rows_; }
    std::size_t size() const { return rows_.size(); }
    bool empty() const { return rows_.empty(); }
    const Record& operator[](std::size_t row) const { return rows_[row]; }
    auto begin() const { return rows_.begin(); }
    auto end() const { return rows_.end(); }

    void assign(std::vector<Record> rows) {
        rows_ = std::move(rows);
        Q_EMIT reset();
    }

    void append(Record record) {
        rows_.push_back(std::move(record));
        const int row = static_cast<int>(rows_.size()) - 1;
        Q_EMIT rowsAppended(row, row);
    }

    void clear() { assign({}); }

    // Changes one record in place. A row that is gone (the list was replaced meanwhile) is left alone.
    template <class Change>
    void update(std::size_t row, Change change) {
        if (row >= rows_.size()) return;
        change(rows_[row]);
        Q_EMIT rowChanged(static_cast<int>(row));
    }

    // Changes every record and announces once.
    template <class Change>
    void updateAll(Change change) {
        for (Record& record : rows_) change(record);
        Q_EMIT reset();
    }

private:
    std::vector<Record> rows_;
};

} // namespace ostrel
