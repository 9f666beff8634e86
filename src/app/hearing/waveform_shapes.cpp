#include "app/hearing/waveform_shapes.h"

#include "app/controls/theme.h"

#include <QPainter>
#include <cmath>

namespace ostrel {

QPainterPath peakOutline(const QRectF& rect, double left, double right, const std::vector<float>& values) {
    const double middle = rect.center().y();
    const double reach = rect.height() / 2 - 1;
    const auto count = static_cast<double>(values.size());
    const double step = (right - left) / count;
    const double first = std::clamp(std::floor((rect.left() - left) / step) - 1, 0.0, count);
    const double last = std::clamp(std::ceil((rect.right() - left) / step) + 1, 0.0, count);
    QPolygonF points;
    for (auto i = static_cast<std::size_t>(first); i < static_cast<std::size_t>(last); ++i) {
        const double height = std::max(0.5, std::clamp(static_cast<double>(values[i]), 0.0, 1.0) * reach);
        points << QPointF(left + (static_cast<double>(i) + 0.5) * step, middle - height);
    }
    for (qsizetype i = points.size() - 1; i >= 0; --i) points << QPointF(points[i].x(), 2 * middle - points[i].y());
    QPainterPath path;
    path.addPolygon(points);
    path.closeSubpath();
    return path;
}

void paintLaneTag(QPainter& painter, const QPointF& corner, const QString& tag, const Theme& theme) {
    const QFontMetrics metrics(painter.font());
    const QRectF box(corner, QSizeF(metrics.horizontalAdvance(tag) + 8, metrics.height()));
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.base);
    painter.drawRoundedRect(box, 3, 3);
    painter.setPen(theme.text);
    painter.drawText(box, Qt::AlignCenter, tag);
}

} // namespace ostrel
