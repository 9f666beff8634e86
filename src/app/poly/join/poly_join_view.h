// The Join mode of Poly Tools: a set of ISOs to one poly, or a pile of them, by way of the review, to one poly a take.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "polytools/poly_tools_view_model.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QStackedWidget;

namespace ostrel {

class GroupReviewView;
class IsoListSection;
class RunRow;
class SelectionRow;

class PolyJoinView : public QWidget {
    Q_OBJECT

public:
    QWidget& lists() const; // where the items stand
    explicit PolyJoinView(PolyToolsViewModel& viewModel, QWidget* parent = nullptr);

    IsoListSection& isos() { return *isos_; }
    GroupReviewView& review() { return *review_; }
    RunRow& runRow() { return *run_; }

private:
    QWidget* makeSource();
    QWidget* makeOptions();
    QWidget* makeSingleOptions();
    QWidget* makeCommonOptions();
    QWidget* makeShortcut();
    void makeRun();
    void connectController();
    void refreshSource();
    void refreshOptions();
    void refreshShortcut();
    void refreshRun();
    QString helperText() const;
    void showResults();
    void run();
    bool isReview() const { return viewModel_.showGroupReview.value(); }

    PolyToolsViewModel& viewModel_;
    Bindings bindings_;
    QWidget* sourceSection_ = nullptr;
    SelectionRow* source_ = nullptr;
    SelectionRow* output_ = nullptr;
    QPushButton* scan_ = nullptr;
    QWidget* options_ = nullptr;
    QWidget* singleOptions_ = nullptr;
    QLineEdit* name_ = nullptr;
    QComboBox* reference_ = nullptr;
    QComboBox* layouts_ = nullptr;
    QCheckBox* keepName_ = nullptr;
    SecondaryLabel* suffixNote_ = nullptr;
    ToneLabel* noSuffixNote_ = nullptr;
    QWidget* shortcut_ = nullptr;
    QPushButton* details_ = nullptr;
    TruncatingText* detailsText_ = nullptr;
    QCheckBox* reviewsGroups_ = nullptr;
    QProperty<bool> showDetails_{false};
    QStackedWidget* lists_ = nullptr;
    IsoListSection* isos_ = nullptr;
    GroupReviewView* review_ = nullptr;
    RunRow* run_ = nullptr;
};

} // namespace ostrel
