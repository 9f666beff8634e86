#include "app/poly/join/group_picker.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "app/controls/ostrel_style.h"
#include "polytools/records/poly_names.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>

namespace ostrel {

GroupPicker::GroupPicker(const JoinState& join, int fileCount, QWidget* parent)
    : QDialog(parent), join_(join), word_(named(new QLineEdit, QStringLiteral("Find a group"))),
      list_(named(new QListWidget, QStringLiteral("Groups"))),
      move_(pushButton(QStringLiteral("Move"), QString(), QStringLiteral("Move the files into this group"))) {
    setWindowTitle(QStringLiteral("Move to Group"));
    setAccessibleName(windowTitle());
    auto* title = new QLabel(QStringLiteral("Move %1 file(s) to which group?").arg(fileCount));
    scaleFont(*title, 1.15, QFont::DemiBold);
    word_->setPlaceholderText(QStringLiteral("Find a group"));
    word_->setClearButtonEnabled(true);
    word_->installEventFilter(this);
    list_->setUniformItemSizes(true);
    list_->setSpacing(2);
    list_->setTextElideMode(Qt::ElideMiddle);
    auto* cancel = pushButton(QStringLiteral("Cancel"));
    makePrimary(*move_);
    auto* buttons = rowLayout();
    buttons->addStretch();
    buttons->addWidget(cancel);
    buttons->addWidget(move_);
    auto* column = columnLayout(10);
    column->setContentsMargins(20, 18, 20, 16);
    column->addWidget(title);
    column->addWidget(word_);
    column->addWidget(list_, 1);
    column->addLayout(buttons);
    setLayout(column);
    setDefaultButton(*this, *move_);
    resize(460, 420);
    fill();
    connect(word_, &QLineEdit::textChanged, this, &GroupPicker::narrow);
    connect(list_, &QListWidget::itemActivated, this, &GroupPicker::pick);
    connect(list_, &QListWidget::currentItemChanged, this, [this] { move_->setEnabled(list_->currentItem()); });
    connect(move_, &QPushButton::clicked, this, &GroupPicker::pick);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    narrow(QString());
    word_->setFocus();
}

void GroupPicker::fill() {
    const bool keep = join_.joinKeepOriginalName.value();
    for (const ISOGroupCandidate& group : join_.reviewedGroups) {
        auto* item = new QListWidgetItem(
            QStringLiteral("%1   •   %2 channels").arg(groupOutputName(group, keep)).arg(group.isoFiles.size()));
        item->setData(Qt::UserRole, group.id);
        list_->addItem(item);
    }
}

void GroupPicker::narrow(const QString& word) {
    QListWidgetItem* first = nullptr;
    for (int row = 0; row < list_->count(); ++row) {
        QListWidgetItem* item = list_->item(row);
        const bool fits = item->text().contains(word, Qt::CaseInsensitive);
        item->setHidden(!fits);
        if (fits && !first) first = item;
    }
    list_->setCurrentItem(first);
    move_->setEnabled(first);
}

void GroupPicker::pick() {
    const QListWidgetItem* item = list_->currentItem();
    if (!item) return;
    const QUuid group = item->data(Qt::UserRole).toUuid();
    accept();
    Q_EMIT picked(group);
}

// The arrow keys go through the list while the word is typed.
bool GroupPicker::eventFilter(QObject* object, QEvent* event) {
    if (object == word_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        const bool goesThroughList =
            key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_PageUp || key == Qt::Key_PageDown;
        if (goesThroughList) return QCoreApplication::sendEvent(list_, event);
    }
    return QDialog::eventFilter(object, event);
}

} // namespace ostrel
