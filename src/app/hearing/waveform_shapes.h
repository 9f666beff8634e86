// What a waveform is drawn of.
#pragma once

#include <QPainterPath>
#include <QString>
#include <vector>

class QPainter;

namespace ostrel {

struct Theme;

// The outline of peak values that stand side by side between two places, mirrored at the lane's middle. What lies
// outside of `rect` is left out, but for a neighbour on either side.
QPainterPath peakOutline(const QRectF& rect, double left, double right, const std::vector<float>& values);

// A lane's name, on a ground of its own, since the waveform may fill its lane.
void paintLaneTag(QPainter& painter, const QPointF& corner, const QString& tag, const Theme& theme);

} // namespace ostrel
