// A line above a table that finds rows by a text. Ctrl+F opens it, Escape clears and closes it. It hides rows and
// changes nothing else: what a run does goes by the list, and the line says so.
#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;

namespace ostrel {

class RecordTable;
class SecondaryLabel;

class FilterBar : public QWidget {
    Q_OBJECT

public:
    // `table` shows records (RecordTable::setRecords).
    explicit FilterBar(RecordTable& table, QWidget* parent = nullptr);

    void open();
    void close();
    QLineEdit& field() { return *field_; }
    QString says() const;

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void refresh();

    RecordTable& table_;
    QLineEdit* field_;
    SecondaryLabel* count_;
};

// The table with its filter above it, in a widget that takes the table's place. Ctrl+F finds it from anywhere in the
// window while it is the one that is seen, unless a tab has several: then `isMain` is the one that it finds.
QWidget* withFilter(RecordTable& table, bool isMain = true);

} // namespace ostrel
