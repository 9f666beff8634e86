// How the tables' cells are drawn: badges, channel chips, names cut in the middle. One delegate of each serves all
// rows.
#pragma once

#include "app/controls/item_roles.h"

#include <QStyledItemDelegate>

namespace ostrel {

struct Theme;

// A symbol and a word in one tone. Returns the width that it took.
int paintBadge(QPainter& painter, const QRect& rect, const Badge& badge, const Theme& theme);

class TextDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};

// `StatusBadge`: the state's word, symbol and colour.
class StatusBadge : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

// The chevron of a row that expands.
class ExpanderDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

// One channel's tag as a chip.
struct ChannelBadge {
    enum class Style { indicator, selector };
    QString tag;
    bool isActive = false;
    Style style = Style::indicator;
    int badgeHeight = 18;
    int badgeMinWidth = 20;
    int horizontalPadding = 5;

    int width(const QFontMetrics& metrics) const;
    void paint(QPainter& painter, const QRect& rect, const Theme& theme, bool isEnabled) const;
};

// Shows a chip for each tag of a layout, active when found or selected. In a row that is a selector a click on a chip
// hands its tag to the model (setData with ChannelChipsRole).
class ChannelIndicators : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

    // Where the chips of a cell lie, in their order; they shrink to what the cell has room for.
    static std::vector<QRect> chipRects(const ChannelChips& chips, const QRect& cell, const QFont& font);
    static QFont chipFont(const QFont& font);
};

} // namespace ostrel
