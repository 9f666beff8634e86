// "Check..." and "Sound Report...": what they show of recordings, what they copy, save and correct, and that the
// recordings stay as they are.
#include "app/controls/item_roles.h"
#include "app/delivery/check_dialog.h"
#include "app/delivery/findings_model.h"
#include "app/delivery/fix_dialog.h"
#include "app/delivery/report_dialog.h"
#include "app/tables/filter_bar.h"
#include "app/window_test.h"
#include "metadata/csv_table.h"
#include "support/wave_file.h"

#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTableWidget>

namespace ostrel::testing {
namespace {

QByteArray documentOf(const QByteArray& rate, const QByteArray& scene) {
    return "<BWFXML><PROJECT>Harbour</PROJECT><SCENE>" + scene + "</SCENE><TAKE>2</TAKE><SPEED><TIMECODE_RATE>" + rate +
           "</TIMECODE_RATE><TIMECODE_FLAG>NDF</TIMECODE_FLAG></SPEED></BWFXML>";
}

class DeliveryDialogs : public ::testing::Test {
protected:
    DeliveryDialogs() { QSettings().clear(); }
    ~DeliveryDialogs() override { QSettings().clear(); }

    // Its Description names another scene, and its lines end with LF.
    QString writeTake(const QString& name, const QByteArray& rate = "25/1", const QByteArray& scene = "7A") {
        WaveSpec spec{.frames = 48000};
        spec.before = {{"bext", bextPayload({.description = "sSCENE=7B\nsTAKE=2\n", .timeReference = 48000ULL * 3600})},
                       {"iXML", documentOf(rate, scene)}};
        return folder_.write(name, waveBytes(spec));
    }

    static bool ends(DeliveryDialog& dialog) {
        return QTest::qWaitFor([&] { return !dialog.isRunning(); }, 20'000);
    }
    static void press(QWidget& dialog, const QString& text) {
        for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
            if (button->text() != text) continue;
            ASSERT_TRUE(button->isEnabled()) << text.toStdString();
            button->click();
            return;
        }
        FAIL() << "no button " << text.toStdString();
    }
    static QStringList column(RecordTable& table, int column) {
        QStringList cells;
        for (int row = 0; row < table.model()->rowCount(); ++row)
            cells << table.model()->index(row, column).data().toString();
        return cells;
    }

    TestFolder folder_;
    ScriptedDesktop desktop_;
};

TEST_F(DeliveryDialogs, FindingsSayWhatIsThereAndWhatShouldBe) {
    writeTake(QStringLiteral("day/7A_2.wav"));
    CheckDialog dialog({folder_.path(QStringLiteral("day"))}, desktop_, nullptr);
    ASSERT_TRUE(ends(dialog));
    EXPECT_TRUE(dialog.verdict().startsWith(QStringLiteral("1 recording: 0 errors, 1 warning, ")))
        << dialog.verdict().toStdString();
    const int row = static_cast<int>(
        column(dialog.table(), FindingsModel::FieldColumn).indexOf(QStringLiteral("bext Description SCENE")));
    ASSERT_GE(row, 0);
    EXPECT_EQ(column(dialog.table(), FindingsModel::SeverityColumn)[row], QStringLiteral("Warning"));
    EXPECT_EQ(column(dialog.table(), FindingsModel::FoundColumn)[row], QStringLiteral("7B"));
    EXPECT_EQ(column(dialog.table(), FindingsModel::ExpectedColumn)[row], QStringLiteral("7A"));
    const Badge badge =
        dialog.table().model()->index(row, FindingsModel::SeverityColumn).data(BadgeRole).value<Badge>();
    EXPECT_EQ(badge.symbol, QStringLiteral("exclamationmark.triangle"));
    EXPECT_EQ(badge.word, QStringLiteral("Warning"));
}

TEST_F(DeliveryDialogs, AReadersOwnRulesComeWithItsChoice) {
    writeTake(QStringLiteral("day/7A_2.wav"));
    CheckDialog dialog({folder_.path(QStringLiteral("day"))}, desktop_, nullptr);
    ASSERT_TRUE(ends(dialog));
    EXPECT_FALSE(column(dialog.table(), FindingsModel::ExpectedColumn).contains(QStringLiteral("CR LF")));
    find<SegmentedControl>(dialog, QStringLiteral("Rules for"))->segment(1)->click();
    ASSERT_TRUE(ends(dialog));
    EXPECT_TRUE(column(dialog.table(), FindingsModel::ExpectedColumn).contains(QStringLiteral("CR LF")));
}

TEST_F(DeliveryDialogs, WhatWasFoundIsCopiedAndSaved) {
    const QString file = writeTake(QStringLiteral("day/7A_2.wav"));
    CheckDialog dialog({file}, desktop_, nullptr);
    ASSERT_TRUE(ends(dialog));
    press(dialog, QStringLiteral("Copy"));
    ASSERT_EQ(desktop_.pasteboard.size(), 1);
    EXPECT_TRUE(
        desktop_.pasteboard[0].contains(QStringLiteral("Warning\t%1\tbext Description SCENE\t7B\t7A\t").arg(file)))
        << desktop_.pasteboard[0].toStdString();
    desktop_.savePanelAnswer = folder_.path(QStringLiteral("found"));
    press(dialog, QStringLiteral("Save CSV..."));
    const auto rows = parseCSV(QString::fromUtf8(readAll(folder_.path(QStringLiteral("found.csv")))));
    ASSERT_EQ(rows.size(), static_cast<std::size_t>(dialog.table().model()->rowCount()) + 1);
    EXPECT_EQ(rows[0][0], QStringLiteral("File"));
    EXPECT_EQ(rows[1][0], file);
}

TEST_F(DeliveryDialogs, ASelectionWithoutRecordingsSaysSoAndOffersNothing) {
    folder_.write(QStringLiteral("day/a.txt"), "no recording");
    CheckDialog dialog({folder_.path(QStringLiteral("day"))}, desktop_, nullptr);
    ASSERT_TRUE(ends(dialog));
    EXPECT_EQ(dialog.verdict(), QStringLiteral("No WAV recordings are in the selection"));
    for (const char* text : {"Copy", "Save CSV...", "Fix Copies..."}) {
        for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
            if (button->text() == QLatin1String(text)) {
                EXPECT_FALSE(button->isEnabled()) << text;
            }
        }
    }
}

TEST_F(DeliveryDialogs, CopiesAreCorrectedOnceAPersonSaysSo) {
    const QString file = writeTake(QStringLiteral("day/7A_2.wav"));
    const QByteArray before = readAll(file);
    const QString copy = folder_.path(QStringLiteral("day/Corrected/7A_2.wav"));
    {
        FixDialog dialog({file}, Reader::anybody, desktop_, nullptr);
        ASSERT_TRUE(ends(dialog));
        EXPECT_EQ(dialog.verdict(), QStringLiteral("1 file can be corrected; nothing is written yet"));
        ASSERT_EQ(dialog.table().rowCount(), 1);
        EXPECT_EQ(dialog.table().item(0, 2)->text(), QStringLiteral("7B"));
        EXPECT_EQ(dialog.table().item(0, 3)->text(), QStringLiteral("7A"));
        EXPECT_FALSE(QFile::exists(copy));
        press(dialog, QStringLiteral("Write Copies"));
        ASSERT_TRUE(ends(dialog));
        EXPECT_EQ(dialog.verdict(), QStringLiteral("1 file written"));
        EXPECT_EQ(dialog.table().item(0, 4)->text(), QStringLiteral("corrected copy"));
    }
    EXPECT_EQ(readAll(file), before);
    const QByteArray made = readAll(copy);
    EXPECT_EQ(chunkOf(made, "data"), chunkOf(before, "data"));
    FixDialog again({file}, Reader::anybody, desktop_, nullptr);
    ASSERT_TRUE(ends(again));
    press(again, QStringLiteral("Write Copies"));
    ASSERT_TRUE(ends(again));
    EXPECT_EQ(again.verdict(), QStringLiteral("0 files written, 1 not"));
    EXPECT_TRUE(again.table().item(0, 4)->text().startsWith(QStringLiteral("skipped"))); // it is there already
    EXPECT_EQ(readAll(copy), made);
}

TEST_F(DeliveryDialogs, TheReportsFormComesFromTheRecordingsAndFromLastTime) {
    writeTake(QStringLiteral("day/7A_2.wav"));
    {
        ReportDialog dialog({folder_.path(QStringLiteral("day"))}, desktop_, nullptr);
        ASSERT_TRUE(ends(dialog));
        EXPECT_EQ(dialog.verdict(), QStringLiteral("1 take"));
        EXPECT_EQ(find<QLineEdit>(dialog, QStringLiteral("Project"))->text(), QStringLiteral("Harbour"));
        EXPECT_EQ(dialog.takes().item(0, 3)->text(), QStringLiteral("01:00:00:00"));
        auto* mixer = find<QLineEdit>(dialog, QStringLiteral("Sound Mixer"));
        EXPECT_EQ(mixer->text(), QString());
        QTest::keyClicks(mixer, QStringLiteral("A. Miller"));
        desktop_.savePanelAnswer = folder_.path(QStringLiteral("report.html"));
        press(dialog, QStringLiteral("Save HTML..."));
        EXPECT_TRUE(readAll(desktop_.savePanelAnswer).contains("<dt>Sound Mixer</dt><dd>A. Miller</dd>"));
    }
    ReportDialog next({folder_.path(QStringLiteral("day"))}, desktop_, nullptr);
    ASSERT_TRUE(ends(next));
    EXPECT_EQ(find<QLineEdit>(next, QStringLiteral("Sound Mixer"))->text(), QStringLiteral("A. Miller"));
}

TEST_F(DeliveryDialogs, AnAleIsWrittenForEachRateAndReplacesNothingUnasked) {
    writeTake(QStringLiteral("day/7A_2.wav"));
    writeTake(QStringLiteral("day/8A_1.wav"), "24000/1001", "8A");
    ReportDialog dialog({folder_.path(QStringLiteral("day"))}, desktop_, nullptr);
    ASSERT_TRUE(ends(dialog));
    desktop_.savePanelAnswer = folder_.path(QStringLiteral("out/day.ale"));
    folder_.write(QStringLiteral("out/day 25.ale"), "another's");
    press(dialog, QStringLiteral("Save ALE..."));
    ASSERT_EQ(desktop_.alerts.size(), 1U);
    EXPECT_EQ(namesIn(folder_.path(QStringLiteral("out"))), QStringList{QStringLiteral("day 25.ale")});
    QFile::remove(folder_.path(QStringLiteral("out/day 25.ale")));
    press(dialog, QStringLiteral("Save ALE..."));
    EXPECT_EQ(namesIn(folder_.path(QStringLiteral("out"))),
              (QStringList{QStringLiteral("day 23.976.ale"), QStringLiteral("day 25.ale")}));
    EXPECT_TRUE(readAll(folder_.path(QStringLiteral("out/day 25.ale"))).contains("FPS\t25\r\n"));
}

TEST_F(WindowTest, CheckAsksForWhatTheTabListsAndOtherwiseForASelection) {
    show(AppTab::stereoValidator);
    press(Qt::Key_K);
    ASSERT_EQ(desktop_.openPanels.size(), 1U); // nothing is listed, and the person cancels
    drop({samples() + QStringLiteral("/polys")});
    window_.selectedTab = AppTab::polyTools;
    drop({samples() + QStringLiteral("/polys")});
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_FALSE(polyToolsView_->listedRecordings().isEmpty());
    QString title;
    QTimer poll; // until the dialog stands
    QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (!dialog) return;
        title = dialog->windowTitle();
        auto* check = qobject_cast<CheckDialog*>(dialog);
        if (check && !check->isRunning()) check->reject();
    });
    poll.start(20);
    press(Qt::Key_K);
    EXPECT_EQ(title, QStringLiteral("Check Recordings"));
    EXPECT_EQ(desktop_.openPanels.size(), 1U);
}

} // namespace
} // namespace ostrel::testing
