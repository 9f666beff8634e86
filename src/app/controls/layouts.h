// The grid: one spacing, one margin, and the few ways in which widgets are put beside or above each other.
#pragma once

#include <QBoxLayout>
#include <QFont>
#include <QLabel>
#include <QWidget>

namespace ostrel {

inline constexpr int kSpacing = 8;
inline constexpr int kMargin = 12;

// A box layout without margins.
inline QHBoxLayout* rowLayout(int spacing = kSpacing) {
    auto* layout = new QHBoxLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(spacing);
    return layout;
}

inline QVBoxLayout* columnLayout(int spacing = kSpacing) {
    auto* layout = new QVBoxLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(spacing);
    return layout;
}

inline void scaleFont(QWidget& widget, double factor, QFont::Weight weight = QFont::Normal) {
    QFont font = widget.font();
    font.setPointSizeF(font.pointSizeF() * factor);
    font.setWeight(weight);
    widget.setFont(font);
}

// What stands beside it stays where it is.
inline void keepPlaceWhenHidden(QWidget& widget) {
    QSizePolicy policy = widget.sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    widget.setSizePolicy(policy);
}

inline QLabel* boldLabel(const QString& text = QString()) {
    auto* label = new QLabel(text);
    scaleFont(*label, 1, QFont::DemiBold);
    return label;
}

// Small print below a control, which keeps its place while it has nothing to say.
template <class Label>
Label* note(Label* label) {
    label->setWordWrap(true);
    scaleFont(*label, 0.92);
    QSizePolicy policy = label->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    label->setSizePolicy(policy);
    return label;
}

// The words by which assistive technology and tests know a control; the help text shows under the pointer too.
template <class Widget>
Widget* named(Widget* widget, const QString& name, const QString& help = QString()) {
    widget->setAccessibleName(name);
    if (!help.isEmpty()) {
        widget->setToolTip(help);
        widget->setAccessibleDescription(help);
    }
    return widget;
}

} // namespace ostrel
