#include "app/controls/ostrel_style.h"

#include "app/controls/symbols.h"
#include "app/controls/theme.h"

#include <QPainter>
#include <QPushButton>
#include <QStyleOption>
#include <QToolButton>

namespace ostrel {
namespace {

constexpr double kRadius = 5;
constexpr int kScrollBarExtent = 12;
constexpr int kCellMargin = 6; // at both sides of a cell's and a header's text
constexpr int kIconGap = 7;    // between a button's symbol and its word
const char* const kPrimaryProperty = "ostrelPrimary";
const char* const kDestructiveProperty = "ostrelDestructive";

bool isEnabled(const QStyleOption* option) { return option->state & QStyle::State_Enabled; }

// A rectangle whose one-pixel line falls on whole pixels.
QRectF lineRect(const QRect& rect) { return QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5); }

void drawPanel(QPainter* painter, const QRect& rect, const QColor& fill, const QColor& line) {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(line.isValid() ? QPen(line) : QPen(Qt::NoPen));
    painter->setBrush(fill);
    painter->drawRoundedRect(lineRect(rect), kRadius, kRadius);
    painter->restore();
}

QColor buttonFill(const Theme& theme, const QStyleOption* option) {
    if (!isEnabled(option)) return theme.window;
    if (option->state & QStyle::State_Sunken) return theme.pressed;
    if (option->state & QStyle::State_On) return theme.selection;
    if (option->state & QStyle::State_MouseOver) return theme.hover;
    return theme.raised;
}

// What a button stands on that is more than a plain one; an invalid colour: nothing.
QColor fillOf(const QStyleOption* option, const QWidget* widget) {
    const Theme& theme = themeOf(option->palette);
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
    if (!isEnabled(option)) return QColor();
    if (widget && widget->property(kDestructiveProperty).toBool()) return theme.danger;
    const bool isDefault = button && button->features.testFlag(QStyleOptionButton::DefaultButton);
    return isPrimary(widget) || isDefault ? theme.accent : QColor();
}

void drawButtonPanel(const QStyleOption* option, QPainter* painter, const QWidget* widget) {
    const Theme& theme = themeOf(option->palette);
    if (const QColor fill = fillOf(option, widget); fill.isValid()) {
        const bool isHeld = option->state & QStyle::State_Sunken;
        const bool isHovered = option->state & QStyle::State_MouseOver;
        drawPanel(painter, option->rect, isHeld ? fill.darker(118) : isHovered ? fill.darker(108) : fill, QColor());
        return;
    }
    const bool isOn = (option->state & QStyle::State_On) && isEnabled(option);
    drawPanel(painter, option->rect, buttonFill(theme, option), isOn ? theme.accent : theme.border);
}

// Fusion has no ring for push buttons.
void drawPushButton(const QStyleOption* option, QPainter* painter, const QWidget* widget) {
    drawButtonPanel(option, painter, widget);
    if (option->state & QStyle::State_HasFocus) drawFocusRing(*painter, option->rect, option->palette);
}

void drawToolButton(const QStyleOption* option, QPainter* painter) {
    const Theme& theme = themeOf(option->palette);
    const auto shown = QStyle::State_Sunken | QStyle::State_On | QStyle::State_MouseOver;
    if (!isEnabled(option) || !(option->state & shown)) return;
    drawPanel(painter, option->rect, buttonFill(theme, option), QColor());
}

void drawCheck(const QStyleOption* option, QPainter* painter, bool isRound) {
    const Theme& theme = themeOf(option->palette);
    const bool isPartly = option->state & QStyle::State_NoChange;
    const bool isOn = (option->state & QStyle::State_On) || isPartly;
    const QRectF box = lineRect(option->rect);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QColor fill = !isOn ? theme.base : isEnabled(option) ? theme.accent : theme.border;
    painter->setBrush(fill);
    painter->setPen(isOn ? fill : isEnabled(option) ? theme.secondaryText : theme.border);
    const double radius = isRound ? box.width() / 2 : 3.5;
    painter->drawRoundedRect(box, radius, radius);
    painter->restore();
    if (!isOn) return;
    if (isRound) {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(theme.onAccent);
        painter->drawEllipse(box.center(), box.width() * 0.2, box.width() * 0.2);
        painter->restore();
        return;
    }
    const auto* mark = isPartly ? u"minus" : u"checkmark";
    paintSymbol(*painter, QString::fromUtf16(mark), box.adjusted(1.5, 1.5, -1.5, -1.5), theme.onAccent);
}

void drawField(const QStyleOption* option, QPainter* painter) {
    const Theme& theme = themeOf(option->palette);
    const bool hasFocus = option->state & QStyle::State_HasFocus;
    drawPanel(painter, option->rect, isEnabled(option) ? theme.base : theme.window,
              hasFocus ? theme.accentText : theme.border);
}

void drawItemPanel(const QStyleOption* option, QPainter* painter) {
    const auto* item = qstyleoption_cast<const QStyleOptionViewItem*>(option);
    const Theme& theme = themeOf(option->palette);
    if (item && item->backgroundBrush.style() != Qt::NoBrush) painter->fillRect(item->rect, item->backgroundBrush);
    if (option->state & QStyle::State_Selected) painter->fillRect(option->rect, theme.selection);
}

void drawHeaderSection(const QStyleOption* option, QPainter* painter) {
    const Theme& theme = themeOf(option->palette);
    const bool isHovered = (option->state & QStyle::State_MouseOver) && isEnabled(option);
    painter->fillRect(option->rect, isHovered ? theme.hover : theme.window);
    painter->setPen(theme.border);
    painter->drawLine(option->rect.bottomLeft(), option->rect.bottomRight());
    painter->drawLine(option->rect.topRight() + QPoint(0, 5), option->rect.bottomRight() - QPoint(0, 5));
}

void drawHeaderArrow(const QStyleOption* option, QPainter* painter) {
    const auto* header = qstyleoption_cast<const QStyleOptionHeader*>(option);
    if (!header || header->sortIndicator == QStyleOptionHeader::None) return;
    const bool isUp = header->sortIndicator == QStyleOptionHeader::SortUp;
    paintSymbol(*painter, isUp ? QStringLiteral("chevron.up") : QStringLiteral("chevron.down"), option->rect,
                themeOf(option->palette).secondaryText);
}

void drawSlider(const QStyleOptionSlider* slider, QPainter* painter, const QStyle* style, const QWidget* widget) {
    const Theme& theme = themeOf(slider->palette);
    const bool enabled = isEnabled(slider);
    const QRect handle = style->subControlRect(QStyle::CC_Slider, slider, QStyle::SC_SliderHandle, widget);
    const double middle = slider->rect.center().y() + 0.5;
    const QRectF groove(slider->rect.left() + 2, middle - 2, slider->rect.width() - 4, 4);
    QRectF filled = groove;
    filled.setRight(handle.center().x());
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(theme.border);
    painter->drawRoundedRect(groove, 2, 2);
    if (enabled) {
        painter->setBrush(theme.accent);
        painter->drawRoundedRect(filled, 2, 2);
    }
    painter->setBrush(enabled ? theme.raised : theme.window);
    painter->setPen(QPen(!enabled                                 ? theme.border
                         : slider->state & QStyle::State_HasFocus ? theme.accentText
                                                                  : theme.secondaryText,
                         slider->state & QStyle::State_HasFocus ? 2 : 1));
    painter->drawEllipse(QRectF(handle).center(), 6.5, 6.5);
    painter->restore();
}

void drawComboBox(const QStyleOptionComboBox* combo, QPainter* painter) {
    const Theme& theme = themeOf(combo->palette);
    drawPanel(painter, combo->rect, buttonFill(theme, combo), theme.border);
    if ((combo->state & QStyle::State_HasFocus) && isEnabled(combo)) {
        drawFocusRing(*painter, combo->rect, combo->palette);
    }
    const QRectF arrow(combo->rect.right() - 21, combo->rect.center().y() - 6, 14, 14);
    paintSymbol(*painter, QStringLiteral("chevron.down"), arrow,
                isEnabled(combo) ? theme.secondaryText : theme.disabledText);
}

void drawScrollBar(const QStyleOptionSlider* bar, QPainter* painter, const QStyle* style, const QWidget* widget) {
    const Theme& theme = themeOf(bar->palette);
    painter->fillRect(bar->rect, theme.base);
    const QRect handle = style->subControlRect(QStyle::CC_ScrollBar, bar, QStyle::SC_ScrollBarSlider, widget);
    const bool isUsed = bar->activeSubControls & QStyle::SC_ScrollBarSlider;
    QColor color = theme.secondaryText;
    color.setAlphaF(isUsed ? 0.8F : 0.45F);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawRoundedRect(QRectF(handle).adjusted(3, 3, -3, -3), 3, 3);
    painter->restore();
}

// A button's symbol and word, as one thing in its middle.
void drawButtonLabel(const QStyleOptionButton* button, QPainter* painter, const QColor& color) {
    const QFontMetrics& metrics = button->fontMetrics;
    const int textWidth = metrics.size(Qt::TextShowMnemonic, button->text).width();
    const QSize icon = button->iconSize;
    const int left = button->rect.left() + (button->rect.width() - textWidth - icon.width() - kIconGap) / 2;
    const QRect iconRect(QPoint(left, button->rect.center().y() - icon.height() / 2 + 1), icon);
    button->icon.paint(painter, iconRect, Qt::AlignCenter, isEnabled(button) ? QIcon::Normal : QIcon::Disabled);
    painter->setPen(color);
    const QRect words(iconRect.right() + 1 + kIconGap, button->rect.top(), textWidth + 2, button->rect.height());
    painter->drawText(words, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextShowMnemonic, button->text);
}

QRect scrollBarHandle(const QStyleOptionSlider& bar) {
    const bool isFlat = bar.orientation == Qt::Horizontal;
    const int length = isFlat ? bar.rect.width() : bar.rect.height();
    const int range = bar.maximum - bar.minimum;
    int size = length;
    if (range > 0) size = static_cast<int>(qint64(bar.pageStep) * length / (range + bar.pageStep));
    size = std::min(length, std::max(size, 28));
    const int start =
        QStyle::sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition, length - size, bar.upsideDown);
    return isFlat ? QRect(bar.rect.left() + start, bar.rect.top(), size, bar.rect.height())
                  : QRect(bar.rect.left(), bar.rect.top() + start, bar.rect.width(), size);
}

} // namespace

void makePrimary(QPushButton& button) { button.setProperty(kPrimaryProperty, true); }

bool isPrimary(const QWidget* widget) { return widget && widget->property(kPrimaryProperty).toBool(); }

void makeDestructive(QPushButton& button, bool isDestructive) {
    button.setProperty(kDestructiveProperty, isDestructive);
    button.update();
}

void drawFocusRing(QPainter& painter, const QRectF& rect, const QPalette& palette, double radius) {
    const Theme& theme = themeOf(palette);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme.accentText, 2));
    painter.drawRoundedRect(rect.adjusted(1, 1, -1, -1), radius, radius);
    painter.setPen(QPen(theme.base, 1));
    painter.drawRoundedRect(rect.adjusted(2.5, 2.5, -2.5, -2.5), radius - 1.5, radius - 1.5);
    painter.restore();
}

OstrelStyle::OstrelStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

void OstrelStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                const QWidget* widget) const {
    switch (element) {
    case PE_PanelButtonCommand: return drawPushButton(option, painter, widget);
    case PE_PanelButtonTool: return drawToolButton(option, painter);
    case PE_IndicatorCheckBox:
    case PE_IndicatorItemViewItemCheck: return drawCheck(option, painter, false);
    case PE_IndicatorRadioButton: return drawCheck(option, painter, true);
    case PE_FrameFocusRect:
        return drawFocusRing(*painter, qobject_cast<const QToolButton*>(widget) ? widget->rect() : option->rect,
                             option->palette);
    case PE_PanelLineEdit: return drawField(option, painter);
    case PE_PanelItemViewItem: return drawItemPanel(option, painter);
    case PE_IndicatorHeaderArrow: return drawHeaderArrow(option, painter);
    case PE_Frame: {
        painter->setPen(themeOf(option->palette).border);
        painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
        return;
    }
    default: QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void OstrelStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const {
    switch (element) {
    case CE_HeaderSection:
    case CE_HeaderEmptyArea: return drawHeaderSection(option, painter);
    case CE_PushButtonLabel:
        if (const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option)) {
            QStyleOptionButton changed = *button;
            if (fillOf(option, widget).isValid()) {
                changed.palette.setColor(QPalette::ButtonText, themeOf(option->palette).onAccent);
            }
            if (!button->icon.isNull() && !button->text.isEmpty()) {
                const QPalette::ColorGroup group = isEnabled(option) ? QPalette::Active : QPalette::Disabled;
                return drawButtonLabel(button, painter, changed.palette.color(group, QPalette::ButtonText));
            }
            return QProxyStyle::drawControl(element, &changed, painter, widget);
        }
        break;
    case CE_ItemViewItem:
        if (const auto* item = qstyleoption_cast<const QStyleOptionViewItem*>(option)) {
            // The selection is a quiet tint, on which the text keeps its colour.
            QStyleOptionViewItem changed = *item;
            changed.palette.setColor(QPalette::HighlightedText, item->palette.color(QPalette::Text));
            return QProxyStyle::drawControl(element, &changed, painter, widget);
        }
        break;
    case CE_ProgressBarGroove: {
        return drawPanel(painter, option->rect, themeOf(option->palette).border, QColor());
    }
    case CE_Splitter: {
        const QPoint middle = option->rect.center();
        const QRect grip(middle.x() - 16, middle.y() - 1, 32, 3);
        const Theme& theme = themeOf(option->palette);
        const bool isUsed = option->state & State_MouseOver;
        return drawPanel(painter, grip, isUsed ? theme.secondaryText : theme.border, QColor());
    }
    default: break;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

void OstrelStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                                     const QWidget* widget) const {
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    const auto* combo = qstyleoption_cast<const QStyleOptionComboBox*>(option);
    if (control == CC_Slider && slider && slider->orientation == Qt::Horizontal) {
        return drawSlider(slider, painter, proxy(), widget);
    }
    if (control == CC_ScrollBar && slider) return drawScrollBar(slider, painter, proxy(), widget);
    if (control == CC_ComboBox && combo && !combo->editable) return drawComboBox(combo, painter);
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

QRect OstrelStyle::subElementRect(SubElement element, const QStyleOption* option, const QWidget* widget) const {
    const auto* header = qstyleoption_cast<const QStyleOptionHeader*>(option);
    if (element == SE_PushButtonFocusRect) return option->rect;
    constexpr int arrow = 16;
    const bool isSorted = header && header->sortIndicator != QStyleOptionHeader::None;
    if (header && element == SE_HeaderLabel) {
        return header->rect.adjusted(kCellMargin, 0, isSorted ? -kCellMargin - arrow + 2 : -kCellMargin, -1);
    }
    if (header && element == SE_HeaderArrow) {
        return QRect(header->rect.right() - kCellMargin - arrow + 4, header->rect.center().y() - arrow / 2, arrow,
                     arrow);
    }
    return QProxyStyle::subElementRect(element, option, widget);
}

QRect OstrelStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl subControl,
                                  const QWidget* widget) const {
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control == CC_ScrollBar && slider) {
        // No arrow buttons: the handle runs from end to end.
        const QRect handle = scrollBarHandle(*slider);
        const bool isFlat = slider->orientation == Qt::Horizontal;
        switch (subControl) {
        case SC_ScrollBarSlider: return handle;
        case SC_ScrollBarGroove: return slider->rect;
        case SC_ScrollBarSubPage:
            return isFlat ? QRect(slider->rect.topLeft(), handle.bottomLeft() - QPoint(1, 0))
                          : QRect(slider->rect.topLeft(), handle.topRight() - QPoint(0, 1));
        case SC_ScrollBarAddPage:
            return isFlat ? QRect(handle.topRight() + QPoint(1, 0), slider->rect.bottomRight())
                          : QRect(handle.bottomLeft() + QPoint(0, 1), slider->rect.bottomRight());
        default: return QRect();
        }
    }
    return QProxyStyle::subControlRect(control, option, subControl, widget);
}

int OstrelStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    switch (metric) {
    case PM_ScrollBarExtent: return kScrollBarExtent;
    case PM_IndicatorWidth:
    case PM_IndicatorHeight:
    case PM_ExclusiveIndicatorWidth:
    case PM_ExclusiveIndicatorHeight: return 16;
    case PM_CheckBoxLabelSpacing:
    case PM_RadioButtonLabelSpacing: return 7;
    case PM_HeaderMarkSize: return 11;
    case PM_HeaderMargin:
    case PM_FocusFrameHMargin: return kCellMargin;
    case PM_SplitterWidth: return 9;
    case PM_ButtonIconSize:
    case PM_SmallIconSize: return 16;
    default: return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int OstrelStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                           QStyleHintReturn* data) const {
    switch (hint) {
    case SH_ComboBox_Popup: return 0;
    case SH_Slider_AbsoluteSetButtons: return Qt::LeftButton; // a click in the groove goes there at once
    case SH_ScrollBar_LeftClickAbsolutePosition: return 0;
    case SH_Header_ArrowAlignment: return Qt::AlignRight | Qt::AlignVCenter;
    case SH_EtchDisabledText: return 0;
    default: return QProxyStyle::styleHint(hint, option, widget, data);
    }
}

QSize OstrelStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                    const QWidget* widget) const {
    QSize result = QProxyStyle::sizeFromContents(type, option, size, widget);
    if (type == CT_PushButton || type == CT_ComboBox || type == CT_LineEdit) {
        const int line = option ? option->fontMetrics.height() : 16;
        result.setHeight(std::max(line + 10, 26));
    }
    if (type == CT_PushButton) {
        const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
        result.rwidth() += button && !button->icon.isNull() ? 14 + kIconGap : 14;
    }
    if (type == CT_ComboBox) result.rwidth() += 12;
    if (type == CT_HeaderSection) result.setHeight((option ? option->fontMetrics.height() : 16) + 12);
    return result;
}

} // namespace ostrel
