// "Analysis Settings" of the Stereo Validator: preset, toggles and the five thresholds.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "stereovalidator/stereo_validator_view_model.h"

class QComboBox;
class QGridLayout;

namespace ostrel {

class ValidatorSettings : public Card {
    Q_OBJECT

public:
    explicit ValidatorSettings(StereoValidatorViewModel& viewModel, QWidget* parent = nullptr);

    QProperty<AnalysisPreset> selectedPreset{AnalysisPreset::recommended};
    QProperty<bool> showAdvanced{false};

private:
    struct Threshold {
        QString label;
        QProperty<double>* value;
        double minimum;
        double maximum;
        double step;
        std::function<QString(double)> text;
    };
    QWidget* makePresetRow();
    QWidget* makeSwitchRow();
    QWidget* makeThresholds();
    void addThreshold(QGridLayout& grid, int row, int column, const Threshold& threshold);

    StereoValidatorViewModel& viewModel_;
    Bindings bindings_;
};

} // namespace ostrel
