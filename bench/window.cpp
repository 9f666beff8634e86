// The window with 20,000 rows in every list: what a scrolled frame, a sort, unfolding all and one changed status cost,
// how soon the window is painted, and what it does while nothing happens. Absolute times, since there is no bare tool
// to compare with; the goals are a display's frame (16 ms) and half a second.
#include "app/interleaver/items_section.h"
#include "app/poly/batch/batch_poly_list.h"
#include "app/poly/batch/batch_poly_model.h"
#include "app/poly/join/group_review_view.h"
#include "app/poly/join/group_tree.h"
#include "app/poly/join/iso_list_section.h"
#include "app/poly/join/poly_join_view.h"
#include "app/poly/poly_tools_tab_view.h"
#include "app/poly/split/poly_split_view.h"
#include "app/shell/main_tab_view.h"
#include "app/shell/ostrel_app.h"
#include "app/tables/record_table.h"
#include "app/validator/stereo_validator_tab_view.h"
#include "app/validator/validator_results_model.h"
#include "platform/diagnostics.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QElapsedTimer>
#include <QPaintEvent>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace ostrel {
namespace {

constexpr int kRows = 20'000;

class PaintMeter : public QObject {
public:
    QRegion painted;
    int paints = 0;
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::Paint) return false;
        painted += static_cast<QPaintEvent*>(event)->region();
        ++paints;
        return false;
    }
};

void settle() {
    for (int turn = 0; turn < 5; ++turn) QCoreApplication::processEvents();
}

double seconds(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Since the kernel started this process.
double processAge() {
    QFile file(QStringLiteral("/proc/self/stat"));
    if (!file.open(QIODevice::ReadOnly)) return 0;
    const QByteArray stat = file.readAll();
    const auto fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    return seconds(CLOCK_BOOTTIME) - fields[19].toDouble() / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

void report(const char* what, double milliseconds, const char* goal) {
    std::printf("%-58s %8.2f ms   goal %s\n", what, milliseconds, goal);
}

std::vector<InterleaveGroup> groups() {
    std::vector<InterleaveGroup> groups(kRows);
    for (int row = 0; row < kRows; ++row) {
        InterleaveGroup& group = groups[static_cast<std::size_t>(row)];
        group.baseName = QStringLiteral("A recording with a name of usual length %1").arg(row);
        for (const QString& tag : ChannelLayout::film71.channelTags) {
            group.channelFiles[tag] = QStringLiteral("/library/%1.%2.wav").arg(group.baseName, tag);
        }
        group.status = row % 3 ? ProcessingStatus::ready() : ProcessingStatus::completed();
        group.outputURL = QStringLiteral("/library/Interleaved/%1.wav").arg(group.baseName);
        group.sampleRate = 48000;
        group.bitDepth = 24;
        group.duration = 60 + row % 600;
    }
    return groups;
}

std::vector<StereoValidatorResult> results() {
    std::vector<StereoValidatorResult> results(kRows);
    for (int row = 0; row < kRows; ++row) {
        StereoValidatorResult& result = results[static_cast<std::size_t>(row)];
        result.filepath = QStringLiteral("/library/Recording %1.wav").arg((row * 7919) % kRows);
        result.classification = kAllStereoClassifications[static_cast<std::size_t>(row % 10)];
        result.correlation = (row * 31 % 2000) / 1000.0 - 1;
        result.confidence = row * 17 % 101;
    }
    return results;
}

std::vector<BatchPolyMetadata> polys() {
    std::vector<BatchPolyMetadata> polys(kRows);
    for (int row = 0; row < kRows; ++row) {
        BatchPolyMetadata& poly = polys[static_cast<std::size_t>(row)];
        poly.baseName = QStringLiteral("A poly with a name of usual length %1").arg(row);
        poly.url = QStringLiteral("/takes/%1.wav").arg(poly.baseName);
        poly.channelCount = 8;
        poly.sampleRate = 48000;
    }
    return polys;
}

std::vector<ISOFile> isos(int count, int firstNumber = 0) {
    std::vector<ISOFile> isos(static_cast<std::size_t>(count));
    for (int at = 0; at < count; ++at) {
        ISOFile& iso = isos[static_cast<std::size_t>(at)];
        iso.fileName = QStringLiteral("Take_%1.wav").arg(firstNumber + at);
        iso.url = QStringLiteral("/isos/") + iso.fileName;
    }
    return isos;
}

std::vector<ISOGroupCandidate> takes() {
    constexpr int kIsos = 10; // a take
    std::vector<ISOGroupCandidate> takes(kRows / kIsos);
    for (std::size_t at = 0; at < takes.size(); ++at) {
        takes[at].scene = QStringLiteral("12A");
        takes[at].take = QString::number(at);
        takes[at].isoFiles = isos(kIsos, static_cast<int>(at) * kIsos);
    }
    return takes;
}

// In milliseconds, with all that follows from it.
template <class Action>
double timed(Action action) {
    QElapsedTimer timer;
    timer.start();
    action();
    settle();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

void measureScrolling(const char* what, QAbstractItemView& table) {
    QScrollBar* bar = table.verticalScrollBar();
    constexpr int kFrames = 200;
    double worst = 0;
    double total = 0;
    for (int frame = 0; frame < kFrames; ++frame) {
        QElapsedTimer timer;
        timer.start();
        bar->setValue(static_cast<int>(static_cast<qint64>(bar->maximum()) * frame / kFrames));
        table.viewport()->repaint();
        settle();
        const double spent = static_cast<double>(timer.nsecsElapsed()) / 1e6;
        worst = std::max(worst, spent);
        total += spent;
    }
    report(what, total / kFrames, "16 ms");
    report("  the slowest of 200", worst, "16 ms");
}

// Every column upwards and downwards, and a filter that is typed letter by letter. Painted, and ready for the next.
void measureFinding(RecordTable& table) {
    double worst = 0;
    double total = 0;
    const int columns = table.rows()->columnCount();
    for (int turn = 0; turn < 2 * columns; ++turn) {
        const double spent = timed([&] {
            table.sortByColumn(turn / 2, turn % 2 ? Qt::DescendingOrder : Qt::AscendingOrder);
            table.viewport()->repaint();
        });
        worst = std::max(worst, spent);
        total += spent;
    }
    report("  sorted by a column", total / (2 * columns), "16 ms");
    report("  the slowest of them", worst, "16 ms");
    table.sortByColumn(-1, Qt::AscendingOrder);
    for (const char* text : {"1", "19", "199", ""}) {
        const double spent = timed([&] {
            table.rows()->setFilter(QString::fromLatin1(text));
            table.viewport()->repaint();
        });
        report((std::string("  filtered by \"") + text + '"').c_str(), spent, "16 ms");
    }
}

void measureInterleaver(OstrelApp& app) {
    app.appViewModel().selectedLayout = ChannelLayout::film71;
    QElapsedTimer timer;
    timer.start();
    app.appViewModel().interleaveGroups.assign(groups());
    settle();
    report("20,000 groups taken over and shown", static_cast<double>(timer.nsecsElapsed()) / 1e6, "-");
    RecordTable& table = app.window().findChild<ItemsSection*>()->table();
    measureScrolling("Interleaver, a scrolled frame", table);
    measureFinding(table);
    table.verticalScrollBar()->setValue(0);
    settle();
    PaintMeter meter;
    table.viewport()->installEventFilter(&meter);
    timer.start();
    for (int turn = 0; turn < 100; ++turn) {
        app.appViewModel().interleaveGroups.update(1, [turn](InterleaveGroup& group) {
            group.status = turn % 2 ? ProcessingStatus::processing() : ProcessingStatus::completed();
        });
        settle();
    }
    report("one changed status, with repaint and counters", static_cast<double>(timer.nsecsElapsed()) / 1e8, "16 ms");
    const QRect box = meter.painted.boundingRect();
    std::printf("  painted for it: %d x %d of %d x %d\n", box.width(), box.height(), table.viewport()->width(),
                table.viewport()->height());
}

void measurePolyTools(OstrelApp& app) {
    PolyToolsViewModel& model = app.polyTools();
    auto* view = app.window().findChild<PolyToolsTabView*>();
    app.window().selectedTab = AppTab::polyTools;
    model.mode = PolyMode::split;
    model.batchMode = true;
    settle();
    BatchPolyList& batch = view->splitView().batch();
    report("20,000 polys taken over and shown", timed([&] { model.batchPolyMetadata.assign(polys()); }), "-");
    measureFinding(batch.table());
    report("all unfolded, eight channels each", timed([&] { batch.model().setAllExpanded(true); }), "-");
    measureScrolling("Poly Tools' batch, a scrolled frame", batch.table());

    model.mode = PolyMode::join;
    settle();
    report("20,000 ISOs taken over and shown", timed([&] { model.isoFiles.assign(isos(kRows)); }), "-");
    measureScrolling("Poly Tools' ISOs, a scrolled frame", view->joinView().isos().table());

    model.showGroupReview = true;
    settle();
    GroupTree& tree = view->joinView().review().tree();
    report("2,000 groups of ten taken over and shown", timed([&] { model.reviewedGroups.assign(takes()); }), "-");
    report("all of them unfolded", timed([&] { tree.unfoldAll(true); }), "-");
    measureScrolling("Poly Tools' review, a scrolled frame", tree);
}

void measureValidator(OstrelApp& app) {
    app.window().selectedTab = AppTab::stereoValidator;
    app.stereoValidator().analysisResults.assign(results());
    settle();
    auto* view = app.window().findChild<StereoValidatorTabView*>();
    measureScrolling("Stereo Validator, a scrolled frame", view->table());
    measureFinding(view->table());
}

} // namespace
} // namespace ostrel

int main(int argc, char** argv) {
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    qputenv("XDG_CACHE_HOME", home.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("SDL_AUDIODRIVER", "dummy");
    ostrel::setDiagnosticStream(ostrel::DiagnosticStream::nowhere);
    QApplication application(argc, argv);
    ostrel::OstrelApp::prepare();
    ostrel::OstrelApp app({QStringLiteral("0"), {}, {}, {}});
    ostrel::PaintMeter meter;
    app.window().centralWidget()->installEventFilter(&meter);
    app.show(ostrel::AppTab::interleave);
    while (meter.paints == 0) QCoreApplication::processEvents();
    ostrel::report("start of the process to first paint", ostrel::processAge() * 1000, "500 ms");

    ostrel::measureInterleaver(app);
    ostrel::measurePolyTools(app);
    ostrel::measureValidator(app);

    const double before = ostrel::seconds(CLOCK_PROCESS_CPUTIME_ID);
    QTimer::singleShot(3000, &application, &QCoreApplication::quit);
    QApplication::exec();
    const double used = ostrel::seconds(CLOCK_PROCESS_CPUTIME_ID) - before;
    std::printf("%-58s %8.3f %%    goal 0\n", "processor time while idle, over 3 s", used / 3 * 100);
    return 0;
}
