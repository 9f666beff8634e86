#include "app/panels/row_menu.h"

#include "app/panels/unclosed_rows.h"
#include "app/tables/record_table.h"
#include "platform/desktop_services.h"

#include <QMenu>
#include <QTimer>

namespace ostrel {
namespace {

// The rows that an entry is for.
QList<int> asked(const RecordTable& table, int record) {
    QList<int> records = table.selectedRecords();
    return records.contains(record) ? records : QList<int>{record};
}

template <class TextsOf>
QStringList textsOf(const QList<int>& records, TextsOf textsOf) {
    QStringList all;
    for (const int record : records) {
        for (const QString& text : QStringList(textsOf(record))) {
            if (!text.isEmpty()) all << text;
        }
    }
    all.removeDuplicates();
    return all;
}

void addFiles(QMenu& menu, const RowMenu& offers, const QList<int>& records, DesktopServices& desktop) {
    const QStringList sources = offers.sources ? textsOf(records, offers.sources) : QStringList();
    const QStringList outputs = offers.outputs ? textsOf(records, offers.outputs) : QStringList();
    if (!offers.sources) return;
    const auto add = [&](const QString& text, bool isOn, auto perform) {
        menu.addAction(text, &menu, perform)->setEnabled(isOn);
    };
    add(QStringLiteral("Reveal in Files"), !sources.isEmpty(), [&desktop, sources] { desktop.revealFiles(sources); });
    if (!outputs.isEmpty())
        add(QStringLiteral("Reveal Output in Files"), true, [&desktop, outputs] { desktop.revealFiles(outputs); });
    add(QStringLiteral("Copy Path"), !sources.isEmpty(),
        [&desktop, sources] { desktop.setPasteboardText(sources.join(u'\n')); });
}

void addErrors(QMenu& menu, const RowMenu& offers, const QList<int>& records, DesktopServices& desktop) {
    if (!offers.error) return;
    const QStringList errors = textsOf(records, [&](int record) { return QStringList(offers.error(record)); });
    menu.addAction(QStringLiteral("Copy Error"), &menu,
                   [&desktop, errors] { desktop.setPasteboardText(errors.join(u'\n')); })
        ->setEnabled(!errors.isEmpty());
}

// Behind the menu's own end, since it asks and takes its time.
void addRescue(QMenu& menu, const RowMenu& offers, const QList<int>& records, RecordTable& table,
               const UnclosedRows* unclosed, DesktopServices& desktop) {
    const QStringList files = unclosed ? unclosed->unclosed(textsOf(records, offers.sources)) : QStringList();
    if (files.isEmpty()) return;
    menu.addAction(QStringLiteral("Rescue a Copy..."), &menu, [&table, &desktop, files] {
        QTimer::singleShot(0, &table, [&table, &desktop, files] { rescueCopies(files, table, desktop); });
    });
}

void addSwitches(QMenu& menu, const RowMenu& offers, const QList<int>& records, RecordTable& table) {
    const bool isFree = !offers.isFree || offers.isFree();
    if (offers.includeColumn >= 0) {
        QAbstractItemModel& model = table.records();
        menu.addSeparator();
        for (const Qt::CheckState state : {Qt::Checked, Qt::Unchecked}) {
            const auto isOther = [&model, &offers, state](int record) {
                const QVariant now = model.index(record, offers.includeColumn).data(Qt::CheckStateRole);
                return now.isValid() && now.toInt() != state;
            };
            const auto perform = [&model, records, column = offers.includeColumn, state] {
                for (const int record : records) model.setData(model.index(record, column), state, Qt::CheckStateRole);
            };
            menu.addAction(state == Qt::Checked ? QStringLiteral("Include") : QStringLiteral("Exclude"), &menu, perform)
                ->setEnabled(isFree && std::any_of(records.begin(), records.end(), isOther));
        }
    }
    if (!offers.retry) return;
    QList<int> failed;
    std::copy_if(records.begin(), records.end(), std::back_inserter(failed), offers.canRetry);
    menu.addAction(QStringLiteral("Retry"), &menu, [retry = offers.retry, failed] { retry(failed); })
        ->setEnabled(isFree && !failed.isEmpty());
}

} // namespace

void addRowMenu(RecordTable& table, DesktopServices& desktop, RowMenu offers) {
    const UnclosedRows* unclosed =
        offers.sources && table.rows() ? new UnclosedRows(table, offers.sources) : nullptr; // the table's own
    QObject::connect(
        &table, &RecordTable::menuRequested, &table,
        [&table, &desktop, offers, unclosed](int record, const QPoint& position) {
            const QList<int> records = asked(table, record);
            QMenu menu(&table);
            if (offers.play) {
                QAction* play =
                    menu.addAction(QStringLiteral("Play"), &menu, [&offers, record] { offers.play(record); });
                play->setEnabled(records.size() == 1);
            }
            addFiles(menu, offers, records, desktop);
            addErrors(menu, offers, records, desktop);
            addRescue(menu, offers, records, table, unclosed, desktop);
            addSwitches(menu, offers, records, table);
            if (offers.more) offers.more(menu, record);
            menu.addSeparator();
            menu.addAction(QStringLiteral("Filter..."), QKeySequence::Find, &table, &RecordTable::findRequested);
            table.addSortMenu(menu);
            menu.exec(position);
        });
}

} // namespace ostrel
