#include "app/validator/clean_export_dialog_view.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "app/controls/ostrel_style.h"
#include "app/controls/progress_line.h"
#include "app/controls/proof_box.h"
#include "platform/paths.h"

#include <QCheckBox>
#include <QComboBox>

namespace ostrel {
namespace {

SecondaryLabel* remark(const QString& text) {
    auto* label = new SecondaryLabel(text);
    scaleFont(*label, 0.92);
    label->setContentsMargins(23, 0, 0, 0);
    return label;
}

} // namespace

CleanExportDialogView::CleanExportDialogView(StereoValidatorViewModel& viewModel, int selectedCount, Rows selected,
                                             QWidget* parent)
    : QDialog(parent), viewModel_(viewModel), selected_(std::move(selected)) {
    setWindowTitle(QStringLiteral("Clean & Export"));
    setAccessibleName(QStringLiteral("Clean & Export"));
    auto* title = new QLabel(QStringLiteral("Clean & Export"));
    title->setTextFormat(Qt::PlainText);
    scaleFont(*title, 1.3, QFont::DemiBold);
    auto* column = columnLayout(7);
    column->setContentsMargins(22, 20, 22, 18);
    column->addWidget(title);
    column->addWidget(new SecondaryLabel(QStringLiteral("Convert problematic files and export cleaned versions")));
    column->addSpacing(6);
    auto* options = columnLayout(7);
    options->addWidget(makeScope(selectedCount));
    options->addSpacing(4);
    addConversions(*options);
    options->addSpacing(4);
    addOutputOptions(*options);
    options_ = new QWidget;
    options_->setLayout(options);
    column->addWidget(options_);
    status_ = new TruncatingText(Qt::ElideMiddle);
    progress_ = new ProgressLine(QStringLiteral("Export progress"));
    column->addWidget(status_);
    column->addWidget(progress_);
    column->addWidget(makeButtons());
    column->setSizeConstraint(QLayout::SetFixedSize); // the longest line decides
    setLayout(column);
    const auto again = [this] { refresh(); };
    bindings_.watch(viewModel.addMonoSuffix, again);
    bindings_.watch(viewModel.allowOverwrite, again);
    bindings_.watch(viewModel.outputFolder, again);
    bindings_.watch(viewModel.exportScope, again);
    bindings_.watch(viewModel.processDualMono, again);
    bindings_.watch(viewModel.processOneSided, again);
    bindings_.watch(viewModel.processBroken, again);
    bindings_.watch(viewModel.sureOnly, again);
    bindings_.watch(viewModel.currentExportFile, [this] { followExport(); });
    bindings_.watch(viewModel.exportProgress, [this] { followExport(); });
    bindings_.watch(viewModel.isExporting, [this] { followExport(); });
    bindings_.watch(viewModel.showCleanExportDialog, [this] {
        if (!viewModel_.showCleanExportDialog.value()) done(Accepted);
    });
    refresh();
}

QCheckBox* CleanExportDialogView::toggle(const QString& text, QProperty<bool>& property, const QString& help) {
    auto* box = named(new QCheckBox(text), text, help);
    connect(box, &QCheckBox::toggled, this, [&property](bool isOn) { property = isOn; });
    bindings_.bind(property, [box, &property] { box->setChecked(property.value()); });
    return box;
}

QWidget* CleanExportDialogView::makeScope(int selectedCount) {
    auto* picker = named(new QComboBox, QStringLiteral("Scope"));
    picker->addItem(
        QStringLiteral("%1 (%2)").arg(rawText(ExportScope::allResults)).arg(viewModel_.analysisResults.size()));
    picker->addItem(QStringLiteral("%1 (%2)").arg(rawText(ExportScope::selected)).arg(selectedCount));
    picker->setCurrentIndex(static_cast<int>(viewModel_.exportScope.value()));
    auto* none = new ToneLabel(QStringLiteral("No files selected in table"), ProcessingStatus::Color::orange);
    keepPlaceWhenHidden(*none);
    const auto show = [picker, none, selectedCount] {
        none->setVisible(selectedCount == 0 && picker->currentIndex() == 1);
    };
    connect(picker, &QComboBox::currentIndexChanged, this, [this, show](int index) {
        viewModel_.exportScope = kAllExportScopes[static_cast<std::size_t>(index)];
        show();
    });
    show();
    auto* row = rowLayout();
    row->addWidget(boldLabel(QStringLiteral("Scope:")));
    row->addWidget(picker);
    row->addWidget(none, 1);
    auto* widget = new QWidget;
    widget->setLayout(row);
    return widget;
}

void CleanExportDialogView::addConversions(QVBoxLayout& column) {
    column.addWidget(
        toggle(QStringLiteral("Convert dual mono files (including gain mismatch) to true mono (saves space)"),
               viewModel_.processDualMono));
    column.addWidget(toggle(QStringLiteral("Convert one-sided files to centered mono"), viewModel_.processOneSided));
    column.addWidget(
        toggle(QStringLiteral("Extract one side from broken (anti-phase) files to mono"), viewModel_.processBroken));
    column.addWidget(remark(QStringLiteral("Note: Near Mono files are never auto-fixed")));
    auto* picker = named(new QComboBox, QStringLiteral("Side Selection"));
    for (const DualMonoSideSelection side : kAllDualMonoSideSelections) picker->addItem(rawText(side));
    picker->setCurrentIndex(static_cast<int>(viewModel_.dualMonoSideSelection.value()));
    connect(picker, &QComboBox::currentIndexChanged, this, [this](int index) {
        viewModel_.dualMonoSideSelection = kAllDualMonoSideSelections[static_cast<std::size_t>(index)];
    });
    auto* row = rowLayout();
    row->addWidget(boldLabel(QStringLiteral("Side Selection:")));
    row->addWidget(picker);
    row->addStretch();
    column.addSpacing(4);
    column.addLayout(row);
    column.addWidget(remark(QStringLiteral("Auto: Uses Left for true dual mono. For gain mismatch, automatically uses "
                                           "Louder channel")));
    column.addWidget(remark(QStringLiteral("For broken (anti-phase) files: Extracts selected channel to mono")));
    const QString words = QStringLiteral("Leave out files that are not sure");
    sureOnly_ =
        named(new QCheckBox(words), words,
              QStringLiteral("The reasons stand in the table's column Why. Originals are replaced only where the "
                             "verdict is sure"));
    connect(sureOnly_, &QCheckBox::clicked, this, [this](bool isOn) { viewModel_.sureOnly = isOn; });
    column.addWidget(sureOnly_);
}

void CleanExportDialogView::addOutputOptions(QVBoxLayout& column) {
    column.addWidget(boldLabel(QStringLiteral("Output Options:")));
    column.addWidget(toggle(QStringLiteral("Add \"_mono\" suffix to filenames"), viewModel_.addMonoSuffix,
                            QStringLiteral("Recommended: prevents overwriting source files")));
    noSuffix_ = new ToneLabel(QStringLiteral("⚠️ Without suffix: files may overwrite originals or auto-number"),
                              ProcessingStatus::Color::orange);
    noSuffix_->setWordWrap(false);
    noSuffix_->setContentsMargins(23, 0, 0, 0);
    keepPlaceWhenHidden(*noSuffix_);
    column.addWidget(noSuffix_);
    column.addWidget(toggle(QStringLiteral("Allow Overwrite"), viewModel_.allowOverwrite,
                            QStringLiteral("Overwrite existing files in output folder")));
    column.addWidget(proofBox(bindings_, viewModel_.proves, QStringLiteral("validator")));
    column.addWidget(toggle(QStringLiteral("Generate CSV report"), viewModel_.generateCSV,
                            QStringLiteral("Save a CSV report with analysis results and processing actions")));
    column.addWidget(remark(QStringLiteral("Saves processing summary to output folder")));
    destructive_ = new ToneLabel(QStringLiteral("DESTRUCTIVE: No suffix + overwrite + no custom output folder = source "
                                                "files will be replaced"),
                                 ProcessingStatus::Color::red);
    destructive_->setWordWrap(false);
    keepPlaceWhenHidden(*destructive_);
    column.addWidget(destructive_);
}

QWidget* CleanExportDialogView::makeButtons() {
    cancel_ = pushButton(QStringLiteral("Cancel"));
    connect(cancel_, &QPushButton::clicked, this, &CleanExportDialogView::reject);
    run_ = pushButton(QStringLiteral("Clean & Export"));
    makePrimary(*run_);
    connect(run_, &QPushButton::clicked, this, &CleanExportDialogView::run);
    refusals_ = new ToneLabel(QString(), ProcessingStatus::Color::orange);
    refusals_->setWordWrap(false);
    auto* row = rowLayout();
    row->addWidget(refusals_);
    row->addStretch();
    row->addWidget(cancel_);
    row->addWidget(run_);
    auto* widget = new QWidget;
    widget->setLayout(row);
    return widget;
}

bool CleanExportDialogView::isDestructiveOverwrite() const {
    return viewModel_.outputFolder.value().isEmpty() && !viewModel_.addMonoSuffix.value() &&
           viewModel_.allowOverwrite.value();
}

void CleanExportDialogView::refresh() {
    const bool isDestructive = isDestructiveOverwrite();
    noSuffix_->setVisible(!viewModel_.addMonoSuffix.value());
    destructive_->setVisible(isDestructive);
    const QString words = isDestructive ? QStringLiteral("Replace Originals") : QStringLiteral("Clean && Export");
    run_->setText(words);
    run_->setAccessibleName(isDestructive ? words : QStringLiteral("Clean & Export"));
    makeDestructive(*run_, isDestructive);
    setDefaultButton(*this, isDestructive ? *cancel_ : *run_);
    tellNotSure();
    tellRefusals();
}

// Where originals would be replaced the box stands as on, whatever was chosen for copies.
void CleanExportDialogView::tellNotSure() {
    const bool isDestructive = isDestructiveOverwrite();
    sureOnly_->setEnabled(!isDestructive);
    sureOnly_->setChecked(isDestructive || viewModel_.sureOnly.value());
    sureOnly_->setText(
        QStringLiteral("Leave out files that are not sure (%1)").arg(viewModel_.countOfNotSure(selected_())));
}

// Ahead of the run, as things stand; the whole sentences are in the log behind it.
void CleanExportDialogView::tellRefusals() {
    constexpr int kMostLines = 12;
    QStringList lines;
    const QHash<QUuid, QString> refusals = viewModel_.foreseenRefusals(selected_());
    for (const StereoValidatorResult& result : viewModel_.analysisResults) {
        if (lines.size() == kMostLines) break;
        const QString why = refusals.value(result.id);
        if (!why.isEmpty()) lines << QStringLiteral("%1: %2").arg(paths::lastComponent(result.filepath), why);
    }
    refusals_->setText(refusals.isEmpty() ? QString()
                                          : QStringLiteral("%1 file(s) will be refused").arg(refusals.size()));
    refusals_->setToolTip(lines.join(QLatin1Char('\n')));
    refusals_->setAccessibleDescription(refusals_->toolTip());
}

void CleanExportDialogView::run() {
    viewModel_.cleanAndExport(selected_()); // lets events go on; it may close this dialog
}

void CleanExportDialogView::followExport() {
    const bool isBusy = viewModel_.isExporting.value();
    const QString file = viewModel_.currentExportFile.value();
    if (isBusy && run_->isEnabled()) cancel_->setFocus(); // what has the focus is about to go off
    options_->setEnabled(!isBusy);
    run_->setEnabled(!isBusy);
    cancel_->setText(isBusy ? QStringLiteral("Stop") : QStringLiteral("Cancel"));
    cancel_->setAccessibleName(cancel_->text());
    status_->setText(isBusy && !file.isEmpty() ? QStringLiteral("Working on ") + file : QString(), true);
    progress_->setProgress(isBusy ? viewModel_.exportProgress.value() : -1);
}

// While files are converted Escape stops, ahead of the next one; the run then closes the dialog.
void CleanExportDialogView::reject() {
    if (viewModel_.isExporting.value()) return viewModel_.stopExport();
    QDialog::reject();
    viewModel_.showCleanExportDialog = false;
}

} // namespace ostrel
