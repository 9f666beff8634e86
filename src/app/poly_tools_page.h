// Holds the place of the Poly Tools tab, whose tools are driven from the terminal in this version.
#pragma once

#include "app/tab_page.h"

namespace ostrel {

class PolyToolsPage : public TabPage {
    Q_OBJECT

public:
    explicit PolyToolsPage(QWidget* parent = nullptr);

    void selectInput() override {}
    void selectOutput() override {}
    void scan() override {}
    void run() override {}
    void setModeIndex(int) override {}
    void acceptDrop(const QStringList&) override {}
};

} // namespace ostrel
