// The window with 20,000 rows: what a scrolled frame, a sort and one changed status cost, how soon the window is
// painted, and what it does while nothing happens. Absolute times, since there is no bare tool to compare with; the
// goals are a display's frame (16 ms) and half a second.
#include "app/controls/record_table.h"
#include "app/interleaver/items_section.h"
#include "app/poly/batch/batch_poly_list.h"
#include "app/poly/join/group_review_view.h"
#include "app/poly/join/group_tree.h"
#include "app/poly/join/poly_join_view.h"
#include "app/poly/split/poly_split_view.h"
#include "app/shell/main_tab_view.h"
#include "app/shell/ostrel_app.h"
#include "app/validator/stereo_validator_tab_view.h"
#include "app/validator/validator_results_model.h"
#include "platform/diagnostics.h"

#include <QAbstractButton>
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

void measureScrolling(const char* what, RecordTable& table) {
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

void measureInterleaver(OstrelApp& app) {
    app.appViewModel().selectedLayout = ChannelLayout::film71;
    QElapsedTimer timer;
    timer.start();
    app.appViewModel().interleaveGroups.assign(groups());
    settle();
    report("20,000 groups taken over and shown", static_cast<double>(timer.nsecsElapsed()) / 1e6, "-");
    RecordTable& table = app.window().findChild<ItemsSection*>()->table();
    measureScrolling("Interleaver, a scrolled frame", table);
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

void measureValidator(OstrelApp& app) {
    app.window().selectedTab = AppTab::stereoValidator;
    app.stereoValidator().analysisResults.assign(results());
    settle();
    auto* view = app.window().findChild<StereoValidatorTabView*>();
    measureScrolling("Stereo Validator, a scrolled frame", view->table());
    const std::pair<SortOrder, const char*> orders[] = {{SortOrder::classification, "sorted by classification"},
                                                        {SortOrder::correlation, "sorted by correlation"},
                                                        {SortOrder::confidence, "sorted by confidence"},
                                                        {SortOrder::filename, "sorted by file name"}};
    for (const auto& [order, what] : orders) {
        QElapsedTimer timer;
        timer.start();
        view->results().chooseSortOrder(order);
        view->table().viewport()->repaint();
        report(what, static_cast<double>(timer.nsecsElapsed()) / 1e6, "16 ms");
    }
}

std::vector<BatchPolyMetadata> polys() {
    std::vector<BatchPolyMetadata> rows(kRows);
    for (int index = 0; index < kRows; ++index) {
        BatchPolyMetadata& row = rows[static_cast<std::size_t>(index)];
        row.baseName = QStringLiteral("Take %1").arg(index);
        row.url = QStringLiteral("/takes/%1.wav").arg(row.baseName);
        row.channelCount = 8;
        row.sampleRate = 48'000;
    }
    return rows;
}

template <class Work>
void measure(const char* what, const char* goal, Work work) {
    QElapsedTimer timer;
    timer.start();
    work();
    settle();
    report(what, static_cast<double>(timer.nsecsElapsed()) / 1e6, goal);
}

void clickNamed(const QWidget& view, const QString& accessibleName) {
    for (QAbstractButton* button : view.findChildren<QAbstractButton*>()) {
        if (button->isVisible() && button->accessibleName() == accessibleName) return button->click();
    }
    std::printf("no button named %s\n", qPrintable(accessibleName));
}

void measureSplit(OstrelApp& app) {
    PolyToolsViewModel& tools = app.polyTools();
    app.window().selectedTab = AppTab::polyTools;
    tools.batchMode = true;
    settle();
    PolySplitView& view = *app.window().findChild<PolySplitView*>();
    measure("20,000 polys of 8 channels shown", "500 ms", [&] { tools.batchPolyMetadata.assign(polys()); });
    measure("all unfolded, 180,000 lines", "500 ms", [&] { clickNamed(view, QStringLiteral("Expand All")); });
    measureScrolling("Poly Tools, a scrolled frame", view.batch().table());
    measure("1,000 changed previews", "-", [&] {
        for (std::size_t row = 0; row < 1000; ++row)
            tools.batchPolyMetadata.update(row, [](BatchPolyMetadata& poly) { poly.isPreviewReady = true; });
    });
    measure("all folded", "500 ms", [&] { clickNamed(view, QStringLiteral("Collapse All")); });
}

void measureReview(OstrelApp& app) {
    std::vector<ISOGroupCandidate> groups(2000);
    for (std::size_t number = 0; number < groups.size(); ++number) {
        ISOGroupCandidate& group = groups[number];
        group.scene = QStringLiteral("S");
        group.take = QString::number(number);
        for (int track = 0; track < 10; ++track) {
            ISOFile iso;
            iso.fileName = QStringLiteral("S-T%1_%2.wav").arg(number).arg(track);
            group.isoFiles.push_back(iso);
        }
    }
    PolyToolsViewModel& tools = app.polyTools();
    tools.mode = PolyMode::join;
    tools.showGroupReview = true;
    settle();
    GroupReviewView& view = app.window().findChild<PolyJoinView*>()->review();
    measure("2,000 groups of 10 ISOs shown", "500 ms", [&] { tools.reviewedGroups.assign(groups); });
    measure("all unfolded", "500 ms", [&] { clickNamed(view, QStringLiteral("Expand All")); });
    QScrollBar* bar = view.tree().verticalScrollBar();
    measure("100 places scrolled to", "1600 ms", [&] {
        for (int place = 0; place < 100; ++place) {
            bar->setValue(bar->maximum() / 100 * place);
            settle();
        }
    });
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
    ostrel::measureValidator(app);
    ostrel::measureSplit(app);
    ostrel::measureReview(app);

    const double before = ostrel::seconds(CLOCK_PROCESS_CPUTIME_ID);
    QTimer::singleShot(3000, &application, &QCoreApplication::quit);
    QApplication::exec();
    const double used = ostrel::seconds(CLOCK_PROCESS_CPUTIME_ID) - before;
    std::printf("%-58s %8.3f %%    goal 0\n", "processor time while idle, over 3 s", used / 3 * 100);
    return 0;
}
