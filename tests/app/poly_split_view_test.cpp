// The Split mode by clicks and keys, over real recordings.
#include "app/window_test.h"

#include "app/controls/controls.h"
#include "app/controls/item_roles.h"
#include "app/panels/run_row.h"
#include "app/panels/selection_row.h"
#include "app/poly/batch/batch_poly_list.h"
#include "app/poly/batch/batch_poly_model.h"
#include "app/poly/split/poly_split_view.h"
#include "app/poly/split/split_channels_model.h"
#include "platform/audio/audio_file.h"
#include "support/wave_file.h"

#include <QCheckBox>
#include <QComboBox>
#include <QScrollBar>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

using Channels = SplitChannelsModel;
using Batch = BatchPolyModel;

class PolySplitViewTest : public WindowTest {
protected:
    PolySplitView& view() { return polyToolsView_->splitView(); }
    RecordTable& channels() { return view().channels(); }
    RecordTable& polys() { return view().batch().table(); }
    Batch& lines() { return view().batch().model(); }
    QAbstractButton& button(const char* name) { return *find<QAbstractButton>(view(), QString::fromLatin1(name)); }
    QString cell(const QTableView& table, int row, int column) {
        return table.model()->index(row, column).data().toString();
    }
    QString poly(const char* name) { return recordings_ + QStringLiteral("/polys/") + QString::fromLatin1(name); }
    QString out() { return folder_.path(QStringLiteral("out")); }

    void open(const QStringList& urls) {
        show(AppTab::polyTools);
        drop(urls);
        ASSERT_TRUE(waitForPolyTools());
    }
    void openSingle() {
        recordings_ = samples();
        open({poly("12AT3.wav")});
        ASSERT_EQ(polyTools_.channelItems.size(), 4U);
    }
    void openBatch() {
        recordings_ = samples();
        open({recordings_ + QStringLiteral("/polys")});
        ASSERT_EQ(polyTools_.batchPolyMetadata.size(), 3U);
        polyTools_.splitOutputFolder = out();
        settle();
    }
    void choose(const char* picker, int index) {
        auto* box = find<QComboBox>(view(), QString::fromLatin1(picker));
        box->setFocus();
        QTest::keyClick(box, Qt::Key_Home);
        for (int step = 0; step < index; ++step) QTest::keyClick(box, Qt::Key_Down);
        settle();
        ASSERT_EQ(box->currentIndex(), index);
    }
    QStringList filesBelow(const QString& folder) {
        QStringList names;
        QDirIterator each(folder, {QStringLiteral("*.wav")}, QDir::Files, QDirIterator::Subdirectories);
        while (each.hasNext()) names << QDir(folder).relativeFilePath(each.next());
        names.sort();
        return names;
    }
    QString shownSource() { return find<SelectionRow>(view(), QStringLiteral("Source Poly File(s):"))->shownText(); }

    QString recordings_;
};

TEST_F(PolySplitViewTest, WithNothingSelectedItSaysSo) {
    show(AppTab::polyTools);
    EXPECT_EQ(shownSource(), QStringLiteral("No file selected"));
    EXPECT_FALSE(button("Split").isEnabled());
    EXPECT_FALSE(button("Play Poly").isEnabled());
    EXPECT_FALSE(button("Clear loaded file and start over").isVisible());
}

TEST_F(PolySplitViewTest, ShowsThePolyAndItsChannels) {
    openSingle();
    EXPECT_EQ(shownSource(), QStringLiteral("12AT3.wav · 4 channels · 48 kHz · 24-bit · 0:02"));
    ASSERT_EQ(channels().model()->rowCount(), 4);
    EXPECT_EQ(cell(channels(), 1, Channels::ChannelColumn), QStringLiteral("2"));
    EXPECT_EQ(cell(channels(), 1, Channels::TrackColumn), QStringLiteral("Lav Ann"));
    EXPECT_EQ(cell(channels(), 1, Channels::OutputColumn), QStringLiteral("12AT3_Lav_Ann.wav"));
    EXPECT_EQ(cell(channels(), 1, Channels::StatusColumn), QStringLiteral("Pending"));
}

TEST_F(PolySplitViewTest, TellsHowFarThePreviewIs) {
    show(AppTab::polyTools);
    auto* preparing = find<QLabel>(view(), QStringLiteral("Preview preparation"));
    EXPECT_EQ(preparing->text(), QString());
    polyTools_.isPreparingPreview = true;
    polyTools_.previewPreparationProgress = std::pair(2, 4);
    settle();
    EXPECT_EQ(preparing->text(), QStringLiteral("Preparing preview... 2/4 channels ready"));
    polyTools_.isPreparingPreview = false;
    settle();
    EXPECT_EQ(preparing->text(), QString());
}

TEST_F(PolySplitViewTest, PatternAndKeptNameChangeTheOutputNames) {
    openSingle();
    auto* example = find<QLabel>(view(), QStringLiteral("Example"));
    EXPECT_EQ(example->text(), QStringLiteral("✓ e.g., 12AT3_Boom.wav"));
    choose("Naming Pattern", 1);
    EXPECT_EQ(cell(channels(), 2, Channels::OutputColumn), QStringLiteral("12AT3_C.wav"));
    EXPECT_EQ(example->text(), QStringLiteral("✓ e.g., 12AT3_A.wav"));
    choose("Naming Pattern", 0);
    EXPECT_EQ(cell(channels(), 2, Channels::OutputColumn), QStringLiteral("12AT3_ch3.wav"));
    click(QStringLiteral("Keep original name (no suffix)"));
    EXPECT_EQ(cell(channels(), 2, Channels::OutputColumn), QStringLiteral("12AT3.wav"));
    EXPECT_FALSE(example->isVisible());
    const auto says = [this](const QString& text) {
        for (const QLabel* label : view().findChildren<QLabel*>()) {
            if (label->isVisible() && label->text() == text) return true;
        }
        return false;
    };
    EXPECT_TRUE(says(QStringLiteral("⚠️ No channel suffix added")));
    EXPECT_TRUE(says(QStringLiteral("⚠️ Output files will use original poly name (no channel suffix)")));
    click(QStringLiteral("Keep original name (no suffix)"));
    EXPECT_FALSE(says(QStringLiteral("⚠️ No channel suffix added")));
}

TEST_F(PolySplitViewTest, TheFolderOrganizationExplainsItself) {
    show(AppTab::polyTools);
    auto* box = find<QComboBox>(view(), QStringLiteral("Folder Organization"));
    EXPECT_EQ(box->toolTip(), QStringLiteral("Organize into Scene-Take subfolders (e.g., 9C-T01/)"));
    choose("Folder Organization", 0);
    EXPECT_EQ(polyTools_.folderOrganization.value(), FolderOrganization::flat);
    EXPECT_EQ(box->toolTip(), QStringLiteral("All ISO files in the output folder"));
    choose("Folder Organization", 2);
    EXPECT_EQ(box->toolTip(), QStringLiteral("Organize into Scene subfolders (e.g., 9C/)"));
}

// Every ISO carries its channel of the poly, sample for sample.
void expectChannelsOf(const QString& poly, const QStringList& isos) {
    const auto whole = decodedByFfmpeg(poly);
    ASSERT_EQ(whole.size(), static_cast<std::size_t>(isos.size()));
    for (qsizetype channel = 0; channel < isos.size(); ++channel) {
        const auto iso = decodedByFfmpeg(isos.at(channel));
        ASSERT_EQ(iso.size(), 1U) << isos.at(channel).toStdString();
        EXPECT_EQ(iso.front(), whole[static_cast<std::size_t>(channel)]) << isos.at(channel).toStdString();
    }
}

TEST_F(PolySplitViewTest, SplitsOnePolyToTheEnd) {
    openSingle();
    const QStringList before = fingerprint(recordings_ + QStringLiteral("/polys"));
    polyTools_.splitOutputFolder = out();
    settle();
    click(QStringLiteral("Split"));
    ASSERT_TRUE(waitForPolyTools());
    const QString take = out() + QStringLiteral("/12A-T3/");
    EXPECT_EQ(filesBelow(out()),
              (QStringList{QStringLiteral("12A-T3/12AT3_Boom.wav"), QStringLiteral("12A-T3/12AT3_Lav_Ann.wav"),
                           QStringLiteral("12A-T3/12AT3_Lav_Ben.wav"), QStringLiteral("12A-T3/12AT3_Plant.wav")}));
    expectChannelsOf(poly("12AT3.wav"),
                     {take + QStringLiteral("12AT3_Boom.wav"), take + QStringLiteral("12AT3_Lav_Ann.wav"),
                      take + QStringLiteral("12AT3_Lav_Ben.wav"), take + QStringLiteral("12AT3_Plant.wav")});
    EXPECT_EQ(fingerprint(recordings_ + QStringLiteral("/polys")), before);
    for (int row = 0; row < 4; ++row)
        EXPECT_EQ(cell(channels(), row, Channels::StatusColumn), QStringLiteral("Complete"));
    EXPECT_EQ(view().runRow().results().text(), QStringLiteral("Created: 4  Skipped: 0"));
    click(QStringLiteral("Split"));
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_EQ(view().runRow().results().text(), QStringLiteral("Created: 0  Skipped: 4"));
    click(QStringLiteral("Clear loaded file and start over"));
    EXPECT_TRUE(view().runRow().results().isEmpty()) << "of a file that is gone";
    EXPECT_EQ(shownSource(), QStringLiteral("No file selected"));
    EXPECT_EQ(channels().model()->rowCount(), 0);
}

TEST_F(PolySplitViewTest, TheRunKeySplitsToo) {
    openSingle();
    polyTools_.splitOutputFolder = out();
    press(Qt::Key_R);
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_EQ(filesBelow(out()).size(), 4);
}

TEST_F(PolySplitViewTest, AReportIsWrittenWhereItIsWanted) {
    openSingle();
    polyTools_.splitOutputFolder = out();
    click(QStringLiteral("Generate CSV report"));
    EXPECT_TRUE(polyTools_.generateCSV.value());
    click(QStringLiteral("Split"));
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_TRUE(paths::exists(polyTools_.reportPath.value()));
}

TEST_F(PolySplitViewTest, WhileARunGoesOnOnlyStopIsOn) {
    openSingle();
    button("Source Poly File(s): Choose File(s)...").setFocus();
    polyTools_.currentProcessingItem = QStringLiteral("Boom");
    polyTools_.isSplitting = true;
    polyTools_.isProcessing = true;
    settle();
    auto& run = view().runRow();
    EXPECT_EQ(run.runButton().text(), QStringLiteral("Splitting..."));
    EXPECT_FALSE(run.runButton().isEnabled());
    EXPECT_TRUE(run.stopButton().isEnabled());
    EXPECT_FALSE(button("Source Poly File(s): Choose File(s)...").isEnabled());
    EXPECT_TRUE(run.statusText().startsWith(QStringLiteral("Working on Boom")));
    EXPECT_EQ(QApplication::focusWidget(), &channels()) << "and not the tabs";
    click(QStringLiteral("Stop"));
    EXPECT_FALSE(polyTools_.isProcessing.value());
    EXPECT_EQ(run.runButton().text(), QStringLiteral("Split"));
    EXPECT_EQ(messages(polyTools_.logEntries).back(), QStringLiteral("Operation cancelled by user"));
}

TEST_F(PolySplitViewTest, AMonoFileCannotBeSplit) {
    recordings_ = samples();
    open({recordings_ + QStringLiteral("/isos/14A-T1_Boom.wav")});
    ASSERT_TRUE(polyTools_.polyFile.value());
    EXPECT_FALSE(button("Split").isEnabled());
}

TEST_F(PolySplitViewTest, AFolderShowsTheBatch) {
    openBatch();
    EXPECT_TRUE(polyTools_.batchMode.value());
    EXPECT_TRUE(polys().isVisible());
    EXPECT_FALSE(channels().isVisible());
    EXPECT_EQ(shownSource(), QStringLiteral("1 folder(s) selected: ") + recordings_ + QStringLiteral("/polys"));
    ASSERT_EQ(lines().rowCount(), 3);
    EXPECT_EQ(cell(polys(), 0, Batch::NameColumn), QStringLiteral("7C-T01"));
    EXPECT_EQ(cell(polys(), 1, Batch::NameColumn), QStringLiteral("12AT3"));
    EXPECT_EQ(cell(polys(), 2, Batch::ChannelsColumn), QStringLiteral("16"));
    const auto helper = [this] {
        for (const TruncatingText* line : view().findChildren<TruncatingText*>()) {
            if (line->text().startsWith(QStringLiteral("Split 3"))) return line->text();
        }
        return QString();
    };
    EXPECT_EQ(helper(), QStringLiteral("Split 3 polys → 28 ISOs into Scene-Take folders"));
    choose("Folder Organization", 0);
    EXPECT_EQ(helper(), QStringLiteral("Split 3 polys → 28 ISOs (flat)"));
    drop({poly("12AT3.wav")});
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_TRUE(channels().isVisible()) << "one file is no batch";
}

TEST_F(PolySplitViewTest, SeveralFilesAreABatch) {
    recordings_ = samples();
    open({poly("12AT3.wav"), poly("7C-T01.wav")});
    EXPECT_EQ(shownSource(), QStringLiteral("2 file(s) selected"));
    EXPECT_FALSE(button("Split All Files").isEnabled()) << "without an output folder";
    polyTools_.splitOutputFolder = out();
    settle();
    EXPECT_TRUE(button("Split All Files").isEnabled());
    polyTools_.ffmpegAvailable = false;
    settle();
    EXPECT_FALSE(button("Split All Files").isEnabled()) << "without ffmpeg";
}

TEST_F(PolySplitViewTest, SplitsABatchToTheEnd) {
    openBatch();
    const QStringList before = fingerprint(recordings_ + QStringLiteral("/polys"));
    click(QStringLiteral("Split All Files"));
    ASSERT_TRUE(waitForPolyTools());
    const QStringList files = filesBelow(out());
    EXPECT_EQ(files.size(), 28);
    EXPECT_EQ(files.filter(QStringLiteral("7C-T01/")).size(), 8);
    EXPECT_EQ(files.filter(QStringLiteral("12A-T3/")).size(), 4);
    EXPECT_EQ(files.filter(QStringLiteral("Concert-T02/")).size(), 16);
    EXPECT_EQ(fingerprint(recordings_ + QStringLiteral("/polys")), before);
    EXPECT_EQ(view().runRow().results().text(), QStringLiteral("Created: 28  Skipped: 0  Completed: 3"));
    for (int row = 0; row < 3; ++row)
        EXPECT_EQ(cell(polys(), row, Batch::StatusColumn), ProcessingStatus::completed().shortDisplayText());
    EXPECT_EQ(cell(polys(), 0, Batch::ResultColumn), QStringLiteral("8 created"));
    EXPECT_EQ(cell(polys(), 1, Batch::ResultColumn), QStringLiteral("4 created"));
    find<QAbstractButton>(*polyToolsView_, QStringLiteral("Open Output Folder"))->click();
    EXPECT_EQ(desktop_.openedFolders, QStringList{out()});
    EXPECT_FALSE(button("Retry Failed").isVisible());
}

TEST_F(PolySplitViewTest, WhatFailedIsTriedAgainAndNothingElse) {
    openBatch();
    const QString bad = polyTools_.batchPolyMetadata[1].url;
    const QString name = paths::lastComponent(bad);
    polyTools_.selectedFiles = QStringList{polyTools_.batchPolyMetadata[0].url, polyTools_.batchPolyMetadata[2].url};
    click(QStringLiteral("Split All Files"));
    ASSERT_TRUE(waitForPolyTools());
    BatchSplitResult result = *polyTools_.batchResults.value();
    ASSERT_EQ(result.fileResults.size(), 2U);
    PolyFileResult failed;
    failed.sourceURL = bad;
    failed.fileName = name;
    failed.outcome = ItemOutcome::failure(QStringLiteral("unreadable"), {bad});
    result.fileResults.push_back(failed);
    result.errorCount = 1;
    polyTools_.batchResults = result;
    settle();
    ASSERT_TRUE(button("Retry Failed").isVisible());
    const auto first = fingerprint(out());
    click(QStringLiteral("Retry Failed"));
    ASSERT_TRUE(waitForPolyTools());
    const auto& now = polyTools_.batchResults.value()->fileResults;
    ASSERT_EQ(now.size(), 3U);
    EXPECT_TRUE(std::ranges::none_of(now, [](const PolyFileResult& file) { return file.outcome.failed(); }));
    EXPECT_EQ(polyTools_.errorCount.value(), 0);
    EXPECT_EQ(filesBelow(out()).size(), 28);
    EXPECT_TRUE(fingerprint(out()).join(u'\n').contains(first.first())) << "the others' files were left alone";
    EXPECT_FALSE(button("Retry Failed").isVisible());
}

TEST_F(PolySplitViewTest, ABatchTellsWhichPolyIsUnderWayAndWhatCameOfTheOthers) {
    show(AppTab::polyTools);
    polyTools_.batchMode = true;
    const QStringList urls{QStringLiteral("/takes/Day1/A.wav"), QStringLiteral("/takes/Day2/A.wav"),
                           QStringLiteral("/takes/Day2/C.wav")};
    for (const QString& url : urls) {
        BatchPolyMetadata row;
        row.baseName = paths::stem(url);
        row.url = url;
        polyTools_.batchPolyMetadata.append(row);
    }
    EXPECT_EQ(cell(polys(), 0, Batch::NameColumn), QStringLiteral("Day1/A"));
    EXPECT_EQ(cell(polys(), 1, Batch::NameColumn), QStringLiteral("Day2/A"));
    EXPECT_EQ(cell(polys(), 2, Batch::NameColumn), QStringLiteral("C"));
    polyTools_.isBatchProcessing = true;
    BatchProgress step;
    step.totalFiles = 3;
    const ItemOutcome ends[] = {{ProcessingStatus::completed()}, {ProcessingStatus::failed(QStringLiteral("full"))}};
    const OutputCounts counts[] = {{3, 1, 0}, {1, 0, 3}};
    for (int at = 0; at < 3; ++at) {
        step.currentIndex = at + 1;
        step.currentURL = urls[at];
        step.currentFile = paths::stem(urls[at]);
        if (at > 0) {
            step.endedURL = urls[at - 1];
            step.ended = ends[at - 1];
            step.endedCounts = counts[at - 1];
        }
        polyTools_.batchProgress = step;
    }
    EXPECT_EQ(cell(polys(), 0, Batch::ResultColumn), QStringLiteral("3 created, 1 skipped"));
    EXPECT_EQ(cell(polys(), 1, Batch::ResultColumn), QStringLiteral("1 created, 3 failed"));
    EXPECT_EQ(cell(polys(), 2, Batch::ResultColumn), QString());
    const auto status = [this](int row) { return cell(polys(), row, Batch::StatusColumn); };
    EXPECT_EQ(status(0), ProcessingStatus::completed().shortDisplayText());
    EXPECT_EQ(status(1), ProcessingStatus::failed({}).shortDisplayText());
    EXPECT_EQ(status(2), ProcessingStatus::processing().shortDisplayText());
    polyTools_.isBatchProcessing = false;
}

TEST_F(PolySplitViewTest, TheNarrowWindowHasTheShortText) {
    openBatch();
    window_.resize(1700, 900);
    settle();
    EXPECT_EQ(view().runRow().runButton().text(), QStringLiteral("Split All Files"));
    window_.resize(window_.minimumSize());
    settle();
    EXPECT_EQ(view().runRow().runButton().text(), QStringLiteral("Split All"));
}

TEST_F(PolySplitViewTest, RowsExpandIntoTheirChannels) {
    openBatch();
    EXPECT_EQ(lines().index(0, Batch::ExpanderColumn).data(Qt::ToolTipRole).toString(),
              QStringLiteral("Click to expand options"));
    clickRow(polys(), 0, Batch::ExpanderColumn);
    ASSERT_EQ(lines().rowCount(), 11);
    EXPECT_EQ(cell(polys(), 2, Batch::NameColumn).trimmed(), QStringLiteral("2: MixR"));
    EXPECT_EQ(cell(polys(), 9, Batch::NameColumn), QStringLiteral("12AT3"));
    EXPECT_FALSE(polyTools_.selectedBatchPreviewIndex.value()) << "the chevron plays nothing";
    clickRow(polys(), 9, Batch::ExpanderColumn);
    ASSERT_EQ(lines().rowCount(), 15);
    EXPECT_EQ(lines().lineAt(13).poly, 1);
    EXPECT_EQ(lines().lineAt(13).channel, 3);
    EXPECT_TRUE(lines().lineAt(14).isPoly());
    clickRow(polys(), 0, Batch::ExpanderColumn);
    EXPECT_EQ(lines().rowCount(), 7);
    EXPECT_EQ(polyTools_.expandedBatchPolyIndices.value(), (std::set<int>{1}));
    click(QStringLiteral("Expand All"));
    EXPECT_EQ(lines().rowCount(), 31);
    EXPECT_FALSE(button("Expand All").isEnabled());
    click(QStringLiteral("Collapse All"));
    EXPECT_EQ(lines().rowCount(), 3);
}

TEST_F(PolySplitViewTest, ArrowKeysFoldAndUnfold) {
    openBatch();
    polys().setFocus();
    polys().setCurrentIndex(lines().index(1, Batch::NameColumn));
    press(Qt::Key_Right, Qt::NoModifier);
    ASSERT_EQ(lines().rowCount(), 7);
    press(Qt::Key_Down, Qt::NoModifier);
    press(Qt::Key_Down, Qt::NoModifier);
    press(Qt::Key_Left, Qt::NoModifier);
    EXPECT_EQ(lines().rowCount(), 3);
    EXPECT_EQ(polys().currentIndex().row(), 1);
}

TEST_F(PolySplitViewTest, AllPreviewsAreLoadedAhead) {
    openBatch();
    EXPECT_EQ(cell(polys(), 0, Batch::PreviewColumn), QStringLiteral("Not loaded"));
    click(QStringLiteral("Load All Previews"));
    EXPECT_EQ(button("Loading...").toolTip(),
              QStringLiteral("Extract audio for all polys so you can preview instantly"));
    EXPECT_FALSE(button("Loading...").isEnabled());
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_FALSE(button("All Loaded").isEnabled());
    EXPECT_EQ(cell(polys(), 0, Batch::PreviewColumn), QStringLiteral("Loaded"));
    EXPECT_EQ(lines().index(0, Batch::NameColumn + 1).data(Qt::ToolTipRole).toString(),
              QStringLiteral("Preview loaded - click row to play poly"));
}

TEST_F(PolySplitViewTest, APreviewThatTakesAnothersPlaceLeavesNothingBehind) {
    openBatch();
    click(QStringLiteral("Load All Previews"));
    clickRow(polys(), 2, Batch::NameColumn);
    EXPECT_FALSE(polyTools_.isLoadingAllPreviews.value());
    ASSERT_TRUE(waitForPolyTools());
    EXPECT_FALSE(polyTools_.isExtractingBatchPreview.value());
    EXPECT_TRUE(polyTools_.batchPolyMetadata[2].isPreviewReady);
    EXPECT_TRUE(button("Load All Previews").isEnabled());
}

// 20,000 polys of eight channels. What it takes in milliseconds, bench-window tells.
TEST_F(PolySplitViewTest, TwentyThousandPolysAreFilledUnfoldedScrolledAndRun) {
    show(AppTab::polyTools);
    polyTools_.batchMode = true;
    settle();
    std::vector<BatchPolyMetadata> rows;
    for (int index = 0; index < 20'000; ++index) {
        BatchPolyMetadata row;
        row.baseName = QStringLiteral("Take %1").arg(index);
        row.url = QStringLiteral("/takes/%1.wav").arg(row.baseName);
        row.channelCount = 8;
        row.sampleRate = 48'000;
        rows.push_back(std::move(row));
    }
    QSignalSpy resets(&lines(), &QAbstractItemModel::modelReset);
    polyTools_.batchPolyMetadata.assign(std::move(rows));
    settle();
    EXPECT_EQ(resets.size(), 1);
    for (int index = 0; index < 2'000; ++index) {
        BatchPolyMetadata row;
        row.baseName = QStringLiteral("Later %1").arg(index);
        row.channelCount = 8;
        polyTools_.batchPolyMetadata.append(std::move(row));
    }
    settle();
    EXPECT_EQ(resets.size(), 1) << "a poly that comes is one inserted line";
    click(QStringLiteral("Expand All"));
    EXPECT_EQ(lines().rowCount(), 22'000 * 9);
    clickRow(polys(), 0, Batch::ExpanderColumn);
    EXPECT_EQ(lines().rowCount(), 22'000 * 9 - 8);
    resets.clear();
    QSignalSpy changes(&lines(), &QAbstractItemModel::dataChanged);
    polys().verticalScrollBar()->setValue(polys().verticalScrollBar()->maximum());
    settle();
    EXPECT_TRUE(polys().viewport()->rect().intersects(polys().visualRect(polys().shownIndex(lines().rowCount() - 1))));
    EXPECT_EQ(changes.size(), 0) << "to scroll is to look";
    for (std::size_t row = 0; row < 5'000; ++row)
        polyTools_.batchPolyMetadata.update(row, [](BatchPolyMetadata& poly) { poly.isPreviewReady = true; });
    settle();
    for (const QList<QVariant>& change : changes) {
        const QModelIndex first = change[0].toModelIndex();
        EXPECT_LE(change[1].toModelIndex().row() - first.row(), 8) << "one poly's lines, not the list";
    }
    changes.clear();
    polyTools_.isBatchProcessing = true;
    for (int step = 1; step <= 2'000; ++step) {
        BatchProgress progress;
        progress.currentIndex = step;
        progress.totalFiles = 20'000;
        progress.currentFile = QStringLiteral("Take %1").arg(step);
        progress.currentURL = polyTools_.batchPolyMetadata[static_cast<std::size_t>(step)].url;
        polyTools_.batchProgress = progress;
        if (step % 20 == 0) QCoreApplication::processEvents();
    }
    polyTools_.isBatchProcessing = false;
    click(QStringLiteral("Collapse All"));
    EXPECT_EQ(lines().rowCount(), 22'000);
    EXPECT_LE(resets.size(), 1) << "folding alone may lay the list out anew";
}

} // namespace
} // namespace ostrel::testing
