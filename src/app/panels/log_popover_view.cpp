#include "app/panels/log_popover_view.h"

#include "app/controls/layouts.h"

#include <QEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QTextBlock>

namespace ostrel {
namespace {

// `ActivityLogEntryRow`: one entry, its message in the colour of its level, with the level's word so that colour is not
// all that tells it.
void insertEntryRow(QTextCursor& cursor, const ProcessingLogEntry& entry, const Theme& theme) {
    QTextCharFormat quiet;
    quiet.setForeground(theme.secondaryText);
    QTextCharFormat message;
    message.setForeground(theme.tone(entry.level));
    if (!cursor.document()->isEmpty()) cursor.insertBlock();
    cursor.insertText(entry.timestamp.toString(QStringLiteral("HH:mm:ss\t")), quiet);
    cursor.insertText(QStringLiteral("%1\t%2\t").arg(rawText(entry.level), rawText(entry.category)), quiet);
    cursor.insertText(entry.message, message);
}

} // namespace

LogPopoverView::LogPopoverView(ActivityFeed& feed, QWidget* parent)
    : QFrame(parent, Qt::Popup), feed_(feed), list_(new QPlainTextEdit), status_(new SecondaryLabel) {
    setAttribute(Qt::WA_DeleteOnClose);
    setAccessibleName(feed.title);
    auto* title = new QLabel(feed.title);
    scaleFont(*title, 1.1, QFont::DemiBold);
    named(list_, feed.title + QStringLiteral(" entries"));
    list_->setReadOnly(true);
    list_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    list_->setCursorWidth(0);
    list_->document()->setDocumentMargin(8);
    list_->setTabStopDistance(fontMetrics().horizontalAdvance(QStringLiteral("CLEANUP  ")));
    list_->setPlaceholderText(QStringLiteral("No log entries yet"));
    auto* clear = pushButton(QStringLiteral("Clear Log"));
    auto* save = pushButton(QStringLiteral("Save Log..."));
    connect(clear, &QPushButton::clicked, this, [this] { feed_.clearLog(); });
    connect(save, &QPushButton::clicked, this, [this] {
        const auto saveLog = feed_.saveLog; // the popover goes first: a panel can't open over it
        dismiss();
        saveLog();
    });
    for (QPushButton* button : {clear, save}) button->setAutoDefault(true); // Return presses it
    auto* head = rowLayout();
    head->addWidget(title);
    head->addStretch();
    head->addWidget(status_);
    auto* foot = rowLayout();
    foot->addWidget(clear);
    foot->addStretch();
    foot->addWidget(save);
    auto* column = columnLayout(10);
    column->setContentsMargins(14, 12, 14, 12);
    column->addLayout(head);
    column->addWidget(list_, 1);
    column->addLayout(foot);
    setLayout(column);
    connect(&feed.logEntries, &RecordListSignals::rowsAppended, this, &LogPopoverView::appendRows);
    connect(&feed.logEntries, &RecordListSignals::reset, this, &LogPopoverView::showAll);
    connect(&feed, &ActivityFeed::changed, this, &LogPopoverView::refreshStatus);
    showAll();
    refreshStatus();
}

void LogPopoverView::showAbove(const QWidget& anchor) {
    const QWidget* window = anchor.window();
    resize(std::min(680, window->width() - 32), std::min(380, window->height() - 80));
    const QPoint corner = anchor.mapToGlobal(QPoint(anchor.width(), 0));
    QPoint place(corner.x() - width(), corner.y() - height() - 4);
    if (const QScreen* screen = anchor.screen()) {
        place.setX(std::max(place.x(), screen->availableGeometry().left() + 4));
        place.setY(std::max(place.y(), screen->availableGeometry().top() + 4));
    }
    move(place);
    show();
    list_->setFocus();
    list_->verticalScrollBar()->setValue(list_->verticalScrollBar()->maximum());
}

void LogPopoverView::dismiss() { close(); }

void LogPopoverView::showAll() {
    list_->clear();
    if (!feed_.logEntries.empty()) appendRows(0, static_cast<int>(feed_.logEntries.size()) - 1);
}

// Stays with the latest entry unless a person has scrolled away from it.
void LogPopoverView::appendRows(int first, int last) {
    QScrollBar* bar = list_->verticalScrollBar();
    const bool followsLatest = bar->value() == bar->maximum();
    QTextCursor cursor(list_->document());
    cursor.movePosition(QTextCursor::End);
    cursor.beginEditBlock();
    for (int row = first; row <= last; ++row) {
        insertEntryRow(cursor, feed_.logEntries[static_cast<std::size_t>(row)], themeOf(palette()));
    }
    cursor.endEditBlock();
    if (followsLatest) bar->setValue(bar->maximum());
}

void LogPopoverView::refreshStatus() {
    const bool hasFailures = feed_.state() == ActivityState::error;
    status_->setText(hasFailures ? QStringLiteral("Done with errors") : displayText(feed_.state()));
}

void LogPopoverView::changeEvent(QEvent* event) {
    QFrame::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) showAll();
}

void LogPopoverView::paintEvent(QPaintEvent*) {
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    painter.setPen(theme.border);
    painter.setBrush(theme.window);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void LogPopoverView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) return dismiss();
    QFrame::keyPressEvent(event);
}

} // namespace ostrel
