// A tab that does nothing, for tests of what stands around it.
#pragma once

#include "app/panels/tab_page.h"

namespace ostrel::testing {

class BlankPage : public TabPage {
public:
    void selectInput() override {}
    void selectOutput() override {}
    void scan() override {}
    void run() override {}
    void setModeIndex(int) override {}
    void acceptDrop(const QStringList&) override {}
};

} // namespace ostrel::testing
