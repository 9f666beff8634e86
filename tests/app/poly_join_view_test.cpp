// The Join mode: one take to one poly, with what is heard on the way. The review has a test of its own.
#include "app/join_fixture.h"

#include "app/controls/progress_line.h"

#include <QMimeData>
#include <QScrollBar>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

using Levels = std::vector<double>;

std::pair<double, double> both(double level) {
    const double rounded = std::round(level * 1000) / 1000;
    return {rounded, rounded};
}

class PolyJoinViewTest : public JoinFixture {
protected:
    RecordTable& table() { return view_.isos().table(); }
    QModelIndex row(int row) { return table().model()->index(row, IsoTableModel::FileColumn); }
    void load(const QStringList& urls) {
        desktop_.openPanelAnswer = urls;
        click(QStringLiteral("Add Files..."));
        ASSERT_TRUE(wait());
    }
    // Without iXML: three ISOs of 0.1, 0.2 and 0.3.
    void loadThree(int frames = 4800) {
        load({iso(QStringLiteral("in/T1_a.wav"), 0.1, {}, frames), iso(QStringLiteral("in/T1_b.wav"), 0.2, {}, frames),
              iso(QStringLiteral("in/T1_c.wav"), 0.3, {}, frames)});
    }
    QLineEdit& name() { return *find<QLineEdit>(view_, QStringLiteral("Output Name")); }
    void waitForPoly() {
        ASSERT_TRUE(waitUntil([this] { return model_.preview().mixer()->hasPolySource(); }));
        ASSERT_TRUE(wait());
    }
};

TEST_F(PolyJoinViewTest, AScanShowsHowManyOfItsFilesAreRead) {
    auto* run = view_.findChild<RunRow*>();
    const auto* bar = run->findChild<ProgressLine*>();
    EXPECT_LT(bar->progress(), 0);
    model_.groupingProgress = std::pair(3, 4);
    settle();
    EXPECT_EQ(bar->progress(), 0.75);
    EXPECT_EQ(run->statusText(), QStringLiteral("Reading files: 75%"));
    model_.groupingProgress = std::nullopt;
    settle();
    EXPECT_LT(bar->progress(), 0);
}

TEST_F(PolyJoinViewTest, BeforeAnythingIsChosenItSaysWhatToDo) {
    EXPECT_TRUE(shows(QStringLiteral("No files or folder selected")));
    EXPECT_TRUE(shows(QStringLiteral("Select output folder for poly files")));
    EXPECT_TRUE(shows(QStringLiteral("Select ISO files or folder")));
    EXPECT_FALSE(button(QStringLiteral("Join")).isEnabled());
    EXPECT_FALSE(button(QStringLiteral("Scan")).isEnabled());
    EXPECT_EQ(name().placeholderText(), QStringLiteral("output_poly"));
    EXPECT_FALSE(shows(QStringLiteral("Detected 1 high-confidence group")));
}

TEST_F(PolyJoinViewTest, ATakeBeyondDoubtGoesTheShortcutToItsPoly) {
    take("3", 0.1);
    const QStringList before = fingerprint(folder_.path());
    choose({folder_.path(QStringLiteral("in"))});
    EXPECT_EQ(desktop_.openPanels.back().message, QStringLiteral("Select ISO files or folder"));
    EXPECT_EQ(names(), QStringLiteral("T3_Boom.wav T3_Lav.wav"));
    EXPECT_TRUE(shows(QStringLiteral("Detected 1 high-confidence group")));
    EXPECT_EQ(name().text(), QStringLiteral("12A-T3_poly"));
    click(QStringLiteral("Show details"));
    EXPECT_TRUE(shows(QStringLiteral("Metadata Scene/Take   •   2 channels   •   0:00")));
    click(QStringLiteral("Hide Details"));
    EXPECT_FALSE(shows(QStringLiteral("Metadata Scene/Take   •   2 channels   •   0:00")));

    chooseOutput(folder_.path(QStringLiteral("out")));
    EXPECT_EQ(desktop_.openPanels.back().message, QStringLiteral("Select folder where poly files will be created"));
    click(QStringLiteral("Join"));
    EXPECT_TRUE(wait());
    EXPECT_EQ(levels(folder_.path(QStringLiteral("out/12A-T3_poly.wav"))), (Levels{0.1, 0.2}));
    EXPECT_EQ(view_.runRow().results().text(), QStringLiteral("Join Complete  Success: 1  Skipped: 0"));
    QStringList after = fingerprint(folder_.path());
    after.removeIf([](const QString& line) { return line.contains(QStringLiteral("out/")); });
    EXPECT_EQ(after, before);
}

TEST_F(PolyJoinViewTest, TheOneGroupOfTheShortcutCanBeReviewedAllTheSame) {
    take("3", 0.1);
    choose({folder_.path(QStringLiteral("in"))});
    click(QStringLiteral("Review groups before joining"));
    EXPECT_TRUE(view_.review().isVisible());
    EXPECT_TRUE(model_.batchJoinMode.value());
    EXPECT_EQ(view_.review().groups().rowCount(), 1);
    EXPECT_EQ(view_.runRow().runButton().text(), QStringLiteral("Join All Groups"));
    click(QStringLiteral("Review groups before joining"));
    EXPECT_FALSE(view_.review().isVisible());
    EXPECT_FALSE(model_.batchJoinMode.value());
}

TEST_F(PolyJoinViewTest, AddedFilesJoinThoseThatAreLoaded) {
    loadThree();
    EXPECT_TRUE(shows(QStringLiteral("3 files loaded")));
    EXPECT_TRUE(shows(QStringLiteral("Using file selection order (no metadata found)")));
    load({iso(QStringLiteral("in/T1_d.wav"), 0.4), folder_.path(QStringLiteral("in/T1_b.wav"))});
    EXPECT_EQ(names(), QStringLiteral("T1_a.wav T1_b.wav T1_c.wav T1_d.wav"));
    EXPECT_EQ(name().text(), QStringLiteral("T1_poly"));
}

TEST_F(PolyJoinViewTest, OrderFromMetadataSaysSo) {
    load({iso(QStringLiteral("in/T1_Lav.wav"), 0.2, Told{"1", "1", 2, "Lav"}),
          iso(QStringLiteral("in/T1_Boom.wav"), 0.1, Told{"1", "1", 1, "Boom"})});
    EXPECT_EQ(names(), QStringLiteral("T1_Boom.wav T1_Lav.wav"));
    EXPECT_TRUE(shows(QStringLiteral("Ordered by iXML channel number")));
    EXPECT_EQ(row(0).siblingAtColumn(IsoTableModel::TrackColumn).data().toString(), QStringLiteral("Boom"));
}

TEST_F(PolyJoinViewTest, RunNeedsTwoChosenIsosAndAName) {
    load({iso(QStringLiteral("in/T1_a.wav"), 0.1)});
    EXPECT_FALSE(button(QStringLiteral("Join")).isEnabled());
    load({iso(QStringLiteral("in/T1_b.wav"), 0.2)});
    EXPECT_TRUE(button(QStringLiteral("Join")).isEnabled());
    name().selectAll();
    key(name(), Qt::Key_Delete);
    EXPECT_FALSE(button(QStringLiteral("Join")).isEnabled());
    QTest::keyClicks(&name(), QStringLiteral("Take One"));
    EXPECT_EQ(model_.joinOutputName.value(), QStringLiteral("Take One"));
    EXPECT_TRUE(button(QStringLiteral("Join")).isEnabled());
    click(QStringLiteral("Deselect All"));
    EXPECT_FALSE(button(QStringLiteral("Join")).isEnabled());
    click(QStringLiteral("Select All"));
    EXPECT_TRUE(button(QStringLiteral("Join")).isEnabled());
    model_.ffmpegAvailable = false;
    EXPECT_FALSE(button(QStringLiteral("Join")).isEnabled());
    model_.ffmpegAvailable = true;
    model_.isProcessing = true;
    settle();
    for (const auto* name : {u"Join", u"Select All", u"Add Files...", u"Output Folder: Choose Folder..."})
        EXPECT_FALSE(button(QString::fromUtf16(name)).isEnabled());
    model_.isProcessing = false;
}

TEST_F(PolyJoinViewTest, WhatStandsAgainstAJoinIsMarkedInItsRow) {
    WaveSpec stereo;
    stereo.channels = 2;
    load({iso(QStringLiteral("in/a.wav"), 0.1), iso(QStringLiteral("in/b.wav"), 0.1, {}, 96000, 96000),
          iso(QStringLiteral("in/c.wav"), 0.1, {}, 48000 * 3),
          folder_.write(QStringLiteral("in/d.wav"), waveBytes(stereo))});
    const auto marks = [this](int each) {
        return row(each).siblingAtColumn(IsoTableModel::MarksColumn).data().toString();
    };
    EXPECT_EQ(marks(0), QString());
    EXPECT_EQ(marks(1), QStringLiteral("Sample rate mismatch: 96000 Hz; Duration mismatch: 0:01"));
    EXPECT_EQ(marks(2), QStringLiteral("Duration mismatch: 0:03"));
    EXPECT_EQ(marks(3), QStringLiteral("Not a mono file (2 channels)"));
}

TEST_F(PolyJoinViewTest, ButtonsKeysAndDropsMoveARowAndTheReferenceStaysWithItsFile) {
    loadThree();
    auto* reference = find<QComboBox>(view_, QStringLiteral("Metadata from"));
    EXPECT_EQ(reference->count(), 3);
    EXPECT_EQ(reference->currentText(), QStringLiteral("T1_a.wav"));
    table().selectRow(0);
    EXPECT_FALSE(button(QStringLiteral("Move Up")).isEnabled());
    click(QStringLiteral("Move Down"));
    EXPECT_EQ(names(), QStringLiteral("T1_b.wav T1_a.wav T1_c.wav"));
    EXPECT_EQ(table().currentIndex().row(), 1) << "the row stays selected";
    EXPECT_EQ(reference->currentText(), QStringLiteral("T1_a.wav"));
    key(table(), Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(names(), QStringLiteral("T1_b.wav T1_c.wav T1_a.wav"));
    EXPECT_FALSE(button(QStringLiteral("Move Down")).isEnabled());
    key(table(), Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(names(), QStringLiteral("T1_b.wav T1_a.wav T1_c.wav"));
    const std::unique_ptr<QMimeData> dragged(table().model()->mimeData({row(2)}));
    table().model()->dropMimeData(dragged.get(), Qt::MoveAction, 0, 0, QModelIndex());
    settle();
    EXPECT_EQ(names(), QStringLiteral("T1_c.wav T1_b.wav T1_a.wav"));
    EXPECT_EQ(model_.isoFiles[0].channelIndex, 1);

    clickRow(table(), row(1), IsoTableModel::IncludeColumn, 15);
    EXPECT_FALSE(model_.isoFiles[1].isSelected);
    click(QStringLiteral("Join"));
    ASSERT_TRUE(wait());
    EXPECT_EQ(levels(folder_.path(QStringLiteral("in/T1_poly.wav"))), (Levels{0.3, 0.1}));
}

TEST_F(PolyJoinViewTest, ARowIsShownInFiles) {
    loadThree();
    EXPECT_FALSE(button(QStringLiteral("Reveal in Files")).isEnabled());
    table().selectRow(1);
    click(QStringLiteral("Reveal in Files"));
    EXPECT_EQ(desktop_.revealed, QStringList{folder_.path(QStringLiteral("in/T1_b.wav"))});
}

TEST_F(PolyJoinViewTest, ASuggestedNameFollowsTheSuffixAndATypedOneStays) {
    loadThree();
    EXPECT_TRUE(shows(QStringLiteral("✓ Output files will include '_poly' suffix (e.g., 14A-T03_poly.wav)")));
    click(QStringLiteral("Keep original name (no suffix)"));
    EXPECT_TRUE(shows(QStringLiteral("⚠️ Output file will use ISO base name (no '_poly' suffix)")));
    EXPECT_EQ(name().text(), QStringLiteral("T1"));
    click(QStringLiteral("Keep original name (no suffix)"));
    EXPECT_EQ(name().text(), QStringLiteral("T1_poly"));
    name().setFocus();
    QTest::keyClicks(&name(), QStringLiteral("x"));
    click(QStringLiteral("Keep original name (no suffix)"));
    EXPECT_EQ(name().text(), QStringLiteral("T1_polyx"));
}

TEST_F(PolyJoinViewTest, OutputsThatAreThereAreSkippedOrReplaced) {
    loadThree();
    const QString output = folder_.path(QStringLiteral("in/T1_poly.wav"));
    folder_.write(QStringLiteral("in/T1_poly.wav"), "old");
    click(QStringLiteral("Join"));
    ASSERT_TRUE(wait());
    EXPECT_EQ(readAll(output), QByteArray("old"));
    EXPECT_EQ(view_.runRow().results().text(), QStringLiteral("Join Complete  Success: 0  Skipped: 1"));
    click(QStringLiteral("Overwrite existing"));
    click(QStringLiteral("Join"));
    ASSERT_TRUE(wait());
    EXPECT_EQ(levels(output), (Levels{0.1, 0.2, 0.3}));
}

TEST_F(PolyJoinViewTest, TheLayoutAndTheOutputFolderAreChosenAndTakenBack) {
    loadThree();
    auto* layout = find<QComboBox>(view_, QStringLiteral("Channel layout"));
    EXPECT_EQ(layout->currentText(), QStringLiteral("Auto-detect"));
    layout->setFocus();
    QTest::keyClick(layout, Qt::Key_Down);
    QTest::keyClick(layout, Qt::Key_Down);
    EXPECT_EQ(model_.joinChannelLayout.value(), JoinChannelLayout::stereo);
    chooseOutput(folder_.path());
    EXPECT_TRUE(shows(folder_.path()));
    click(QStringLiteral("Clear output folder (use source folder)"));
    EXPECT_TRUE(shows(folder_.path(QStringLiteral("in"))));
    click(QStringLiteral("Clear source selection"));
    EXPECT_TRUE(shows(QStringLiteral("No files or folder selected")));
    EXPECT_EQ(table().model()->rowCount(), 0);
}

TEST_F(PolyJoinViewTest, AClickPlaysAnIsoAndAnotherClickPausesIt) {
    loadThree(kLong);
    const PreviewMixer& mixer = *model_.preview().mixer();
    clickRow(table(), row(1));
    EXPECT_EQ(heardNow(), both(0.2 * kTrim));
    clickRow(table(), row(1));
    EXPECT_FALSE(const_cast<PreviewMixer&>(mixer).isPlaying.value());
    clickRow(table(), row(1));
    EXPECT_EQ(heardNow(), both(0.2 * kTrim));
    clickRow(table(), row(2));
    EXPECT_EQ(heardNow(), both(0.3 * kTrim));
    EXPECT_EQ(model_.preview().join().joinPlaybackDisplayLabel(), QStringLiteral("3: T1_c.wav"));
    key(table(), Qt::Key_Up);
    key(table(), Qt::Key_Return);
    EXPECT_EQ(heardNow(), both(0.2 * kTrim));
}

TEST_F(PolyJoinViewTest, SoloTurnsTheWholeDownToOneTrackAndBackWithoutAStop) {
    load({iso(QStringLiteral("in/T1_a.wav"), 0.1, {}, kLong), iso(QStringLiteral("in/T1_b.wav"), 0.2, {}, kLong)});
    waitForPoly();
    click(QStringLiteral("Play All"));
    EXPECT_EQ(heardNow(), std::pair(0.1, 0.2)) << "the poly, its channels on their sides";
    clickRow(table(), row(0), IsoTableModel::SoloColumn);
    EXPECT_EQ(heardNow(), both(0.1 * kTrim));
    EXPECT_EQ(row(0).siblingAtColumn(IsoTableModel::SoloColumn).data(Qt::AccessibleTextRole).toString(),
              QStringLiteral("Solo"));
    clickRow(table(), row(0), IsoTableModel::SoloColumn);
    EXPECT_EQ(heardNow(), std::pair(0.1, 0.2));
    click(QStringLiteral("Clear Preview"));
    EXPECT_FALSE(model_.preview().mixer()->isPlaying.value());
    EXPECT_FALSE(button(QStringLiteral("Clear Preview")).isEnabled());
}

TEST_F(PolyJoinViewTest, PreviewAllTakesEveryIsoBackIn) {
    loadThree(kLong);
    clickRow(table(), row(2), IsoTableModel::IncludeColumn, 15);
    EXPECT_EQ(model_.preview().mixer()->loadedFileCount.value(), 2);
    click(QStringLiteral("Clear Preview"));
    click(QStringLiteral("Preview All"));
    EXPECT_TRUE(model_.isoFiles[2].isSelected);
    EXPECT_EQ(model_.preview().mixer()->loadedFileCount.value(), 3);
    EXPECT_EQ(heardNow(), both(0.6 * kTrim)) << "until their poly is made, the three together";
}

TEST_F(PolyJoinViewTest, EveryControlHasAName) {
    loadThree();
    for (const QWidget* widget : view_.findChildren<QWidget*>()) {
        const bool isControl = qobject_cast<const QAbstractButton*>(widget) || qobject_cast<const QComboBox*>(widget) ||
                               qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QAbstractItemView*>(widget);
        const QWidget* owner = widget->parentWidget();
        const bool isPart = qobject_cast<const QComboBox*>(owner) || qobject_cast<const QAbstractItemView*>(owner) ||
                            owner->inherits("QComboBoxPrivateContainer");
        if (!isControl || isPart) continue;
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->metaObject()->className();
    }
}

// What it takes in milliseconds, bench-window tells.
TEST_F(PolyJoinViewTest, TwentyThousandIsosAreShownAtOnceAndToTheLast) {
    std::vector<ISOFile> files(20'000);
    for (std::size_t i = 0; i < files.size(); ++i) files[i].fileName = QStringLiteral("Take_%1.wav").arg(i);
    QSignalSpy resets(table().model(), &QAbstractItemModel::modelReset);
    QSignalSpy changes(table().model(), &QAbstractItemModel::dataChanged);
    model_.isoFiles.assign(files);
    settle();
    EXPECT_EQ(resets.size(), 1);
    changes.clear();
    for (int page = 0; page <= 20; ++page) {
        table().verticalScrollBar()->setValue(page * table().verticalScrollBar()->maximum() / 20);
        settle();
    }
    EXPECT_EQ(changes.size(), 0) << "to scroll is to look";
    EXPECT_TRUE(table().visualRect(row(19'999)).isValid());
    EXPECT_TRUE(table().viewport()->rect().intersects(table().visualRect(row(19'999))));
}

TEST_F(PolyJoinViewTest, ARealTakeGoesTheShortcut) {
    const QString source = samplesFolder();
    if (source.isEmpty()) GTEST_SKIP() << "no sample recordings here";
    const QString take = source + QStringLiteral("/recorders/metacorder-isos-take-2C-01");
    const QStringList isos = QDir(take).entryList({QStringLiteral("*.WAV")}, QDir::Files, QDir::Name);
    ASSERT_EQ(isos.size(), 5);
    for (const QString& name : isos) {
        const QString copy = folder_.path(QStringLiteral("in/") + name);
        ASSERT_TRUE(QFile::copy(take + u'/' + name, copy));
        QFile(copy).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    }
    choose({folder_.path(QStringLiteral("in"))});
    EXPECT_TRUE(model_.usedSmartShortcut.value());
    ASSERT_EQ(model_.isoFiles.size(), 5u);
    click(QStringLiteral("Join"));
    ASSERT_TRUE(wait());
    ASSERT_EQ(model_.createdFiles.value().size(), 1);
    Samples expected;
    for (const ISOFile& file : model_.isoFiles) expected.push_back(decodedByFfmpeg(file.url).front());
    EXPECT_EQ(decodedByFfmpeg(model_.createdFiles.value().first()), expected);
}

using JoinInWindow = WindowTest;

TEST_F(JoinInWindow, ADroppedFolderIsReviewedAndJoinedByKeys) {
    show(AppTab::polyTools);
    press(Qt::Key_Period);
    const QString isos = samples() + QStringLiteral("/isos");
    const QStringList before = fingerprint(isos);
    drop({isos});
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_TRUE(polyToolsView_->joinView().review().isVisible());
    press(Qt::Key_R);
    EXPECT_EQ(messages(polyTools_.logEntries).back(), QStringLiteral("⌘R: Can't join — select an output folder first"));
    const QString out = folder_.path(QStringLiteral("out/x"));
    desktop_.openPanelAnswer = {paths::parent(out)};
    press(Qt::Key_O);
    press(Qt::Key_R);
    EXPECT_TRUE(polyTools_.isProcessing.value()) << "what the window looks at while a job runs";
    ASSERT_TRUE(waitForPolyTools());
    const QStringList made = QDir(paths::parent(out)).entryList(QDir::Files, QDir::Name);
    EXPECT_EQ(made.join(u' '), QStringLiteral("14A-T1_poly.wav 14A-T2_poly.wav 14A-T3_poly.wav"));
    for (const QString& name : made)
        EXPECT_EQ(decodedByFfmpeg(paths::append(paths::parent(out), name)).size(), 4U) << name.toStdString();
    EXPECT_EQ(fingerprint(isos), before);
}

} // namespace
} // namespace ostrel::testing
