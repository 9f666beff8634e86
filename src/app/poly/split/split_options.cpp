#include "app/poly/split/split_options.h"

#include "app/controls/conform_box.h"
#include "app/controls/engine_switch.h"
#include "app/controls/flag_box.h"
#include "app/controls/layouts.h"
#include "app/controls/proof_box.h"
#include "platform/paths.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>

namespace ostrel {
namespace {

QString helpOf(FolderOrganization organization) {
    switch (organization) {
    case FolderOrganization::flat: return QStringLiteral("All ISO files in the output folder");
    case FolderOrganization::bySceneTake: return QStringLiteral("Organize into Scene-Take subfolders (e.g., 9C-T01/)");
    case FolderOrganization::byScene: break;
    }
    return QStringLiteral("Organize into Scene subfolders (e.g., 9C/)");
}

// A picker over the values of an enumeration, in their order.
template <class Value, std::size_t Count, class Choose>
QComboBox* picker(const QString& name, const std::array<Value, Count>& values, Choose choose) {
    auto* box = named(new QComboBox, name);
    for (const Value value : values) box->addItem(rawText(value));
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setMinimumContentsLength(12);
    QObject::connect(box, &QComboBox::activated, box,
                     [values, choose](int index) { choose(values[static_cast<std::size_t>(index)]); });
    return box;
}

} // namespace

SplitOptionsCard::SplitOptionsCard(PolyToolsViewModel& viewModel, QWidget* parent)
    : Card(parent), viewModel_(viewModel) {
    setAccessibleName(QStringLiteral("Options"));
    auto* row = rowLayout(14);
    row->setContentsMargins(14, 8, 14, 8);
    row->addWidget(patternBlock(), 10);
    row->addWidget(new OptionDivider);
    row->addWidget(namingBlock(), 12);
    row->addWidget(new OptionDivider);
    row->addWidget(foldersBlock(), 11);
    row->addWidget(new OptionDivider);
    row->addWidget(existingBlock());
    setLayout(row);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    const auto names = [this] { refreshNames(); };
    bindings_.watch(viewModel.splitNamingPattern, names);
    bindings_.watch(viewModel.polyFile, names);
    auto* namesSoon = new Coalesced(this, names);
    namesSoon->follow(viewModel.channelItems);
    namesSoon->follow(viewModel.batchPolyMetadata);
    bindings_.watch(viewModel.batchMode, [namesSoon] { namesSoon->request(); });
    bindings_.bind(viewModel.splitKeepOriginalName, names);
}

QWidget* SplitOptionsCard::patternBlock() {
    auto* block = new OptionSection(QStringLiteral("Naming Pattern:"));
    QComboBox* patterns =
        picker(QStringLiteral("Naming Pattern"), kAllSplitNamingPatterns, [this](SplitNamingPattern pattern) {
            viewModel_.splitNamingPattern = pattern;
            viewModel_.source().updateOutputNames();
        });
    auto* found = note(new ToneLabel(QStringLiteral("iXML track names found!"), ProcessingStatus::Color::green));
    block->add(patterns);
    block->add(found);
    bindings_.bind(viewModel_.splitNamingPattern, [this, patterns] {
        patterns->setCurrentIndex(static_cast<int>(viewModel_.splitNamingPattern.value()));
    });
    bindings_.bind(viewModel_.hasIXMLTrackNames,
                   [this, found] { found->setVisible(viewModel_.hasIXMLTrackNames.value()); });
    return block;
}

QWidget* SplitOptionsCard::namingBlock() {
    auto* block = new OptionSection(QStringLiteral("Output Naming"));
    QCheckBox* keep =
        flagBox(bindings_, viewModel_.splitKeepOriginalName, QStringLiteral("Keep original name (no suffix)"));
    connect(keep, &QCheckBox::toggled, this, [this] { viewModel_.source().updateOutputNames(); });
    noSuffix_ = note(new ToneLabel(QStringLiteral("⚠️ No channel suffix added"), ProcessingStatus::Color::orange));
    originalName_ =
        note(new ToneLabel(QStringLiteral("⚠️ Output files will use original poly name (no channel suffix)"),
                           ProcessingStatus::Color::orange));
    example_ = note(new SecondaryLabel);
    example_->setAccessibleName(QStringLiteral("Example"));
    example_->setAlignment(Qt::AlignTop);
    // One or the other, in one place that is as high as both need.
    auto* warnings = columnLayout(2);
    warnings->addWidget(noSuffix_);
    warnings->addWidget(originalName_);
    auto* place = new QGridLayout;
    place->setContentsMargins(0, 0, 0, 0);
    place->addLayout(warnings, 0, 0);
    place->addWidget(example_, 0, 0);
    auto* notes = new QWidget;
    notes->setLayout(place);
    block->add(keep);
    block->add(notes);
    return block;
}

QWidget* SplitOptionsCard::foldersBlock() {
    auto* block = new OptionSection(QStringLiteral("Folder Organization:"));
    QComboBox* folders = picker(QStringLiteral("Folder Organization"), kAllFolderOrganizations,
                                [this](FolderOrganization value) { viewModel_.folderOrganization = value; });
    auto* help = note(new SecondaryLabel);
    block->add(folders);
    block->add(help);
    bindings_.bind(viewModel_.folderOrganization, [this, folders, help] {
        const FolderOrganization organization = viewModel_.folderOrganization.value();
        folders->setCurrentIndex(static_cast<int>(organization));
        folders->setToolTip(helpOf(organization));
        help->setText(helpOf(organization));
    });
    return block;
}

QWidget* SplitOptionsCard::existingBlock() {
    auto* block = new OptionSection(QStringLiteral("Existing Outputs"));
    block->add(flagBox(bindings_, viewModel_.skipIfExists, QStringLiteral("Skip if output exists")));
    block->add(flagBox(bindings_, viewModel_.overwriteExisting, QStringLiteral("Replace existing outputs")));
    block->add(proofBox(bindings_, viewModel_.proves, QStringLiteral("polytools")));
    block->add(conformBox(bindings_, viewModel_.conformsHeaders, viewModel_.engine, QStringLiteral("polytools")));
    block->add(engineSwitch(bindings_, viewModel_.engine, QStringLiteral("polytools")));
    return block;
}

// The name that the first channel with a name of its own gets; with nothing loaded, that of a take as it is usual.
QString SplitOptionsCard::example() const {
    if (viewModel_.batchMode.value() && !viewModel_.batchPolyMetadata.empty()) {
        const BatchPolyMetadata& poly = viewModel_.batchPolyMetadata[0];
        return viewModel_.source().generateOutputName(
            poly.baseName, 0, poly.trackInfo.empty() ? noTrackName() : poly.trackInfo.front().name);
    }
    const auto& items = viewModel_.channelItems;
    const auto isNamed = [](const ChannelItem& item) { return isUsableTrackName(item.trackName); };
    const auto first = std::find_if(items.begin(), items.end(), isNamed);
    if (first != items.end()) return first->outputFileName;
    if (!items.empty()) return items[0].outputFileName;
    return viewModel_.source().generateOutputName(QStringLiteral("14AT03"), 0, QStringLiteral("LEONARD"));
}

void SplitOptionsCard::refreshNames() {
    const bool keeps = viewModel_.splitKeepOriginalName.value();
    noSuffix_->setVisible(keeps);
    originalName_->setVisible(keeps);
    example_->setVisible(!keeps);
    example_->setText(QStringLiteral("✓ e.g., ") + example());
}

} // namespace ostrel
