#include "app/poly/edit/channel_rename_section.h"

#include "app/controls/layouts.h"
#include "app/panels/section_table.h"
#include "app/poly/edit/channel_names_model.h"
#include "app/poly/edit/channel_names_table.h"

namespace ostrel {

ChannelRenameSection::ChannelRenameSection(ChannelEdits& edits, const Texts& texts, QWidget* parent)
    : EditSection(texts.title, edits.renames, parent), edits_(edits), texts_(texts),
      model_(new ChannelNamesModel(edits, this)), table_(new ChannelNamesTable(*model_, QStringLiteral("New names"))),
      what_(sectionNote()), empty_(sectionNote(QStringLiteral("Load poly files first to see channels"))) {
    setDescription(QStringLiteral("Rename channel track names across all poly files"));
    table_->setColumnText(ChannelNamesModel::PositionColumn, QStringLiteral("88"));
    table_->setColumnWidth(ChannelNamesModel::OriginalColumn, 90);
    table_->setColumnWidth(ChannelNamesModel::NewColumn, 110);
    table_->setStretchColumns({ChannelNamesModel::OriginalColumn, ChannelNamesModel::NewColumn});
    content().addWidget(what_);
    content().addWidget(empty_);
    content().addWidget(table_);
    content().addWidget(sectionNote(texts.hint));
    const auto again = [this] { refresh(); };
    bindings_.watch(edits.inPlace, again);
    bindings_.watch(edits.removes, again);
    bindings_.watch(edits.filterMode, again);
    bindings_.watch(edits.numbersText, again);
    bindings_.watch(edits.namesText, again);
    bindings_.watch(edits.reorders, again);
    bindings_.watch(edits.order, again);
    bindings_.watch(edits.tracks, again);
    bindings_.watch(edits.renames, again);
    bindings_.watch(edits.newNames, again);
    refresh();
}

void ChannelRenameSection::refresh() {
    model_->refresh();
    what_->setText(edits_.inPlace.value() ? texts_.inPlace
                                          : QStringLiteral("Rename channels in the rebuilt poly (after removal)"));
    const bool hasChannels = model_->rowCount() > 0;
    table_->setVisible(hasChannels);
    empty_->setVisible(!hasChannels);
    fitRows(*table_);
    const auto count = edits_.renameMap().size();
    setSummary(count == 0 ? QString()
                          : QStringLiteral("%1 new %2")
                                .arg(count)
                                .arg(count == 1 ? QStringLiteral("name") : QStringLiteral("names")));
}

} // namespace ostrel
