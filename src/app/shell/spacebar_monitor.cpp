#include "app/shell/spacebar_monitor.h"

#include "app/shell/text_focus.h"
#include "platform/diagnostics.h"

#include <QApplication>
#include <QKeyEvent>

namespace ostrel {
namespace {

bool isPlainSpace(const QEvent& event) {
    if (event.type() != QEvent::KeyPress) return false;
    const auto& key = static_cast<const QKeyEvent&>(event);
    return key.key() == Qt::Key_Space && key.modifiers() == Qt::NoModifier && !key.isAutoRepeat();
}

} // namespace

SpacebarMonitor& SpacebarMonitor::shared() {
    static SpacebarMonitor monitor;
    return monitor;
}

void SpacebarMonitor::start() {
    if (isRunning_) return;
    isRunning_ = true;
    qApp->installEventFilter(this);
    printDiagnostic(QStringLiteral("🎹 SpacebarMonitor: Started"));
}

void SpacebarMonitor::stop() {
    if (!isRunning_) return;
    isRunning_ = false;
    if (qApp) qApp->removeEventFilter(this);
    isEnabled = nullptr;
    onSpace = nullptr;
    printDiagnostic(QStringLiteral("🎹 SpacebarMonitor: Stopped"));
}

// A key event passes here once for the window and again for each widget that it reaches; the answer is the same each
// time, so the first one that is for us ends it.
bool SpacebarMonitor::eventFilter(QObject* object, QEvent* event) {
    if (!isPlainSpace(*event)) return QObject::eventFilter(object, event);
    if (takesText(QApplication::focusWidget())) return false;
    if (QApplication::activeModalWidget() || QApplication::activePopupWidget()) return false;
    if (!isEnabled || !isEnabled()) return false;
    onSpace();
    return true;
}

} // namespace ostrel
