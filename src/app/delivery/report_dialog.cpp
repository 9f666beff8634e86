#include "app/delivery/report_dialog.h"

#include "app/controls/controls.h"
#include "app/controls/layouts.h"
#include "platform/desktop_services.h"
#include "platform/files/files.h"
#include "platform/parallel.h"
#include "platform/paths.h"
#include "platform/text/text.h"

#include <QGridLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QSettings>
#include <QTableWidget>
#include <atomic>

namespace ostrel {
namespace {

struct FormField {
    const char* name;  // in the report
    bool isRemembered; // what is the same from day to day
};

constexpr std::array kForm{FormField{"Project", true},     FormField{"Date", false},    FormField{"Producer", true},
                           FormField{"Roll", false},       FormField{"Director", true}, FormField{"Location", false},
                           FormField{"Sound Mixer", true}, FormField{"Boom Op", true},  FormField{"Prod.Co", true},
                           FormField{"Comments", false}};

QString keyOf(const FormField& field) { return QStringLiteral("report/") + QLatin1String(field.name); }

std::vector<RecordingFacts> readAll(const QStringList& files, const DeliveryWatch& watch) {
    std::vector<RecordingFacts> facts(static_cast<std::size_t>(files.size()));
    std::atomic<int> done{0};
    forEachInParallel(facts.size(), [&](std::size_t i) {
        if (watch.stopped()) return;
        const QString& file = files[static_cast<qsizetype>(i)];
        facts[i] = readRecordingFacts(file);
        watch.tell(++done, static_cast<int>(facts.size()), file);
    });
    return facts;
}

QStringList cellsOf(const ReportedTake& take) {
    return {take.name,
            take.scene,
            take.take,
            take.start ? take.start->label() : QString(),
            clockText(take.seconds()),
            take.tracks.join(QStringLiteral(", ")),
            take.isCircled ? QStringLiteral("Circled") : QString(),
            take.note};
}

QTableWidget* takeTable() {
    auto* table = named(new QTableWidget(0, 8), QStringLiteral("Takes"));
    table->setHorizontalHeaderLabels({QStringLiteral("File"), QStringLiteral("Scene"), QStringLiteral("Take"),
                                      QStringLiteral("Start"), QStringLiteral("Length"), QStringLiteral("Tracks"),
                                      QStringLiteral("Circled"), QStringLiteral("Note")});
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setTabKeyNavigation(false);
    table->setWordWrap(false);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    table->horizontalHeader()->setStretchLastSection(true);
    return table;
}

} // namespace

ReportDialog::ReportDialog(const QStringList& selection, DesktopServices& desktop, QWidget* parent)
    : DeliveryDialog(QStringLiteral("Sound Report"), desktop, parent), selection_(selection), takes_(takeTable()) {
    const auto saveAs = [this](const QString& button, const QString& help, auto action) {
        saves_ << pushButton(button, QString(), help);
        connect(saves_.last(), &QPushButton::clicked, this, action);
    };
    const QString message = QStringLiteral("Save the sound report");
    saveAs(QStringLiteral("Save CSV..."), QStringLiteral("In the columns of field recorders' own reports"),
           [this, message] {
               saveText(message, QStringLiteral("Sound Report.csv"), QStringLiteral("csv"),
                        [this] { return reportAsCsv(filled()); });
           });
    saveAs(QStringLiteral("Save HTML..."), QStringLiteral("A page by itself, to print"), [this, message] {
        saveText(message, QStringLiteral("Sound Report.html"), QStringLiteral("html"),
                 [this] { return reportAsHtml(filled()); });
    });
    saveAs(QStringLiteral("Save ALE..."),
           QStringLiteral("Avid Log Exchange, of takes with a timecode; a file for each timecode rate"),
           [this] { saveAle(); });
    auto* column = columnLayout(10);
    column->addLayout(makeForm());
    column->addWidget(takes_, 1);
    compose(saves_, *column);
    connect(this, &DeliveryDialog::runningChanged, this, [this](bool isRunning) {
        for (QPushButton* button : saves_) button->setEnabled(!isRunning && !report_.takes.empty());
    });
    resize(900, 600);
    read();
}

QGridLayout* ReportDialog::makeForm() {
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(kSpacing);
    grid->setVerticalSpacing(6);
    int place = 0;
    for (const FormField& field : kForm) {
        const QString name = QString::fromLatin1(field.name);
        auto* line = named(new QLineEdit, name);
        auto* label = new QLabel(name + u':');
        label->setBuddy(line);
        grid->addWidget(label, place / 2, place % 2 * 2);
        grid->addWidget(line, place / 2, place % 2 * 2 + 1);
        fields_.insert(name, line);
        ++place;
        if (!field.isRemembered) continue;
        connect(line, &QLineEdit::textEdited, this,
                [key = keyOf(field)](const QString& text) { QSettings().setValue(key, text); });
    }
    return grid;
}

QCoro::Task<> ReportDialog::read() {
    const DeliveryWatch watch = begin(QStringLiteral("Reading the recordings..."));
    const auto work = [selection = selection_, watch] { return readAll(recordingsOf(selection), watch); };
    const std::vector<RecordingFacts> facts = co_await inBackground(this, work);
    if (wasStopped()) co_return end(QStringLiteral("Stopped: a report of half of a day is none"));
    report_ = soundReportOf(facts);
    prefill();
    showTakes();
    const auto unread = std::ranges::count_if(facts, [](const RecordingFacts& each) { return !each.fault.isEmpty(); });
    const auto takes = static_cast<qsizetype>(report_.takes.size());
    QString text = QStringLiteral("%1 %2").arg(takes).arg(plural("take", takes));
    if (unread > 0) text += QStringLiteral(", %1 %2 could not be read").arg(unread).arg(plural("file", unread));
    end(text);
    fields_.value(QStringLiteral("Project"))->setFocus();
}

// What the recordings tell comes first.
void ReportDialog::prefill() {
    for (const FormField& field : kForm) {
        QLineEdit& line = *fields_.value(QString::fromLatin1(field.name));
        if (line.isModified()) continue; // written while the recordings were read
        const QString told = report_.header.value(QString::fromLatin1(field.name));
        line.setText(told.isEmpty() && field.isRemembered ? QSettings().value(keyOf(field)).toString() : told);
    }
}

void ReportDialog::showTakes() {
    takes_->setRowCount(static_cast<int>(report_.takes.size()));
    for (int row = 0; row < takes_->rowCount(); ++row) {
        const QStringList cells = cellsOf(report_.takes[static_cast<std::size_t>(row)]);
        for (int column = 0; column < cells.size(); ++column) {
            auto* cell = new QTableWidgetItem(cells[column]);
            cell->setToolTip(cells[column]);
            takes_->setItem(row, column, cell);
        }
    }
    for (int column = 0; column < takes_->columnCount() - 1; ++column) {
        takes_->resizeColumnToContents(column);
        takes_->setColumnWidth(column, std::clamp(takes_->columnWidth(column) + 8, 60, 260));
    }
}

SoundReport ReportDialog::filled() const {
    SoundReport report = report_;
    for (const auto& [name, line] : fields_.asKeyValueRange()) report.header.set(name, line->text().trimmed());
    return report;
}

void ReportDialog::saveAle() {
    const auto tell = [this](const QString& text) {
        desktop_.showAlert({AlertRequest::Style::warning, QStringLiteral("Nothing was saved"), text, {}, 0});
    };
    if (ratesOf(report_).empty()) return tell(QStringLiteral("No take has a timecode."));
    QString path = desktop_.showSavePanel(
        {QStringLiteral("Save the sound report"), QStringLiteral("Sound Report.ale"), {QStringLiteral("ale")}});
    if (path.isEmpty()) return;
    if (paths::lowerExtension(path) != QStringLiteral("ale")) path += QStringLiteral(".ale");
    const auto files = aleFilesOf(filled(), path);
    // The panel has asked about the one name only.
    for (const auto& [file, text] : files) {
        if (file != path && paths::exists(file)) return tell(file + QStringLiteral(" is there already."));
    }
    try {
        for (const auto& [file, text] : files) files::writeAtomically(file, text.toUtf8());
    } catch (const FileError& error) {
        tell(error.description);
    }
}

} // namespace ostrel
