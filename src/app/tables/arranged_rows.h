// The rows of a list as a person looks at them: in the order of one column, and only those that a text is found in. The
// list itself stays as it is; a job never asks here. "Shown" rows are those of this model, "records" those of the list.
//
// What is compared is made once a row and column, so that 20,000 rows are sorted or filtered within a frame. A changed
// record costs O(1) where it stays in its place; otherwise all are arranged anew, at most four times a second.
#pragma once

#include <QAbstractProxyModel>
#include <QTimer>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

class ArrangedRows : public QAbstractProxyModel {
    Q_OBJECT

public:
    // What a list tells of itself.
    struct Telling {
        QList<int> filterColumns; // whose texts are searched; empty: all
        // Where lines belong to the line above them, as channels to their file: the first line of theirs. They are
        // sorted and filtered as that one is.
        std::function<int(int record)> headOf;
        // The files of a record, which a drag takes along; absent: rows stay.
        std::function<QStringList(int record)> files;
    };

    ArrangedRows(QAbstractItemModel& records, Telling telling, QObject* parent);

    // Every word must be found in some column, whatever its case. Empty: all rows.
    void setFilter(const QString& text);
    QString filter() const { return words_.join(u' '); }
    int hiddenCount() const; // heads that the filter hides
    // Is the order of the list shown, whole?
    bool isPlain() const { return column_ < 0 && words_.isEmpty(); }
    int sortColumn() const { return column_; } // -1: the order of the list

    int recordOf(int shown) const { return shown_[static_cast<std::size_t>(shown)]; }
    int shownOf(int record) const; // -1: hidden

    // Stable; column -1 is the order of the list.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
    QModelIndex mapToSource(const QModelIndex& shown) const override;
    QModelIndex mapFromSource(const QModelIndex& record) const override;
    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    QModelIndex sibling(int row, int column, const QModelIndex& index) const override;
    bool hasChildren(const QModelIndex& parent = QModelIndex()) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    // What stands beside a record's own texts: drawn by the table, told as help and to readers of the screen. Empty:
    // none.
    void setNotes(std::function<QString(int record)> noteOf) { noteOf_ = std::move(noteOf); }
    QString noteOf(int record) const { return noteOf_ ? noteOf_(record) : QString(); }
    QVariant data(const QModelIndex& index, int role) const override;
    // The files go along as a list of addresses, to be copied and never moved.
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    QStringList mimeTypes() const override;
    Qt::DropActions supportedDragActions() const override { return Qt::CopyAction; }
    // A place in another order than the list's says nothing of the list.
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;

Q_SIGNALS:
    void arranged(); // another order, another filter, other rows

private:
    struct Key {
        double number = 0;
        std::string text; // of what is no number; sorts bytewise
        bool operator<(const Key& other) const;
        bool operator==(const Key& other) const = default;
    };

    void connectRecords();
    void beginChange();
    void endChange();
    void arrange();
    void sortShown();
    void takeKeys(int count);
    Key keyOf(int record) const;
    QString searchText(int record) const;
    bool isFound(int record);
    int headOf(int record) const { return telling_.headOf ? telling_.headOf(record) : record; }
    void takeChange(int first, int last);
    void forgetCaches();

    QAbstractItemModel& records_;
    Telling telling_;
    std::function<QString(int record)> noteOf_;
    QStringList words_;
    int column_ = -1;
    Qt::SortOrder order_ = Qt::AscendingOrder;
    std::vector<int> shown_;    // records, in the order that is shown
    std::vector<int> place_;    // of each record in that order, -1: hidden
    std::vector<Key> keys_;     // of each record, by the column that is sorted by; empty: not made yet
    std::vector<QString> text_; // of each record, what is searched; null: not made yet
    QModelIndexList from_;      // of views, while records change
    QList<QPersistentModelIndex> to_;
    QTimer again_;
};

} // namespace ostrel
