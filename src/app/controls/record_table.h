// The table of a tab: rows that are selected whole, a text where there are none yet, one row repainted for one change.
#pragma once

#include <QTableView>

namespace ostrel {

class RecordTable : public QTableView {
    Q_OBJECT

public:
    explicit RecordTable(const QString& accessibleName, QWidget* parent = nullptr);

    void setEmptyText(const QString& text) { emptyText_ = text; }
    // The width of a column as that of a typical text, in this font.
    void setColumnText(int column, const QString& typical, int extra = 0);
    // These share what the other columns leave; none gets narrower than it is now.
    void setStretchColumns(const QList<int>& columns);
    void stretch();
    // Never lower than its header and so many rows.
    void setMinimumRows(int rows);
    QSize sizeHint() const override { return {400, minimumHeight()}; }

Q_SIGNALS:
    // A person went to this row, by pointer or key.
    void rowChosen(int row);
    // Return or Enter on a row.
    void rowActivated(int row);
    void menuRequested(int row, const QPoint& globalPosition);

protected:
    void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight, const QList<int>& roles) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QString emptyText_;
    QList<int> stretchColumns_;
    QList<int> stretchMinimums_;
};

} // namespace ostrel
