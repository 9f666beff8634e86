// The application: the desktop, the sound output, the controllers of the tabs and the window over them.
#pragma once

#include "app/desktop/qt_desktop_services.h"
#include "app/shell/app_tab.h"
#include "app/shell/product_settings.h"
#include "app/shell/updater.h"
#include "interleaver/app_view_model.h"
#include "platform/audio/audio_output.h"
#include "polytools/poly_tools_view_model.h"
#include "stereovalidator/stereo_validator_view_model.h"

#include <memory>

namespace ostrel {

class MainTabView;
class SessionMemory;
class WindowMemory;

class OstrelApp {
public:
    explicit OstrelApp(const ProductSettings& settings);
    ~OstrelApp();

    MainTabView& window() { return *window_; }
    AppViewModel& appViewModel() { return appViewModel_; }
    PolyToolsViewModel& polyTools() { return polyToolsVM_; }
    StereoValidatorViewModel& stereoValidator() { return stereoValidatorVM_; }
    // Opens the window on a tab, and on one of its modes; where none is given, as it was left. `paths` are selected as
    // if dropped.
    void show(std::optional<AppTab> tab = {}, std::optional<int> mode = {}, const QStringList& paths = {});

    // Until the window is closed, or a signal came and what ran has been stopped; the exit status.
    int exec();

    // Style, font-independent settings and the name under which settings are kept. Before the first OstrelApp.
    static void prepare();

private:
    QtDesktopServices desktop_;
    AudioOutput audio_;
    Updater updater_;
    std::shared_ptr<ExternalToolDetector> tools_ = std::make_shared<ExternalToolDetector>(); // of all three tabs
    AppViewModel appViewModel_;
    PolyToolsViewModel polyToolsVM_;
    StereoValidatorViewModel stereoValidatorVM_;
    std::unique_ptr<MainTabView> window_;
    std::unique_ptr<WindowMemory> windowMemory_;
    std::unique_ptr<SessionMemory> sessionMemory_;
};

} // namespace ostrel
