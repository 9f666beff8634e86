#include "app/panels/selection_row.h"

#include "app/controls/layouts.h"

namespace ostrel {

SelectionRow::SelectionRow(const Texts& texts, QWidget* parent)
    : QWidget(parent), label_(new QLabel(texts.label)), text_(new TruncatingText),
      clear_(new SymbolButton(QStringLiteral("xmark"), texts.clearHelp, texts.clearHelp)),
      button_(pushButton(texts.button, QString(), texts.help)) {
    setAccessibleName(texts.label);
    button_->setAccessibleName(QStringLiteral("%1 %2").arg(texts.label, texts.button));
    // The clear button keeps its place while it is hidden.
    QSizePolicy policy = clear_->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    clear_->setSizePolicy(policy);
    auto* row = rowLayout();
    row->addWidget(label_);
    row->addWidget(text_, 1);
    row->addWidget(clear_);
    row->addWidget(button_);
    setLayout(row);
    connect(button_, &QPushButton::clicked, this, &SelectionRow::chooseClicked);
    connect(clear_, &QToolButton::clicked, this, &SelectionRow::clearClicked);
}

void SelectionRow::show(const QString& chosen, const QString& hint) {
    text_->setText(chosen.isEmpty() ? hint : chosen, chosen.isEmpty());
    clear_->setVisible(!chosen.isEmpty());
}

} // namespace ostrel
