#include "app/poly/edit/channel_names_table.h"

#include "app/controls/item_delegates.h"
#include "app/controls/theme.h"
#include "app/poly/edit/channel_names_model.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>

namespace ostrel {
namespace {

QString placeholder() { return QStringLiteral("Original name"); }

// Looks like a field at all times, so that one sees where to type.
class NameFieldDelegate : public TextDelegate {
public:
    using TextDelegate::TextDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        QStyleOptionViewItem cell = option;
        initStyleOption(&cell, index);
        const Theme& theme = themeOf(cell.palette);
        const bool isEnabled = cell.state & QStyle::State_Enabled;
        painter->save();
        if (cell.state & QStyle::State_Selected) painter->fillRect(cell.rect, theme.selection);
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(theme.border);
        painter->setBrush(isEnabled ? theme.base : theme.window);
        painter->drawRoundedRect(QRectF(cell.rect).adjusted(2.5, 2.5, -2.5, -2.5), 4, 4);
        const QString text = cell.text.isEmpty() ? placeholder() : cell.text;
        painter->setPen(!isEnabled ? theme.disabledText : cell.text.isEmpty() ? theme.secondaryText : theme.text);
        const QRect room = cell.rect.adjusted(9, 0, -9, 0);
        painter->drawText(room, Qt::AlignVCenter | Qt::AlignLeft,
                          cell.fontMetrics.elidedText(text, Qt::ElideRight, room.width()));
        painter->restore();
    }

    // Each letter counts at once: a run started by its shortcut must not miss the last name.
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex& index) const override {
        auto* field = new QLineEdit(parent);
        field->setPlaceholderText(placeholder());
        field->setAccessibleName(QStringLiteral("New name for channel %1").arg(index.row() + 1));
        field->setTextMargins(4, 0, 4, 0);
        auto* self = const_cast<NameFieldDelegate*>(this);
        QObject::connect(field, &QLineEdit::textEdited, self, [self, field] { Q_EMIT self->commitData(field); });
        return field;
    }

    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option, const QModelIndex&) const override {
        editor->setGeometry(option.rect);
    }

protected:
    bool eventFilter(QObject* object, QEvent* event) override {
        auto* editor = qobject_cast<QWidget*>(object);
        if (editor && event->type() == QEvent::KeyPress) {
            const int key = static_cast<QKeyEvent*>(event)->key();
            if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Down || key == Qt::Key_Up) {
                Q_EMIT commitData(editor);
                Q_EMIT closeEditor(editor, key == Qt::Key_Up ? EditPreviousItem : EditNextItem);
                return true;
            }
        }
        return TextDelegate::eventFilter(object, event);
    }
};

} // namespace

ChannelNamesTable::ChannelNamesTable(ChannelNamesModel& model, const QString& accessibleName, QWidget* parent)
    : RecordTable(accessibleName, parent) {
    setModel(&model);
    setSelectionMode(SingleSelection);
    setEditTriggers(AnyKeyPressed | EditKeyPressed | DoubleClicked);
    setItemDelegateForColumn(ChannelNamesModel::NewColumn, new NameFieldDelegate(this));
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 13);
    const auto open = [this](int row) { edit(this->model()->index(row, ChannelNamesModel::NewColumn)); };
    connect(this, &QTableView::clicked, this, [open](const QModelIndex& index) { open(index.row()); });
    connect(this, &RecordTable::rowActivated, this, open);
}

// The fields stand below each other.
QModelIndex ChannelNamesTable::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
    if (action != MoveNext && action != MovePrevious) return RecordTable::moveCursor(action, modifiers);
    return model()->index(currentIndex().row() + (action == MoveNext ? 1 : -1), ChannelNamesModel::NewColumn);
}

// A key typed on a row goes into its field, wherever the row was clicked.
void ChannelNamesTable::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    RecordTable::currentChanged(current, previous);
    if (!current.isValid() || current.column() == ChannelNamesModel::NewColumn) return;
    selectionModel()->setCurrentIndex(current.siblingAtColumn(ChannelNamesModel::NewColumn),
                                      QItemSelectionModel::NoUpdate);
}

void ChannelNamesTable::focusInEvent(QFocusEvent* event) {
    RecordTable::focusInEvent(event);
    if (!currentIndex().isValid() && model()->rowCount() > 0) selectRow(0);
}

} // namespace ostrel
