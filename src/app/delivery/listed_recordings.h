// "Check Recordings..." and "Sound Report...", of what a tab lists or, where it lists nothing, of what a person
// selects.
#pragma once

class QWidget;

namespace ostrel {

class DesktopServices;
class TabPage;

void checkListed(const TabPage& page, DesktopServices& desktop, QWidget* parent);
void reportListed(const TabPage& page, DesktopServices& desktop, QWidget* parent);

} // namespace ostrel
