#include "app/interleaver/interleaver_options.h"

#include "app/controls/engine_switch.h"
#include "app/controls/layouts.h"
#include "app/controls/proof_box.h"
#include "app/controls/symbols.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHelpEvent>
#include <QPainter>
#include <QStackedWidget>
#include <QToolTip>

namespace ostrel {
namespace {

enum AfterPage { splitPage, mergePage, pairPage };

constexpr std::array kPairCleanups{LRCleanupMode::none, LRCleanupMode::verifiedConsolidation,
                                   LRCleanupMode::hardDelete};

QString helpOf(OutputFormatPolicy policy) {
    switch (policy) {
    case OutputFormatPolicy::smart:
        return QStringLiteral("Smart (Recommended): Lossy files (MP3/AAC) output as WAV to avoid quality loss. "
                              "Lossless files (FLAC) preserve format.");
    case OutputFormatPolicy::alwaysWAV:
        return QStringLiteral("Always WAV: All outputs are WAV regardless of input format.");
    case OutputFormatPolicy::preserveFormat: break;
    }
    return QStringLiteral("Preserve Format: Keep original format. Warning: Lossy files will be re-encoded and may "
                          "lose quality.");
}

} // namespace

OptionsHeaderRow::OptionsHeaderRow(AppViewModel& viewModel, QWidget* parent)
    : FoldingHeader(QStringLiteral("Options"), viewModel.showOptions,
                    {QStringLiteral("Click to collapse options"), QStringLiteral("Click to expand options")}, parent),
      viewModel_(viewModel) {
    bindings_.watch(viewModel.options, [this] { update(); });
}

void OptionsHeaderRow::paintSummary(QPainter& painter, const Theme& theme) {
    const QString output = QStringLiteral("Output: ") + displayName(viewModel_.options.value().outputFormatPolicy);
    const QString preserved = QStringLiteral("Metadata preserved");
    const int outputWidth = fontMetrics().horizontalAdvance(output);
    const int preservedWidth = fontMetrics().horizontalAdvance(preserved);
    painter.setPen(theme.secondaryText);
    painter.drawText(rect().adjusted(0, 0, -8, 0), Qt::AlignVCenter | Qt::AlignRight, output);
    const int left = width() - 8 - outputWidth - 24 - preservedWidth;
    painter.setPen(theme.green);
    painter.drawText(QRect(left, 0, preservedWidth + 2, height()), Qt::AlignVCenter | Qt::AlignLeft, preserved);
    paintSymbol(painter, QStringLiteral("lock.shield.fill"), QRectF(left - 20, height() / 2.0 - 8, 16, 16),
                theme.green);
    preserved_ = QRect(left - 22, 0, preservedWidth + 26, height());
}

// The help of the badge stands over that of the row.
bool OptionsHeaderRow::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        if (preserved_.contains(help->pos())) {
            QToolTip::showText(help->globalPos(), QStringLiteral("Always preserved (iXML, BWF, SMED)"), this);
            return true;
        }
    }
    return FoldingHeader::event(event);
}

InterleaverOptions::InterleaverOptions(AppViewModel& viewModel, QWidget* parent)
    : Card(parent), viewModel_(viewModel), after_(new QStackedWidget) {
    setAccessibleName(QStringLiteral("Options"));
    after_->addWidget(
        originalsBlock(QStringLiteral("After successful split:"), QStringLiteral("Move originals to Originals/"),
                       &ProcessingOptions::moveOriginalsDeinterleave, &ProcessingOptions::deleteOriginalsDeinterleave,
                       QStringLiteral("⚠️ Originals will remain in folder (3x file count)")));
    after_->addWidget(
        originalsBlock(QStringLiteral("After successful merge:"), QStringLiteral("Move originals to ORIGINALS_MONO/"),
                       &ProcessingOptions::moveOriginalsInterleave, &ProcessingOptions::deleteOriginalsInterleave,
                       QStringLiteral("⚠️ Originals will remain in folder")));
    after_->addWidget(pairBlock());
    auto* row = rowLayout(16);
    row->setContentsMargins(14, 8, 14, 8);
    row->addWidget(formatBlock(), 11);
    row->addWidget(new OptionDivider);
    row->addWidget(existingBlock(), 10);
    row->addWidget(new OptionDivider);
    auto* last = columnLayout(6);
    last->addWidget(after_);
    last->addStretch();
    last->addWidget(proofBox(bindings_, viewModel.proves, QStringLiteral("interleaver")));
    last->addWidget(engineSwitch(bindings_, viewModel.engine, QStringLiteral("interleaver")));
    row->addLayout(last, 8);
    setLayout(row);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    bindings_.watch(viewModel.options, [this] { refresh(); });
    bindings_.watch(viewModel.currentMode, [this] { refresh(); });
    bindings_.watch(viewModel.selectedLayout, [this] { refresh(); });
    refresh();
}

void InterleaverOptions::change(const std::function<void(ProcessingOptions&)>& change) {
    ProcessingOptions options = viewModel_.options.value();
    change(options);
    viewModel_.options = options;
}

QCheckBox* InterleaverOptions::flagBox(const QString& text, bool ProcessingOptions::*flag) {
    auto* box = named(new QCheckBox(text), text);
    connect(box, &QCheckBox::toggled, this,
            [this, flag](bool isOn) { change([&](ProcessingOptions& options) { options.*flag = isOn; }); });
    refreshers_.push_back([box, flag](const ProcessingOptions& options) { box->setChecked(options.*flag); });
    return box;
}

// Turned on it asks first and stays off until that is answered.
QCheckBox* InterleaverOptions::deleteBox(bool ProcessingOptions::*flag) {
    const QString text = QStringLiteral("Delete originals after success");
    auto* box = named(new QCheckBox(text), text);
    connect(box, &QCheckBox::clicked, this, [this, box, flag](bool isOn) {
        if (!isOn) return change([&](ProcessingOptions& options) { options.*flag = false; });
        box->setChecked(false);
        Q_EMIT deletionRequested(false);
    });
    refreshers_.push_back([box, flag](const ProcessingOptions& options) { box->setChecked(options.*flag); });
    return box;
}

QWidget* InterleaverOptions::formatBlock() {
    auto* block = new OptionSection(QStringLiteral("Output Format"));
    auto* picker = named(new QComboBox, QStringLiteral("Output Format"));
    for (const OutputFormatPolicy policy : kAllOutputFormatPolicies) picker->addItem(displayName(policy));
    connect(picker, &QComboBox::activated, this, [this](int index) {
        change([&](ProcessingOptions& options) {
            options.outputFormatPolicy = kAllOutputFormatPolicies[static_cast<std::size_t>(index)];
        });
    });
    auto* help = note(new SecondaryLabel);
    help->setAlignment(Qt::AlignTop);
    auto* warning = note(
        new ToneLabel(QStringLiteral("Lossy files (MP3/AAC) will be re-encoded"), ProcessingStatus::Color::orange));
    warning->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred); // the card has the room
    auto* pickers = rowLayout(6);
    pickers->addWidget(picker, 1);
    pickers->addWidget(separatorPicker());
    auto* row = new QWidget;
    row->setLayout(pickers);
    block->add(row);
    block->add(help);
    block->add(warning);
    refreshers_.push_back([=](const ProcessingOptions& options) {
        const OutputFormatPolicy policy = options.outputFormatPolicy;
        const auto found = std::find(kAllOutputFormatPolicies.begin(), kAllOutputFormatPolicies.end(), policy);
        picker->setCurrentIndex(static_cast<int>(found - kAllOutputFormatPolicies.begin()));
        help->setText(helpOf(policy));
        warning->setVisible(policy == OutputFormatPolicy::preserveFormat);
    });
    return block;
}

QWidget* InterleaverOptions::existingBlock() {
    auto* block = new OptionSection(QStringLiteral("Existing Outputs"));
    block->add(flagBox(QStringLiteral("Replace existing outputs"), &ProcessingOptions::overwriteExisting));
    block->add(flagBox(QStringLiteral("Skip if output exists"), &ProcessingOptions::skipIfExists));
    block->add(note(new SecondaryLabel(QStringLiteral("Auto-smart output: Custom folder → exact location | In-place → "
                                                      "subfolder (Interleaved/De-interleaved)"))));
    return block;
}

QWidget* InterleaverOptions::originalsBlock(const QString& title, const QString& move,
                                            bool ProcessingOptions::*moveFlag, bool ProcessingOptions::*deleteFlag,
                                            const QString& remark) {
    auto* block = new OptionSection(title);
    block->add(flagBox(move, moveFlag));
    block->add(deleteBox(deleteFlag));
    auto* label = note(new ToneLabel(remark, ProcessingStatus::Color::orange));
    block->add(label);
    refreshers_.push_back(
        [=](const ProcessingOptions& options) { label->setVisible(!(options.*moveFlag) && !(options.*deleteFlag)); });
    return block;
}

// How split files are named; of no use to a merge.
QComboBox* InterleaverOptions::separatorPicker() {
    auto* picker = named(new QComboBox, QStringLiteral("Channel names"),
                         QStringLiteral("What stands between a file's name and its channel"));
    picker->addItem(QStringLiteral("Take.L.wav"));
    picker->addItem(QStringLiteral("Take_L.wav"));
    connect(picker, &QComboBox::activated, this, [this](int index) {
        change([&](ProcessingOptions& options) {
            options.channelSeparator = kAllChannelSeparators[static_cast<std::size_t>(index)];
        });
    });
    refreshers_.push_back([this, picker](const ProcessingOptions& options) {
        picker->setCurrentIndex(options.channelSeparator == ChannelSeparator::dot ? 0 : 1);
        picker->setVisible(viewModel_.currentMode.value() == AppMode::deinterleave);
    });
    return picker;
}

QWidget* InterleaverOptions::pairBlock() {
    auto* block = new OptionSection(QStringLiteral("After successful merge:"));
    auto* picker = named(new QComboBox, QStringLiteral("After successful merge"));
    picker->addItems({QStringLiteral("Keep L/R (Safe)"), QStringLiteral("Move to Originals/"),
                      QStringLiteral("Delete L/R (Expert)")});
    connect(picker, &QComboBox::activated, this, &InterleaverOptions::choosePairCleanup);
    auto* moved = note(new SecondaryLabel(QStringLiteral("L/R files moved to backup folder")));
    auto* deleted = note(new ToneLabel(QStringLiteral("L/R files PERMANENTLY DELETED"), ProcessingStatus::Color::red));
    block->add(picker);
    block->add(moved);
    block->add(deleted);
    moved->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    deleted->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    refreshers_.push_back([=](const ProcessingOptions& options) {
        const auto found = std::find(kPairCleanups.begin(), kPairCleanups.end(), options.lrCleanupMode);
        picker->setCurrentIndex(static_cast<int>(found - kPairCleanups.begin()));
        moved->setVisible(options.lrCleanupMode == LRCleanupMode::verifiedConsolidation);
        deleted->setVisible(options.lrCleanupMode == LRCleanupMode::hardDelete);
    });
    return block;
}

void InterleaverOptions::choosePairCleanup(int index) {
    const LRCleanupMode mode = kPairCleanups[static_cast<std::size_t>(index)];
    if (mode == LRCleanupMode::hardDelete && viewModel_.options.value().lrCleanupMode != mode) {
        refresh(); // the picker goes back until the question is answered
        Q_EMIT deletionRequested(true);
        return;
    }
    change([mode](ProcessingOptions& options) { options.lrCleanupMode = mode; });
}

void InterleaverOptions::refresh() {
    const bool isMerge = viewModel_.currentMode.value() == AppMode::interleave;
    const bool isPair = viewModel_.selectedLayout.value() == ChannelLayout::stereo;
    after_->setCurrentIndex(!isMerge ? splitPage : isPair ? pairPage : mergePage);
    // With pairs "Keep L/R (Safe)" must mean what it says: what was set for surround sets must not reach them.
    const ProcessingOptions& current = viewModel_.options.value();
    if (isMerge && isPair && (current.moveOriginalsInterleave || current.deleteOriginalsInterleave)) {
        return change([](ProcessingOptions& options) {
            options.moveOriginalsInterleave = false;
            options.deleteOriginalsInterleave = false;
        });
    }
    for (const auto& refresher : refreshers_) refresher(current);
}

} // namespace ostrel
