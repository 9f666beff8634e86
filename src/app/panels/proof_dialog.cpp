#include "app/panels/proof_dialog.h"

#include "app/controls/controls.h"
#include "app/controls/item_delegates.h"
#include "app/controls/layouts.h"
#include "app/tables/record_table.h"
#include "platform/paths.h"

#include <QAction>
#include <QFontDatabase>
#include <QHeaderView>
#include <QTableWidget>

namespace ostrel {
namespace {

QStringList cellsOf(const ChannelProof& channel) {
    return {paths::lastComponent(channel.output),
            QString::number(channel.outputChannel + 1),
            paths::lastComponent(channel.source),
            channel.sourceChannel < 0 ? QStringLiteral("all") : QString::number(channel.sourceChannel + 1),
            channel.reason.isEmpty() ? reportName(channel.finding)
                                     : QStringLiteral("%1: %2").arg(reportName(channel.finding), channel.reason),
            channel.hash};
}

QTableWidget* channelTable(const ProofRecord& proof) {
    auto* table = named(new QTableWidget(static_cast<int>(proof.channels.size()), 6), QStringLiteral("Channels"));
    table->setHorizontalHeaderLabels({QStringLiteral("Output"), QStringLiteral("Ch"), QStringLiteral("Source"),
                                      QStringLiteral("Ch"), QStringLiteral("Audio"), QStringLiteral("XXH128 of both")});
    for (int row = 0; row < table->rowCount(); ++row) {
        const QStringList cells = cellsOf(proof.channels[static_cast<std::size_t>(row)]);
        for (int column = 0; column < cells.size(); ++column) {
            auto* cell = new QTableWidgetItem(cells[column]);
            cell->setToolTip(cells[column]);
            if (column == 5) cell->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
            table->setItem(row, column, cell);
        }
    }
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setTabKeyNavigation(false);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    table->resizeColumnsToContents();
    table->horizontalHeader()->setStretchLastSection(true);
    return table;
}

void addMetadata(QVBoxLayout& column, const MetadataRecord& metadata) {
    for (const auto& [name, fields] : {std::pair{"Metadata kept: ", metadata.kept},
                                       {"Renewed: ", metadata.renewed},
                                       {"Changed: ", metadata.changed},
                                       {"Lost: ", metadata.lost}}) {
        if (fields.isEmpty()) continue;
        auto* label = new QLabel(QString::fromLatin1(name) + fields.join(QStringLiteral(", ")));
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        column.addWidget(label);
    }
}

} // namespace

ProofDialog::ProofDialog(const QString& name, const ItemOutcome& outcome, QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Proof: ") + name);
    auto* sentence = boldLabel(outcome.proof->sentence());
    sentence->setTextFormat(Qt::PlainText);
    sentence->setWordWrap(true);
    auto* close = pushButton(QStringLiteral("Close"));
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = rowLayout();
    buttons->addStretch();
    buttons->addWidget(close);
    auto* column = columnLayout();
    column->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    column->addWidget(sentence);
    column->addWidget(channelTable(*outcome.proof), 1);
    addMetadata(*column, outcome.metadata);
    column->addLayout(buttons);
    setLayout(column);
    setDefaultButton(*this, *close);
    close->setFocus();
    resize(820, 360);
}

void openProof(RecordTable& table, int record, int column, int nameColumn) {
    const QAbstractItemModel& model = table.records();
    const QVariant proven = model.index(record, column).data(ProvenRole);
    if (!proven.isValid()) return;
    const QString name = model.index(record, nameColumn).data(Qt::DisplayRole).toString();
    ProofDialog(name, proven.value<ItemOutcome>(), &table).exec();
}

void showProofs(Bindings& bindings, QProperty<bool>& proves, RecordTable& table, int column, int nameColumn) {
    table.setItemDelegateForColumn(column, new StatusBadge(&table));
    table.setColumnText(column, QStringLiteral("Unproven"), 24);
    bindings.bind(proves, [&proves, &table, column] {
        table.setColumnHidden(column, !proves.value());
        table.stretch();
    });
    QObject::connect(&table, &RecordTable::cellClicked, &table, [&table, column, nameColumn](int record, int clicked) {
        if (clicked == column) openProof(table, record, column, nameColumn);
    });
    auto* action = new QAction(QStringLiteral("Show Proof..."), &table);
    action->setShortcut(Qt::ALT | Qt::Key_Return);
    action->setShortcutContext(Qt::WidgetShortcut);
    QObject::connect(action, &QAction::triggered, &table, [&table, column, nameColumn] {
        if (table.currentRecord() >= 0) openProof(table, table.currentRecord(), column, nameColumn);
    });
    table.addAction(action);
}

} // namespace ostrel
