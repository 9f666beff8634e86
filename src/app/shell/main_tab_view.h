// The window: the row of tabs and the visible one. Routes every drop and every keyboard command to that tab, and holds
// the menus.
#pragma once

#include "app/controls/bindings.h"
#include "app/panels/tab_page.h"
#include "app/shell/app_tab.h"
#include "app/shell/custody_dialog.h"
#include "app/shell/product_settings.h"
#include "platform/desktop_services.h"

#include <QCoro/QCoroTask>
#include <QMainWindow>
#include <QProperty>
#include <array>
#include <functional>

class QStackedWidget;

namespace ostrel {

class DropOverlay;
class OrderlyQuit;
class SegmentedControl;
class Updater;

class MainTabView : public QMainWindow {
    Q_OBJECT

public:
    // The pages in the order of the tabs; the window takes them over. `appearance` is the kept preference.
    MainTabView(DesktopServices& desktop, Updater& updater, QProperty<Appearance>& appearance,
                const ProductSettings& settings, const std::array<TabPage*, kAllAppTabs.size()>& pages);
    ~MainTabView() override;

    QProperty<AppTab> selectedTab{AppTab::interleave};
    QProperty<bool> isDragTargeted{false};

    TabPage& page(AppTab tab) const { return *pages_[static_cast<std::size_t>(tab)]; }
    TabPage& currentPage() const { return page(selectedTab.value()); }

    // Hands paths to the visible tab, as if they had been dropped.
    void handleGlobalDrop(const QStringList& urls);

    void showKeyboardShortcutsWindow(const QString& title, const QString& message);

    // What the menu's "Look for Tools Again" does; empty: nothing.
    std::function<void()> recheckTools;

    // How the window is left while jobs run.
    OrderlyQuit& orderlyQuit() { return *quit_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void makeTabs();
    void makeMenus(Updater& updater, const ProductSettings& settings);
    void makeAppearanceMenu(QMenu& menu);
    void makeCustodyMenu(QMenu& menu);
    void makeDeliveryMenu(QMenu& menu);
    // Of `folder`, or of one that a person chooses.
    void keepCustody(CustodyDialog::Work work, const QString& folder = QString());
    QWidget* withCustody(TabPage& page);
    void makeShortcuts();
    QWidget* makeStoppingBanner();
    void showStopping();
    void showTab();
    QCoro::Task<> openDemo(TabPage& page, DemoKind kind);
    void setupSpacebarMonitor();

    DesktopServices& desktop_;
    QProperty<Appearance>& appearance_;
    std::array<TabPage*, kAllAppTabs.size()> pages_;
    AppTab shownTab_ = AppTab::interleave;
    SegmentedControl* tabs_ = nullptr;
    QStackedWidget* stack_ = nullptr;
    QWidget* stoppingBanner_ = nullptr;
    OrderlyQuit* quit_;
    DropOverlay* overlay_ = nullptr;
    Bindings bindings_;
};

} // namespace ostrel
