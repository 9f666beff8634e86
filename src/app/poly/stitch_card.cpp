#include "app/poly/stitch_card.h"

#include "app/controls/layouts.h"
#include "app/panels/copy_dialog.h"
#include "foundation/run/recording_list.h"
#include "platform/background.h"
#include "platform/desktop_services.h"
#include "platform/paths.h"
#include "stitch/stitch_file.h"

#include <QLabel>
#include <QPushButton>
#include <algorithm>
#include <array>
#include <memory>

namespace ostrel {
namespace {

QString countWord(std::size_t count) {
    static constexpr std::array kWords{"", "", "two", "three", "four", "five", "six", "seven", "eight", "nine"};
    return count < kWords.size() ? QString::fromLatin1(kWords[count]) : QString::number(count);
}

std::vector<Series> seriesIn(const QStringList& source) {
    const CollectedRecordings found =
        collectRecordings(source, true, waveFileExtensions(), files::HiddenEntries::leftOut, Leftovers::left);
    std::vector<Part> parts;
    for (const QString& file : found.files) parts.push_back(readPart(file));
    std::vector<Series> result = seriesOf(parts);
    std::erase_if(result, [](const Series& series) { return series.parts.size() < 2; });
    return result;
}

std::vector<Series> exactOnes(const std::vector<Series>& series) {
    std::vector<Series> result;
    std::ranges::copy_if(series, std::back_inserter(result), &Series::isExact);
    return result;
}

} // namespace

StitchCard::StitchCard(DesktopServices& desktop, QWidget* parent)
    : Card(parent), desktop_(desktop), text_(boldLabel()), place_(new TruncatingText(Qt::ElideMiddle)),
      button_(pushButton(QStringLiteral("Stitch..."), QStringLiteral("square.stack.3d.up"))) {
    button_->setAutoDefault(true);
    connect(button_, &QPushButton::clicked, this, &StitchCard::stitch);
    auto* row = rowLayout(10);
    row->setContentsMargins(12, 6, 8, 6);
    row->addWidget(text_);
    row->addWidget(place_, 1);
    row->addWidget(button_);
    setLayout(row);
    hide();
}

QString StitchCard::text() const { return text_->text(); }

void StitchCard::look(const QStringList& source) {
    if (source == source_) return;
    source_ = source;
    hide();
    if (!source.isEmpty()) find(source);
}

QCoro::Task<> StitchCard::find(QStringList source) {
    const auto work = [source] { return seriesIn(source); };
    std::vector<Series> found = co_await inBackground(this, work);
    if (source != source_ || found.empty()) co_return; // another selection came meanwhile
    series_ = std::move(found);
    const std::vector<Series> exact = exactOnes(series_);
    QStringList names;
    for (const Part& part : series_.front().parts) names << paths::lastComponent(part.path);
    QString text = seriesText(series_.front());
    if (series_.size() > 1) text += QStringLiteral(" and %1 more").arg(series_.size() - 1);
    text_->setText(text);
    place_->setText(names.join(QStringLiteral(" + ")), true);
    button_->setEnabled(!exact.empty());
    setAccessibleName(text);
    setVisible(true);
}

void StitchCard::stitch() {
    const std::vector<Series> exact = exactOnes(series_);
    const QString folder =
        chosenFolder(desktop_, QStringLiteral("Folder for the stitched files"), QStringLiteral("Stitch"));
    if (folder.isEmpty() || exact.empty()) return;
    struct Run {
        explicit Run(const QStringList& sources) : ledger(sources) {}
        RunLedger ledger;
        std::vector<StitchItem> items;
    };
    QStringList sources;
    QStringList names;
    for (const Series& series : exact) {
        names << seriesText(series);
        for (const Part& part : series.parts) sources << part.path;
    }
    const auto run = std::make_shared<Run>(sources);
    const StitchOptions options{.outputFolder = folder};
    CopyDialog dialog(
        QStringLiteral("Stitch"), names,
        [run, exact, options](qsizetype index, const CopyDialog::Progress& progress) {
            const Series& series = exact[static_cast<std::size_t>(index)];
            run->items.push_back(stitchSeries(series, {}, options, run->ledger, progress));
        },
        this);
    dialog.exec();
    QStringList copies;
    QStringList others;
    for (const StitchItem& item : run->items) {
        if (item.status == StitchStatus::stitched) copies << item.output;
        others << (item.status == StitchStatus::stitched ? item.warnings : linesOf(item, false));
    }
    tellCopies(desktop_, QStringLiteral("stitched"), copies, others);
}

QString seriesText(const Series& series) {
    const Part& first = series.parts.front();
    const QString take = first.take.isEmpty() ? paths::stem(first.path) : QStringLiteral("Take %1").arg(first.take);
    const auto off = std::ranges::find_if(series.seams, [](Seam seam) { return seam != 0; });
    const QString fit = !series.ambiguity.isEmpty() ? series.ambiguity
                        : off == series.seams.end() ? QStringLiteral("sample-exact")
                                                    : seamText(*off);
    return QStringLiteral("%1, %2 parts, %3").arg(take, countWord(series.parts.size()), fit);
}

} // namespace ostrel
