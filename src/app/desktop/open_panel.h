// Chooses files and folders in one panel: places and recent folders at the side, a list with the type filter, hidden
// files off. Enter goes into a folder or chooses a file, Backspace goes up; several at once where the request says so.
#pragma once

#include "platform/desktop_services.h"

#include <QDialog>
#include <QModelIndex>

class QComboBox;
class QFileSystemModel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QToolButton;
class QTreeView;

namespace ostrel {

class SecondaryLabel;

class OpenPanel : public QDialog {
    Q_OBJECT

public:
    OpenPanel(const OpenPanelRequest& request, const QStringList& recentFolders, QWidget* parent = nullptr);

    // Absolute paths, in the order of the list.
    QStringList chosen() const { return chosen_; }

    QString folder() const { return folder_; }
    void goTo(const QString& folder);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QWidget* makePlaces(const QStringList& recentFolders);
    QWidget* makeBrowser();
    QWidget* makeFoot();
    void addPlace(const QString& name, const QString& symbol, const QString& path);
    void applyFilter();
    void enter(const QModelIndex& index);
    void openTypedPath();
    void createFolder();
    void selectionChanged();
    QStringList selectedPaths() const;
    void choose();

    const OpenPanelRequest request_;
    QStringList chosen_;
    QString folder_;
    QFileSystemModel* files_ = nullptr;
    QListWidget* places_ = nullptr;
    QTreeView* list_ = nullptr;
    QLineEdit* path_ = nullptr;
    QToolButton* up_ = nullptr;
    QComboBox* types_ = nullptr;
    SecondaryLabel* count_ = nullptr;
    QPushButton* chooseButton_ = nullptr;
};

} // namespace ostrel
