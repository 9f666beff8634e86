// Every colour of the window, in a light and a dark shade. Nothing else in this room names a colour.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/processing_status.h"

#include <QColor>
#include <QPalette>
#include <vector>

namespace ostrel {

enum class Shade { light, dark };

struct Theme {
    QColor window;        // behind everything
    QColor base;          // tables, fields
    QColor alternate;     // every second row
    QColor raised;        // cards and buttons on the window
    QColor hover;         // a button under the pointer
    QColor pressed;       // and held
    QColor border;        // lines that part surfaces: no text stands on them
    QColor text;          // what a person reads
    QColor secondaryText; // labels and notes
    QColor disabledText;  // what can't be used now; exempt from the contrast rule
    QColor accent;        // fills: the main button, a checked box, progress
    QColor danger;        // the fill of a button that destroys
    QColor onAccent;      // text on either fill
    QColor accentText;    // the accent as text or line on the window
    QColor selection;     // a selected row
    QColor secondary, blue, orange, yellow, purple, green, red, cyan;

    QColor tone(ProcessingStatus::Color color) const;
    QColor tone(LogLevel level) const;

    // A tone as the quiet fill of a badge that carries text in that tone.
    QColor badgeFill(const QColor& tone) const;

    // Every text colour with the surface that it stands on: each pair must be readable.
    struct TextPair {
        const char* name;
        QColor text;
        QColor surface;
    };
    std::vector<TextPair> textPairs() const;
};

const Theme& theme(Shade shade);

// The theme that a widget's palette belongs to, so that views follow a change of appearance by their palette alone.
const Theme& themeOf(const QPalette& palette);

QPalette paletteFor(Shade shade);
bool isDark(const QPalette& palette);

// The ratio of two colours' relative luminances, 1 to 21 (W3C, Web Content Accessibility Guidelines 2.1).
double contrastRatio(const QColor& a, const QColor& b);

} // namespace ostrel
