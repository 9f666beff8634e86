#include "app/panels/run_row.h"

#include "app/controls/flag_box.h"
#include "app/controls/layouts.h"
#include "app/controls/ostrel_style.h"
#include "app/controls/page_stack.h"
#include "app/controls/progress_line.h"
#include "app/controls/symbols.h"
#include "app/panels/check_button.h"

#include <QApplication>
#include <QCheckBox>

namespace ostrel {
namespace {

constexpr int kNarrow = 160; // average characters
enum OutcomePage { statusPage, resultsPage };

// Of items that are worked on one after the other, the one under way is not done yet.
double share(int currentIndex, int total) { return total > 0 ? std::max(0, currentIndex - 1) / double(total) : 0; }

// How many items are done, where the job counts them.
std::optional<int> completed(const PolyToolsViewModel& viewModel) {
    if (const auto& step = viewModel.batchProgress.value(); step && viewModel.isBatchProcessing.value())
        return step->successCount + step->errorCount;
    if (const auto& step = viewModel.batchJoinProgress.value(); step && viewModel.isBatchJoining.value())
        return step->successCount + step->errorCount;
    return std::nullopt;
}

// Of the files that a scan found, 0 to 1; below 0 while none is under way.
double readProgress(const PolyToolsViewModel& viewModel) {
    const auto& grouping = viewModel.groupingProgress.value();
    const bool groups = viewModel.mode.value() == PolyMode::join && grouping && grouping->second > 0;
    return groups ? static_cast<double>(grouping->first) / grouping->second : viewModel.listingProgress.value();
}

} // namespace

double runProgress(const PolyToolsViewModel& viewModel) {
    if (viewModel.isBatchProcessing.value()) {
        const auto& step = viewModel.batchProgress.value();
        return step ? share(step->currentIndex, step->totalFiles) : 0;
    }
    if (viewModel.isBatchJoining.value()) {
        const auto& step = viewModel.batchJoinProgress.value();
        return step ? share(step->currentIndex, step->totalGroups) : 0;
    }
    return viewModel.mode.value() == PolyMode::join ? viewModel.joinProgress.value() : viewModel.splitProgress.value();
}

RunRow::RunRow(PolyToolsViewModel& viewModel, PolyMode mode, const Texts& texts, QWidget* parent)
    : QWidget(parent), viewModel_(viewModel), mode_(mode), helper_(new TruncatingText(Qt::ElideRight)),
      run_(pushButton(texts.run)), stop_(pushButton(QStringLiteral("Stop"), QStringLiteral("stop.fill"),
                                                    QStringLiteral("Stop before the next item"))),
      status_(new TruncatingText(Qt::ElideMiddle)), results_(new ResultsBanner), outcome_(new PageStack),
      progress_(new ProgressLine(QStringLiteral("Job progress"))) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    run_->setIcon(symbolIcon(QStringLiteral("play.fill"), SymbolTint::onAccent));
    makePrimary(*run_);
    stop_->setMinimumWidth(84);
    outcome_->addPage(status_);
    outcome_->addPage(results_);
    outcome_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    QCheckBox* report = flagBox(bindings_, viewModel.generateCSV, QStringLiteral("Generate CSV report"),
                                QStringLiteral("CSV report saved to output folder"));
    auto* row = rowLayout();
    row->addWidget(run_);
    row->addWidget(stop_);
    row->addSpacing(6);
    row->addWidget(outcome_, 1);
    row->addWidget(checkButton());
    row->addSpacing(6);
    row->addWidget(report);
    auto* column = columnLayout(5);
    column->addWidget(helper_);
    column->addLayout(row);
    column->addWidget(progress_);
    setLayout(column);
    setTexts(texts);

    connect(run_, &QPushButton::clicked, this, &RunRow::runClicked);
    connect(stop_, &QPushButton::clicked, this, [this] { viewModel_.stopProcessing(); });
    auto* refreshSoon = new Coalesced(this, [this] { refresh(); });
    const auto request = [refreshSoon] { refreshSoon->request(); };
    bindings_.watch(viewModel.isProcessing, [this, request] {
        processingChanged();
        request();
    });
    for (QProperty<bool>* flag : {&viewModel.isAnalyzing, &viewModel.isScanningBatchFiles,
                                  &viewModel.isScanningJoinISOs, &viewModel.isLoadingAllPreviews}) {
        bindings_.watch(*flag, request);
    }
    bindings_.watch(viewModel.currentProcessingItem, request);
    bindings_.watch(viewModel.splitProgress, request);
    bindings_.watch(viewModel.joinProgress, request);
    bindings_.watch(viewModel.batchProgress, request);
    bindings_.watch(viewModel.batchJoinProgress, request);
    bindings_.watch(viewModel.listingProgress, request);
    bindings_.watch(viewModel.groupingProgress, request);
    bindings_.watch(viewModel.mode, request);
    refresh();
}

void RunRow::setTexts(const Texts& texts) {
    texts_ = texts;
    named(run_, texts.run, texts.help);
    showRunText();
}

void RunRow::setHelper(const QString& text) { helper_->setText(text, true); }

void RunRow::setCanRun(bool canRun) {
    canRun_ = canRun;
    refresh();
}

void RunRow::setResults(const QString& title, const QList<ResultsBanner::Entry>& results) {
    resultsTitle_ = title;
    entries_ = results;
    refresh();
}

void RunRow::forgetResults() {
    hasRun_ = false;
    refresh();
}

bool RunRow::isRunning() const { return viewModel_.isProcessing.value() && viewModel_.mode.value() == mode_; }

// At once, and not with the next turn of the loop: what has the focus is about to go off, and Qt would pass it on to
// the tabs.
void RunRow::processingChanged() {
    if (!viewModel_.isProcessing.value()) return;
    hasRun_ = viewModel_.mode.value() == mode_;
    const QWidget* page = parentWidget();
    if (hasRun_ && focusDuringRun_ && page && page->isAncestorOf(QApplication::focusWidget()))
        focusDuringRun_->setFocus();
}

void RunRow::refresh() {
    const bool isRunning = this->isRunning();
    run_->setEnabled(canRun_ && !viewModel_.isProcessing.value());
    stop_->setEnabled(viewModel_.isProcessing.value() || viewModel_.isAnalyzing.value() ||
                      viewModel_.isScanningBatchFiles.value() || viewModel_.isScanningJoinISOs.value() ||
                      viewModel_.isLoadingAllPreviews.value());
    showRunText();
    QString status;
    if (isRunning && !viewModel_.currentProcessingItem.value().isEmpty())
        status = QStringLiteral("Working on ") + viewModel_.currentProcessingItem.value();
    if (const auto count = completed(viewModel_); count && isRunning)
        status += QStringLiteral("   Complete: %1").arg(*count);
    const double read = readProgress(viewModel_);
    if (!isRunning && read >= 0) status = QStringLiteral("Reading files: %1%").arg(static_cast<int>(read * 100));
    status_->setText(status, true);
    const bool showsResults = hasRun_ && !viewModel_.isProcessing.value() && !entries_.isEmpty();
    results_->setResults(resultsTitle_, showsResults ? entries_ : QList<ResultsBanner::Entry>());
    outcome_->setCurrent(showsResults ? resultsPage : statusPage);
    progress_->setProgress(isRunning ? runProgress(viewModel_) : read);
}

// As wide as the longest text that it may get here, so that a job that starts moves nothing.
void RunRow::showRunText() {
    const bool isNarrow = width() < kNarrow * fontMetrics().averageCharWidth();
    const QString idle = isNarrow && !texts_.runNarrow.isEmpty() ? texts_.runNarrow : texts_.run;
    const QString other = isRunning() ? idle : texts_.running;
    run_->setMinimumWidth(0);
    run_->setText(other);
    const int least = run_->sizeHint().width();
    run_->setText(isRunning() ? texts_.running : idle);
    run_->setMinimumWidth(std::max({84, least, run_->sizeHint().width()}));
}

void RunRow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    showRunText();
}

} // namespace ostrel
