// What a run proved of one item: each channel of what it made, the channel that it was made of, and the hash of both.
#pragma once

#include "app/controls/bindings.h"
#include "foundation/records/item_outcome.h"

#include <QDialog>

namespace ostrel {

class RecordTable;

class ProofDialog : public QDialog {
    Q_OBJECT

public:
    // `outcome` has a proof.
    ProofDialog(const QString& name, const ItemOutcome& outcome, QWidget* parent);
};

// The table's column of proofs (item_cells.h): shown while they are asked for, and its rows open the dialog, by a click
// on the cell or by Alt+Return. `nameColumn` tells what an item is called. `bindings` belong to the table's view.
void showProofs(Bindings& bindings, QProperty<bool>& proves, RecordTable& table, int column, int nameColumn);
// Of this record; nothing where it has none.
void openProof(RecordTable& table, int record, int column, int nameColumn);

} // namespace ostrel
