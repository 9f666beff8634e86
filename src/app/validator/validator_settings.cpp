#include "app/validator/validator_settings.h"

#include "app/controls/engine_switch.h"
#include "app/controls/folding_header.h"
#include "app/controls/layouts.h"
#include "platform/text/text.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QSlider>
#include <cmath>

namespace ostrel {

ValidatorSettings::ValidatorSettings(StereoValidatorViewModel& viewModel, QWidget* parent)
    : Card(parent), viewModel_(viewModel) {
    setAccessibleName(QStringLiteral("Analysis Settings"));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    auto* column = columnLayout(4);
    column->setContentsMargins(14, 9, 14, 7);
    column->addWidget(makePresetRow());
    column->addWidget(makeSwitchRow());
    QWidget* thresholds = makeThresholds();
    column->addWidget(thresholds);
    setLayout(column);
    bindings_.bind(showAdvanced, [this, thresholds] { thresholds->setVisible(showAdvanced.value()); });
}

QWidget* ValidatorSettings::makePresetRow() {
    auto* title = boldLabel(QStringLiteral("Analysis Settings"));
    auto* picker = named(new QComboBox, QStringLiteral("Detection Preset"));
    for (const AnalysisPreset preset : kAllAnalysisPresets) picker->addItem(rawText(preset));
    auto* shown = new SecondaryLabel;
    connect(picker, &QComboBox::activated, this, [this](int index) {
        const AnalysisPreset preset = kAllAnalysisPresets[static_cast<std::size_t>(index)];
        selectedPreset = preset;
        viewModel_.applyPreset(preset);
        viewModel_.logEntries.add(LogLevel::info, LogCategory::system,
                                  QStringLiteral("✅ Applied preset: ") + rawText(preset));
    });
    bindings_.bind(selectedPreset, [this, picker, shown] {
        picker->setCurrentIndex(static_cast<int>(selectedPreset.value()));
        shown->setText(shortText(selectedPreset.value()));
    });
    auto* row = rowLayout();
    row->addWidget(title);
    row->addSpacing(10);
    row->addWidget(new QLabel(QStringLiteral("Detection Preset:")));
    row->addWidget(picker);
    row->addWidget(shown, 1);
    auto* widget = new QWidget;
    widget->setLayout(row);
    return widget;
}

QWidget* ValidatorSettings::makeSwitchRow() {
    auto* fold = new FoldingHeader(
        QStringLiteral("Custom Thresholds"), showAdvanced,
        {QStringLiteral("Click to collapse the thresholds"), QStringLiteral("Click to expand the thresholds")});
    auto* skipMono = named(new QCheckBox(QStringLiteral("Skip mono files")), QStringLiteral("Skip mono files"));
    auto* report = named(new QCheckBox(QStringLiteral("Generate CSV report")), QStringLiteral("Generate CSV report"));
    connect(skipMono, &QCheckBox::toggled, this, [this](bool isOn) { viewModel_.skipMonoFiles = isOn; });
    connect(report, &QCheckBox::toggled, this, [this](bool isOn) { viewModel_.generateCSV = isOn; });
    bindings_.bind(viewModel_.skipMonoFiles,
                   [this, skipMono] { skipMono->setChecked(viewModel_.skipMonoFiles.value()); });
    bindings_.bind(viewModel_.generateCSV, [this, report] { report->setChecked(viewModel_.generateCSV.value()); });
    auto* row = rowLayout();
    row->addWidget(fold, 1);
    row->addSpacing(6);
    row->addWidget(engineSwitch(bindings_, viewModel_.engine, QStringLiteral("validator")));
    row->addSpacing(6);
    row->addWidget(skipMono);
    row->addSpacing(6);
    row->addWidget(report);
    auto* widget = new QWidget;
    widget->setLayout(row);
    return widget;
}

QWidget* ValidatorSettings::makeThresholds() {
    const auto ratio = [](double value) { return fixed(value, 3); };
    const auto milliseconds = [](double value) { return fixed(value, 1) + QStringLiteral(" ms"); };
    const auto decibels = [](double value) { return fixed(value, 0) + QStringLiteral(" dB"); };
    auto* grid = new QGridLayout;
    grid->setContentsMargins(25, 2, 4, 4);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(5);
    addThreshold(*grid, 0, 0, {QStringLiteral("Dual Mono:"), &viewModel_.dualMonoThreshold, 0.9, 1, 0.001, ratio});
    addThreshold(*grid, 1, 0, {QStringLiteral("Near Mono:"), &viewModel_.nearMonoThreshold, 0.8, 1, 0.001, ratio});
    addThreshold(*grid, 0, 1, {QStringLiteral("Small Lag:"), &viewModel_.smallLagMs, 0, 5, 0.1, milliseconds});
    addThreshold(*grid, 1, 1, {QStringLiteral("Big Lag:"), &viewModel_.bigLagMs, 1, 20, 0.1, milliseconds});
    addThreshold(*grid, 0, 2, {QStringLiteral("One-Sided:"), &viewModel_.oneSidedDb, 20, 80, 1, decibels});
    auto* widget = new QWidget;
    widget->setLayout(grid);
    return widget;
}

// The slider counts steps from the minimum. A value between two steps, or outside, stays what it is until it is moved.
void ValidatorSettings::addThreshold(QGridLayout& grid, int row, int column, const Threshold& threshold) {
    auto* slider = named(new QSlider(Qt::Horizontal), threshold.label);
    slider->setMaximum(static_cast<int>(std::lround((threshold.maximum - threshold.minimum) / threshold.step)));
    auto* value = new QLabel;
    value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    value->setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("88.8 ms ")));
    const int first = column * 3;
    grid.addWidget(new SecondaryLabel(threshold.label), row, first);
    grid.addWidget(slider, row, first + 1);
    grid.addWidget(value, row, first + 2);
    grid.setColumnStretch(first + 1, 1);
    const auto stepsOf = [threshold](double number) {
        return static_cast<int>(std::lround((number - threshold.minimum) / threshold.step));
    };
    connect(slider, &QSlider::valueChanged, this, [threshold, stepsOf](int steps) {
        if (stepsOf(threshold.value->value()) == steps) return;
        *threshold.value = threshold.minimum + steps * threshold.step;
    });
    bindings_.bind(*threshold.value, [threshold, slider, value, stepsOf] {
        const QSignalBlocker quiet(slider);
        slider->setValue(stepsOf(threshold.value->value()));
        value->setText(threshold.text(threshold.value->value()));
        slider->setAccessibleDescription(value->text());
    });
}

} // namespace ostrel
