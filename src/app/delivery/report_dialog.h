// The sound report of a selection of recordings: its head in a small form, filled in from their metadata and from what
// was written there last time, its takes, and the three forms that it is saved in.
#pragma once

#include "app/delivery/delivery_dialog.h"
#include "delivery/report/sound_report.h"

#include <QCoro/QCoroTask>
#include <QMap>

class QGridLayout;
class QLineEdit;
class QTableWidget;

namespace ostrel {

class ReportDialog : public DeliveryDialog {
    Q_OBJECT

public:
    // Files and folders. Reads them at once.
    ReportDialog(const QStringList& selection, DesktopServices& desktop, QWidget* parent);

    QTableWidget& takes() { return *takes_; }

private:
    QCoro::Task<> read();
    QGridLayout* makeForm();
    void prefill();
    void showTakes();
    SoundReport filled() const; // with what stands in the form
    void saveAle();

    const QStringList selection_;
    SoundReport report_;
    QMap<QString, QLineEdit*> fields_; // by their names in the report
    QTableWidget* takes_;
    QList<QPushButton*> saves_;
};

} // namespace ostrel
