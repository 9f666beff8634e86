#include "app/delivery/check_dialog.h"

#include "app/controls/controls.h"
#include "app/controls/item_delegates.h"
#include "app/controls/layouts.h"
#include "app/delivery/findings_model.h"
#include "app/delivery/fix_dialog.h"
#include "app/panels/row_menu.h"
#include "app/tables/filter_bar.h"
#include "app/tables/record_table.h"
#include "platform/desktop_services.h"
#include "platform/text/text.h"

namespace ostrel {
namespace {

constexpr std::array kReadersInOrder{Reader::anybody, Reader::avid, Reader::proTools, Reader::finalCut,
                                     Reader::archive};

QString nameOf(Reader reader) {
    switch (reader) {
    case Reader::anybody: return QStringLiteral("Everybody");
    case Reader::avid: return QStringLiteral("Avid");
    case Reader::proTools: return QStringLiteral("Pro Tools");
    case Reader::finalCut: return QStringLiteral("Final Cut");
    case Reader::archive: break;
    }
    return QStringLiteral("Archive");
}

// "0 errors": none are several.
QString counted(int count, const char* word) {
    return QStringLiteral("%1 %2").arg(count).arg(plural(word, count == 1 ? 1 : 2));
}

QString verdictOn(const std::vector<CheckedFile>& files, bool wasStopped) {
    const auto done = std::ranges::count_if(files, [](const CheckedFile& file) { return file.isDone; });
    QString text =
        QStringLiteral("%1: %2, %3, %4")
            .arg(counted(static_cast<int>(done), "recording"), counted(countOf(files, Severity::error), "error"),
                 counted(countOf(files, Severity::warning), "warning"),
                 counted(countOf(files, Severity::note), "note"));
    if (files.empty()) text = QStringLiteral("No WAV recordings are in the selection");
    if (wasStopped) text = QStringLiteral("Stopped. ") + text;
    return text;
}

} // namespace

CheckDialog::CheckDialog(const QStringList& selection, DesktopServices& desktop, QWidget* parent)
    : DeliveryDialog(QStringLiteral("Check Recordings"), desktop, parent), selection_(selection),
      findings_(new FindingsModel(this)), table_(new RecordTable(QStringLiteral("Findings"))),
      readers_(new SegmentedControl(QStringLiteral("Rules for"))), detail_(note(new SecondaryLabel)),
      copy_(pushButton(QStringLiteral("Copy"), QStringLiteral("doc.on.doc"),
                       QStringLiteral("The selected findings, or all of them, as text with tabs"))),
      save_(pushButton(QStringLiteral("Save CSV..."), QString(), QStringLiteral("All findings, one a line"))),
      fix_(pushButton(QStringLiteral("Fix Copies..."), QStringLiteral("wand"),
                      QStringLiteral("Corrected copies, where a rule has one right answer; shows each change first"))) {
    for (const Reader reader : kReadersInOrder) readers_->addSegment(nameOf(reader));
    readers_->setCurrent(0);
    connect(readers_, &SegmentedControl::chosen, this, [this](int index) {
        reader_ = kReadersInOrder[static_cast<std::size_t>(index)];
        run();
    });
    table_->setRecords(*findings_, {.filterColumns = {}, .headOf = {}, .files = [this](int row) {
                                        return QStringList{findings_->finding(row).path};
                                    }});
    RowMenu menu;
    menu.sources = [this](int row) { return QStringList{findings_->finding(row).path}; };
    addRowMenu(*table_, desktop, menu);
    table_->setItemDelegateForColumn(FindingsModel::SeverityColumn, new StatusBadge(table_));
    table_->setColumnText(FindingsModel::SeverityColumn, QStringLiteral("Warning"), 30);
    table_->setColumnText(FindingsModel::FieldColumn, QStringLiteral("bext Description TRK2"));
    table_->setColumnText(FindingsModel::FoundColumn, QStringLiteral("LF or CR alone"));
    table_->setColumnText(FindingsModel::ExpectedColumn, QStringLiteral("a fraction such as"));
    table_->setColumnText(FindingsModel::SourceColumn, QStringLiteral("EBU Tech 3285, 3.1"));
    table_->setColumnWidth(FindingsModel::FileColumn, 150);
    table_->setColumnWidth(FindingsModel::RuleColumn, 150);
    table_->setStretchColumns({FindingsModel::FileColumn, FindingsModel::RuleColumn});
    table_->setMinimumRows(6);
    detail_->setAccessibleName(QStringLiteral("What is wrong"));
    detail_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    detail_->setMinimumHeight(2 * detail_->fontMetrics().lineSpacing());
    connect(copy_, &QPushButton::clicked, this, &CheckDialog::copy);
    connect(save_, &QPushButton::clicked, this, [this] {
        saveText(QStringLiteral("Save the findings"), QStringLiteral("Findings.csv"), QStringLiteral("csv"), [this] {
            return findingsAsCsv(findings_->files()).join(QStringLiteral("\r\n")) + QStringLiteral("\r\n");
        });
    });
    connect(fix_, &QPushButton::clicked, this, &CheckDialog::fix);
    auto* row = rowLayout();
    row->addWidget(new QLabel(QStringLiteral("Rules for:")));
    row->addWidget(readers_);
    row->addStretch();
    auto* column = columnLayout();
    column->addLayout(row);
    column->addWidget(withFilter(*table_), 1);
    column->addWidget(detail_);
    connect(table_->selectionModel(), &QItemSelectionModel::currentChanged, this, &CheckDialog::showDetail);
    connect(findings_, &QAbstractItemModel::modelReset, this, &CheckDialog::showDetail);
    compose({copy_, save_, fix_}, *column);
    connect(this, &DeliveryDialog::runningChanged, this, &CheckDialog::refresh);
    resize(980, 560);
    run();
}

QCoro::Task<> CheckDialog::run() {
    const DeliveryWatch watch = begin(QStringLiteral("Looking at the recordings..."));
    table_->setEmptyText(QString());
    findings_->setFiles({});
    const auto work = [selection = selection_, reader = reader_, watch] {
        return checkFiles(recordingsOf(selection), {.reader = reader, .projectRate = {}}, watch);
    };
    std::vector<CheckedFile> files = co_await inBackground(this, work);
    const QString text = verdictOn(files, wasStopped());
    table_->setEmptyText(files.empty() ? text : QStringLiteral("Nothing was found."));
    findings_->setFiles(std::move(files));
    end(text);
    table_->setFocus();
}

void CheckDialog::refresh() {
    const bool isFree = !isRunning();
    const bool hasFindings = findings_->rowCount() > 0;
    readers_->setEnabled(isFree);
    for (QPushButton* button : {copy_, save_}) button->setEnabled(isFree && hasFindings);
    bool canFix = false;
    for (int row = 0; row < findings_->rowCount(); ++row) canFix = canFix || findings_->finding(row).rule->hasOneAnswer;
    fix_->setEnabled(isFree && canFix);
}

// The columns have no room for whole sentences.
void CheckDialog::showDetail() {
    const int row = table_->currentRecord();
    const bool isThere = row >= 0 && row < findings_->rowCount();
    const Rule* rule = isThere ? findings_->finding(row).rule : nullptr;
    detail_->setText(
        rule ? QStringLiteral("%1. (%2; %3)")
                   .arg(QString::fromUtf8(rule->says), QString::fromLatin1(rule->id), QString::fromUtf8(rule->source))
             : QString());
}

void CheckDialog::copy() {
    QList<int> rows = table_->selectedRecords();
    if (rows.size() < 2) {
        rows.clear();
        for (int row = 0; row < findings_->rowCount(); ++row) rows << row;
    }
    QStringList lines;
    for (const int row : rows) {
        QStringList cells;
        for (int column = 0; column < FindingsModel::ColumnCount; ++column)
            cells << findings_->index(row, column).data().toString();
        cells[FindingsModel::FileColumn] = findings_->finding(row).path;
        lines << cells.join(u'\t');
    }
    desktop_.setPasteboardText(lines.join(u'\n'));
}

void CheckDialog::fix() {
    QStringList files;
    for (const CheckedFile& file : findings_->files()) {
        if (std::ranges::any_of(file.findings, [](const Finding& each) { return each.rule->hasOneAnswer; }))
            files << file.path;
    }
    FixDialog(files, reader_, desktop_, this).exec();
}

} // namespace ostrel
