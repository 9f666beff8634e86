#include "app/panels/unclosed_rows.h"

#include "app/panels/copy_dialog.h"
#include "app/tables/record_table.h"
#include "foundation/run/recording_list.h"
#include "platform/background.h"
#include "platform/paths.h"
#include "rescue/rescue_file.h"

#include <QEvent>
#include <memory>

namespace ostrel {
namespace {

constexpr int kLookAgain = 150; // milliseconds behind the last change of what is in sight

} // namespace

UnclosedRows::UnclosedRows(RecordTable& table, std::function<QStringList(int record)> sources)
    : QObject(&table), table_(table), sources_(std::move(sources)) {
    soon_.setSingleShot(true);
    soon_.setInterval(kLookAgain);
    connect(&soon_, &QTimer::timeout, this, &UnclosedRows::look);
    table.viewport()->installEventFilter(this);
    table.rows()->setNotes([this](int record) { return badgeOf(record); });
}

bool UnclosedRows::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint && !soon_.isActive()) soon_.start();
    return QObject::eventFilter(watched, event);
}

QString UnclosedRows::badgeOf(int record) const {
    if (badges_.isEmpty()) return {};
    for (const QString& file : sources_(record)) {
        const QString badge = badges_.value(file);
        if (!badge.isEmpty()) return badge;
    }
    return {};
}

QStringList UnclosedRows::unclosed(const QStringList& files) const {
    QStringList result;
    for (const QString& file : files) {
        if (!badges_.value(file).isEmpty()) result << file;
    }
    return result;
}

void UnclosedRows::look() {
    const int count = table_.model() ? table_.model()->rowCount() : 0;
    if (count == 0 || !table_.isVisible()) return;
    const int first = std::max(0, table_.rowAt(0));
    const int last = table_.rowAt(table_.viewport()->height() - 1);
    QStringList files;
    for (int row = first; row <= (last < 0 ? count - 1 : last); ++row) {
        for (const QString& file : sources_(table_.rows()->recordOf(row))) {
            if (badges_.contains(file) || !waveFileExtensions().contains(paths::lowerExtension(file))) continue;
            badges_.insert(file, QString());
            files << file;
        }
    }
    if (!files.isEmpty()) diagnose(files);
}

void UnclosedRows::diagnose(const QStringList& files) {
    backgroundPool().start([files, hop = MainThreadHop(this), this] {
        QHash<QString, QString> told;
        for (const QString& file : files) {
            const Diagnosis diagnosis = ostrel::diagnose(file.toStdString());
            if (diagnosis.kind != Diagnosis::Kind::unclosed) continue;
            told.insert(file, QString::fromStdString(ostrel::badgeOf(diagnosis)));
        }
        if (told.isEmpty()) return;
        hop([told, this] {
            badges_.insert(told);
            table_.viewport()->update();
            for (const auto& [file, badge] : told.asKeyValueRange()) Q_EMIT found(file);
        });
    });
}

void rescueCopies(const QStringList& files, RecordTable& table, DesktopServices& desktop) {
    const QString folder =
        chosenFolder(desktop, QStringLiteral("Folder for the rescued copies"), QStringLiteral("Rescue"));
    if (folder.isEmpty()) return;
    struct Run {
        explicit Run(const QStringList& sources) : ledger(sources) {}
        RunLedger ledger;
        RescueOptions options;
        std::vector<RescueItem> items;
    };
    const auto run = std::make_shared<Run>(files);
    run->options.outputFolder = folder;
    CopyDialog dialog(
        QStringLiteral("Rescue a Copy"), files,
        [run, files](qsizetype index, const CopyDialog::Progress& progress) {
            run->items.push_back(rescueFile(files[index], run->options, run->ledger, progress));
        },
        &table);
    dialog.exec();
    QStringList copies;
    QStringList others;
    for (const RescueItem& item : run->items) {
        if (item.status == RescueStatus::rescued) {
            copies << item.output;
        } else {
            others << linesOf(item, false);
        }
    }
    tellCopies(desktop, QStringLiteral("rescued"), copies, others);
}

} // namespace ostrel
