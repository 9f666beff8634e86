// "Check..." beside a table: asks the tab that it stands in for a check of the recordings that are listed there.
#pragma once

class QPushButton;

namespace ostrel {

QPushButton* checkButton();

} // namespace ostrel
