// The window's symbols, drawn here: one line weight, sharp at every scale, tinted by the palette at the time of
// painting, so that they follow the appearance at once and need no icon theme. Names are those that the records give.
#pragma once

#include <QColor>
#include <QIcon>
#include <QRectF>
#include <QString>
#include <QStringList>

class QPainter;

namespace ostrel {

// Draws into the largest centred square of the rectangle. A name without a drawing gives a plain circle.
void paintSymbol(QPainter& painter, const QString& name, const QRectF& rect, const QColor& color);

// In the colour of the palette's text, or of text on the accent.
enum class SymbolTint { text, onAccent };
QIcon symbolIcon(const QString& name, SymbolTint tint = SymbolTint::text);

QStringList symbolNames();

} // namespace ostrel
