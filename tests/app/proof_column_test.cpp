// "Prove that nothing changed" in the window: the switch, the column, and what a click on it shows.
#include "app/window_test.h"

#include "app/controls/controls.h"
#include "app/controls/item_roles.h"
#include "app/panels/proof_dialog.h"
#include "app/shell/custody_dialog.h"
#include "support/wave_file.h"

#include <QCheckBox>
#include <QDir>
#include <QSettings>
#include <QTableWidget>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class ProofColumnTest : public WindowTest {
protected:
    ProofColumnTest() { QSettings().remove(QStringLiteral("proof")); }
    ~ProofColumnTest() override { QSettings().remove(QStringLiteral("proof")); }

    RecordTable& table() { return *find<RecordTable>(*mainView_, QStringLiteral("Groups to interleave")); }
    QString word() { return table().model()->index(0, ProofColumn).data().toString(); }

    // What the dialog that the next step opens shows: its texts, row by row.
    QStringList shownBy(const std::function<void()>& step) {
        QStringList texts;
        QTimer look;
        QObject::connect(&look, &QTimer::timeout, this_, [&] {
            auto* dialog = qobject_cast<ProofDialog*>(QApplication::activeModalWidget());
            if (!dialog) return;
            const auto* channels = dialog->findChild<QTableWidget*>();
            for (int row = 0; row < channels->rowCount(); ++row) {
                QStringList cells;
                for (int column = 0; column < 6; ++column) cells << channels->item(row, column)->text();
                texts << cells.join(u'|');
            }
            dialog->reject();
        });
        look.start(10);
        step();
        return texts;
    }

    void choose(const QString& item) {
        for (QAction* action : window_.findChildren<QAction*>()) {
            if (action->text() == item) return action->trigger();
        }
        ADD_FAILURE() << "no " << item.toStdString();
    }
    // What the dialog comes to that the menu's item opens.
    QString verdictOf(const QString& item) {
        QString verdict;
        QTimer look;
        QObject::connect(&look, &QTimer::timeout, this_, [&] {
            auto* dialog = qobject_cast<CustodyDialog*>(QApplication::activeModalWidget());
            if (!dialog || dialog->isRunning()) return;
            verdict = dialog->verdict();
            dialog->reject();
        });
        look.start(10);
        choose(item);
        return verdict;
    }

    QObject* this_ = &window_;
};

TEST_F(ProofColumnTest, IsAskedForByAMarkAndOpensByClickAndKey) {
    interleaver_.showOptions = true;
    interleaver_.engine = EngineChoice::direct;
    show();
    EXPECT_TRUE(table().isColumnHidden(ProofColumn));
    click(QStringLiteral("Prove that nothing changed"));
    EXPECT_TRUE(interleaver_.proves.value());
    EXPECT_FALSE(table().isColumnHidden(ProofColumn));
    for (const char* tag : {"L", "R"}) {
        folder_.write(QStringLiteral("rain/Rain.%1.wav").arg(QLatin1String(tag)),
                      waveBytes({.frames = 4800, .firstSignal = *tag}));
    }
    drop({folder_.path(QStringLiteral("rain"))});
    press(Qt::Key_S);
    ASSERT_TRUE(waitForInterleaver());
    EXPECT_EQ(word(), QString());
    press(Qt::Key_R);
    ASSERT_TRUE(waitForInterleaver());
    EXPECT_EQ(word(), QStringLiteral("Identical"));
    const QStringList byClick = shownBy([&] { clickRow(table(), 0, ProofColumn); });
    ASSERT_EQ(byClick.size(), 2);
    EXPECT_TRUE(byClick[1].startsWith(QStringLiteral("Rain.wav|2|Rain.R.wav|1|Identical|")))
        << byClick[1].toStdString();
    EXPECT_EQ(byClick[1].section(u'|', 5).size(), 32);
    window_.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
    table().setFocus();
    EXPECT_EQ(shownBy([&] { QTest::keyClick(&table(), Qt::Key_Return, Qt::AltModifier); }), byClick);
}

TEST_F(ProofColumnTest, TheMenuSavesACertificateOfWhatWasProven) {
    interleaver_.engine = EngineChoice::direct;
    interleaver_.proves = true;
    show();
    desktop_.savePanelAnswer = folder_.path(QStringLiteral("page.html"));
    choose(QStringLiteral("Save Certificate..."));
    EXPECT_FALSE(QFile::exists(desktop_.savePanelAnswer)) << "nothing was proven yet";
    for (const char* tag : {"L", "R"}) {
        folder_.write(QStringLiteral("rain/Rain.%1.wav").arg(QLatin1String(tag)),
                      waveBytes({.frames = 4800, .firstSignal = *tag}));
    }
    drop({folder_.path(QStringLiteral("rain"))});
    press(Qt::Key_S);
    ASSERT_TRUE(waitForInterleaver());
    press(Qt::Key_R);
    ASSERT_TRUE(waitForInterleaver());
    choose(QStringLiteral("Save Certificate..."));
    ASSERT_TRUE(QTest::qWaitFor([&] { return QFile::exists(desktop_.savePanelAnswer); }, 60'000));
    EXPECT_TRUE(readAll(desktop_.savePanelAnswer).contains("Certified: every channel of 1 item"));
}

TEST_F(ProofColumnTest, AFolderIsSealedAndVerifiedFromTheMenu) {
    show();
    const QString day = folder_.path(QStringLiteral("day"));
    folder_.write(QStringLiteral("day/a.wav"), waveBytes({.frames = 100}));
    desktop_.openPanelAnswer = {day};
    EXPECT_EQ(verdictOf(QStringLiteral("Seal Folder...")), QStringLiteral("✓ Sealed"));
    EXPECT_EQ(verdictOf(QStringLiteral("Verify Folder...")), QStringLiteral("✓ Everything is what it was"));
    folder_.write(QStringLiteral("day/a.wav"), waveBytes({.frames = 101}));
    EXPECT_TRUE(verdictOf(QStringLiteral("Verify Folder...")).endsWith(QStringLiteral("1 changed")));
}

TEST_F(ProofColumnTest, WhatWasAskedForIsRemembered) {
    interleaver_.showOptions = true;
    show();
    click(QStringLiteral("Prove that nothing changed"));
    AppViewModel next(desktop_, audio_);
    const MainView view(next, desktop_);
    EXPECT_TRUE(next.proves.value());
    EXPECT_FALSE(polyTools_.proves.value());
}

} // namespace
} // namespace ostrel::testing
