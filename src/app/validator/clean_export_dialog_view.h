// "Clean & Export": what is converted, how, and where to. Open until the controller closes it.
#pragma once

#include "app/controls/bindings.h"
#include "stereovalidator/stereo_validator_view_model.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QPushButton;
class QVBoxLayout;

namespace ostrel {

class ProgressLine;
class ToneLabel;
class TruncatingText;

class CleanExportDialogView : public QDialog {
    Q_OBJECT

public:
    using Rows = std::function<std::vector<StereoValidatorResult>()>;

    // `selected` gives the table's rows at the time of the export.
    CleanExportDialogView(StereoValidatorViewModel& viewModel, int selectedCount, Rows selected, QWidget* parent);

    // Sources would be replaced by what is made of them.
    bool isDestructiveOverwrite() const;

protected:
    void reject() override;

private:
    QCheckBox* toggle(const QString& text, QProperty<bool>& property, const QString& help = QString());
    QWidget* makeScope(int selectedCount);
    void addConversions(QVBoxLayout& column);
    void addOutputOptions(QVBoxLayout& column);
    QWidget* makeButtons();
    void refresh();
    void tellRefusals();
    void tellNotSure();
    void run();
    void followExport();

    StereoValidatorViewModel& viewModel_;
    Rows selected_;
    Bindings bindings_;
    ToneLabel* noSuffix_ = nullptr;
    ToneLabel* destructive_ = nullptr;
    ToneLabel* refusals_ = nullptr;
    QPushButton* cancel_ = nullptr;
    QCheckBox* sureOnly_ = nullptr;
    QPushButton* run_ = nullptr;
    QWidget* options_ = nullptr;
    TruncatingText* status_ = nullptr;
    ProgressLine* progress_ = nullptr;
};

} // namespace ostrel
