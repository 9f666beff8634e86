#include "app/poly/edit/batch_channel_removal_config_view.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "app/controls/ostrel_style.h"
#include "app/controls/scrolled_page.h"
#include "app/poly/edit/channel_removal_section.h"
#include "app/poly/edit/channel_rename_section.h"

namespace ostrel {

BatchChannelRemovalConfigView::BatchChannelRemovalConfigView(ChannelEdits& target, QWidget* parent)
    : QDialog(parent), target_(target) {
    setWindowTitle(QStringLiteral("Channel Removal"));
    setAccessibleName(QStringLiteral("Channel Removal"));
    bindings_.bind(target.tracks, [this] { edits_.tracks = target_.tracks.value(); });
    bindings_.bind(target.inPlace, [this] { edits_.inPlace = target_.inPlace.value(); });
    edits_.copyFrom(target);
    auto* title = new QLabel(QStringLiteral("Channel Removal"));
    scaleFont(*title, 1.3, QFont::DemiBold);
    auto* column = columnLayout(7);
    column->setContentsMargins(22, 20, 22, 18);
    column->addWidget(title);
    column->addWidget(new SecondaryLabel(QStringLiteral("Remove unwanted channels from all poly files and rebuild")));
    column->addSpacing(6);
    column->addWidget(makeSections(), 1);
    column->addSpacing(4);
    column->addWidget(makeFoot());
    setLayout(column);
    setDefaultButton(*this, *apply_);
    resize(560, 680);
    const auto again = [this] { refresh(); };
    bindings_.watch(edits_.removes, again);
    bindings_.watch(edits_.filterMode, again);
    bindings_.watch(edits_.numbersText, again);
    bindings_.watch(edits_.namesText, again);
    bindings_.watch(edits_.renames, again);
    bindings_.watch(edits_.newNames, again);
    bindings_.watch(edits_.tracks, again);
    bindings_.watch(edits_.inPlace, again);
    refresh();
}

QWidget* BatchChannelRemovalConfigView::makeSections() {
    auto* removal = new ChannelRemovalSection(edits_);
    removal->setDescription(QString()); // the dialog's own
    rename_ = new ChannelRenameSection(
        edits_, {QStringLiteral("Batch Rename Channels"),
                 QStringLiteral("Edit iXML track names in the original poly files (metadata only, no re-encoding)"),
                 QStringLiteral("💡 Enter new names for channels. Leave blank to keep original names.")});
    auto* column = columnLayout(8);
    column->addWidget(removal);
    column->addWidget(rename_);
    column->addStretch();
    return new ScrolledPage(column);
}

QWidget* BatchChannelRemovalConfigView::makeFoot() {
    summary_ = new SecondaryLabel;
    summary_->setWordWrap(true);
    summary_->setAlignment(Qt::AlignLeft | Qt::AlignBottom);
    summary_->setTextFormat(Qt::PlainText);
    summary_->setMinimumHeight(summary_->fontMetrics().lineSpacing() * 3); // its lines come and go in their own place
    auto* clear = pushButton(QStringLiteral("Clear All"), QString(), QStringLiteral("Take back removal and new names"));
    auto* cancel = pushButton(QStringLiteral("Cancel"));
    apply_ = pushButton(QStringLiteral("Apply && Close"));
    makePrimary(*apply_);
    connect(clear, &QPushButton::clicked, this, &BatchChannelRemovalConfigView::clearAll);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(apply_, &QPushButton::clicked, this, &BatchChannelRemovalConfigView::apply);
    auto* row = rowLayout();
    row->addWidget(clear);
    row->addStretch();
    row->addWidget(cancel);
    row->addWidget(apply_);
    auto* column = columnLayout(10);
    column->addWidget(summary_);
    column->addLayout(row);
    auto* foot = new QWidget;
    foot->setLayout(column);
    return foot;
}

bool BatchChannelRemovalConfigView::isAnythingOn() const {
    return (edits_.removes.value() && !edits_.inPlace.value()) || edits_.renames.value();
}

QStringList BatchChannelRemovalConfigView::summary() const {
    if (!isAnythingOn()) return {QStringLiteral("Enable at least one option above")};
    QStringList lines;
    if (const auto filter = edits_.filter()) {
        lines << (filter->selectedChannelIndices.empty()
                      ? QStringLiteral("Will remove tracks containing '%1'").arg(filter->nameContainsFilter)
                      : QStringLiteral("Will remove channels: ") + joinedNumbers(filter->selectedChannelIndices));
    }
    const auto count = edits_.renameMap().size();
    if (count > 0) {
        lines << QStringLiteral("Will rename %1 %2")
                     .arg(count)
                     .arg(count == 1 ? QStringLiteral("channel") : QStringLiteral("channels"));
    }
    if (edits_.inPlace.value()) lines << QStringLiteral("Will edit iXML metadata only (no re-encoding)");
    return lines;
}

void BatchChannelRemovalConfigView::refresh() {
    summary_->setText(summary().join(u'\n'));
    apply_->setEnabled(isAnythingOn());
    named(apply_, QStringLiteral("Apply & Close"),
          isAnythingOn() ? QStringLiteral("Set this for all poly files")
                         : QStringLiteral("Enable at least one option to proceed"));
}

// Counts at once: with nothing on there is nothing that could be applied.
void BatchChannelRemovalConfigView::clearAll() {
    for (ChannelEdits* edits : {&target_, &edits_}) {
        edits->clearRemoval();
        edits->clearRenames();
    }
}

void BatchChannelRemovalConfigView::apply() {
    target_.copyFrom(edits_);
    accept();
}

} // namespace ostrel
