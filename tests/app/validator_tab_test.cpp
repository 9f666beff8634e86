#include "app/window_test.h"

#include "app/controls/controls.h"
#include "app/hearing/playback_transport.h"
#include "app/validator/classification_badge.h"
#include "app/validator/clean_export_dialog_view.h"
#include "app/validator/validator_results_model.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QSlider>
#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

using Model = ValidatorResultsModel;

StereoValidatorResult result(const char* name, StereoClassification classification, double correlation,
                             double confidence) {
    StereoValidatorResult result;
    result.filepath = QStringLiteral("/takes/") + QString::fromLatin1(name);
    result.classification = classification;
    result.correlation = correlation;
    result.confidence = confidence;
    return result;
}

class ValidatorTabTest : public WindowTest {
protected:
    Model& model() { return validatorView_->results(); }
    RecordTable& table() { return validatorView_->table(); }
    QStringList files() {
        QStringList names;
        for (int row = 0; row < table().model()->rowCount(); ++row)
            names << table().model()->index(row, Model::FileColumn).data().toString();
        return names;
    }
    QAbstractButton& button(const char* name) {
        return *find<QAbstractButton>(*validatorView_, QString::fromLatin1(name));
    }
    std::vector<ClassificationBadge*> badges() {
        std::vector<ClassificationBadge*> result;
        for (ClassificationBadge* badge : validatorView_->findChildren<ClassificationBadge*>()) {
            if (!badge->isHidden()) result.push_back(badge);
        }
        return result;
    }
    void fillByHand() {
        validator_.analysisResults.assign({result("b.wav", StereoClassification::oneSidedL, 0.1, 85),
                                           result("a.wav", StereoClassification::dualMono, 1, 100),
                                           result("d.wav", StereoClassification::oneSidedR, 0.2, 85),
                                           result("c.wav", StereoClassification::trueStereo, 0.5, 60)});
        settle();
    }
    // Real files, analysed for real.
    void analyzeSamples() {
        show(AppTab::stereoValidator);
        stereo_ = samples() + QStringLiteral("/validator");
        drop({stereo_});
        press(Qt::Key_S);
        ASSERT_TRUE(waitForAnalysis());
        ASSERT_FALSE(validator_.analysisResults.empty());
    }
    CleanExportDialogView* openDialog() {
        press(Qt::Key_R);
        EXPECT_NE(validatorView_->cleanExportDialog(), nullptr);
        return validatorView_->cleanExportDialog();
    }
    static void clickIn(const QWidget& dialog, const QString& name) {
        auto* button = find<QAbstractButton>(dialog, name);
        ASSERT_NE(button, nullptr);
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(9, button->height() / 2));
        settle();
    }
    bool says(const QWidget& root, const QString& text) {
        for (const QLabel* label : root.findChildren<QLabel*>()) {
            if (label->isVisible() && label->text() == text) return true;
        }
        return false;
    }

    QString stereo_;
};

TEST_F(ValidatorTabTest, AnalyzesRealFilesAndShowsThem) {
    analyzeSamples();
    EXPECT_EQ(model().rowCount(), static_cast<int>(validator_.analysisResults.size()));
    EXPECT_TRUE(button("Clean & Export...").isEnabled());
    int counted = 0;
    for (const ClassificationBadge* badge : badges()) counted += badge->count();
    EXPECT_EQ(counted, model().rowCount());
    EXPECT_TRUE(says(*validatorView_, QStringLiteral("%1 files analyzed").arg(counted)));
}

TEST_F(ValidatorTabTest, TabGoesFromTheSummaryThroughItsBadgesToTheTable) {
    analyzeSamples();
    find<QAbstractButton>(*validatorView_, QStringLiteral("Analysis Summary"))->setFocus();
    const auto shown = badges();
    ASSERT_GT(shown.size(), 1U);
    for (const ClassificationBadge* badge : shown) {
        press(Qt::Key_Tab, Qt::NoModifier);
        EXPECT_EQ(QApplication::focusWidget(), badge);
    }
    press(Qt::Key_Tab, Qt::NoModifier);
    EXPECT_EQ(QApplication::focusWidget(), find<RecordTable>(*validatorView_, QStringLiteral("Detailed Results")));
}

TEST_F(ValidatorTabTest, AnalyzeIsOffWhileAnalyzing) {
    show(AppTab::stereoValidator);
    EXPECT_FALSE(button("Analyze Files").isEnabled());
    validator_.select({folder_.path()});
    settle();
    EXPECT_TRUE(button("Analyze Files").isEnabled());
    validator_.isAnalyzing = true;
    settle();
    EXPECT_FALSE(button("Analyze Files").isEnabled());
    validator_.isAnalyzing = false;
}

TEST_F(ValidatorTabTest, TheFirstAppearanceAppliesTheDefaultPreset) {
    validator_.dualMonoThreshold = 0.5;
    show(AppTab::stereoValidator);
    EXPECT_EQ(validator_.dualMonoThreshold.value(), 0.995);
    EXPECT_TRUE(messages(validator_.logEntries).contains(QStringLiteral("✅ Applied default preset: Recommended")));
    validator_.dualMonoThreshold = 0.97;
    press(Qt::Key_1);
    press(Qt::Key_3);
    EXPECT_EQ(validator_.dualMonoThreshold.value(), 0.97) << "the first time only";
}

TEST_F(ValidatorTabTest, APresetWritesTheFiveThresholds) {
    show(AppTab::stereoValidator);
    auto* picker = find<QComboBox>(*validatorView_, QStringLiteral("Detection Preset"));
    picker->setCurrentIndex(1);
    Q_EMIT picker->activated(1);
    EXPECT_EQ(validator_.dualMonoThreshold.value(), 0.998);
    EXPECT_EQ(validator_.nearMonoThreshold.value(), 0.97);
    EXPECT_EQ(validator_.smallLagMs.value(), 0.5);
    EXPECT_EQ(validator_.bigLagMs.value(), 3.0);
    EXPECT_EQ(validator_.oneSidedDb.value(), 60.0);
    EXPECT_EQ(messages(validator_.logEntries).back(), QStringLiteral("✅ Applied preset: Strict"));
    EXPECT_TRUE(says(*validatorView_, QStringLiteral("Aggressive detection, fewer false positives")));
}

TEST_F(ValidatorTabTest, ASliderMovesItsThresholdAndLeavesThePreset) {
    show(AppTab::stereoValidator);
    click(QStringLiteral("Custom Thresholds"));
    auto* slider = find<QSlider>(*validatorView_, QStringLiteral("One-Sided:"));
    ASSERT_TRUE(slider->isVisible());
    slider->setFocus();
    press(Qt::Key_Right, Qt::NoModifier);
    EXPECT_EQ(validator_.oneSidedDb.value(), 51);
    EXPECT_TRUE(says(*validatorView_, QStringLiteral("51 dB")));
    EXPECT_EQ(find<QComboBox>(*validatorView_, QStringLiteral("Detection Preset"))->currentText(),
              QStringLiteral("Recommended"));
    find<QSlider>(*validatorView_, QStringLiteral("Dual Mono:"))->setFocus();
    press(Qt::Key_Left, Qt::NoModifier);
    EXPECT_NEAR(validator_.dualMonoThreshold.value(), 0.994, 1e-9);
    EXPECT_TRUE(says(*validatorView_, QStringLiteral("0.994")));
    EXPECT_TRUE(says(*validatorView_, QStringLiteral("1.0 ms")));
}

TEST_F(ValidatorTabTest, ABadgeFiltersAndFiltersNoMoreWhenClickedAgain) {
    show(AppTab::stereoValidator);
    fillByHand();
    ASSERT_EQ(badges().size(), 4U);
    click(QStringLiteral("1 One-Sided (L)"));
    EXPECT_EQ(files(), QStringList{QStringLiteral("b.wav")}) << "left and right stay apart";
    click(QStringLiteral("1 One-Sided (R)"));
    EXPECT_EQ(files(), QStringList{QStringLiteral("d.wav")});
    click(QStringLiteral("1 One-Sided (R)"));
    EXPECT_EQ(files().size(), 4);
}

TEST_F(ValidatorTabTest, HeadersChooseTheOrderAndTurnItRound) {
    show(AppTab::stereoValidator);
    fillByHand();
    const auto clickHeader = [this](int column) {
        QHeaderView* header = table().horizontalHeader();
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                          QPoint(header->sectionViewportPosition(column) + header->sectionSize(column) / 2, 8));
    };
    EXPECT_EQ(files().join(u' '), QStringLiteral("a.wav b.wav c.wav d.wav"));
    clickHeader(Model::FileColumn);
    EXPECT_EQ(files().join(u' '), QStringLiteral("d.wav c.wav b.wav a.wav"));
    clickHeader(Model::CorrelationColumn);
    EXPECT_EQ(files().join(u' '), QStringLiteral("b.wav d.wav c.wav a.wav"));
    clickHeader(Model::CorrelationColumn);
    EXPECT_EQ(files().join(u' '), QStringLiteral("a.wav c.wav d.wav b.wav"));
    clickHeader(Model::ClassificationColumn);
    EXPECT_EQ(files().join(u' '), QStringLiteral("a.wav b.wav d.wav c.wav"));
    clickHeader(Model::ConfidenceColumn);
    EXPECT_EQ(files().first(), QStringLiteral("c.wav"));
    clickHeader(Model::FileColumn);
    clickHeader(Model::FileColumn);
    clickHeader(Model::FileColumn);
    EXPECT_EQ(files().join(u' '), QStringLiteral("b.wav a.wav d.wav c.wav")) << "the third click: as analyzed";
}

TEST_F(ValidatorTabTest, SelectedRowsStayWithTheirFilesWhenSorted) {
    show(AppTab::stereoValidator);
    fillByHand();
    table().selectRow(0);
    table().horizontalHeader()->setSortIndicator(Model::CorrelationColumn, Qt::DescendingOrder);
    EXPECT_NE(table().currentIndex().row(), 3);
    table().horizontalHeader()->setSortIndicator(Model::FileColumn, Qt::DescendingOrder);
    EXPECT_EQ(table().currentIndex().row(), 3);
    ASSERT_EQ(validatorView_->selectedResults().size(), 1U);
    EXPECT_EQ(validatorView_->selectedResults()[0].filepath, QStringLiteral("/takes/a.wav"));
}

TEST_F(ValidatorTabTest, CellsShowTheRecordsTexts) {
    StereoValidatorResult inverted = result("x.flac", StereoClassification::broken, -1, 100);
    inverted.midSideRatio = 5000;
    inverted.lagMs = 0.25;
    inverted.durationSeconds = 65.9;
    inverted.trust = Trust::unsure;
    inverted.why = {QStringLiteral("Opposite only below 80 Hz"), QStringLiteral("Left channel clipped")};
    validator_.analysisResults.assign({inverted});
    QStringList row;
    for (int column = 0; column < Model::ProofColumn; ++column) row << model().index(0, column).data().toString();
    EXPECT_EQ(row.join(u'|'),
              QStringLiteral("x.flac|FLAC|Broken: Polarity-Inverted Dual Mono (Will Null in Mono)|-1.000|"
                             "100.0%|0.25 ms|Mid≈0 (Anti-Phase)|1:05|Unsure|Opposite only below 80 Hz; "
                             "Left channel clipped"));
}

TEST_F(ValidatorTabTest, AClickAuditionsAndArrowsGoOn) {
    analyzeSamples();
    const auto& engine = validator_.playbackManager().engine();
    const QRect cell = table().visualRect(table().model()->index(0, Model::FileColumn));
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, cell.topLeft() + QPoint(20, 8));
    EXPECT_TRUE(validator_.playbackManager().engine().isPlaying.value());
    const auto shown = [this](int row) { return model().record(table().rows()->recordOf(row)).filepath; };
    EXPECT_EQ(validatorView_->currentlyPlayingFile.value(), shown(0));
    press(Qt::Key_Down, Qt::NoModifier);
    EXPECT_EQ(validatorView_->currentlyPlayingFile.value(), shown(1));
    EXPECT_TRUE(validator_.isAuditioning.value());
    press(Qt::Key_Space, Qt::NoModifier);
    EXPECT_FALSE(validator_.isAuditioning.value());
    press(Qt::Key_Space, Qt::NoModifier);
    EXPECT_TRUE(validator_.isAuditioning.value());
    press(Qt::Key_1);
    EXPECT_FALSE(const_cast<AudioPlaybackEngine&>(engine).isPlaying.value()) << "a tab change stops it";
    EXPECT_FALSE(validator_.isAuditioning.value());
}

TEST_F(ValidatorTabTest, WithNothingLoadedTheTransportSaysWhatToDo) {
    show(AppTab::stereoValidator);
    const auto transports = validatorView_->findChildren<PlaybackTransport*>();
    ASSERT_EQ(transports.size(), 1);
    EXPECT_EQ(transports[0]->label(), QStringLiteral("Select a file to play"));
    EXPECT_FALSE(find<QAbstractButton>(*transports[0], QStringLiteral("Play"))->isEnabled());
}

TEST_F(ValidatorTabTest, ClearsSelectionAndResults) {
    analyzeSamples();
    click(QStringLiteral("Clear analysis results and start over"));
    EXPECT_EQ(model().rowCount(), 0);
    EXPECT_TRUE(validator_.sourceFolder.value().isEmpty());
    EXPECT_EQ(messages(validator_.logEntries).back(), QStringLiteral("Cleared source selection"));
    EXPECT_FALSE(button("Clean & Export...").isEnabled());
}

TEST_F(ValidatorTabTest, CleansAndExportsToTheEndWithItsAlert) {
    analyzeSamples();
    const QStringList before = fingerprint(stereo_);
    const QString output = folder_.path(QStringLiteral("out/x"));
    desktop_.openPanelAnswer = {paths::parent(output)};
    QDir().mkpath(paths::parent(output));
    press(Qt::Key_O);
    CleanExportDialogView* dialog = openDialog();
    EXPECT_TRUE(find<QPushButton>(*dialog, QStringLiteral("Clean & Export"))->isDefault());
    clickIn(*dialog, QStringLiteral("Clean & Export"));
    EXPECT_FALSE(validator_.showCleanExportDialog.value());
    EXPECT_TRUE(waitUntil([this] { return !desktop_.alerts.empty(); }));
    EXPECT_EQ(desktop_.alerts[0].title, QStringLiteral("Clean & Export Complete"));
    EXPECT_EQ(desktop_.alerts[0].buttons.first(), QStringLiteral("Open Folder"));
    const QStringList made = QDir(paths::parent(output)).entryList(QDir::Files);
    EXPECT_FALSE(made.isEmpty());
    for (const QString& name : made) EXPECT_TRUE(name.contains(QStringLiteral("_mono"))) << name.toStdString();
    EXPECT_EQ(fingerprint(stereo_), before);
}

TEST_F(ValidatorTabTest, FilesOfOneNameShowTheirFolders) {
    show(AppTab::stereoValidator);
    validator_.analysisResults.assign({result("Day1/a.wav", StereoClassification::dualMono, 1, 100),
                                       result("Day2/a.wav", StereoClassification::dualMono, 1, 100),
                                       result("b.wav", StereoClassification::dualMono, 1, 100)});
    EXPECT_EQ(files().join(u' '), QStringLiteral("b.wav Day1/a.wav Day2/a.wav"));
}

TEST_F(ValidatorTabTest, AFilterDoesNotNarrowAnExportOfAllResults) {
    analyzeSamples();
    int faulty = 0;
    for (const StereoValidatorResult& each : validator_.analysisResults) faulty += isConverted(each.classification, {});
    ASSERT_GT(faulty, 1);
    model().setSelectedClassification(StereoClassification::dualMono);
    clickIn(*openDialog(), QStringLiteral("Clean & Export"));
    EXPECT_TRUE(messages(validator_.logEntries).contains(QStringLiteral("Converting %1 file(s)").arg(faulty)));
    EXPECT_TRUE(waitUntil([this] { return !desktop_.alerts.empty(); }));
}

TEST_F(ValidatorTabTest, WithNothingSelectedTheDialogSaysSoAndStaysOpen) {
    analyzeSamples();
    CleanExportDialogView* dialog = openDialog();
    find<QComboBox>(*dialog, QStringLiteral("Scope"))->setCurrentIndex(1);
    settle();
    EXPECT_TRUE(says(*dialog, QStringLiteral("No files selected in table")));
    clickIn(*dialog, QStringLiteral("Clean & Export"));
    EXPECT_EQ(messages(validator_.logEntries).back(), QStringLiteral("No files selected"));
    EXPECT_TRUE(validator_.showCleanExportDialog.value());
    EXPECT_TRUE(dialog->isVisible());
    clickIn(*dialog, QStringLiteral("Cancel"));
    EXPECT_FALSE(validator_.showCleanExportDialog.value());
}

TEST_F(ValidatorTabTest, ExportsTheSelectedRows) {
    analyzeSamples();
    int row = -1;
    for (int each = 0; each < model().rowCount(); ++each) {
        if (model().record(each).classification == StereoClassification::dualMono) row = each;
    }
    ASSERT_GE(row, 0);
    table().selectRow(table().shownIndex(row).row());
    CleanExportDialogView* dialog = openDialog();
    auto* scope = find<QComboBox>(*dialog, QStringLiteral("Scope"));
    EXPECT_EQ(scope->itemText(1), QStringLiteral("Selected Files (1)"));
    scope->setCurrentIndex(1);
    clickIn(*dialog, QStringLiteral("Clean & Export"));
    EXPECT_TRUE(messages(validator_.logEntries).contains(QStringLiteral("Converting 1 file(s)")));
    EXPECT_TRUE(waitUntil([this] { return !desktop_.alerts.empty(); }));
}

TEST_F(ValidatorTabTest, TellsAheadWhatWillBeRefused) {
    analyzeSamples();
    const auto dual = std::find_if(validator_.analysisResults.begin(), validator_.analysisResults.end(),
                                   [](auto& each) { return each.classification == StereoClassification::dualMono; });
    ASSERT_NE(dual, validator_.analysisResults.end());
    const QString output = folder_.path(QStringLiteral("out"));
    const QString name = paths::stem(dual->filepath) + QStringLiteral("_mono.wav");
    folder_.write(QStringLiteral("out/") + name, "in the way");
    validator_.outputFolder = output;
    CleanExportDialogView* dialog = openDialog();
    const QString words = QStringLiteral("1 file(s) will be refused");
    EXPECT_TRUE(says(*dialog, words));
    for (const QLabel* label : dialog->findChildren<QLabel*>()) {
        if (label->text() != words) continue;
        EXPECT_EQ(label->toolTip(),
                  QStringLiteral("%1: File already exists: %2").arg(paths::lastComponent(dual->filepath), name));
    }
    clickIn(*dialog, QStringLiteral("Allow Overwrite"));
    EXPECT_FALSE(says(*dialog, words));
    clickIn(*dialog, QStringLiteral("Cancel"));
}

TEST_F(ValidatorTabTest, TheDestructiveWarningShowsWhenSourcesWouldBeReplaced) {
    show(AppTab::stereoValidator);
    fillByHand();
    CleanExportDialogView* dialog = openDialog();
    const QString warning =
        QStringLiteral("DESTRUCTIVE: No suffix + overwrite + no custom output folder = source files "
                       "will be replaced");
    EXPECT_FALSE(says(*dialog, warning));
    clickIn(*dialog, QStringLiteral("Allow Overwrite"));
    EXPECT_FALSE(says(*dialog, warning)) << "with the suffix on it never shows";
    clickIn(*dialog, QStringLiteral("Add \"_mono\" suffix to filenames"));
    EXPECT_TRUE(says(*dialog, warning));
    EXPECT_TRUE(says(*dialog, QStringLiteral("⚠️ Without suffix: files may overwrite originals or auto-number")));
    auto* replace = find<QPushButton>(*dialog, QStringLiteral("Replace Originals"));
    ASSERT_NE(replace, nullptr);
    EXPECT_FALSE(replace->isDefault());
    EXPECT_TRUE(find<QPushButton>(*dialog, QStringLiteral("Cancel"))->isDefault());
    validator_.outputFolder = folder_.path();
    settle();
    EXPECT_FALSE(says(*dialog, warning));
    clickIn(*dialog, QStringLiteral("Cancel"));
}

} // namespace
} // namespace ostrel::testing
