// The texts of the help and about alerts, with the modifier keys as this desktop writes them, and of the banners that
// tell of a missing tool.
#pragma once

#include <QString>

namespace ostrel {

QString keyboardShortcutsText();
QString aboutOstrelText(const QString& version); // with the licence and the libraries
QString aboutInterleaverText();
QString aboutPolyToolsText();
QString aboutStereoValidatorText();
QString missingFFmpegText(); // with the command that installs it here
QString missingBwfmetaeditText();

// "⌘⇧0" -> "Ctrl+Shift+0": texts stand as they are written for a Mac, and are shown for this desktop.
QString forThisDesktop(const QString& text);

} // namespace ostrel
