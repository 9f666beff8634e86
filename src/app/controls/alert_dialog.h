// An alert: a symbol, a title, a text that may be long, and buttons.
#pragma once

#include "platform/desktop_services.h"

#include <QDialog>

namespace ostrel {

class AlertDialog : public QDialog {
    Q_OBJECT

public:
    explicit AlertDialog(const AlertRequest& request, QWidget* parent = nullptr);

    // The index of the chosen button; the last one if the alert was closed without a choice.
    int choice() const { return choice_; }

private:
    int choice_;
};

} // namespace ostrel
