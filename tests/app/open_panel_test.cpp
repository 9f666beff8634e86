#include "app/desktop/open_panel.h"
#include "app/window_test.h"

#include <QComboBox>
#include <QFileSystemModel>
#include <QLineEdit>
#include <QListWidget>
#include <QTreeView>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class OpenPanelTest : public ::testing::Test {
protected:
    OpenPanelTest() {
        folder_.write(QStringLiteral("take/inner.wav"), "x");
        folder_.write(QStringLiteral("a.wav"), "x");
        folder_.write(QStringLiteral("b.WAV"), "x");
        folder_.write(QStringLiteral("notes.txt"), "x");
        folder_.write(QStringLiteral(".hidden.wav"), "x");
    }

    void open(bool several = true) {
        OpenPanelRequest request;
        request.canChooseFolders = true;
        request.allowsMultipleSelection = several;
        request.message = QStringLiteral("Select audio files or folders");
        request.prompt = QStringLiteral("Select");
        request.allowedExtensions = {QStringLiteral("wav")};
        panel_ = std::make_unique<OpenPanel>(request, QStringList{folder_.path()});
        panel_->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(panel_.get()));
        ASSERT_TRUE(waitUntil([this] { return names().size() == 3; })) << names().join(u' ').toStdString();
    }
    QTreeView& list() { return *find<QTreeView>(*panel_, QStringLiteral("Files and folders")); }
    QStringList names() {
        QStringList names;
        const QModelIndex root = list().rootIndex();
        for (int row = 0; row < list().model()->rowCount(root); ++row) {
            names << list().model()->index(row, 0, root).data().toString();
        }
        return names;
    }
    void select(const QStringList& wanted) {
        list().clearSelection();
        const QModelIndex root = list().rootIndex();
        for (int row = 0; row < list().model()->rowCount(root); ++row) {
            const QModelIndex index = list().model()->index(row, 0, root);
            if (!wanted.contains(index.data().toString())) continue;
            list().selectionModel()->setCurrentIndex(index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
        }
    }
    void clickSelect() { QTest::mouseClick(find<QAbstractButton>(*panel_, QStringLiteral("Select")), Qt::LeftButton); }

    TestFolder folder_;
    std::unique_ptr<OpenPanel> panel_;
};

TEST_F(OpenPanelTest, ShowsFoldersAndFilesOfTheTypesAndNothingHidden) {
    open();
    QStringList shown = names();
    shown.sort();
    EXPECT_EQ(shown.join(u' '), QStringLiteral("a.wav b.WAV take"));
    find<QComboBox>(*panel_, QStringLiteral("File type"))->setCurrentIndex(1);
    EXPECT_TRUE(waitUntil([this] { return names().size() == 4; }));
    EXPECT_TRUE(names().contains(QStringLiteral("notes.txt")));
}

TEST_F(OpenPanelTest, TakesFilesAndFoldersAtOnce) {
    open();
    select({QStringLiteral("take"), QStringLiteral("a.wav")});
    clickSelect();
    EXPECT_EQ(panel_->result(), QDialog::Accepted);
    EXPECT_EQ(panel_->chosen().size(), 2);
    EXPECT_TRUE(panel_->chosen().contains(folder_.path() + QStringLiteral("/take")));
}

TEST_F(OpenPanelTest, WithNothingSelectedTheShownFolderIsMeant) {
    open();
    clickSelect();
    EXPECT_EQ(panel_->chosen(), QStringList{folder_.path()});
}

TEST_F(OpenPanelTest, ReturnGoesIntoAFolderAndBackspaceOut) {
    open();
    select({QStringLiteral("take")});
    QTest::keyClick(&list(), Qt::Key_Return);
    EXPECT_EQ(panel_->folder(), folder_.path() + QStringLiteral("/take"));
    QTest::keyClick(&list(), Qt::Key_Backspace);
    EXPECT_EQ(panel_->folder(), folder_.path());
    EXPECT_TRUE(panel_->chosen().isEmpty());
}

TEST_F(OpenPanelTest, ReturnOnAFileChoosesIt) {
    open();
    select({QStringLiteral("a.wav")});
    QTest::keyClick(&list(), Qt::Key_Return);
    EXPECT_EQ(panel_->chosen(), QStringList{folder_.path() + QStringLiteral("/a.wav")});
}

TEST_F(OpenPanelTest, ATypedPathIsGoneToOrChosen) {
    open();
    auto* path = find<QLineEdit>(*panel_, QStringLiteral("Folder path"));
    path->setText(QStringLiteral("take"));
    QTest::keyClick(path, Qt::Key_Return);
    EXPECT_EQ(panel_->folder(), folder_.path() + QStringLiteral("/take"));
    path->setText(folder_.path() + QStringLiteral("/nowhere"));
    QTest::keyClick(path, Qt::Key_Return);
    EXPECT_EQ(panel_->folder(), folder_.path() + QStringLiteral("/take"));
    EXPECT_TRUE(panel_->isVisible());
    path->setText(folder_.path() + QStringLiteral("/a.wav"));
    QTest::keyClick(path, Qt::Key_Return);
    EXPECT_EQ(panel_->chosen(), QStringList{folder_.path() + QStringLiteral("/a.wav")});
}

TEST_F(OpenPanelTest, PlacesAndRecentFoldersAreOneClickAway) {
    open();
    auto* places = find<QListWidget>(*panel_, QStringLiteral("Places"));
    QStringList shown;
    for (int row = 0; row < places->count(); ++row) shown << places->item(row)->text();
    EXPECT_EQ(shown.first(), QStringLiteral("Home"));
    EXPECT_TRUE(shown.contains(QStringLiteral("Computer")));
    EXPECT_TRUE(shown.contains(paths::lastComponent(folder_.path()))) << "the recent one";
    QTest::mouseClick(places->viewport(), Qt::LeftButton, {}, places->visualItemRect(places->item(0)).center());
    EXPECT_EQ(panel_->folder(), QDir::homePath());
}

TEST_F(OpenPanelTest, CancelChoosesNothing) {
    open();
    select({QStringLiteral("a.wav")});
    QTest::keyClick(panel_.get(), Qt::Key_Escape);
    EXPECT_EQ(panel_->result(), QDialog::Rejected);
    EXPECT_TRUE(panel_->chosen().isEmpty());
}

} // namespace
} // namespace ostrel::testing
