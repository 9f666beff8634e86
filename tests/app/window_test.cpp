#include "app/window_test.h"

#include <QMimeData>
#include <QProcess>
#include <gtest/gtest.h>

namespace ostrel::testing {

WindowTest::WindowTest()
    : interleaver_(desktop_, audio_), polyTools_(desktop_, &audio_), validator_(desktop_, audio_),
      updater_(desktop_, QString(), QStringLiteral("0.1.0")), mainView_(new MainView(interleaver_, desktop_)),
      validatorView_(new StereoValidatorTabView(validator_, interleaver_.appearance)),
      polyToolsView_(new PolyToolsTabView(polyTools_, interleaver_.appearance)),
      window_(desktop_, updater_, interleaver_.appearance, {QStringLiteral("0.1.0"), {}, {}, {}},
              {mainView_, polyToolsView_, validatorView_}) {}

QString WindowTest::samples() {
    const QString folder = folder_.path(QStringLiteral("samples"));
    EXPECT_EQ(
        QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), QStringLiteral(OSTREL_TEST_SAMPLES), folder}),
        0);
    return folder;
}

void WindowTest::show(AppTab tab) {
    window_.selectedTab = tab;
    window_.show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window_));
    settle();
}

void WindowTest::press(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(window_.windowHandle(), key, modifiers);
    settle();
}

void WindowTest::click(const QString& accessibleName) {
    settle();
    auto* button = find<QAbstractButton>(window_.currentPage(), accessibleName);
    ASSERT_NE(button, nullptr);
    ASSERT_TRUE(button->isEnabled()) << accessibleName.toStdString();
    // Within a check box or a button alike the left edge is its own.
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(9, button->height() / 2));
    settle();
}

void WindowTest::clickRow(QTableView& table, int row, int column) {
    const QModelIndex index = table.model()->index(row, column);
    ASSERT_TRUE(index.isValid()) << row << ", " << column;
    table.scrollTo(index);
    QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, table.visualRect(index).center());
    settle();
}

void WindowTest::drop(const QStringList& urls) {
    QMimeData data;
    QList<QUrl> list;
    for (const QString& url : urls) list << QUrl::fromLocalFile(url);
    data.setUrls(list);
    const QPoint middle = window_.rect().center();
    QDragEnterEvent enter(middle, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window_, &enter);
    EXPECT_TRUE(enter.isAccepted());
    EXPECT_TRUE(window_.isDragTargeted.value());
    QDropEvent event(middle, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window_, &event);
    EXPECT_FALSE(window_.isDragTargeted.value());
    settle();
}

bool WindowTest::waitForInterleaver() {
    const bool ended = waitUntil([this] { return !interleaver_.hasRunningTask(); });
    settle();
    return ended;
}

bool WindowTest::waitForAnalysis() {
    const bool ended = waitUntil([this] { return !validator_.isAnalyzing.value(); });
    settle();
    return ended;
}

bool WindowTest::waitForPolyTools() {
    const bool ended = waitUntil([this] { return !polyTools_.hasRunningTask(); }, 60'000);
    settle();
    return ended;
}

void WindowTest::settle() {
    for (int turn = 0; turn < 3; ++turn) QCoreApplication::processEvents();
}

QStringList WindowTest::messages(const RecordList<ProcessingLogEntry>& entries) const {
    QStringList result;
    for (const ProcessingLogEntry& entry : entries) result << entry.message;
    return result;
}

} // namespace ostrel::testing
