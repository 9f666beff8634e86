// "Channel Removal": which channels an edit takes out, by number or by name.
#pragma once

#include "app/poly/edit/channel_edits.h"
#include "app/poly/edit/edit_section.h"

class QLineEdit;

namespace ostrel {

class PageStack;

class ChannelRemovalSection : public EditSection {
    Q_OBJECT

public:
    explicit ChannelRemovalSection(ChannelEdits& edits, QWidget* parent = nullptr);

private:
    QWidget* makeFilterType();
    QWidget* makeNumbers();
    QWidget* makeNames();
    QLineEdit* makeField(const QString& name, const QString& hint, const QString& help, QProperty<QString>& text);
    QWidget* makePresets();
    void refresh();

    ChannelEdits& edits_;
    Bindings bindings_;
    PageStack* pages_;
};

} // namespace ostrel
