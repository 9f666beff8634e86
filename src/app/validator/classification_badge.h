// How the classes of stereo files look, and the button that counts one of them and filters by it.
#pragma once

#include "app/controls/item_roles.h"
#include "stereovalidator/stereo_classification.h"
#include "stereovalidator/trust_rules.h"

#include <QAbstractButton>

namespace ostrel {

// Symbol, short label ("One-Sided") and colour.
Badge badgeOf(StereoClassification classification);
Badge badgeOf(Trust trust);

class ClassificationBadge : public QAbstractButton {
    Q_OBJECT

public:
    ClassificationBadge(StereoClassification classification, int count, QWidget* parent = nullptr);
    StereoClassification classification() const { return classification_; }
    int count() const { return count_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    StereoClassification classification_;
    int count_;
};

} // namespace ostrel
