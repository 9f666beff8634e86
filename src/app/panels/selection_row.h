// A chosen path: its label, the path itself, and the buttons that choose and clear it.
#pragma once

#include "app/controls/controls.h"

namespace ostrel {

class SelectionRow : public QWidget {
    Q_OBJECT

public:
    struct Texts {
        QString label;     // "Source:"
        QString button;    // "Select..."
        QString help;      // of the button
        QString clearHelp; // of the clear button
    };
    explicit SelectionRow(const Texts& texts, QWidget* parent = nullptr);

    // What is chosen; with nothing chosen the hint stands in its place.
    void show(const QString& chosen, const QString& hint);
    // The whole label column of a section lines up.
    void setLabelWidth(int width) { label_->setFixedWidth(width); }
    int labelWidth() const { return label_->sizeHint().width(); }

    QPushButton& button() { return *button_; }
    SymbolButton& clearButton() { return *clear_; }
    QString shownText() const { return text_->text(); }

Q_SIGNALS:
    void chooseClicked();
    void clearClicked();

private:
    QLabel* label_;
    TruncatingText* text_;
    SymbolButton* clear_;
    QPushButton* button_;
};

} // namespace ostrel
