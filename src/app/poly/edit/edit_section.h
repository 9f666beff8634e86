// One kind of change in Edit Poly: a switch, a row that folds what belongs to it and says what it comes to, a
// description, and a warning where the change can't be made as things stand.
#pragma once

#include "app/controls/bindings.h"
#include "app/controls/controls.h"

class QCheckBox;
class QVBoxLayout;

namespace ostrel {

class EditSectionHeader;

class EditSection : public Card {
    Q_OBJECT

public:
    // Switched on it opens, switched off it closes; a click on the row does either at any time.
    EditSection(const QString& title, QProperty<bool>& isOn, QWidget* parent = nullptr);

    QProperty<bool> isOpen{false};

    void setDescription(const QString& text);
    void setSummary(const QString& text);
    // Why nothing of this counts at the moment: shown open or closed, the controls are off. Empty: it counts.
    void setObstacle(const QString& text);

protected:
    QVBoxLayout& content() { return *content_; }

private:
    void refresh();

    QProperty<bool>& isOn_;
    Bindings bindings_;
    QCheckBox* switch_;
    EditSectionHeader* header_;
    QWidget* body_;
    SecondaryLabel* description_;
    ToneLabel* warning_;
    QWidget* controls_;
    QVBoxLayout* content_;
};

// A note in smaller letters, wrapped.
SecondaryLabel* sectionNote(const QString& text = QString());

} // namespace ostrel
