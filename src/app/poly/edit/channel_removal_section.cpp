#include "app/poly/edit/channel_removal_section.h"

#include "app/controls/layouts.h"
#include "app/controls/page_stack.h"

#include <QLineEdit>

namespace ostrel {
namespace {

constexpr std::array kModes{FilterMode::byNumber, FilterMode::byName};

QString numbersHelp() { return QStringLiteral("Remove specific channel numbers (e.g., '1, 2' or '1-4')"); }
QString namesHelp() {
    return QStringLiteral("Remove tracks whose names contain the specified text (e.g., 'Mix, Lav, Boom')");
}

} // namespace

ChannelRemovalSection::ChannelRemovalSection(ChannelEdits& edits, QWidget* parent)
    : EditSection(QStringLiteral("Channel Removal"), edits.removes, parent), edits_(edits), pages_(new PageStack) {
    setDescription(QStringLiteral("Remove unwanted channels from poly files"));
    pages_->addPage(makeNumbers());
    pages_->addPage(makeNames());
    content().addWidget(makeFilterType());
    content().addWidget(pages_);
    bindings_.bind(edits.inPlace, [this] {
        setObstacle(edits_.inPlace.value() ? QStringLiteral("Channel removal requires rebuild — switch to \"Save to "
                                                            "output folder\" mode")
                                           : QString());
    });
    const auto again = [this] { refresh(); };
    bindings_.watch(edits.removes, again);
    bindings_.watch(edits.inPlace, again);
    bindings_.watch(edits.filterMode, again);
    bindings_.watch(edits.numbersText, again);
    bindings_.watch(edits.namesText, again);
    bindings_.watch(edits.tracks, again);
    refresh();
}

QWidget* ChannelRemovalSection::makeFilterType() {
    auto* types = new SegmentedControl(QStringLiteral("Filter type"));
    types->addSegment(QStringLiteral("Remove by Channel Number"), QString(), numbersHelp());
    types->addSegment(QStringLiteral("Remove by Name"), QString(), namesHelp());
    connect(types, &SegmentedControl::chosen, this,
            [this](int index) { edits_.filterMode = kModes[static_cast<std::size_t>(index)]; });
    bindings_.bind(edits_.filterMode, [this, types] {
        const int page = edits_.filterMode.value() == FilterMode::byNumber ? 0 : 1;
        types->setCurrent(page);
        pages_->setCurrent(page);
    });
    auto* column = columnLayout(3);
    column->addWidget(new QLabel(QStringLiteral("Filter type:")));
    column->addWidget(types);
    auto* type = new QWidget;
    type->setLayout(column);
    return type;
}

QLineEdit* ChannelRemovalSection::makeField(const QString& name, const QString& hint, const QString& help,
                                            QProperty<QString>& text) {
    auto* field = named(new QLineEdit, name, help);
    field->setPlaceholderText(hint);
    field->setTextMargins(4, 0, 4, 0);
    connect(field, &QLineEdit::textEdited, this, [&text](const QString& typed) { text = typed; });
    bindings_.bind(text, [field, &text] {
        if (field->text() != text.value()) field->setText(text.value());
    });
    return field;
}

QWidget* ChannelRemovalSection::makeNumbers() {
    auto* column = columnLayout(5);
    column->setAlignment(Qt::AlignTop);
    column->addWidget(makeField(QStringLiteral("Channel numbers to remove"), QStringLiteral("e.g., 1, 2 or 1-4"),
                                numbersHelp(), edits_.numbersText));
    column->addWidget(sectionNote(QStringLiteral("💡 Enter '1, 2' for channels 1 and 2, or '1-4' for range")));
    auto* page = new QWidget;
    page->setLayout(column);
    return page;
}

QWidget* ChannelRemovalSection::makeNames() {
    auto* column = columnLayout(5);
    column->setAlignment(Qt::AlignTop);
    column->addWidget(makeField(QStringLiteral("Track names to remove"), QStringLiteral("e.g., Mix, Lav, Boom"),
                                namesHelp(), edits_.namesText));
    column->addWidget(makePresets());
    column->addWidget(sectionNote(QStringLiteral("💡 Enter 'Mix' to remove all mix tracks, 'Lav' for lavs, etc.")));
    auto* page = new QWidget;
    page->setLayout(column);
    return page;
}

// Pressed while their word is among the terms.
QWidget* ChannelRemovalSection::makePresets() {
    auto* row = rowLayout(5);
    row->addWidget(new SecondaryLabel(QStringLiteral("Quick presets:")));
    for (const char* word : {"Mix", "Lav", "Boom", "Plant"}) {
        const QString term = QString::fromLatin1(word);
        auto* preset = pushButton(term, QString(), QStringLiteral("Remove tracks with '%1' in their name").arg(term));
        preset->setAccessibleName(QStringLiteral("Preset ") + term);
        preset->setCheckable(true);
        preset->setFixedWidth(preset->fontMetrics().horizontalAdvance(term) + 28);
        connect(preset, &QPushButton::clicked, this,
                [this, term] { edits_.namesText = withTermToggled(edits_.namesText.value(), term); });
        bindings_.bind(edits_.namesText,
                       [this, preset, term] { preset->setChecked(hasTerm(edits_.namesText.value(), term)); });
        row->addWidget(preset);
    }
    row->addStretch();
    auto* presets = new QWidget;
    presets->setLayout(row);
    return presets;
}

// What it comes to with the polys at hand.
void ChannelRemovalSection::refresh() {
    if (!edits_.filter()) return setSummary(QString());
    const qsizetype all = static_cast<qsizetype>(edits_.tracks.value().size());
    const qsizetype kept = static_cast<qsizetype>(edits_.finalTracks().size());
    setSummary(all == 0 ? QString() : QStringLiteral("keeps %1 of %2").arg(kept).arg(all));
}

} // namespace ostrel
