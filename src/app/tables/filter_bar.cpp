#include "app/tables/filter_bar.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "app/tables/record_table.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QLocale>
#include <QShortcut>

namespace ostrel {

FilterBar::FilterBar(RecordTable& table, QWidget* parent)
    : QWidget(parent), table_(table),
      field_(named(new QLineEdit, QStringLiteral("Filter ") + table.accessibleName(),
                   QStringLiteral("Shows the rows that hold every word: of names, states and classes. Escape clears "
                                  "and closes."))),
      count_(new SecondaryLabel) {
    field_->setPlaceholderText(QStringLiteral("Filter by name, status or class"));
    field_->setClearButtonEnabled(true);
    for (auto* clear : field_->findChildren<QAbstractButton*>())
        clear->setAccessibleName(QStringLiteral("Clear filter"));
    field_->setTextMargins(4, 0, 0, 0);
    field_->installEventFilter(this);
    auto* done = new SymbolButton(QStringLiteral("xmark"), QStringLiteral("Close filter"),
                                  QStringLiteral("Clear the filter and close it (Escape)"));
    connect(done, &QAbstractButton::clicked, this, &FilterBar::close);
    auto* row = rowLayout(8);
    row->addWidget(field_, 1);
    row->addWidget(count_);
    row->addWidget(done);
    setLayout(row);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    hide();
    connect(field_, &QLineEdit::textChanged, this, [this](const QString& text) { table_.rows()->setFilter(text); });
    connect(table.rows(), &ArrangedRows::arranged, this, &FilterBar::refresh);
    connect(&table, &RecordTable::findRequested, this, &FilterBar::open);
}

void FilterBar::open() {
    show();
    field_->setFocus(Qt::ShortcutFocusReason);
    field_->selectAll();
}

void FilterBar::close() {
    field_->clear();
    hide();
    table_.setFocus();
}

QString FilterBar::says() const { return count_->text(); }

// Down and Return go on to what was found.
bool FilterBar::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool isPress = event->type() == QEvent::KeyPress;
        const bool goesOn = key->key() == Qt::Key_Down || key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
        if (key->key() == Qt::Key_Escape || (goesOn && isPress)) {
            event->accept();
            if (!isPress) return true;
            if (!goesOn) {
                close();
            } else {
                table_.setFocus();
                if (!table_.currentIndex().isValid() && table_.model()->rowCount() > 0) table_.selectRow(0);
            }
            return true;
        }
    }
    return QWidget::eventFilter(object, event);
}

void FilterBar::refresh() {
    const int hidden = table_.rows()->hiddenCount();
    if (table_.rows()->filter().isEmpty()) return count_->setText(QString());
    count_->setText(hidden == 0 ? QStringLiteral("No row is hidden")
                                : QStringLiteral("%1 hidden; a run takes them too")
                                      .arg(hidden == 1 ? QStringLiteral("1 row")
                                                       : QStringLiteral("%1 rows").arg(QLocale().toString(hidden))));
}

QWidget* withFilter(RecordTable& table, bool isMain) {
    auto* whole = new QWidget;
    auto* bar = new FilterBar(table);
    auto* column = columnLayout(5);
    column->addWidget(bar);
    column->addWidget(&table, 1);
    whole->setLayout(column);
    if (isMain) {
        auto* shortcut = new QShortcut(QKeySequence::Find, whole);
        QObject::connect(shortcut, &QShortcut::activated, bar, &FilterBar::open);
    }
    return whole;
}

} // namespace ostrel
