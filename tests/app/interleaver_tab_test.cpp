#include "app/window_test.h"

#include "app/controls/controls.h"
#include "app/controls/item_cells.h"
#include "app/controls/item_delegates.h"
#include "app/panels/install_command.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

class InterleaverTabTest : public WindowTest {
protected:
    RecordTable& table() {
        const bool isMerge = interleaver_.currentMode.value() == AppMode::interleave;
        return *find<RecordTable>(*mainView_, isMerge ? QStringLiteral("Groups to interleave")
                                                      : QStringLiteral("Files to de-interleave"));
    }
    QStringList column(int column) {
        QStringList texts;
        for (int row = 0; row < table().model()->rowCount(); ++row) {
            texts << table().model()->index(row, column).data().toString();
        }
        return texts;
    }
    QAbstractButton& button(const char* name) { return *find<QAbstractButton>(*mainView_, QString::fromLatin1(name)); }
    QComboBox& combo(const char* name) { return *find<QComboBox>(*mainView_, QString::fromLatin1(name)); }
    void choose(QComboBox& combo, int index) {
        combo.setCurrentIndex(index);
        Q_EMIT combo.activated(index);
        settle();
    }
    const StatusCounter& counterOf(const char* word) {
        const auto counters = mainView_->findChildren<StatusCounter*>();
        return **std::find_if(counters.begin(), counters.end(), [word](const StatusCounter* counter) {
            return counter->accessibleName().endsWith(QLatin1Char(' ') + QLatin1String(word));
        });
    }
    QString counter(const char* word) { return counterOf(word).accessibleName(); }
    QString help(const char* word) { return counterOf(word).toolTip(); }
    void clickCell(int row, int column, const QPoint& within) {
        const QRect cell = table().visualRect(table().model()->index(row, column));
        QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, cell.topLeft() + within);
        settle();
    }
    // With fewer pairs a scan is quicker.
    void scanPairs(const QStringList& without = {QStringLiteral("Forest"), QStringLiteral("Harbour")}) {
        show();
        pairs_ = samples() + QStringLiteral("/pairs");
        for (const QString& name : QDir(pairs_).entryList(QDir::Files)) {
            for (const QString& left : without) {
                if (name.startsWith(left)) QFile::remove(pairs_ + u'/' + name);
            }
        }
        drop({pairs_});
        press(Qt::Key_S);
        ASSERT_TRUE(waitForInterleaver());
    }
    int readyRow() { return static_cast<int>(column(StatusColumn).indexOf(QStringLiteral("Ready (L/R)"))); }

    QString pairs_;
};

TEST(StatusCell, TwoBadgesThatSayCompletedTellWhichTheyAre) {
    const auto help = [](const ProcessingStatus& status) { return statusCell(status, Qt::ToolTipRole).toString(); };
    EXPECT_TRUE(help(ProcessingStatus::completedCarbonCopyCertified()).contains(QStringLiteral("BEXT identity")));
    EXPECT_FALSE(help(ProcessingStatus::completed()).contains(QStringLiteral("BEXT identity")));
    EXPECT_EQ(help(ProcessingStatus::ready()), QStringLiteral("Ready"));
}

TEST_F(InterleaverTabTest, SelectsScansAndRunsByPointer) {
    show();
    pairs_ = samples() + QStringLiteral("/pairs");
    desktop_.openPanelAnswer = {pairs_};
    const QStringList before = fingerprint(pairs_);
    click(QStringLiteral("Source: Select..."));
    EXPECT_EQ(interleaver_.sourceURL.value(), pairs_);
    EXPECT_FALSE(button("Run").isEnabled());
    click(QStringLiteral("Scan"));
    ASSERT_TRUE(waitForInterleaver());
    EXPECT_EQ(column(StatusColumn).count(QStringLiteral("Ready (L/R)")), 5);
    EXPECT_TRUE(column(NameColumn).contains(QStringLiteral("Rain Roof")));
    EXPECT_TRUE(column(ResultColumn).contains(QStringLiteral("Interleaved/Rain Roof.wav")));
    EXPECT_EQ(counter("Ready"), QStringLiteral("0 Ready"));
    EXPECT_TRUE(help("Ready").contains(QStringLiteral("5 more"))) << help("Ready").toStdString();
    click(QStringLiteral("Run"));
    ASSERT_TRUE(waitForInterleaver());
    EXPECT_EQ(counter("Done"), QStringLiteral("5 Done"));
    EXPECT_FALSE(help("Ready").contains(QStringLiteral("more")));
    const QDir outputs(pairs_ + QStringLiteral("/Interleaved"));
    EXPECT_EQ(outputs.entryList(QDir::Files).size(), 4);
    for (const QString& line : before) EXPECT_TRUE(fingerprint(pairs_).contains(line)) << "a source was touched";
}

TEST_F(InterleaverTabTest, ScansAndRunsByKeys) {
    scanPairs({});
    EXPECT_GE(readyRow(), 0);
    press(Qt::Key_R);
    ASSERT_TRUE(waitForInterleaver());
    EXPECT_EQ(counter("Done"), QStringLiteral("5 Done"));
    EXPECT_TRUE(messages(interleaver_.logEntries).back().startsWith(QStringLiteral("Processing complete: 5 success")));
}

TEST_F(InterleaverTabTest, StopEndsAJobBeforeItsNextItem) {
    scanPairs();
    click(QStringLiteral("Run"));
    EXPECT_TRUE(button("Stop").isEnabled());
    click(QStringLiteral("Stop"));
    ASSERT_TRUE(waitForInterleaver());
    EXPECT_TRUE(messages(interleaver_.logEntries).contains(QStringLiteral("Operation cancelled by user")));
    EXPECT_LT(interleaver_.successCount(), 5);
    EXPECT_FALSE(button("Stop").isEnabled());
    EXPECT_TRUE(button("Scan").isEnabled());
}

TEST_F(InterleaverTabTest, ScanAndRunAreOnByTheirRules) {
    show();
    EXPECT_FALSE(button("Scan").isEnabled());
    EXPECT_FALSE(button("Run").isEnabled());
    EXPECT_FALSE(button("Stop").isEnabled());
    interleaver_.select({folder_.path()});
    settle();
    EXPECT_TRUE(button("Scan").isEnabled());
    interleaver_.isScanning = true;
    settle();
    EXPECT_FALSE(button("Scan").isEnabled());
    EXPECT_TRUE(button("Stop").isEnabled());
    EXPECT_FALSE(combo("Channel layout").isEnabled());
    interleaver_.isScanning = false;
    settle();
    EXPECT_TRUE(button("Scan").isEnabled());
    ASSERT_TRUE(waitForInterleaver());
}

TEST_F(InterleaverTabTest, WithoutFFmpegScanIsOffAndTheBannerStandsThereAlsoWithBwfmetaedit) {
    show();
    interleaver_.select({folder_.path()});
    interleaver_.toolDetector().ffmpegAvailable = false;
    interleaver_.toolDetector().bwfmetaeditAvailable = true;
    settle();
    EXPECT_FALSE(button("Scan").isEnabled());
    QStringList banners;
    for (const WarningBanner* banner : mainView_->findChildren<WarningBanner*>()) {
        if (banner->isVisible()) banners << banner->accessibleName();
    }
    ASSERT_EQ(banners.size(), 1);
    EXPECT_TRUE(banners[0].startsWith(QStringLiteral("⚠️ ffmpeg not found\n\n")));
    EXPECT_TRUE(banners[0].endsWith(installCommand(QStringLiteral("ffmpeg"))));
    int requests = 0;
    window_.recheckTools = [&] { ++requests; };
    click(QStringLiteral("Check Again"));
    EXPECT_EQ(requests, 1);
    EXPECT_NE(find(*mainView_, QStringLiteral("ffmpeg not found")), nullptr);
    EXPECT_NE(find(*mainView_, QStringLiteral("bwfmetaedit is available")), nullptr);
}

TEST_F(InterleaverTabTest, SwitchingModeSwapsTheTableAndTheAfterSuccessBlock) {
    show();
    const auto isShown = [this](const char* name) {
        const QWidget* widget = find(*mainView_, QString::fromLatin1(name));
        return widget && widget->isVisible();
    };
    EXPECT_TRUE(isShown("Groups to interleave"));
    EXPECT_TRUE(isShown("After successful merge"));
    EXPECT_FALSE(isShown("Move originals to Originals/"));
    press(Qt::Key_Period);
    EXPECT_FALSE(isShown("Groups to interleave"));
    EXPECT_TRUE(isShown("Files to de-interleave"));
    EXPECT_FALSE(isShown("After successful merge"));
    EXPECT_TRUE(isShown("Move originals to Originals/"));
}

TEST_F(InterleaverTabTest, AnotherLayoutThanThePairHasItsOwnAfterSuccessBlock) {
    show();
    choose(combo("Channel layout"), 1);
    EXPECT_EQ(interleaver_.selectedLayout.value(), ChannelLayout::film51);
    EXPECT_TRUE(button("Move originals to ORIGINALS_MONO/").isVisible());
    EXPECT_FALSE(combo("After successful merge").isVisible());
    bool isRemarked = false;
    for (const QLabel* label : mainView_->findChildren<QLabel*>()) {
        isRemarked |= label->isVisible() && label->text() == QStringLiteral("⚠️ Originals will remain in folder");
    }
    EXPECT_TRUE(isRemarked);
    click(QStringLiteral("Move originals to ORIGINALS_MONO/"));
    EXPECT_TRUE(interleaver_.options.value().moveOriginalsInterleave);
}

class DeleteTest : public InterleaverTabTest {
protected:
    QAbstractButton& visibleDelete() {
        for (QCheckBox* box : mainView_->findChildren<QCheckBox*>()) {
            if (box->isVisible() && box->text() == QStringLiteral("Delete originals after success")) return *box;
        }
        ADD_FAILURE() << "no switch";
        return button("Delete originals after success");
    }
    void clickDelete() {
        QAbstractButton& box = visibleDelete();
        QTest::mouseClick(&box, Qt::LeftButton, {}, QPoint(9, box.height() / 2));
        settle();
    }
};

TEST_F(DeleteTest, TurningDeletionOnAndCancellingTheAlertLeavesItOff) {
    show();
    press(Qt::Key_Period);
    desktop_.alertAnswer = 1;
    clickDelete();
    ASSERT_EQ(desktop_.alerts.size(), 1U);
    EXPECT_EQ(desktop_.alerts[0].text,
              QStringLiteral("This will PERMANENTLY DELETE original files after successful processing.\n\nThis cannot "
                             "be undone.\n\nAre you absolutely sure?"));
    EXPECT_EQ(desktop_.alerts[0].buttons, (QStringList{QStringLiteral("Enable Delete"), QStringLiteral("Cancel")}));
    EXPECT_EQ(desktop_.alerts[0].defaultButton, 1) << "a careless Return deletes nothing";
    EXPECT_EQ(desktop_.alerts[0].destructiveButton, 0);
    EXPECT_FALSE(visibleDelete().isChecked());
    EXPECT_FALSE(interleaver_.options.value().deleteOriginalsDeinterleave);
    EXPECT_FALSE(interleaver_.showDeleteConfirmation.value());
}

TEST_F(DeleteTest, EnableDeleteTurnsItOnForTheModeThatAsked) {
    show();
    press(Qt::Key_Period);
    desktop_.alertAnswer = 0;
    clickDelete();
    EXPECT_TRUE(visibleDelete().isChecked());
    EXPECT_TRUE(interleaver_.options.value().deleteOriginalsDeinterleave);
    EXPECT_FALSE(interleaver_.options.value().deleteOriginalsInterleave);
    clickDelete();
    EXPECT_FALSE(interleaver_.options.value().deleteOriginalsDeinterleave);
    EXPECT_EQ(desktop_.alerts.size(), 1U) << "turning it off asks nothing";
}

TEST_F(DeleteTest, DeletingPairsAsksFirstAndSetsTheVerifiedModeAlone) {
    show();
    desktop_.alertAnswer = 1;
    choose(combo("After successful merge"), 2);
    EXPECT_EQ(interleaver_.options.value().lrCleanupMode, LRCleanupMode::none);
    EXPECT_EQ(combo("After successful merge").currentText(), QStringLiteral("Keep L/R (Safe)"));
    desktop_.alertAnswer = 0;
    choose(combo("After successful merge"), 2);
    EXPECT_EQ(interleaver_.options.value().lrCleanupMode, LRCleanupMode::hardDelete);
    EXPECT_FALSE(interleaver_.options.value().deleteOriginalsInterleave) << "that would delete without a check";
    choose(combo("After successful merge"), 1);
    EXPECT_EQ(interleaver_.options.value().lrCleanupMode, LRCleanupMode::verifiedConsolidation);
    EXPECT_EQ(desktop_.alerts.size(), 2U);
}

TEST_F(DeleteTest, WhatWasSetForSurroundSetsNeverReachesPairs) {
    show();
    choose(combo("Channel layout"), 1);
    desktop_.alertAnswer = 0;
    clickDelete();
    EXPECT_TRUE(interleaver_.options.value().deleteOriginalsInterleave);
    choose(combo("Channel layout"), 0);
    EXPECT_FALSE(interleaver_.options.value().deleteOriginalsInterleave);
    EXPECT_EQ(combo("After successful merge").currentText(), QStringLiteral("Keep L/R (Safe)"));
}

TEST_F(InterleaverTabTest, OptionsFoldAndSayWhatTheyComeTo) {
    show();
    auto* header = find<QAbstractButton>(*mainView_, QStringLiteral("Options"));
    EXPECT_EQ(header->toolTip(), QStringLiteral("Click to collapse options"));
    EXPECT_TRUE(combo("Output Format").isVisible());
    QTest::mouseClick(header, Qt::LeftButton);
    settle();
    EXPECT_FALSE(interleaver_.showOptions.value());
    EXPECT_FALSE(combo("Output Format").isVisible());
    EXPECT_EQ(header->toolTip(), QStringLiteral("Click to expand options"));
}

TEST_F(InterleaverTabTest, TheFormatPickerExplainsItself) {
    show();
    const auto says = [this](const char16_t* text) {
        const auto labels = mainView_->findChildren<QLabel*>();
        return std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) {
            return label->isVisible() && label->text() == QString::fromUtf16(text);
        });
    };
    EXPECT_TRUE(says(u"Smart (Recommended): Lossy files (MP3/AAC) output as WAV to avoid quality loss. Lossless files "
                     u"(FLAC) preserve format."));
    choose(combo("Output Format"), 1);
    EXPECT_TRUE(says(u"Always WAV: All outputs are WAV regardless of input format."));
    EXPECT_FALSE(says(u"Lossy files (MP3/AAC) will be re-encoded"));
    choose(combo("Output Format"), 2);
    EXPECT_TRUE(says(u"Preserve Format: Keep original format. Warning: Lossy files will be re-encoded and may lose "
                     u"quality."));
    EXPECT_TRUE(says(u"Lossy files (MP3/AAC) will be re-encoded"));
    EXPECT_EQ(interleaver_.options.value().outputFormatPolicy, OutputFormatPolicy::preserveFormat);
}

TEST_F(InterleaverTabTest, SwitchesSetTheirOptions) {
    show();
    click(QStringLiteral("Replace existing outputs"));
    click(QStringLiteral("Skip if output exists"));
    click(QStringLiteral("Include subfolders"));
    click(QStringLiteral("Generate CSV Report"));
    EXPECT_TRUE(interleaver_.options.value().overwriteExisting);
    EXPECT_FALSE(interleaver_.options.value().skipIfExists);
    EXPECT_FALSE(interleaver_.options.value().includeSubfolders);
    EXPECT_TRUE(interleaver_.generateCSV.value());
}

TEST_F(InterleaverTabTest, ShowsTheSelectionAndClearsIt) {
    show();
    const auto shows = [this](const QString& text) {
        for (const TruncatingText* label : mainView_->findChildren<TruncatingText*>()) {
            if (label->text() == text) return true;
        }
        return false;
    };
    EXPECT_TRUE(shows(QStringLiteral("Drag files/folders here or click Select...")));
    EXPECT_TRUE(shows(QStringLiteral("Same as source (in-place)")));
    drop({folder_.write(QStringLiteral("a.wav"), "x"), folder_.write(QStringLiteral("b.wav"), "x")});
    EXPECT_TRUE(shows(QStringLiteral("2 items selected")));
    desktop_.openPanelAnswer = {folder_.path()};
    click(QStringLiteral("Output Folder: Choose..."));
    EXPECT_TRUE(shows(folder_.path()));
    click(QStringLiteral("Clear output folder"));
    EXPECT_FALSE(interleaver_.useCustomOutput.value());
    click(QStringLiteral("Clear source selection"));
    EXPECT_TRUE(interleaver_.selectedFiles.value().isEmpty());
    EXPECT_FALSE(button("Scan").isEnabled());
}

TEST_F(InterleaverTabTest, BulkSwitchesAndClearActOnTheCurrentList) {
    scanPairs();
    const int total = interleaver_.totalCount();
    click(QStringLiteral("Deselect All"));
    EXPECT_EQ(interleaver_.skippedCount(), total);
    EXPECT_EQ(counter("Skipped"), QStringLiteral("%1 Skipped").arg(total));
    EXPECT_FALSE(button("Run").isEnabled());
    click(QStringLiteral("Select All"));
    EXPECT_EQ(interleaver_.skippedCount(), 0);
    EXPECT_TRUE(button("Run").isEnabled());
    click(QStringLiteral("Clear Items"));
    EXPECT_EQ(interleaver_.totalCount(), 0);
    EXPECT_FALSE(button("Clear Items").isEnabled());
}

TEST_F(InterleaverTabTest, TheCheckBoxOfARowAndReturnSwitchIt) {
    scanPairs();
    const int row = readyRow();
    const auto isIncluded = [this, row] {
        return interleaver_.interleaveGroups[static_cast<std::size_t>(row)].include;
    };
    EXPECT_TRUE(isIncluded());
    clickCell(row, IncludeColumn, QPoint(14, table().rowHeight(row) / 2));
    EXPECT_FALSE(isIncluded());
    table().setFocus();
    table().setCurrentIndex(table().model()->index(row, NameColumn));
    press(Qt::Key_Return, Qt::NoModifier);
    EXPECT_TRUE(isIncluded());
}

TEST_F(InterleaverTabTest, AClickOnARowHandsItToThePreview) {
    scanPairs();
    const int row = readyRow();
    clickCell(row, NameColumn, QPoint(20, 10));
    EXPECT_TRUE(waitUntil([this] { return interleaver_.playbackManager().engine().isLoaded.value(); }));
    EXPECT_TRUE(interleaver_.playbackManager().canTogglePreviewMode.value());
    press(Qt::Key_Down, Qt::NoModifier);
    EXPECT_NE(interleaver_.playbackManager().currentFileName.value(), QString());
}

TEST_F(InterleaverTabTest, ChannelChipsChooseWhatASourceExports) {
    show();
    press(Qt::Key_Period);
    const QString folder = samples() + QStringLiteral("/interleaved");
    interleaver_.selectedLayout = ChannelLayout::film51;
    drop({folder});
    press(Qt::Key_S);
    ASSERT_TRUE(waitForInterleaver());
    ASSERT_GE(interleaver_.totalCount(), 1);
    const QModelIndex cell = table().model()->index(0, ChannelsColumn);
    const auto chips = cell.data(ChannelChipsRole).value<ChannelChips>();
    const auto rects =
        ChannelIndicators::chipRects(chips, QRect(QPoint(), table().visualRect(cell).size()), table().font());
    clickCell(0, ChannelsColumn, rects[1].center());
    EXPECT_FALSE(interleaver_.deinterleaveSources[0].selectedChannels.contains(QStringLiteral("C")));
    EXPECT_EQ(table().model()->index(0, ResultColumn).data().toString(), QStringLiteral("5 mono files"));
    clickCell(0, ChannelsColumn, rects[1].center());
    EXPECT_TRUE(interleaver_.deinterleaveSources[0].selectedChannels.contains(QStringLiteral("C")));
}

TEST_F(InterleaverTabTest, ColumnsStandInTheirOrder) {
    const auto headings = [this] {
        QStringList texts;
        for (int column = 1; column < ItemColumnCount; ++column) {
            if (!table().isColumnHidden(column))
                texts << table().model()->headerData(column, Qt::Horizontal).toString();
        }
        return texts.join(u'|');
    };
    EXPECT_EQ(headings(),
              QStringLiteral("Status|Type|Format|Sample Rate|Bit Depth|Base Name|Channels|Duration|Output"));
    interleaver_.currentMode = AppMode::deinterleave;
    EXPECT_EQ(headings(),
              QStringLiteral("Status|Type|Format|Sample Rate|Bit Depth|File Name|Channels|Duration|Export"));
}

TEST_F(InterleaverTabTest, ADropOntoARunningScanChangesNothing) {
    show();
    interleaver_.select({samples()});
    interleaver_.scan();
    drop({folder_.write(QStringLiteral("other.wav"), "x")});
    EXPECT_EQ(interleaver_.selectedFiles.value().size(), 1);
    EXPECT_TRUE(interleaver_.isScanning.value());
    ASSERT_TRUE(waitForInterleaver());
}

TEST_F(InterleaverTabTest, OneChangedRowRepaintsThatRowAlone) {
    scanPairs();
    class PaintLog : public QObject {
    public:
        QRegion painted;
        bool eventFilter(QObject*, QEvent* event) override {
            if (event->type() == QEvent::Paint) painted += static_cast<QPaintEvent*>(event)->region();
            return false;
        }
    } log;
    settle();
    table().viewport()->installEventFilter(&log);
    interleaver_.interleaveGroups.update(1,
                                         [](InterleaveGroup& group) { group.status = ProcessingStatus::processing(); });
    settle();
    const QRect row(0, table().rowViewportPosition(1), table().viewport()->width(), table().rowHeight(1));
    EXPECT_EQ(log.painted.boundingRect(), row.intersected(table().viewport()->rect()));
}

TEST_F(InterleaverTabTest, AListReplacedByItselfKeepsTheSelection) {
    scanPairs();
    table().selectRow(2);
    click(QStringLiteral("Deselect All"));
    EXPECT_EQ(table().currentIndex().row(), 2);
}

} // namespace
} // namespace ostrel::testing
