// "Save Certificate...": the page of what the last run proved, asked for a place and written there.
#pragma once

#include "app/panels/proven_run.h"
#include "platform/desktop_services.h"

#include <QCoro/QCoroTask>
#include <QObject>

namespace ostrel {

// Says so in an alert where nothing was proven, or where the page can't be written. `owner` and `desktop` are the
// window's.
QCoro::Task<> saveCertificate(QObject* owner, DesktopServices& desktop, ProvenRun run);

} // namespace ostrel
