#include "app/shell/drop_overlay.h"

#include "app/controls/symbols.h"
#include "app/controls/theme.h"

#include <QPainter>

namespace ostrel {

DropOverlay::DropOverlay(QWidget* window) : QWidget(window) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibleName(QStringLiteral("Drop files or folders here"));
    hide();
}

void DropOverlay::appear() {
    setGeometry(parentWidget()->rect());
    raise();
    show();
}

void DropOverlay::paintEvent(QPaintEvent*) {
    const Theme& theme = themeOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor veil = theme.window;
    veil.setAlphaF(0.85F);
    painter.fillRect(rect(), veil);
    painter.setPen(QPen(theme.accentText, 3));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(18, 18, -18, -18), 14, 14);
    const QPointF middle = QRectF(rect()).center();
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.window);
    painter.drawRoundedRect(QRectF(middle.x() - 220, middle.y() - 90, 440, 170), 20, 20);
    paintSymbol(painter, QStringLiteral("arrow.down.circle.fill"), QRectF(middle.x() - 32, middle.y() - 62, 64, 64),
                theme.accentText);
    QFont large = font();
    large.setPointSizeF(large.pointSizeF() * 1.5);
    large.setWeight(QFont::DemiBold);
    painter.setFont(large);
    painter.setPen(theme.text);
    painter.drawText(QRectF(0, middle.y() + 16, width(), 40), Qt::AlignHCenter | Qt::AlignTop,
                     QStringLiteral("Drop files or folders here"));
}

} // namespace ostrel
