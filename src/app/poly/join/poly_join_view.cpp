#include "app/poly/join/poly_join_view.h"

#include "app/controls/conform_box.h"
#include "app/controls/engine_switch.h"
#include "app/controls/flag_box.h"
#include "app/controls/layouts.h"
#include "app/controls/overwrite_box.h"
#include "app/controls/proof_box.h"
#include "app/controls/symbols.h"
#include "app/panels/run_row.h"
#include "app/panels/selection_card.h"
#include "app/poly/join/group_card_view.h"
#include "app/poly/join/group_review_view.h"
#include "app/poly/join/group_tree.h"
#include "app/poly/join/iso_list_section.h"
#include "app/poly/join/iso_table_model.h"
#include "app/tables/record_table.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QStackedWidget>

namespace ostrel {
namespace {

enum JoinPage { isoPage, reviewPage };

const RunRow::Texts& joinTexts() {
    static const RunRow::Texts texts{QStringLiteral("Join"), QString(), QStringLiteral("Joining..."),
                                     QStringLiteral("Join the ISOs into one poly file (Ctrl+R)")};
    return texts;
}

const RunRow::Texts& joinAllTexts() {
    static const RunRow::Texts texts{QStringLiteral("Join All Groups"), QStringLiteral("Join All"),
                                     QStringLiteral("Joining..."),
                                     QStringLiteral("Join all reviewed groups into poly files")};
    return texts;
}

template <class Widget>
Widget* withLabel(QHBoxLayout& row, const QString& label, Widget* widget, int stretch = 0) {
    row.addWidget(new QLabel(label));
    row.addWidget(widget, stretch);
    return widget;
}

} // namespace

PolyJoinView::PolyJoinView(PolyToolsViewModel& viewModel, QWidget* parent) : QWidget(parent), viewModel_(viewModel) {
    setAccessibleName(rawText(PolyMode::join));
    isos_ = new IsoListSection(viewModel);
    review_ = new GroupReviewView(viewModel);
    lists_ = new QStackedWidget;
    lists_->addWidget(isos_);
    lists_->addWidget(review_);
    auto* column = columnLayout(6);
    column->addWidget(makeSource());
    column->addWidget(makeOptions());
    makeRun();
    column->addWidget(run_);
    column->addWidget(makeShortcut());
    column->addWidget(lists_, 1);
    setLayout(column);
    setFocusProxy(&source_->button());
    connectController();
}

QWidget* PolyJoinView::makeSource() {
    source_ = new SelectionRow({QStringLiteral("Source ISO Files:"), QStringLiteral("Select Files or Folder..."),
                                QStringLiteral("Select ISO files or folder (Ctrl+I)"),
                                QStringLiteral("Clear source selection")});
    output_ = new SelectionRow({QStringLiteral("Output Folder:"), QStringLiteral("Choose Folder..."),
                                QStringLiteral("Select folder where poly files will be created (Ctrl+O)"),
                                QStringLiteral("Clear output folder (use source folder)")});
    scan_ = pushButton(QStringLiteral("Scan"), QStringLiteral("magnifyingglass"),
                       QStringLiteral("Scan and intelligently group ISO files (Ctrl+S)"));
    connect(source_, &SelectionRow::chooseClicked, this, [this] { viewModel_.selectJoinSource(); });
    connect(source_, &SelectionRow::clearClicked, this, [this] {
        viewModel_.join().clear();
        run_->forgetResults();
    });
    connect(output_, &SelectionRow::chooseClicked, this, [this] { viewModel_.join().selectOutputFolder(); });
    connect(output_, &SelectionRow::clearClicked, this, [this] { viewModel_.join().clearOutputFolder(); });
    connect(scan_, &QPushButton::clicked, this, [this] { viewModel_.join().scanAndGroupISOs(); });
    auto* card = new SelectionCard(QStringLiteral("Source and output"));
    card->addRow(source_, flagBox(bindings_, viewModel_.joinRecursiveScan, QStringLiteral("Include subfolders"),
                                  QStringLiteral("When selecting folders, include all subfolders recursively")));
    card->addRow(output_, scan_);
    sourceSection_ = card;
    return card;
}

QWidget* PolyJoinView::makeSingleOptions() {
    name_ = named(new QLineEdit, QStringLiteral("Output Name"), QStringLiteral("The name of the poly file"));
    name_->setPlaceholderText(QStringLiteral("output_poly"));
    connect(name_, &QLineEdit::textEdited, this, [this](const QString& text) { viewModel_.joinOutputName = text; });
    reference_ = named(new QComboBox, QStringLiteral("Metadata from"),
                       QStringLiteral("The ISO whose metadata the poly file gets"));
    reference_->setModel(&isos_->model());
    reference_->setModelColumn(IsoTableModel::FileColumn);
    reference_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    reference_->setMinimumContentsLength(18);
    connect(reference_, &QComboBox::activated, this, [this](int index) { viewModel_.referenceISOIndex = index; });
    auto* row = rowLayout();
    withLabel(*row, QStringLiteral("Output Name:"), name_, 3);
    row->addSpacing(8);
    withLabel(*row, QStringLiteral("Metadata from:"), reference_, 2);
    singleOptions_ = new QWidget;
    singleOptions_->setLayout(row);
    return singleOptions_;
}

QWidget* PolyJoinView::makeCommonOptions() {
    layouts_ = named(new QComboBox, QStringLiteral("Channel layout"));
    for (const JoinChannelLayout layout : kAllJoinChannelLayouts) layouts_->addItem(rawText(layout));
    connect(layouts_, &QComboBox::activated, this, [this](int index) {
        viewModel_.joinChannelLayout = kAllJoinChannelLayouts[static_cast<std::size_t>(index)];
    });
    const QString keep = QStringLiteral("Keep original name (no suffix)");
    keepName_ = named(new QCheckBox(keep), keep);
    connect(keepName_, &QCheckBox::toggled, this, [this](bool isOn) { viewModel_.join().setKeepOriginalName(isOn); });
    suffixNote_ =
        new SecondaryLabel(QStringLiteral("✓ Output files will include '_poly' suffix (e.g., 14A-T03_poly.wav)"));
    noSuffixNote_ = new ToneLabel(QString(), ProcessingStatus::Color::orange);
    noSuffixNote_->setWordWrap(false);
    auto* preserved = new TruncatingText(Qt::ElideRight); // gives way in a narrow window
    preserved->setText(QStringLiteral("Always preserved (iXML, BWF, SMED)"), true);
    auto* first = rowLayout();
    first->addWidget(keepName_);
    first->addWidget(suffixNote_);
    first->addWidget(noSuffixNote_);
    first->addStretch();
    first->addWidget(proofBox(bindings_, viewModel_.proves, QStringLiteral("polytools")));
    auto* second = rowLayout();
    withLabel(*second, QStringLiteral("Layout:"), layouts_);
    second->addSpacing(8);
    second->addWidget(overwriteBox(bindings_, viewModel_));
    second->addSpacing(8);
    second->addWidget(engineSwitch(bindings_, viewModel_.engine, QStringLiteral("polytools")));
    second->addSpacing(8);
    second->addWidget(
        conformBox(bindings_, viewModel_.conformsHeaders, viewModel_.engine, QStringLiteral("polytools")));
    second->addSpacing(8);
    second->addWidget(preserved, 1);
    auto* column = columnLayout(6);
    column->addLayout(first);
    column->addLayout(second);
    auto* options = new QWidget;
    options->setLayout(column);
    return options;
}

QWidget* PolyJoinView::makeOptions() {
    auto* column = columnLayout(6);
    column->setContentsMargins(14, 8, 14, 8);
    column->addWidget(makeSingleOptions());
    column->addWidget(makeCommonOptions());
    auto* card = new Card;
    card->setAccessibleName(QStringLiteral("Join options"));
    card->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    card->setLayout(column);
    options_ = card;
    return card;
}

// One take beyond doubt was found: it needs no review, but a person may want one.
QWidget* PolyJoinView::makeShortcut() {
    auto* found = new ToneLabel(QStringLiteral("Detected 1 high-confidence group"), ProcessingStatus::Color::green);
    found->setWordWrap(false);
    details_ = pushButton(QStringLiteral("Show details"));
    connect(details_, &QPushButton::clicked, this, [this] { showDetails_ = !showDetails_.value(); });
    const QString review = QStringLiteral("Review groups before joining");
    reviewsGroups_ = named(new QCheckBox(review), review);
    connect(reviewsGroups_, &QCheckBox::toggled, this, [this](bool isOn) { viewModel_.join().setReviewsGroups(isOn); });
    detailsText_ = new TruncatingText(Qt::ElideRight);
    auto* row = rowLayout(12);
    row->addWidget(found);
    row->addWidget(details_);
    row->addWidget(detailsText_, 1);
    row->addWidget(reviewsGroups_);
    shortcut_ = new QWidget;
    shortcut_->setAccessibleName(QStringLiteral("Detected group"));
    shortcut_->setLayout(row);
    return shortcut_;
}

void PolyJoinView::makeRun() {
    run_ = new RunRow(viewModel_, PolyMode::join, joinTexts());
    connect(run_, &RunRow::runClicked, this, &PolyJoinView::run);
}

QWidget& PolyJoinView::lists() const { return *lists_; }

void PolyJoinView::run() { isReview() ? viewModel_.join().runBatch() : viewModel_.join().run(); }

void PolyJoinView::connectController() {
    auto* sourceSoon = new Coalesced(this, [this] { refreshSource(); });
    const auto source = [sourceSoon] { sourceSoon->request(); };
    bindings_.watch(viewModel_.joinSourceFolder, source);
    bindings_.watch(viewModel_.selectedJoinFiles, source);
    bindings_.watch(viewModel_.joinOutputFolder, source);
    sourceSoon->follow(viewModel_.isoFiles);
    auto* optionsSoon = new Coalesced(this, [this] { refreshOptions(); });
    const auto options = [optionsSoon] { optionsSoon->request(); };
    for (QProperty<bool>* flag : {&viewModel_.joinKeepOriginalName, &viewModel_.showGroupReview})
        bindings_.watch(*flag, options);
    bindings_.watch(viewModel_.joinOutputName, options);
    bindings_.watch(viewModel_.joinChannelLayout, options);
    bindings_.watch(viewModel_.referenceISOIndex, options);
    optionsSoon->follow(viewModel_.isoFiles);
    auto* runSoon = new Coalesced(this, [this] { refreshRun(); });
    const auto run = [runSoon] { runSoon->request(); };
    for (QProperty<bool>* flag : {&viewModel_.isProcessing, &viewModel_.isBatchJoining, &viewModel_.isScanningJoinISOs,
                                  &viewModel_.isAnalyzing, &viewModel_.ffmpegAvailable, &viewModel_.showGroupReview})
        bindings_.watch(*flag, run);
    bindings_.watch(viewModel_.engine, run);
    bindings_.watch(viewModel_.joinOutputFolder, run);
    bindings_.watch(viewModel_.joinOutputName, run);
    bindings_.watch(viewModel_.joinSourceFolder, run);
    bindings_.watch(viewModel_.selectedJoinFiles, run);
    bindings_.watch(viewModel_.groupingProgress, run);
    bindings_.watch(viewModel_.foreseenRefusals, run);
    for (QProperty<int>* count : {&viewModel_.successCount, &viewModel_.skipCount, &viewModel_.errorCount})
        bindings_.watch(*count, run);
    runSoon->follow(viewModel_.isoFiles);
    runSoon->follow(viewModel_.reviewedGroups);
    // Results are those of what is shown.
    for (QProperty<bool>* isReading : {&viewModel_.isScanningJoinISOs, &viewModel_.isAnalyzing}) {
        bindings_.watch(*isReading, [this, isReading] {
            if (isReading->value()) run_->forgetResults();
        });
    }
    const auto shortcut = [this] { refreshShortcut(); };
    bindings_.watch(viewModel_.usedSmartShortcut, shortcut);
    bindings_.watch(showDetails_, shortcut);
    bindings_.bind(viewModel_.showGroupReview, [this] {
        lists_->setCurrentIndex(isReview() ? reviewPage : isoPage);
        run_->setTexts(isReview() ? joinAllTexts() : joinTexts());
        run_->setFocusDuringRun(isReview() ? static_cast<QWidget*>(&review_->tree()) : &isos_->table());
        refreshShortcut();
    });
    refreshSource();
    refreshOptions();
    refreshRun();
}

void PolyJoinView::refreshSource() {
    const auto& selected = viewModel_.selectedJoinFiles.value();
    QString chosen = viewModel_.joinSourceFolder.value();
    if (selected && selected->size() == 1) {
        chosen = selected->first();
    } else if (selected && !selected->isEmpty()) {
        chosen = QStringLiteral("%1 items selected").arg(selected->size());
    } else if (chosen.isEmpty() && !viewModel_.isoFiles.empty()) {
        chosen = QStringLiteral("%1 file(s) selected").arg(viewModel_.isoFiles.size());
    }
    source_->show(chosen, QStringLiteral("No files or folder selected"));
    output_->show(viewModel_.joinOutputFolder.value(), QStringLiteral("Select output folder for poly files"));
}

void PolyJoinView::refreshOptions() {
    if (name_->text() != viewModel_.joinOutputName.value()) name_->setText(viewModel_.joinOutputName.value());
    const auto& layouts = kAllJoinChannelLayouts;
    const auto layout = std::find(layouts.begin(), layouts.end(), viewModel_.joinChannelLayout.value());
    layouts_->setCurrentIndex(static_cast<int>(layout - layouts.begin()));
    reference_->setCurrentIndex(viewModel_.referenceISOIndex.value());
    reference_->setEnabled(!viewModel_.isoFiles.empty());
    const bool keeps = viewModel_.joinKeepOriginalName.value();
    keepName_->setChecked(keeps);
    suffixNote_->setVisible(!keeps);
    noSuffixNote_->setText(isReview()
                               ? QStringLiteral("⚠️ Output files will use ISO base name (no '_poly' suffix)")
                               : QStringLiteral("⚠️ Output file will use ISO base name (no '_poly' suffix)"));
    noSuffixNote_->setVisible(keeps);
    singleOptions_->setVisible(!isReview());
}

void PolyJoinView::refreshShortcut() {
    const bool isFound = viewModel_.usedSmartShortcut.value() && viewModel_.groupingResult.value();
    shortcut_->setVisible(isFound);
    reviewsGroups_->setChecked(isReview());
    details_->setText(showDetails_.value() ? QStringLiteral("Hide Details") : QStringLiteral("Show details"));
    details_->setAccessibleName(details_->text());
    detailsText_->setText(
        isFound && showDetails_.value() ? groupDetails(viewModel_.groupingResult.value()->groups.front()) : QString());
}

QString PolyJoinView::helperText() const {
    if (viewModel_.isScanningJoinISOs.value()) {
        const auto& progress = viewModel_.groupingProgress.value();
        const QString scanning = QStringLiteral("Scanning ISO files...");
        return progress ? scanning + QStringLiteral(" %1 of %2").arg(progress->first).arg(progress->second) : scanning;
    }
    if (isReview()) {
        if (viewModel_.joinOutputFolder.value().isEmpty()) return QStringLiteral("Select an output folder first");
        const auto& groups = viewModel_.reviewedGroups.rows();
        const auto joined = std::ranges::count_if(groups, [](const auto& group) { return group.isoFiles.size() > 1; });
        return QStringLiteral("%1 groups → %2 new polys").arg(groups.size()).arg(joined) +
               viewModel_.foresight().helperEnding();
    }
    const auto selected = std::ranges::count_if(viewModel_.isoFiles.rows(), &ISOFile::isSelected);
    if (viewModel_.isoFiles.empty()) return QStringLiteral("Select ISO files or folder");
    return QStringLiteral("%1 ISOs → %2").arg(selected).arg(viewModel_.joinOutputName.value());
}

void PolyJoinView::refreshRun() {
    const bool isBusy = viewModel_.isProcessing.value() || viewModel_.isBatchJoining.value();
    const bool isScanning = viewModel_.isScanningJoinISOs.value();
    const auto& selected = viewModel_.selectedJoinFiles.value();
    const bool hasPile = !viewModel_.joinSourceFolder.value().isEmpty() || (selected && !selected->isEmpty());
    sourceSection_->setEnabled(!isBusy);
    options_->setEnabled(!isBusy);
    reviewsGroups_->setEnabled(!isBusy);
    scan_->setEnabled(hasPile && !isScanning && viewModel_.hasEngine());
    run_->setCanRun(!isScanning && (isReview() ? viewModel_.join().canRunBatch() : viewModel_.join().canRun()));
    run_->setHelper(helperText());
    showResults();
}

void PolyJoinView::showResults() {
    using Color = ProcessingStatus::Color;
    const int errors = viewModel_.errorCount.value();
    const auto entry = [](const char16_t* label, int count, Color color) {
        return ResultsBanner::Entry{QString::fromUtf16(label), count, color};
    };
    QList<ResultsBanner::Entry> entries;
    if (isReview()) {
        const auto& results = viewModel_.batchJoinResults.value();
        entries << entry(u"Polys created: ", results ? results->totalPolysCreated : 0, Color::green);
    }
    entries << entry(u"Success: ", viewModel_.successCount.value(), Color::green)
            << entry(u"Skipped: ", viewModel_.skipCount.value(), Color::secondary);
    if (errors > 0) entries << entry(u"Errors: ", errors, Color::red);
    run_->setResults(isReview() ? QStringLiteral("Batch Join Complete") : QStringLiteral("Join Complete"), entries);
}

} // namespace ostrel
