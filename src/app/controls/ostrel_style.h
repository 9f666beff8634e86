// Fusion with flat, calm controls drawn from the theme. All sizes are device independent.
#pragma once

#include <QProxyStyle>

class QPushButton;

namespace ostrel {

// The one button of a section that a person comes for: drawn on the accent.
void makePrimary(QPushButton& button);
bool isPrimary(const QWidget* widget);

// A button that destroys something: drawn in red, default or not. May be taken back, where the meaning changes.
void makeDestructive(QPushButton& button, bool isDestructive = true);

// The ring of the control in focus: a line in the accent and one in the ground's colour within, so that it is seen on
// the window and on every fill.
void drawFocusRing(QPainter& painter, const QRectF& rect, const QPalette& palette, double radius = 5);

class OstrelStyle : public QProxyStyle {
public:
    OstrelStyle();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override;
    QRect subElementRect(SubElement element, const QStyleOption* option, const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl subControl,
                         const QWidget* widget) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override;
};

} // namespace ostrel
