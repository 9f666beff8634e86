// The dialog that sets removal and new names for all polys of a batch at once. Nothing counts until it is applied.
#pragma once

#include "app/controls/bindings.h"
#include "app/poly/edit/channel_edits.h"

#include <QDialog>

class QLabel;
class QPushButton;

namespace ostrel {

class ChannelRenameSection;

class BatchChannelRemovalConfigView : public QDialog {
    Q_OBJECT

public:
    using FilterMode = ostrel::FilterMode;

    // Starts with what `target` holds.
    explicit BatchChannelRemovalConfigView(ChannelEdits& target, QWidget* parent = nullptr);

    ChannelEdits& edits() { return edits_; }
    ChannelRenameSection& renameSection() { return *rename_; }
    QStringList summary() const; // what an apply would set

private:
    bool isAnythingOn() const;
    QWidget* makeSections();
    QWidget* makeFoot();
    void clearAll();
    void apply();
    void refresh();

    ChannelEdits& target_;
    ChannelEdits edits_;
    Bindings bindings_;
    ChannelRenameSection* rename_ = nullptr;
    QLabel* summary_ = nullptr;
    QPushButton* apply_ = nullptr;
};

} // namespace ostrel
