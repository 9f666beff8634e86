// Corrected copies of recordings: each change is shown before and after, and nothing is written until a person says so.
// The recordings stay as they are.
#pragma once

#include "app/delivery/delivery_dialog.h"
#include "delivery/fix_run.h"

#include <QCoro/QCoroTask>

class QTableWidget;

namespace ostrel {

class FixDialog : public DeliveryDialog {
    Q_OBJECT

public:
    // Looks at once what there is to correct.
    FixDialog(const QStringList& recordings, Reader reader, DesktopServices& desktop, QWidget* parent);

    QTableWidget& table() { return *table_; }

private:
    void preview();
    void write();
    QCoro::Task<> run(FixOptions options, QString during);
    void showFixes(const std::vector<FixedRecording>& recordings);

    const QStringList recordings_;
    const Reader reader_;
    QString folder_; // of the copies; empty: "Corrected" beside each recording
    bool canWrite_ = false;
    QTableWidget* table_;
    TruncatingText* place_;
    QPushButton* write_;
    QPushButton* choose_;
};

} // namespace ostrel
