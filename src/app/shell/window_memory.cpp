#include "app/shell/window_memory.h"

#include <QEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QScreen>
#include <QSettings>
#include <QSplitter>
#include <QTableView>
#include <QWidget>
#include <algorithm>
#include <utility>

namespace ostrel {
namespace {

const QString kPlace = QStringLiteral("window/place"); // without the frame
const QString kMaximized = QStringLiteral("window/maximized");
const QString kFontHeight = QStringLiteral("window/fontHeight"); // widths count for this one alone
constexpr QMargins kLikelyFrame(4, 32, 4, 4);
constexpr int kLeastColumn = 24;
constexpr int kWidestColumn = 4000;

QList<QRect> screens() {
    QList<QRect> areas;
    for (const QScreen* screen : QGuiApplication::screens()) areas << screen->availableGeometry();
    return areas;
}

QString keyOf(const QSplitter& splitter) { return QStringLiteral("splitters/") + splitter.accessibleName(); }
QString keyOf(const QTableView& table) { return QStringLiteral("columns/") + table.accessibleName(); }

QStringList numbers(const QList<int>& values) {
    QStringList result;
    for (const int value : values) result << QString::number(value);
    return result;
}

} // namespace

WindowMemory::WindowMemory(QWidget& window) : window_(window), comfortable_(window.minimumSize()) {
    soon_.setSingleShot(true);
    soon_.setInterval(400);
    connect(&soon_, &QTimer::timeout, this, [this] { save(); });
    restorePlace();
    for (QSplitter* splitter : window.findChildren<QSplitter*>()) {
        if (splitter->accessibleName().isEmpty()) continue;
        restoreSplitter(*splitter);
        connect(splitter, &QSplitter::splitterMoved, &soon_, qOverload<>(&QTimer::start));
    }
    const bool sameFont = QSettings().value(kFontHeight).toInt() == window.fontMetrics().height();
    for (QTableView* table : window.findChildren<QTableView*>()) {
        if (table->accessibleName().isEmpty() || !table->model()) continue;
        if (sameFont) restoreColumns(*table);
        connect(table->horizontalHeader(), &QHeaderView::sectionResized, &soon_, qOverload<>(&QTimer::start));
    }
    window.installEventFilter(this);
}

bool WindowMemory::isLow() const { return window_.minimumHeight() < comfortable_.height(); }

WindowMemory::~WindowMemory() {
    if (soon_.isActive()) save();
}

QRect WindowMemory::fitted(const QRect& wanted, const QList<QRect>& screens) {
    const auto shown = [&](const QRect& screen) {
        const QRect part = wanted.intersected(screen);
        return part.isValid() ? qint64(part.width()) * part.height() : 0;
    };
    const QRect screen = *std::ranges::max_element(screens, {}, shown);
    const QSize size = wanted.size().boundedTo(screen.size());
    // Where no screen shows it, the middle is where a person looks.
    if (shown(screen) == 0) return QRect(screen.center() - QPoint(size.width() / 2, size.height() / 2), size);
    const int left = std::clamp(wanted.left(), screen.left(), screen.left() + screen.width() - size.width());
    const int top = std::clamp(wanted.top(), screen.top(), screen.top() + screen.height() - size.height());
    return QRect(QPoint(left, top), size);
}

void WindowMemory::restorePlace() {
    const QSettings settings;
    const QRect kept = settings.value(kPlace).toRect();
    const QRect screen = screens().value(0);
    const QRect first(screen.center() - QPoint(window_.width() / 2, window_.height() / 2), window_.size());
    place((kept.isValid() ? kept : first).marginsAdded(kLikelyFrame), kLikelyFrame);
    if (settings.value(kMaximized).toBool()) window_.setWindowState(window_.windowState() | Qt::WindowMaximized);
}

void WindowMemory::place(const QRect& frame, const QMargins& margins) {
    const QRect inner = fitted(frame, screens()).marginsRemoved(margins);
    window_.setMinimumSize(comfortable_.boundedTo(inner.size()));
    window_.setGeometry(inner);
}

void WindowMemory::restoreSplitter(QSplitter& splitter) {
    QList<int> sizes;
    for (const QString& size : QSettings().value(keyOf(splitter)).toStringList()) sizes << size.toInt();
    const bool isUsable = std::ranges::all_of(sizes, [](int size) { return size > 0; });
    if (isUsable && sizes.size() == splitter.count()) splitter.setSizes(sizes);
}

// By place, where the table still has as many columns. What stretches takes its share of the width afterwards.
void WindowMemory::restoreColumns(QTableView& table) {
    const QStringList widths = QSettings().value(keyOf(table)).toStringList();
    if (widths.size() != table.model()->columnCount()) return;
    for (int column = 0; column < widths.size(); ++column) {
        const int width = widths.at(column).toInt();
        if (width > 0) table.setColumnWidth(column, std::clamp(width, kLeastColumn, kWidestColumn));
    }
}

void WindowMemory::save() {
    soon_.stop();
    QSettings settings;
    settings.setValue(kMaximized, window_.isMaximized());
    if (!window_.isMaximized() && !window_.isFullScreen()) settings.setValue(kPlace, window_.geometry());
    settings.setValue(kFontHeight, window_.fontMetrics().height());
    for (const QSplitter* splitter : window_.findChildren<QSplitter*>()) {
        const QList<int> sizes = splitter->sizes();
        const bool wasShown = std::ranges::all_of(sizes, [](int size) { return size > 0; });
        if (!splitter->accessibleName().isEmpty() && wasShown) settings.setValue(keyOf(*splitter), numbers(sizes));
    }
    for (const QTableView* table : window_.findChildren<QTableView*>()) {
        if (table->accessibleName().isEmpty() || !table->model()) continue;
        QList<int> widths; // 0: hidden
        for (int column = 0; column < table->model()->columnCount(); ++column) widths << table->columnWidth(column);
        settings.setValue(keyOf(*table), numbers(widths));
    }
}

bool WindowMemory::eventFilter(QObject* object, QEvent* event) {
    switch (event->type()) {
    case QEvent::Resize:
    case QEvent::Move:
    case QEvent::WindowStateChange: soon_.start(); break;
    case QEvent::WindowActivate: // by now the window manager has framed it
        if (!std::exchange(isFitted_, true) && !window_.isMaximized()) {
            const QRect frame = window_.frameGeometry();
            const QRect inner = window_.geometry();
            const QMargins margins(inner.left() - frame.left(), inner.top() - frame.top(),
                                   frame.right() - inner.right(), frame.bottom() - inner.bottom());
            if (fitted(frame, screens()) != frame) place(frame, margins);
        }
        break;
    case QEvent::Close:
    case QEvent::Hide: save(); break;
    default: break;
    }
    return QObject::eventFilter(object, event);
}

} // namespace ostrel
