#include "app/delivery/fix_dialog.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "platform/desktop_services.h"
#include "platform/paths.h"
#include "platform/text/text.h"

#include <QHeaderView>
#include <QTableWidget>

namespace ostrel {
namespace {

QTableWidget* fixTable() {
    auto* table = named(new QTableWidget(0, 5), QStringLiteral("Corrections"));
    table->setHorizontalHeaderLabels({QStringLiteral("File"), QStringLiteral("Field"), QStringLiteral("Before"),
                                      QStringLiteral("After"), QStringLiteral("Result")});
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setTabKeyNavigation(false);
    table->setWordWrap(false);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    table->horizontalHeader()->setStretchLastSection(true);
    return table;
}

void addRow(QTableWidget& table, const QStringList& cells) {
    const int row = table.rowCount();
    table.insertRow(row);
    for (int column = 0; column < cells.size(); ++column) {
        auto* cell = new QTableWidgetItem(cells[column]);
        cell->setToolTip(cells[column]);
        table.setItem(row, column, cell);
    }
}

// What can't be written stands in the row too, so that nobody takes the copy for wholly right.
void addRows(QTableWidget& table, const FixedRecording& recording) {
    const QString name = paths::lastComponent(recording.path);
    const QString result = recording.error.isEmpty() ? recording.status : recording.error;
    for (const HeaderFix& fix : recording.plan.fixes) addRow(table, {name, fix.field, fix.before, fix.after, result});
    for (const QString& sentence : recording.plan.left) addRow(table, {name, QString(), sentence, QString(), result});
}

QString verdictOn(const std::vector<FixedRecording>& recordings, bool isPreview) {
    const auto count = [&](const auto& isOne) { return static_cast<int>(std::ranges::count_if(recordings, isOne)); };
    const auto files = [](int number) {
        return QStringLiteral("%1 %2").arg(number).arg(plural("file", number == 1 ? 1 : 2));
    };
    if (isPreview) {
        const int fixed = count([](const FixedRecording& each) { return !each.plan.edits.empty(); });
        return fixed == 0 ? QStringLiteral("Nothing can be corrected")
                          : QStringLiteral("%1 can be corrected; nothing is written yet").arg(files(fixed));
    }
    const int written = count([](const FixedRecording& each) { return !each.output.isEmpty(); });
    const int failed = count([](const FixedRecording& each) { return each.hasFailed; });
    QString text = QStringLiteral("%1 written").arg(files(written));
    if (failed > 0) text += QStringLiteral(", %1 failed").arg(failed);
    const int rest = static_cast<int>(recordings.size()) - written - failed;
    if (rest > 0) text += QStringLiteral(", %1 not").arg(rest);
    return text;
}

} // namespace

FixDialog::FixDialog(const QStringList& recordings, Reader reader, DesktopServices& desktop, QWidget* parent)
    : DeliveryDialog(QStringLiteral("Fix Copies"), desktop, parent), recordings_(recordings), reader_(reader),
      table_(fixTable()), place_(new TruncatingText(Qt::ElideMiddle)),
      write_(pushButton(QStringLiteral("Write Copies"), QString(),
                        QStringLiteral("Writes the corrected copies; the recordings stay as they are"))),
      choose_(pushButton(QStringLiteral("Choose Folder..."), QStringLiteral("folder"),
                         QStringLiteral("Where the copies go"))) {
    place_->setText(QStringLiteral("Copies go into a folder \"Corrected\" beside each recording."), true);
    connect(write_, &QPushButton::clicked, this, &FixDialog::write);
    connect(choose_, &QPushButton::clicked, this, [this] {
        OpenPanelRequest request;
        request.canChooseFiles = false;
        request.canChooseFolders = true;
        request.canCreateFolders = true;
        request.message = QStringLiteral("Select a folder for the corrected copies");
        request.prompt = QStringLiteral("Select");
        const QStringList chosen = desktop_.showOpenPanel(request);
        if (chosen.isEmpty()) return;
        folder_ = chosen.first();
        place_->setText(QStringLiteral("Copies go into ") + folder_);
    });
    connect(this, &DeliveryDialog::runningChanged, this, [this](bool isRunning) {
        write_->setEnabled(!isRunning && canWrite_);
        choose_->setEnabled(!isRunning && canWrite_);
    });
    auto* column = columnLayout();
    column->addWidget(table_, 1);
    column->addWidget(place_);
    compose({write_, choose_}, *column);
    resize(860, 440);
    preview();
}

void FixDialog::preview() { run({.reader = reader_, .dryRun = true}, QStringLiteral("Looking at the headers...")); }

void FixDialog::write() {
    canWrite_ = false; // once
    run({.reader = reader_, .output = folder_}, QStringLiteral("Writing copies..."));
}

QCoro::Task<> FixDialog::run(FixOptions options, QString during) {
    const DeliveryWatch watch = begin(during);
    const auto work = [recordings = recordings_, options, watch] {
        FixRun fixes(recordings, options);
        std::vector<FixedRecording> fixed;
        for (const QString& recording : recordings) {
            if (watch.stopped()) break;
            fixed.push_back(fixes.take(recording));
            watch.tell(static_cast<int>(fixed.size()), static_cast<int>(recordings.size()), recording);
        }
        return fixed;
    };
    const std::vector<FixedRecording> fixed = co_await inBackground(this, work);
    showFixes(fixed);
    canWrite_ = options.dryRun &&
                std::ranges::any_of(fixed, [](const FixedRecording& each) { return !each.plan.edits.empty(); });
    const QString stopped = wasStopped() ? QStringLiteral("Stopped. ") : QString();
    end(stopped + verdictOn(fixed, options.dryRun));
}

void FixDialog::showFixes(const std::vector<FixedRecording>& recordings) {
    table_->setRowCount(0);
    for (const FixedRecording& recording : recordings) addRows(*table_, recording);
    for (int column = 0; column < 4; ++column) {
        table_->resizeColumnToContents(column);
        table_->setColumnWidth(column, std::clamp(table_->columnWidth(column), 90, 220));
    }
}

} // namespace ostrel
