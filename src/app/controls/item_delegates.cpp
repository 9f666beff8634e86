#include "app/controls/item_delegates.h"

#include "app/controls/symbols.h"
#include "app/controls/theme.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>

namespace ostrel {
namespace {

constexpr int kBadgeCellMargin = 7;
constexpr int kChipGap = 3;

// The cell without its content: selection, alternate rows, focus.
void paintEmptyCell(QPainter* painter, const QStyleOptionViewItem& option) {
    const QWidget* widget = option.widget;
    const QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, widget);
}

std::vector<ChannelBadge> badgesOf(const ChannelChips& chips) {
    std::vector<ChannelBadge> badges;
    for (const QString& tag : chips.tags) {
        badges.push_back({tag, chips.active.contains(tag),
                          chips.isSelector ? ChannelBadge::Style::selector : ChannelBadge::Style::indicator});
    }
    return badges;
}

} // namespace

int paintBadge(QPainter& painter, const QRect& rect, const Badge& badge, const Theme& theme) {
    const QColor tone = theme.tone(badge.color);
    const QFontMetrics metrics(painter.font());
    const int icon = 14;
    paintSymbol(painter, badge.symbol, QRectF(rect.left(), rect.center().y() - icon / 2.0 + 0.5, icon, icon), tone);
    const QRect words = rect.adjusted(icon + 6, 0, 0, 0);
    const QString word = metrics.elidedText(badge.word, Qt::ElideRight, words.width());
    painter.setPen(tone);
    painter.drawText(words, Qt::AlignVCenter | Qt::AlignLeft, word);
    return icon + 6 + metrics.horizontalAdvance(word);
}

void TextDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    if (index.data(ElideMiddleRole).toBool()) option->textElideMode = Qt::ElideMiddle;
    option->state &= ~QStyle::State_HasFocus; // the row is what is selected, not the cell
}

void StatusBadge::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    paintEmptyCell(painter, cell);
    const QVariant badge = index.data(BadgeRole);
    if (!badge.isValid()) return; // a row without a state
    painter->save();
    painter->setClipRect(cell.rect);
    painter->setFont(cell.font);
    paintBadge(*painter, cell.rect.adjusted(kBadgeCellMargin, 0, -kBadgeCellMargin, 0), badge.value<Badge>(),
               themeOf(cell.palette));
    painter->restore();
}

void ExpanderDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    paintEmptyCell(painter, cell);
    const QVariant isExpanded = index.data(ExpandedRole);
    if (!isExpanded.isValid()) return;
    const QString symbol = isExpanded.toBool() ? QStringLiteral("chevron.down") : QStringLiteral("chevron.right");
    const QPointF middle = QRectF(cell.rect).center();
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    paintSymbol(*painter, symbol, QRectF(middle.x() - 7, middle.y() - 7, 14, 14), themeOf(cell.palette).secondaryText);
    painter->restore();
}

int ChannelBadge::width(const QFontMetrics& metrics) const {
    return std::max(badgeMinWidth, metrics.horizontalAdvance(tag) + 2 * horizontalPadding);
}

void ChannelBadge::paint(QPainter& painter, const QRect& rect, const Theme& theme, bool isEnabled) const {
    const QColor tone = style == Style::selector ? theme.accentText : theme.green;
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5);
    if (isActive) {
        painter.setPen(isEnabled ? tone : theme.border);
        painter.setBrush(isEnabled ? theme.badgeFill(tone) : theme.window);
    } else {
        QPen missing(theme.border);
        missing.setStyle(Qt::DashLine);
        painter.setPen(missing);
        painter.setBrush(Qt::NoBrush);
    }
    painter.drawRoundedRect(box, 4, 4);
    painter.setPen(!isEnabled ? theme.disabledText : isActive ? tone : theme.secondaryText);
    painter.drawText(rect, Qt::AlignCenter, tag);
}

QFont ChannelIndicators::chipFont(const QFont& font) {
    QFont small = font;
    small.setPointSizeF(font.pointSizeF() * 0.85);
    return small;
}

std::vector<QRect> ChannelIndicators::chipRects(const ChannelChips& chips, const QRect& cell, const QFont& font) {
    const QFontMetrics metrics(chipFont(font));
    std::vector<ChannelBadge> badges = badgesOf(chips);
    int total = 0;
    for (const ChannelBadge& badge : badges) total += badge.width(metrics) + kChipGap;
    const int room = cell.width() - 2 * kBadgeCellMargin + kChipGap;
    const double scale = total > room && total > 0 ? static_cast<double>(room) / total : 1;
    std::vector<QRect> rects;
    double left = cell.left() + kBadgeCellMargin;
    for (const ChannelBadge& badge : badges) {
        const double step = (badge.width(metrics) + kChipGap) * scale;
        const int height = std::min(std::max(badge.badgeHeight, metrics.height() + 2), cell.height() - 2);
        rects.emplace_back(qRound(left), cell.top() + (cell.height() - height) / 2,
                           qRound(left + step) - qRound(left) - kChipGap, height);
        left += step;
    }
    return rects;
}

void ChannelIndicators::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    paintEmptyCell(painter, cell);
    const auto chips = index.data(ChannelChipsRole).value<ChannelChips>();
    const std::vector<ChannelBadge> badges = badgesOf(chips);
    const std::vector<QRect> rects = chipRects(chips, cell.rect, cell.font);
    const bool isEnabled = !chips.isSelector || index.flags().testFlag(Qt::ItemIsUserCheckable);
    painter->save();
    painter->setFont(chipFont(cell.font));
    painter->setClipRect(cell.rect);
    for (std::size_t chip = 0; chip < badges.size(); ++chip) {
        badges[chip].paint(*painter, rects[chip], themeOf(cell.palette), isEnabled);
    }
    painter->restore();
}

bool ChannelIndicators::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                    const QModelIndex& index) {
    const auto chips = index.data(ChannelChipsRole).value<ChannelChips>();
    const bool isSwitch = chips.isSelector && index.flags().testFlag(Qt::ItemIsUserCheckable);
    if (event->type() != QEvent::MouseButtonRelease || !isSwitch) return false;
    const QPoint point = static_cast<QMouseEvent*>(event)->position().toPoint();
    const std::vector<QRect> rects = chipRects(chips, option.rect, option.font);
    for (std::size_t chip = 0; chip < rects.size(); ++chip) {
        if (rects[chip].contains(point))
            return model->setData(index, chips.tags.at(static_cast<qsizetype>(chip)), ChannelChipsRole);
    }
    return false;
}

} // namespace ostrel
