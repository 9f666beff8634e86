// What the cutting room will stumble over in a selection of recordings: the findings, by whom they are for, to be
// copied and saved, and corrected in copies where there is one right answer.
#pragma once

#include "app/delivery/delivery_dialog.h"

#include <QCoro/QCoroTask>
#include <array>

namespace ostrel {

class FindingsModel;
class RecordTable;
class SegmentedControl;

class CheckDialog : public DeliveryDialog {
    Q_OBJECT

public:
    // Files and folders. Begins at once.
    CheckDialog(const QStringList& selection, DesktopServices& desktop, QWidget* parent);

    RecordTable& table() { return *table_; }

private:
    QCoro::Task<> run();
    void refresh();
    void showDetail();
    void copy();
    void fix();

    const QStringList selection_;
    Reader reader_ = Reader::anybody;
    FindingsModel* findings_;
    RecordTable* table_;
    SegmentedControl* readers_;
    QLabel* detail_; // of the current finding, the whole sentence
    QPushButton* copy_;
    QPushButton* save_;
    QPushButton* fix_;
};

} // namespace ostrel
