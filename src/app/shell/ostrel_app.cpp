#include "app/shell/ostrel_app.h"

#include "app/controls/ostrel_style.h"
#include "app/interleaver/main_view.h"
#include "app/poly/poly_tools_tab_view.h"
#include "app/shell/job_watch.h"
#include "app/shell/main_tab_view.h"
#include "app/shell/orderly_quit.h"
#include "app/shell/session_memory.h"
#include "app/shell/window_memory.h"
#include "app/validator/stereo_validator_tab_view.h"
#include "platform/background.h"
#include "platform/processes/stop_signals.h"
#include "preview/preview_folders.h"

#include <QApplication>
#include <QFile>

namespace ostrel {

void OstrelApp::prepare() {
    QApplication::setStyle(new OstrelStyle);
    QApplication::setDesktopFileName(QStringLiteral("ostrel"));
    // Installed, the icon comes from the theme; the program brings its own for the build tree.
    const QString own = QStringLiteral(":/ostrel.svg");
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("ostrel"), QFile::exists(own) ? QIcon(own) : QIcon()));
}

OstrelApp::OstrelApp(const ProductSettings& settings)
    : updater_(desktop_, settings.updateFeed, settings.version), appViewModel_(desktop_, audio_, tools_),
      polyToolsVM_(desktop_, &audio_, tools_), stereoValidatorVM_(desktop_, audio_, tools_) {
    auto* interleaver = new MainView(appViewModel_, desktop_);
    auto* polyTools = new PolyToolsTabView(polyToolsVM_, appViewModel_.appearance);
    auto* validator = new StereoValidatorTabView(stereoValidatorVM_, appViewModel_.appearance);
    window_ =
        std::make_unique<MainTabView>(desktop_, updater_, appViewModel_.appearance, settings,
                                      std::array<TabPage*, kAllAppTabs.size()>{interleaver, polyTools, validator});
    window_->recheckTools = [this] {
        appViewModel_.recheckTools();
        polyToolsVM_.takeTools();
    };
    desktop_.setWindow(window_.get());
    sessionMemory_ =
        std::make_unique<SessionMemory>(window_->selectedTab, appViewModel_, polyToolsVM_, stereoValidatorVM_);
    windowMemory_ = std::make_unique<WindowMemory>(*window_);
    if (windowMemory_->isLow() && !sessionMemory_->knowsOptions()) appViewModel_.showOptions = false;
    auto* jobs = new JobWatch(*window_);
    for (const AppTab tab : kAllAppTabs) jobs->watch(rawText(tab), window_->page(tab));
    QObject::connect(&window_->orderlyQuit(), &OrderlyQuit::ended, window_.get(), &QCoreApplication::quit,
                     Qt::QueuedConnection);
}

OstrelApp::~OstrelApp() = default;

void OstrelApp::show(std::optional<AppTab> tab, std::optional<int> mode, const QStringList& paths) {
    if (tab) window_->selectedTab = *tab;
    if (mode) window_->currentPage().setModeIndex(*mode);
    window_->show();
    backgroundPool().start([] { sweepDeadPreviews(); });
    appViewModel_.tellUnfinishedSteps();
    if (!paths.isEmpty()) window_->handleGlobalDrop(paths);
}

int OstrelApp::exec() {
    const StopSignals signals([this] { window_->orderlyQuit().stopAndQuit(); });
    // A conversion holds the main thread, so the event loop would hear of a signal behind its last file.
    QObject::connect(&stereoValidatorVM_, &StereoValidatorViewModel::fileConverted, window_.get(), [this, &signals] {
        if (signals.happened()) stereoValidatorVM_.stopExport();
    });
    const int status = QApplication::exec();
    return signals.happened() ? signals.exitStatus() : status;
}

} // namespace ostrel
