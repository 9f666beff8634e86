#include "app/desktop/open_panel.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "app/controls/ostrel_style.h"
#include "app/controls/symbols.h"
#include "platform/paths.h"

#include <QAbstractFileIconProvider>
#include <QComboBox>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QSplitter>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QTreeView>

namespace ostrel {
namespace {

enum FileColumn { nameColumn, sizeColumn, typeColumn, dateColumn };

// The window's own symbols, which follow the appearance.
class FileSymbols : public QAbstractFileIconProvider {
public:
    QIcon icon(IconType type) const override {
        return symbolIcon(type == Folder || type == Drive ? QStringLiteral("folder") : QStringLiteral("doc"));
    }
    QIcon icon(const QFileInfo& info) const override {
        if (info.isDir()) return folder_;
        return isAudio(info) ? audio_ : document_;
    }

private:
    static bool isAudio(const QFileInfo& info) {
        static const QStringList extensions =
            QStringLiteral("wav wave bwf rf64 w64 aif aiff aifc caf flac mp3 m4a aac mp4 ogg").split(u' ');
        return extensions.contains(info.suffix().toLower());
    }
    QIcon folder_ = symbolIcon(QStringLiteral("folder"));
    QIcon audio_ = symbolIcon(QStringLiteral("waveform"));
    QIcon document_ = symbolIcon(QStringLiteral("doc"));
};

FileSymbols& fileSymbols() {
    static FileSymbols symbols; // the model keeps a pointer to it beyond its own destructor
    return symbols;
}

// A mounted disk or card, not the system's own file systems.
bool isVolume(const QStorageInfo& storage) {
    const QString root = storage.rootPath();
    return storage.isValid() && storage.isReady() &&
           (root.startsWith(QStringLiteral("/media/")) || root.startsWith(QStringLiteral("/run/media/")) ||
            root.startsWith(QStringLiteral("/mnt/")));
}

} // namespace

OpenPanel::OpenPanel(const OpenPanelRequest& request, const QStringList& recentFolders, QWidget* parent)
    : QDialog(parent), request_(request) {
    setWindowTitle(request.message);
    setAccessibleName(request.message);
    resize(820, 520);
    auto* message = new QLabel(request.message);
    scaleFont(*message, 1.1, QFont::DemiBold);
    auto* split = new QSplitter;
    split->setChildrenCollapsible(false);
    split->addWidget(makePlaces(recentFolders));
    split->addWidget(makeBrowser());
    split->setSizes({180, 640});
    split->setStretchFactor(1, 1);
    auto* layout = columnLayout(10);
    layout->setContentsMargins(14, 14, 14, 12);
    layout->addWidget(message);
    layout->addWidget(split, 1);
    layout->addWidget(makeFoot());
    setLayout(layout);
    setDefaultButton(*this, *chooseButton_);
    applyFilter();
    goTo(recentFolders.isEmpty() ? QDir::homePath() : recentFolders.first());
    list_->setFocus();
}

QWidget* OpenPanel::makePlaces(const QStringList& recentFolders) {
    places_ = named(new QListWidget, QStringLiteral("Places"));
    places_->setMinimumWidth(150);
    places_->setIconSize(QSize(16, 16));
    places_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    places_->setFrameShape(QFrame::StyledPanel);
    addPlace(QStringLiteral("Home"), QStringLiteral("house"), QDir::homePath());
    const std::pair<QStandardPaths::StandardLocation, const char16_t*> standard[] = {
        {QStandardPaths::DesktopLocation, u"Desktop"},
        {QStandardPaths::DocumentsLocation, u"Documents"},
        {QStandardPaths::MusicLocation, u"Music"},
        {QStandardPaths::DownloadLocation, u"Downloads"}};
    for (const auto& [location, name] : standard) {
        const QString path = QStandardPaths::writableLocation(location);
        if (path != QDir::homePath() && paths::isFolder(path)) {
            addPlace(QString::fromUtf16(name), QStringLiteral("folder"), path);
        }
    }
    addPlace(QStringLiteral("Computer"), QStringLiteral("disk"), QStringLiteral("/"));
    for (const QStorageInfo& storage : QStorageInfo::mountedVolumes()) {
        if (isVolume(storage)) addPlace(storage.displayName(), QStringLiteral("disk"), storage.rootPath());
    }
    for (const QString& folder : recentFolders) {
        addPlace(paths::lastComponent(folder), QStringLiteral("clock"), folder);
    }
    const auto go = [this](const QListWidgetItem* item) { goTo(item->data(Qt::UserRole).toString()); };
    connect(places_, &QListWidget::itemClicked, this, go);
    connect(places_, &QListWidget::itemActivated, this, go);
    return places_;
}

void OpenPanel::addPlace(const QString& name, const QString& symbol, const QString& path) {
    auto* item = new QListWidgetItem(symbolIcon(symbol), name, places_);
    item->setData(Qt::UserRole, path);
    item->setToolTip(path);
}

QWidget* OpenPanel::makeBrowser() {
    files_ = new QFileSystemModel(this);
    files_->setIconProvider(&fileSymbols());
    files_->setReadOnly(true);
    up_ = new SymbolButton(QStringLiteral("arrow.up"), QStringLiteral("Parent folder"),
                           QStringLiteral("Parent folder (Backspace)"));
    connect(up_, &QToolButton::clicked, this, [this] { goTo(paths::parent(folder_)); });
    path_ = named(new QLineEdit, QStringLiteral("Folder path"), QStringLiteral("Type or paste a path and press Enter"));
    path_->installEventFilter(this);
    auto* bar = rowLayout(6);
    bar->addWidget(up_);
    bar->addWidget(path_, 1);
    if (request_.canCreateFolders) {
        auto* create = pushButton(QStringLiteral("New Folder..."), QStringLiteral("folder.badge.plus"));
        connect(create, &QPushButton::clicked, this, &OpenPanel::createFolder);
        bar->addWidget(create);
    }
    list_ = named(new QTreeView, QStringLiteral("Files and folders"));
    list_->setModel(files_);
    list_->setRootIsDecorated(false);
    list_->setItemsExpandable(false);
    list_->setSortingEnabled(true);
    list_->setUniformRowHeights(true);
    list_->setAlternatingRowColors(true);
    list_->sortByColumn(nameColumn, Qt::AscendingOrder);
    list_->setColumnHidden(typeColumn, true);
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionResizeMode(nameColumn, QHeaderView::Stretch);
    list_->header()->setAccessibleName(QStringLiteral("Columns"));
    list_->setColumnWidth(sizeColumn, 90);
    list_->setColumnWidth(dateColumn, 150);
    list_->setSelectionMode(request_.allowsMultipleSelection ? QAbstractItemView::ExtendedSelection
                                                             : QAbstractItemView::SingleSelection);
    list_->installEventFilter(this);
    connect(list_, &QTreeView::doubleClicked, this, &OpenPanel::enter);
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &OpenPanel::selectionChanged);
    auto* column = columnLayout(6);
    column->addLayout(bar);
    column->addWidget(list_, 1);
    auto* browser = new QWidget;
    browser->setLayout(column);
    return browser;
}

QWidget* OpenPanel::makeFoot() {
    types_ = named(new QComboBox, QStringLiteral("File type"));
    types_->addItem(QStringLiteral("Audio files"));
    types_->addItem(QStringLiteral("All files"));
    types_->setVisible(!request_.allowedExtensions.isEmpty());
    connect(types_, &QComboBox::currentIndexChanged, this, &OpenPanel::applyFilter);
    count_ = new SecondaryLabel;
    auto* cancel = pushButton(QStringLiteral("Cancel"));
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    chooseButton_ = pushButton(request_.prompt.isEmpty() ? QStringLiteral("Open") : request_.prompt);
    makePrimary(*chooseButton_);
    connect(chooseButton_, &QPushButton::clicked, this, &OpenPanel::choose);
    auto* row = rowLayout();
    row->addWidget(types_);
    row->addWidget(count_, 1);
    row->addWidget(cancel);
    row->addWidget(chooseButton_);
    auto* foot = new QWidget;
    foot->setLayout(row);
    return foot;
}

void OpenPanel::goTo(const QString& folder) {
    if (!paths::isFolder(folder)) return;
    folder_ = paths::absolute(folder);
    list_->setRootIndex(files_->setRootPath(folder_));
    list_->clearSelection();
    path_->setText(folder_);
    up_->setEnabled(folder_ != QStringLiteral("/"));
    selectionChanged();
}

// Names of other types are left out; hidden entries always are.
void OpenPanel::applyFilter() {
    QDir::Filters filters = QDir::AllDirs | QDir::NoDotAndDotDot;
    if (request_.canChooseFiles) filters |= QDir::Files;
    files_->setFilter(filters);
    QStringList patterns;
    if (types_->currentIndex() == 0) {
        for (const QString& extension : request_.allowedExtensions) patterns << QStringLiteral("*.") + extension;
    }
    files_->setNameFilters(patterns);
    files_->setNameFilterDisables(false);
}

void OpenPanel::enter(const QModelIndex& index) {
    const QString path = files_->filePath(index);
    if (paths::isFolder(path)) return goTo(path);
    chosen_ = selectedPaths();
    if (!chosen_.isEmpty()) accept();
}

void OpenPanel::openTypedPath() {
    const QString typed = path_->text().trimmed();
    if (typed.isEmpty()) return;
    const QString home = typed.startsWith(QStringLiteral("~/")) ? QDir::homePath() + typed.mid(1) : typed;
    const QString path = paths::absolute(QDir(folder_).filePath(home));
    if (paths::isFolder(path)) {
        goTo(path);
        list_->setFocus();
    } else if (paths::exists(path) && request_.canChooseFiles) {
        chosen_ = {path};
        accept();
    } else {
        count_->setText(QStringLiteral("No such folder: %1").arg(paths::lastComponent(path)));
    }
}

void OpenPanel::createFolder() {
    const QString name = QInputDialog::getText(this, QStringLiteral("New Folder"), QStringLiteral("Name:"));
    if (!name.isEmpty() && QDir(folder_).mkdir(name)) goTo(paths::append(folder_, name));
}

QStringList OpenPanel::selectedPaths() const {
    QModelIndexList rows = list_->selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end(), [](const QModelIndex& a, const QModelIndex& b) { return a.row() < b.row(); });
    QStringList paths;
    for (const QModelIndex& row : rows) {
        const QString path = files_->filePath(row);
        if (paths::isFolder(path) ? request_.canChooseFolders : request_.canChooseFiles) paths << path;
    }
    return paths;
}

void OpenPanel::selectionChanged() {
    const auto selected = selectedPaths().size();
    count_->setText(selected > 1    ? QStringLiteral("%1 items selected").arg(selected)
                    : selected == 1 ? QStringLiteral("1 item selected")
                                    : QStringLiteral("Nothing selected: this folder"));
    chooseButton_->setEnabled(selected > 0 || request_.canChooseFolders);
}

// With nothing selected the folder that is shown is meant.
void OpenPanel::choose() {
    chosen_ = selectedPaths();
    if (chosen_.isEmpty() && request_.canChooseFolders) chosen_ = {folder_};
    if (!chosen_.isEmpty()) accept();
}

bool OpenPanel::eventFilter(QObject* object, QEvent* event) {
    // The path's own Return: the dialog, which would choose, must not see it.
    if (object == path_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            openTypedPath();
            return true;
        }
    }
    if (object == list_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool isEnter = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
        if (isEnter) {
            const QStringList selected = selectedPaths();
            const bool entersFolder = selected.size() == 1 && paths::isFolder(selected.first());
            if (key->modifiers() & Qt::ControlModifier || !entersFolder) {
                choose();
            } else {
                goTo(selected.first());
            }
            return true;
        }
        const bool isUp = key->key() == Qt::Key_Up && (key->modifiers() & Qt::AltModifier);
        if (key->key() == Qt::Key_Backspace || isUp) {
            goTo(paths::parent(folder_));
            return true;
        }
    }
    return QDialog::eventFilter(object, event);
}

// Return among the places goes there; without this the dialog would choose what it goes to.
void OpenPanel::keyPressEvent(QKeyEvent* event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && places_->hasFocus()) return;
    QDialog::keyPressEvent(event);
}

} // namespace ostrel
