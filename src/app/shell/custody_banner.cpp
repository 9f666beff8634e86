#include "app/shell/custody_banner.h"

#include "app/controls/layouts.h"
#include "app/panels/tab_page.h"
#include "custody/seal_glance.h"
#include "custody/seal_notices.h"
#include "custody/seal_renewal.h"
#include "platform/background.h"
#include "platform/text/text.h"

#include <QLabel>
#include <QPushButton>

namespace ostrel {
namespace {

QStringList madeFiles(const ProvenRun& run) {
    QStringList files;
    for (const auto& [name, outcome] : run.items) {
        if (outcome.succeeded() && !outcome.wasThere) files << outcome.outputs;
    }
    return files;
}

struct Renewal {
    std::map<QString, FileStamp> files;
    std::vector<RunSeal> seals;
};

// Of those files that are not what the last renewal saw.
Renewal renewal(const QString& job, const QStringList& touched, std::map<QString, FileStamp> seen) {
    QStringList fresh;
    for (const QString& file : touched) {
        const std::optional<FileStamp> stamp = FileStamp::of(file);
        const auto before = seen.find(file);
        if (!stamp || (before != seen.end() && before->second == *stamp)) continue;
        fresh << file;
        seen.insert_or_assign(file, *stamp);
    }
    return {std::move(seen), ostrel::renewSeals(job, fresh)};
}

void tell(const RunSeal& seal, TabPage& page) {
    for (const QString& reason : seal.refused) page.note(LogLevel::error, reason);
    if (!seal.refused.isEmpty()) {
        page.note(LogLevel::error, QStringLiteral("Not sealed, nothing was written: %1").arg(seal.folder));
        return;
    }
    page.note(LogLevel::success, QStringLiteral("Seal renewed: %1, generation %2, %3 %4")
                                     .arg(seal.folder)
                                     .arg(seal.generation)
                                     .arg(seal.renewed.size())
                                     .arg(plural("file", seal.renewed.size())));
}

} // namespace

CustodyLine::CustodyLine(const QString& symbol, const QString& action, QWidget* parent)
    : Card(parent), text_(boldLabel()), place_(new TruncatingText(Qt::ElideMiddle)),
      button_(pushButton(action, symbol)) {
    // Return as well as the space bar, as in a dialog.
    button_->setAutoDefault(true);
    connect(button_, &QPushButton::clicked, this, &CustodyLine::chosen);
    auto* row = rowLayout(10);
    row->setContentsMargins(12, 6, 8, 6);
    row->addWidget(text_);
    row->addWidget(place_, 1);
    row->addWidget(button_);
    setLayout(row);
    hide();
}

void CustodyLine::appear(const QString& text, const QString& folder) {
    folder_ = folder;
    text_->setText(text);
    place_->setText(folder, true);
    setAccessibleName(text);
    show();
}

QString CustodyLine::text() const { return text_->text(); }

CustodyBanner::CustodyBanner(TabPage& page, QWidget* parent)
    : QWidget(parent), page_(page),
      sealed_(new CustodyLine(QStringLiteral("checkmark.seal.fill"), QStringLiteral("Verify"))),
      offer_(new CustodyLine(QStringLiteral("checkmark.seal.fill"), QStringLiteral("Seal..."))) {
    auto* column = columnLayout(6);
    column->setContentsMargins(kMargin, 6, kMargin, 0);
    column->addWidget(sealed_);
    column->addWidget(offer_);
    setLayout(column);
    hide();
    connect(&page, &TabPage::sourceChanged, this, [this] {
        if (page_.sourcePath() == source_) return;
        offer_->hide();
        lookAtSource();
    });
    connect(&page, &TabPage::busyChanged, this, &CustodyBanner::runChanged);
    connect(&page, &TabPage::taskEnded, this, [this] { renewSeals(); }); // an export from a dialog is no busy page
    connect(sealed_, &CustodyLine::chosen, this, [this] { act(CustodyDialog::Work::verify, sealed_->folder()); });
    connect(offer_, &CustodyLine::chosen, this, [this] { act(CustodyDialog::Work::seal, offer_->folder()); });
}

QCoro::Task<> CustodyBanner::lookAtSource() {
    source_ = page_.sourcePath();
    sealed_->hide();
    showLines();
    if (source_.isEmpty()) co_return;
    const QString source = source_;
    const auto look = [source] { return glanceAtSeal(source); };
    const std::optional<SealGlance> glance = co_await inBackground(this, look);
    if (source != source_ || !glance) co_return; // another selection came meanwhile
    sealed_->appear(glance->text(), glance->folder);
    showLines();
}

void CustodyBanner::runChanged(bool isBusy) {
    if (!isBusy) {
        offerSeal();
        renewSeals();
        return;
    }
    announce();
    standing_ = madeFiles(page_.provenRun());
    offer_->hide();
    showLines();
}

QCoro::Task<> CustodyBanner::offerSeal() {
    const QStringList made = madeFiles(page_.provenRun());
    if (made.isEmpty() || made == standing_) co_return; // a scan ended
    const QString source = source_;
    const auto find = [made, output = page_.outputFolder()] { return foldersToSeal(made, output); };
    const QStringList folders = co_await inBackground(this, find);
    if (source != source_ || page_.isRunningJob()) co_return;
    const QString text = QStringLiteral("%1 %2 written").arg(made.size()).arg(plural("file", made.size()));
    if (folders.size() == 1) {
        offer_->appear(text, folders.first());
    } else {
        offer_->appear(text + QStringLiteral(" in %1 folders").arg(folders.size()), QString());
    }
    showLines();
}

QCoro::Task<> CustodyBanner::announce() {
    const QString output = page_.outputFolder();
    const QString place = output.isEmpty() ? page_.sourcePath() : output;
    if (place.isEmpty()) co_return;
    const auto look = [place] { return sealNotices({place}, SealTouch::adds); };
    const QStringList notices = co_await inBackground(this, look);
    for (const QString& notice : notices) {
        if (announced_.contains(notice)) continue;
        announced_ << notice;
        page_.note(LogLevel::warning, notice);
    }
}

QCoro::Task<> CustodyBanner::renewSeals() {
    renewsAgain_ = true;
    if (isRenewing_) co_return;
    isRenewing_ = true;
    bool hasSealed = false;
    while (renewsAgain_) {
        renewsAgain_ = false;
        const ProvenRun run = page_.provenRun();
        std::vector<ItemOutcome> outcomes;
        for (const auto& [name, outcome] : run.items) outcomes.push_back(outcome);
        const QStringList touched = touchedRecordings(outcomes);
        if (touched.isEmpty()) continue;
        const auto work = [job = run.job, touched, seen = renewed_] { return renewal(job, touched, seen); };
        Renewal done = co_await inBackground(this, work);
        renewed_ = std::move(done.files);
        for (const RunSeal& seal : done.seals) tell(seal, page_);
        hasSealed = hasSealed || !done.seals.empty();
    }
    isRenewing_ = false;
    if (hasSealed) lookAtSource();
}

void CustodyBanner::act(CustodyDialog::Work work, const QString& folder) {
    if (keep) keep(work, folder);
    if (work == CustodyDialog::Work::verify) return;
    offer_->hide();
    lookAtSource(); // which may be sealed by now
}

void CustodyBanner::showLines() { setVisible(!sealed_->isHidden() || !offer_->isHidden()); }

} // namespace ostrel
