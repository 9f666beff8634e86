// "Check for Updates…", on while the updater can.
#pragma once

#include "app/controls/bindings.h"
#include "app/shell/updater.h"

#include <QAction>

namespace ostrel {

// Kept equal to the updater's own field.
class CheckForUpdatesViewModel {
public:
    explicit CheckForUpdatesViewModel(Updater& updater) {
        bindings_.bind(updater.canCheckForUpdates,
                       [this, &updater] { canCheckForUpdates = updater.canCheckForUpdates.value(); });
    }
    QProperty<bool> canCheckForUpdates{false};

private:
    Bindings bindings_;
};

class CheckForUpdatesView : public QAction {
public:
    CheckForUpdatesView(Updater& updater, QObject* parent)
        : QAction(QStringLiteral("Check for Updates…"), parent), model_(updater) {
        setMenuRole(QAction::ApplicationSpecificRole);
        bindings_.bind(model_.canCheckForUpdates, [this] { setEnabled(model_.canCheckForUpdates.value()); });
        connect(this, &QAction::triggered, this, [&updater] { updater.checkForUpdates(); });
    }

private:
    CheckForUpdatesViewModel model_;
    Bindings bindings_;
};

} // namespace ostrel
