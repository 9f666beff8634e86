// Marks the rows of a table whose recordings were never closed, and rescues copies of them.
#pragma once

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <functional>

namespace ostrel {

class DesktopServices;
class RecordTable;

// Belongs to its table. Only what is in sight is looked at, behind the main thread, each file once.
class UnclosedRows : public QObject {
    Q_OBJECT

public:
    UnclosedRows(RecordTable& table, std::function<QStringList(int record)> sources);

    // Of these files, those that are known to be unclosed.
    QStringList unclosed(const QStringList& files) const;

Q_SIGNALS:
    void found(const QString& file);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override; // the table was painted

private:
    QString badgeOf(int record) const;
    void look();
    void diagnose(const QStringList& files);

    RecordTable& table_;
    std::function<QStringList(int record)> sources_;
    QHash<QString, QString> badges_; // by file; empty: nothing is wrong
    QTimer soon_;
};

// Asks where to, copies behind the main thread with its progress shown, and tells where the copies are.
void rescueCopies(const QStringList& files, RecordTable& table, DesktopServices& desktop);

} // namespace ostrel
