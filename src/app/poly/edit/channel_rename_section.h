// New names for the tracks of the edited polys.
#pragma once

#include "app/poly/edit/channel_edits.h"
#include "app/poly/edit/edit_section.h"

namespace ostrel {

class ChannelNamesModel;
class ChannelNamesTable;

class ChannelRenameSection : public EditSection {
    Q_OBJECT

public:
    struct Texts {
        QString title;
        QString inPlace; // what is edited when the files are edited themselves
        QString hint;
    };
    ChannelRenameSection(ChannelEdits& edits, const Texts& texts, QWidget* parent = nullptr);

    ChannelNamesTable& table() { return *table_; }

private:
    void refresh();

    ChannelEdits& edits_;
    Texts texts_;
    Bindings bindings_;
    ChannelNamesModel* model_;
    ChannelNamesTable* table_;
    QLabel* what_;
    QLabel* empty_;
};

} // namespace ostrel
