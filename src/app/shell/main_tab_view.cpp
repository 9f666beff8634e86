#include "app/shell/main_tab_view.h"

#include "app/controls/appearance_toggle.h"
#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "app/delivery/listed_recordings.h"
#include "app/desktop/recent_folders.h"
#include "app/panels/help_texts.h"
#include "app/shell/check_for_updates.h"
#include "app/shell/custody_banner.h"
#include "app/shell/drop_overlay.h"
#include "app/shell/keyboard_shortcuts.h"
#include "app/shell/orderly_quit.h"
#include "app/shell/save_certificate.h"
#include "app/shell/shuttle_keys.h"
#include "app/shell/spacebar_monitor.h"
#include "app/shell/window_keys.h"
#include "platform/background.h"
#include "platform/diagnostics.h"
#include "platform/files/files.h"
#include "platform/paths.h"

#include <QActionGroup>
#include <QCloseEvent>
#include <QDir>
#include <QDragEnterEvent>
#include <QMenuBar>
#include <QMimeData>
#include <QStackedWidget>
#include <QUrl>

namespace ostrel {
namespace {

constexpr QSize kMinimumSize(950, 700);
constexpr QSize kFirstSize(1180, 820);

// Local paths only: what can't be read as a file is dropped without a word.
QStringList localPaths(const QMimeData& data) {
    QStringList paths;
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile()) paths << QDir::cleanPath(url.toLocalFile());
    }
    return paths;
}

} // namespace

MainTabView::MainTabView(DesktopServices& desktop, Updater& updater, QProperty<Appearance>& appearance,
                         const ProductSettings& settings, const std::array<TabPage*, kAllAppTabs.size()>& pages)
    : desktop_(desktop), appearance_(appearance), pages_(pages),
      quit_(new OrderlyQuit(desktop, {pages.begin(), pages.end()}, this)) {
    setWindowTitle(QStringLiteral("Ostrel"));
    setMinimumSize(kMinimumSize);
    resize(kFirstSize);
    setAcceptDrops(true);
    makeTabs();
    makeMenus(updater, settings);
    makeShortcuts();
    overlay_ = new DropOverlay(this);
    bindings_.watch(selectedTab, [this] { showTab(); });
    bindings_.watch(isDragTargeted, [this] { isDragTargeted.value() ? overlay_->appear() : overlay_->hide(); });
    bindings_.watch(quit_->isStopping, [this] { showStopping(); });
    connect(quit_, &OrderlyQuit::ended, this, &QWidget::close);
    setupSpacebarMonitor();
    currentPage().firstFocus()->setFocus();
}

MainTabView::~MainTabView() { SpacebarMonitor::shared().stop(); }

void MainTabView::makeTabs() {
    tabs_ = new SegmentedControl(QStringLiteral("Tabs"), SegmentedControl::Size::large);
    stack_ = new QStackedWidget;
    for (const AppTab tab : kAllAppTabs) {
        const int number = static_cast<int>(tab) + 1;
        tabs_->addSegment(rawText(tab), symbol(tab),
                          forThisDesktop(QStringLiteral("%1 (⌘%2)")).arg(rawText(tab)).arg(number));
        stack_->addWidget(withCustody(page(tab)));
        connect(&page(tab), &TabPage::demoRequested, this, [this, tab](DemoKind kind) { openDemo(page(tab), kind); });
        connect(&page(tab), &TabPage::checkRequested, this, [this, tab] { checkListed(page(tab), desktop_, this); });
        connect(&page(tab), &TabPage::toolsRequested, this, [this] {
            if (recheckTools) recheckTools();
        });
    }
    connect(tabs_, &SegmentedControl::chosen, this, [this](int index) { selectedTab = static_cast<AppTab>(index); });
    auto* row = rowLayout(0);
    row->setContentsMargins(kMargin, 6, kMargin, 0);
    row->addStretch();
    row->addWidget(tabs_);
    row->addStretch();
    auto* column = columnLayout(0);
    column->addLayout(row);
    column->addWidget(makeStoppingBanner());
    column->addWidget(stack_, 1);
    auto* content = new QWidget;
    content->setLayout(column);
    setCentralWidget(content);
}

void MainTabView::makeMenus(Updater& updater, const ProductSettings& settings) {
    // What leads nowhere is not there.
    QAction* checkForUpdates = settings.updateFeed.isEmpty() ? nullptr : new CheckForUpdatesView(updater, this);
    QMenu* file = menuBar()->addMenu(QStringLiteral("&Ostrel"));
    if (checkForUpdates) file->addAction(checkForUpdates);
    file->addSeparator();
    QAction* quit = file->addAction(QStringLiteral("Quit"), this, &QWidget::close);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    makeCustodyMenu(*menuBar()->addMenu(QStringLiteral("Custod&y")));
    makeDeliveryMenu(*menuBar()->addMenu(QStringLiteral("&Delivery")));
    makeAppearanceMenu(*menuBar()->addMenu(QStringLiteral("A&ppearance")));

    QMenu* about = menuBar()->addMenu(QStringLiteral("&About"));
    const auto addAbout = [&](const QString& name, const QString& text) {
        about->addAction(QStringLiteral("About ") + name, this,
                         [this, name, text] { showKeyboardShortcutsWindow(name, text); });
    };
    addAbout(QStringLiteral("Ostrel"), aboutOstrelText(settings.version));
    about->addSeparator();
    addAbout(QStringLiteral("Interleaver"), aboutInterleaverText());
    addAbout(QStringLiteral("Poly Tools"), aboutPolyToolsText());
    addAbout(QStringLiteral("Stereo Validator"), aboutStereoValidatorText());

    QMenu* support = menuBar()->addMenu(QStringLiteral("&Support"));
    if (checkForUpdates) support->addAction(checkForUpdates);
    support->addSeparator();
    const auto addAddress = [&](const QString& name, const QString& scheme, const QString& address) {
        if (address.isEmpty()) return;
        support->addAction(name, this, [this, scheme, address] { desktop_.openWebPage(scheme + address); });
    };
    addAddress(QStringLiteral("Website"), QString(), settings.website);
    addAddress(QStringLiteral("Email Support"), QStringLiteral("mailto:"), settings.supportAddress);

    support->addSeparator();
    support->addAction(QStringLiteral("Look for Tools Again"), this, [this] {
        if (recheckTools) recheckTools();
    });

    QMenu* shortcuts = menuBar()->addMenu(QStringLiteral("Short&cuts"));
    QAction* show = shortcuts->addAction(QStringLiteral("Show Keyboard Shortcuts"), this, [this] {
        showKeyboardShortcutsWindow(QStringLiteral("Keyboard Shortcuts"), keyboardShortcutsText());
    });
    // One spelling: where "?" is Shift and slash, Qt would find "Ctrl+Shift+/" beside it and fire neither.
    show->setShortcut(QKeySequence(QStringLiteral("Ctrl+?")));
}

void MainTabView::makeCustodyMenu(QMenu& menu) {
    QAction* save = menu.addAction(QStringLiteral("Save Certificate..."), this,
                                   [this] { saveCertificate(this, desktop_, currentPage().provenRun()); });
    save->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C));
    menu.addSeparator();
    menu.addAction(QStringLiteral("Seal Folder..."), this, [this] { keepCustody(CustodyDialog::Work::seal); });
    menu.addAction(QStringLiteral("Verify Folder..."), this, [this] { keepCustody(CustodyDialog::Work::verify); });
}

void MainTabView::makeDeliveryMenu(QMenu& menu) {
    QAction* check = menu.addAction(QStringLiteral("Check Recordings..."), this,
                                    [this] { checkListed(currentPage(), desktop_, this); });
    check->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_K));
    QAction* report = menu.addAction(QStringLiteral("Sound Report..."), this,
                                     [this] { reportListed(currentPage(), desktop_, this); });
    report->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R));
}

QWidget* MainTabView::withCustody(TabPage& page) {
    auto* banner = new CustodyBanner(page);
    banner->keep = [this](CustodyDialog::Work work, const QString& folder) { keepCustody(work, folder); };
    auto* column = columnLayout(0);
    column->addWidget(banner);
    column->addWidget(&page, 1);
    auto* place = new QWidget;
    place->setLayout(column);
    return place;
}

void MainTabView::keepCustody(CustodyDialog::Work work, const QString& folder) {
    if (!folder.isEmpty()) {
        CustodyDialog(work, folder, this).exec();
        return;
    }
    OpenPanelRequest request;
    request.canChooseFiles = false;
    request.canChooseFolders = true;
    request.message = work == CustodyDialog::Work::seal
                          ? QStringLiteral("Select a folder to write down the hashes of its files (ASC MHL)")
                          : QStringLiteral("Select a folder to compare with its hash lists");
    request.prompt = work == CustodyDialog::Work::seal ? QStringLiteral("Seal") : QStringLiteral("Verify");
    const QStringList chosen = desktop_.showOpenPanel(request);
    if (!chosen.isEmpty()) CustodyDialog(work, chosen.first(), this).exec();
}

void MainTabView::makeAppearanceMenu(QMenu& menu) {
    auto* group = new QActionGroup(this);
    const std::pair<Appearance, QKeyCombination> items[] = {{Appearance::system, Qt::CTRL | Qt::SHIFT | Qt::Key_0},
                                                            {Appearance::light, Qt::CTRL | Qt::SHIFT | Qt::Key_1},
                                                            {Appearance::dark, Qt::CTRL | Qt::SHIFT | Qt::Key_2}};
    for (const auto& [value, keys] : items) {
        QAction* action = menu.addAction(displayName(value), this, [this, value = value] { appearance_ = value; });
        action->setShortcut(QKeySequence(keys));
        action->setCheckable(true);
        group->addAction(action);
        bindings_.bind(appearance_,
                       [this, action, value = value] { action->setChecked(appearance_.value() == value); });
    }
}

void MainTabView::makeShortcuts() {
    auto* keys = new KeyboardShortcutHandler(this);
    connect(keys, &KeyboardShortcutHandler::inputSelection, this, [this] { currentPage().selectInput(); });
    connect(keys, &KeyboardShortcutHandler::outputSelection, this, [this] { currentPage().selectOutput(); });
    connect(keys, &KeyboardShortcutHandler::scan, this, [this] {
        if (!quit_->isStopping.value()) currentPage().scan();
    });
    connect(keys, &KeyboardShortcutHandler::run, this, [this] {
        if (!quit_->isStopping.value()) currentPage().run();
    });
    connect(keys, &KeyboardShortcutHandler::modeChosen, this, [this](int index) { currentPage().setModeIndex(index); });
    connect(keys, &KeyboardShortcutHandler::skip, this, [this](double seconds) { currentPage().skipPreview(seconds); });
    connect(keys, &KeyboardShortcutHandler::tabChosen, this,
            [this](int index) { selectedTab = static_cast<AppTab>(index); });
    auto* shuttle = new ShuttleKeys(this, [this] { return currentPage().isPreviewReady(); });
    connect(shuttle, &ShuttleKeys::shuttled, this, [this](int direction) { currentPage().shuttlePreview(direction); });
    auto* places = new WindowKeys(this);
    connect(places, &WindowKeys::tabChosen, keys, &KeyboardShortcutHandler::tabChosen);
    connect(places, &WindowKeys::appearanceChosen, this,
            [this](int index) { appearance_ = static_cast<Appearance>(index); });
}

void MainTabView::showTab() {
    page(shownTab_).leave();
    shownTab_ = selectedTab.value();
    tabs_->setCurrent(static_cast<int>(shownTab_));
    stack_->setCurrentIndex(static_cast<int>(shownTab_));
    currentPage().firstFocus()->setFocus();
}

void MainTabView::setupSpacebarMonitor() {
    SpacebarMonitor& monitor = SpacebarMonitor::shared();
    monitor.isEnabled = [this] { return currentPage().isPreviewReady(); };
    monitor.onSpace = [this] { currentPage().togglePreview(); };
    monitor.start();
}

void MainTabView::handleGlobalDrop(const QStringList& urls) {
    printDiagnostic(QStringLiteral("🎯 GLOBAL DROP HANDLER FIRED: %1 URLs, routing to tab: %2")
                        .arg(urls.size())
                        .arg(rawText(selectedTab.value())));
    if (urls.isEmpty() || quit_->isStopping.value()) return;
    rememberFolder(paths::isFolder(urls.first()) ? urls.first() : paths::parent(urls.first()));
    currentPage().acceptDrop(urls);
}

QCoro::Task<> MainTabView::openDemo(TabPage& page, DemoKind kind) {
    AlertRequest alert;
    try {
        const QString folder = co_await inBackground(this, [kind] { return writeDemoRecordings(demoFolder(), kind); });
        if (!quit_->isStopping.value()) page.acceptDrop({folder});
        co_return;
    } catch (const FileError& error) {
        alert.text = error.description;
    }
    alert.style = AlertRequest::Style::warning;
    alert.title = QStringLiteral("No Demo Recordings");
    desktop_.showAlert(alert);
}

void MainTabView::showKeyboardShortcutsWindow(const QString& title, const QString& message) {
    AlertRequest alert;
    alert.title = title;
    alert.text = message;
    alert.buttons = {QStringLiteral("OK")};
    desktop_.showAlert(alert);
}

QWidget* MainTabView::makeStoppingBanner() {
    auto* margin = columnLayout(0);
    margin->setContentsMargins(kMargin, 6, kMargin, 0);
    margin->addWidget(new WarningBanner(
        QStringLiteral("Stopping after the item that is being worked on. Ostrel quits when it is finished.")));
    stoppingBanner_ = new QWidget;
    stoppingBanner_->setLayout(margin);
    stoppingBanner_->hide();
    return stoppingBanner_;
}

// The tabs go on showing what happens, and start nothing any more.
void MainTabView::showStopping() {
    stoppingBanner_->show();
    stack_->setEnabled(false);
}

void MainTabView::closeEvent(QCloseEvent* event) { event->setAccepted(quit_->mayClose()); }

void MainTabView::dragEnterEvent(QDragEnterEvent* event) {
    if (!event->mimeData()->hasUrls() || event->source()) return; // rows of our own are here already
    event->acceptProposedAction();
    isDragTargeted = true;
}

void MainTabView::dragLeaveEvent(QDragLeaveEvent*) { isDragTargeted = false; }

void MainTabView::dropEvent(QDropEvent* event) {
    isDragTargeted = false;
    // Sources are never moved by being dropped here, whatever the other side proposes.
    event->setDropAction(Qt::CopyAction);
    event->accept();
    handleGlobalDrop(localPaths(*event->mimeData()));
}

void MainTabView::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    if (isDragTargeted.value()) overlay_->appear();
}

} // namespace ostrel
