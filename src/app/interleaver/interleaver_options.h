// The options of the Interleaver: a row that folds them and says what they come to, and the blocks.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"
#include "app/controls/folding_header.h"
#include "interleaver/app_view_model.h"

class QCheckBox;
class QComboBox;
class QStackedWidget;

namespace ostrel {

class OptionsHeaderRow : public FoldingHeader {
    Q_OBJECT

public:
    explicit OptionsHeaderRow(AppViewModel& viewModel, QWidget* parent = nullptr);

protected:
    void paintSummary(QPainter& painter, const Theme& theme) override;
    bool event(QEvent* event) override;

private:
    AppViewModel& viewModel_;
    Bindings bindings_;
    QRect preserved_;
};

class InterleaverOptions : public Card {
    Q_OBJECT

public:
    explicit InterleaverOptions(AppViewModel& viewModel, QWidget* parent = nullptr);

Q_SIGNALS:
    // A person wants originals deleted: to be confirmed before anything is set. `ofPair` speaks of an L/R merge.
    void deletionRequested(bool ofPair);

private:
    // A flag of the options with its switch.
    QCheckBox* flagBox(const QString& text, bool ProcessingOptions::*flag);
    QCheckBox* deleteBox(bool ProcessingOptions::*flag);
    QComboBox* separatorPicker();
    QWidget* formatBlock();
    QWidget* existingBlock();
    QWidget* originalsBlock(const QString& title, const QString& move, bool ProcessingOptions::*moveFlag,
                            bool ProcessingOptions::*deleteFlag, const QString& remark);
    QWidget* pairBlock();
    void choosePairCleanup(int index);
    void change(const std::function<void(ProcessingOptions&)>& change);
    void refresh();

    AppViewModel& viewModel_;
    Bindings bindings_;
    QStackedWidget* after_ = nullptr;
    std::vector<std::function<void(const ProcessingOptions&)>> refreshers_;
};

} // namespace ostrel
