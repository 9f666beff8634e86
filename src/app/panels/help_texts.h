// The texts of the help and about alerts, with the modifier keys as this desktop writes them, and of the banners that
// tell of a missing tool.
#pragma once

#include <QString>

namespace ostrel {

QString keyboardShortcutsText();
QString aboutInterleaverText();
QString aboutPolyToolsText();
QString aboutStereoValidatorText();
QString missingFFmpegText();
QString missingBwfmetaeditText();

// "⌘⇧0" -> "Ctrl+Shift+0": texts stand as they are written for a Mac, and are shown for this desktop.
QString forThisDesktop(const QString& text);

} // namespace ostrel
