#include "app/poly/edit/edit_section.h"

#include "app/controls/folding_header.h"
#include "app/controls/layouts.h"

#include <QCheckBox>
#include <QPainter>

namespace ostrel {

class EditSectionHeader : public FoldingHeader {
public:
    EditSectionHeader(const QString& title, QProperty<bool>& isOpen)
        : FoldingHeader(title, isOpen,
                        {QStringLiteral("Click to collapse options"), QStringLiteral("Click to expand options")}) {}

    void setSummary(const QString& summary) {
        summary_ = summary;
        setAccessibleDescription(summary);
        update();
    }

protected:
    void paintSummary(QPainter& painter, const Theme& theme) override {
        QFont bold = font();
        bold.setWeight(QFont::DemiBold);
        const int taken = 25 + QFontMetrics(bold).horizontalAdvance(text()) + 16;
        const QRect room = rect().adjusted(taken, 0, -8, 0);
        painter.setPen(theme.secondaryText);
        painter.drawText(room, Qt::AlignVCenter | Qt::AlignRight,
                         fontMetrics().elidedText(summary_, Qt::ElideRight, room.width()));
    }

private:
    QString summary_;
};

SecondaryLabel* sectionNote(const QString& text) {
    auto* label = new SecondaryLabel(text);
    label->setWordWrap(true);
    scaleFont(*label, 0.92);
    return label;
}

EditSection::EditSection(const QString& title, QProperty<bool>& isOn, QWidget* parent)
    : Card(parent), isOn_(isOn), switch_(named(new QCheckBox, QStringLiteral("Enable ") + title)),
      header_(new EditSectionHeader(title, isOpen)), body_(new QWidget), description_(sectionNote()),
      warning_(new ToneLabel(QString(), ProcessingStatus::Color::orange)), controls_(new QWidget),
      content_(columnLayout(6)) {
    setAccessibleName(title + QStringLiteral(" options"));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    scaleFont(*warning_, 0.92);
    warning_->setContentsMargins(24, 0, 4, 4);
    controls_->setLayout(content_);
    auto* head = rowLayout(2);
    head->addWidget(switch_);
    head->addWidget(header_, 1);
    auto* inner = columnLayout(6);
    inner->setContentsMargins(24, 0, 4, 4);
    inner->addWidget(description_);
    inner->addWidget(controls_);
    body_->setLayout(inner);
    auto* column = columnLayout(2);
    column->setContentsMargins(12, 5, 8, 5);
    column->addLayout(head);
    column->addWidget(warning_);
    column->addWidget(body_);
    setLayout(column);
    warning_->hide();
    isOpen = isOn.value();
    connect(switch_, &QCheckBox::toggled, this, [this](bool on) { isOn_ = on; });
    bindings_.bind(isOpen, [this] { body_->setVisible(isOpen.value()); });
    bindings_.bind(isOn, [this] { refresh(); });
    bindings_.watch(isOn, [this] { isOpen = isOn_.value(); });
}

void EditSection::setDescription(const QString& text) {
    description_->setText(text);
    description_->setVisible(!text.isEmpty());
}

void EditSection::setSummary(const QString& text) { header_->setSummary(text); }

void EditSection::setObstacle(const QString& text) {
    warning_->setText(text);
    warning_->setVisible(!text.isEmpty());
    refresh();
}

void EditSection::refresh() {
    const bool counts = warning_->text().isEmpty();
    switch_->setChecked(isOn_.value());
    switch_->setEnabled(counts);
    controls_->setEnabled(counts && isOn_.value());
}

} // namespace ostrel
