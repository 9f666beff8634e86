// Pictures of the window at work: ostrel-screenshots SAMPLES OUTPUT WIDTH HEIGHT [STATE...]
// SAMPLES is a folder made by `ostrel-cli samples`, which the jobs that are shown write into.
#include "app/controls/alert_dialog.h"
#include "app/controls/item_roles.h"
#include "app/desktop/open_panel.h"
#include "app/interleaver/items_section.h"
#include "app/panels/activity_footer.h"
#include "app/panels/help_texts.h"
#include "app/panels/log_popover_view.h"
#include "app/poly/batch/batch_poly_list.h"
#include "app/poly/batch/batch_poly_model.h"
#include "app/poly/edit/batch_channel_removal_config_view.h"
#include "app/poly/edit/poly_edit_view.h"
#include "app/poly/join/group_picker.h"
#include "app/poly/join/group_review_view.h"
#include "app/poly/join/group_tree.h"
#include "app/poly/join/group_tree_model.h"
#include "app/poly/join/iso_list_section.h"
#include "app/poly/join/poly_join_view.h"
#include "app/poly/poly_tools_tab_view.h"
#include "app/poly/split/poly_split_view.h"
#include "app/shell/main_tab_view.h"
#include "app/shell/ostrel_app.h"
#include "app/tables/record_table.h"
#include "app/validator/clean_export_dialog_view.h"
#include "app/validator/stereo_validator_tab_view.h"
#include "app/validator/validator_settings.h"
#include "preview/playback_manager.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QTimer>
#include <chrono>
#include <cstdio>

namespace ostrel {
namespace {

void waitUntil(const std::function<bool()>& condition) {
    const QDeadlineTimer deadline(60'000);
    QTimer wake;
    wake.start(std::chrono::milliseconds(5));
    while (!condition() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    for (int turn = 0; turn < 5; ++turn) QCoreApplication::processEvents();
}

class Photographer {
public:
    Photographer(const QString& samples, const QString& output, const QSize& size, const QStringList& states)
        : app_({QStringLiteral("0.1.0"), {}, {}, {}}), samples_(samples), output_(output), states_(states) {
        app_.show(AppTab::interleave, 0);
        app_.polyTools().mode = PolyMode::split;
        waitUntil([this] { return app_.window().isActiveWindow(); }); // by then it was fitted to the screen
        app_.window().resize(size);
    }

    void run() {
        const QString shade = app_.appViewModel().appearance.value() == Appearance::dark ? QStringLiteral("dark")
                                                                                         : QStringLiteral("light");
        shade_ = shade;
        interleaver();
        deinterleave();
        polySplit();
        join();
        polyEdit();
        validator();
        dialogs();
    }

private:
    AppViewModel& interleaverModel() { return app_.appViewModel(); }
    void waitForJob() {
        waitUntil([this] { return !interleaverModel().hasRunningTask(); });
    }

    void take(const QString& state, QWidget* widget = nullptr) {
        if (!states_.isEmpty() && !states_.contains(state)) return;
        for (int turn = 0; turn < 5; ++turn) QCoreApplication::processEvents();
        const QPixmap picture = (widget ? widget : &app_.window())->grab();
        const QString path = QStringLiteral("%1/%2-%3.png").arg(output_, state, shade_);
        if (!picture.save(path)) std::fprintf(stderr, "cannot write %s\n", qUtf8Printable(path));
    }

    void preview(const QString& name) {
        auto* items = app_.window().findChild<ItemsSection*>();
        RecordTable& table = items->table();
        for (int row = 0; row < table.model()->rowCount(); ++row) {
            if (table.model()->index(row, NameColumn).data().toString() == name) table.selectRow(row);
        }
        PlaybackManager& playback = interleaverModel().playbackManager();
        waitUntil([&] {
            return playback.engine().isLoaded.value() && !playback.isGeneratingWaveform.value() &&
                   !playback.isGeneratingStereoPreview.value();
        });
        waitUntil([&] { return !playback.isGeneratingWaveform.value(); });
        playback.engine().seek(playback.engine().duration.value() * 0.37);
    }

    void interleaver() {
        take(QStringLiteral("empty"));
        app_.window().handleGlobalDrop({samples_ + QStringLiteral("/pairs")});
        app_.window().currentPage().scan();
        waitForJob();
        take(QStringLiteral("scanned"));
        app_.window().currentPage().run();
        waitUntil([this] { return interleaverModel().progress.value() > 0.3; });
        take(QStringLiteral("running"));
        waitForJob();
        preview(QStringLiteral("Rain Roof"));
        take(QStringLiteral("interleaver"));
        auto* footer = app_.window().currentPage().findChild<ActivityFooter*>();
        footer->showLogPopover();
        take(QStringLiteral("log"), footer->popover());
        footer->popover()->dismiss();
        interleaverModel().showOptions = false;
        take(QStringLiteral("folded"));
        interleaverModel().showOptions = true;
        interleaverModel().toolDetector().bwfmetaeditAvailable = false;
        take(QStringLiteral("banner"));
        interleaverModel().toolDetector().bwfmetaeditAvailable = true;
    }

    void deinterleave() {
        interleaverModel().currentMode = AppMode::deinterleave;
        interleaverModel().selectedLayout = ChannelLayout::film51;
        app_.window().handleGlobalDrop({samples_ + QStringLiteral("/interleaved")});
        app_.window().currentPage().scan();
        waitForJob();
        if (!interleaverModel().deinterleaveSources.empty()) preview(QStringLiteral("Crowd 5.1-film.wav"));
        take(QStringLiteral("deinterleave"));
        interleaverModel().currentMode = AppMode::interleave;
    }

    PolyToolsViewModel& polyTools() { return app_.polyTools(); }
    void waitForPolyTools() {
        waitUntil([this] { return !polyTools().hasRunningTask(); });
    }

    PolySplitView& splitView() { return app_.window().findChild<PolyToolsTabView*>()->splitView(); }
    void openPolys(const QString& path) {
        app_.window().handleGlobalDrop({samples_ + path});
        waitForPolyTools();
        polyTools().splitOutputFolder = samples_ + QStringLiteral("/ISOs");
    }

    void polySplit() {
        app_.window().selectedTab = AppTab::polyTools;
        polyTools().mode = PolyMode::split;
        take(QStringLiteral("split-empty"));
        openPolys(QStringLiteral("/polys/7C-T01.wav"));
        take(QStringLiteral("split-loaded"));
        polyTools().splitKeepOriginalName = true;
        take(QStringLiteral("split-kept-name"));
        polyTools().splitKeepOriginalName = false;
        polyTools().split().run();
        waitUntil([this] { return polyTools().splitProgress.value() > 0.3; });
        take(QStringLiteral("split-running"));
        waitForPolyTools();
        polyTools().preview().channels().selectChannelForPlayback(2);
        polyTools().preview().mixer()->pause();
        polyTools().preview().mixer()->seek(0.8);
        take(QStringLiteral("split"));
        splitBatch();
    }

    void splitBatch() {
        openPolys(QStringLiteral("/polys"));
        take(QStringLiteral("split-batch-loaded"));
        polyTools().split().runBatch();
        waitUntil([this] {
            return polyTools().batchProgress.value() && polyTools().batchProgress.value()->currentIndex > 1;
        });
        take(QStringLiteral("split-batch-running"));
        waitForPolyTools();
        splitView().batch().model().setExpanded(1, true);
        polyTools().preview().batch().playBatchChannel(1, 2);
        waitForPolyTools();
        polyTools().preview().mixer()->pause();
        polyTools().preview().mixer()->seek(0.8);
        take(QStringLiteral("split-batch"));
    }

    void join() {
        app_.window().selectedTab = AppTab::polyTools;
        polyTools().mode = PolyMode::join;
        take(QStringLiteral("join-empty"));
        QStringList isos;
        for (const auto* track : {u"MixL", u"MixR", u"Boom", u"Lav1"})
            isos << QStringLiteral("%1/isos/14A-T1_%2.wav").arg(samples_, QString::fromUtf16(track));
        app_.window().handleGlobalDrop(isos);
        waitForPolyTools();
        auto* view = app_.window().findChild<PolyJoinView*>();
        view->isos().table().selectRow(2);
        polyTools().preview().join().selectISOForPlayback(2);
        polyTools().preview().mixer()->pause();
        polyTools().isoFiles.update(3, [](ISOFile& file) { file.sampleRate = 96000; });
        take(QStringLiteral("join"));
        polyTools().join().clear();
        app_.window().handleGlobalDrop({samples_ + QStringLiteral("/isos"), samples_ + QStringLiteral("/pile")});
        waitForPolyTools();
        take(QStringLiteral("join-review"));
        joinReviewed(view->review());
    }

    void joinReviewed(GroupReviewView& review) {
        GroupTreeModel& groups = review.groups();
        const QModelIndex last = groups.index(groups.rowCount() - 1, 0);
        polyTools().review().deleteGroups({groups.group(last).id});
        const QModelIndex first = groups.index(0, 0);
        review.tree().unfold(first, true);
        polyTools().preview().join().previewGroupISO(groups.group(first), 1);
        polyTools().preview().mixer()->pause();
        review.tree().setCurrentIndex(groups.index(2, 0, first));
        polyTools().joinOutputFolder = samples_ + QStringLiteral("/joined");
        app_.window().currentPage().run();
        waitForPolyTools();
        take(QStringLiteral("join-reviewed"));
        for (auto* button : review.findChildren<QAbstractButton*>()) {
            if (button->accessibleName() == QStringLiteral("Move to Group...")) button->click();
        }
        take(QStringLiteral("join-picker"), review.picker());
        if (review.picker()) review.picker()->close();
    }

    void polyEdit() {
        PolyToolsViewModel& model = polyTools();
        model.mode = PolyMode::editPoly;
        model.source().clear();
        model.edit().clear();
        take(QStringLiteral("edit-empty"));
        openPolys(QStringLiteral("/polys"));
        model.splitOutputFolder = samples_ + QStringLiteral("/Edited");
        PolyEditView& view = app_.window().findChild<PolyToolsTabView*>()->editView();
        PublishedEdits& edits = view.edits();
        edits.numbersText = QStringLiteral("1, 2");
        edits.removes = true;
        edits.reorders = true;
        model.edit().moveChannelUp(2);
        take(QStringLiteral("edit-reorder"));
        edits.reorders = false;
        edits.newNames = ChannelEdits::NewNames{{3, QStringLiteral("Room Left")}, {5, QStringLiteral("Kick In")}};
        edits.renames = true;
        edits.namesText = QStringLiteral("Mix");
        edits.filterMode = FilterMode::byName;
        take(QStringLiteral("edit-rename"));
        BatchChannelRemovalConfigView dialog(edits, &app_.window());
        dialog.show();
        take(QStringLiteral("edit-dialog"), &dialog);
        dialog.hide();
        model.editPolyEditInPlace = true;
        take(QStringLiteral("edit-in-place"));
        model.editPolyEditInPlace = false;
        model.edit().run();
        waitUntil([&] { return model.batchProgress.value() && model.batchProgress.value()->currentIndex > 1; });
        take(QStringLiteral("edit-running"));
        waitForPolyTools();
        view.polys().model().setExpanded(0, true);
        take(QStringLiteral("edit"));
    }

    void validator() {
        app_.window().selectedTab = AppTab::stereoValidator;
        take(QStringLiteral("validator-empty"));
        app_.window().handleGlobalDrop({samples_ + QStringLiteral("/validator")});
        app_.window().currentPage().scan();
        waitUntil([this] { return !app_.stereoValidator().isAnalyzing.value(); });
        auto* view = app_.window().findChild<StereoValidatorTabView*>();
        view->table().selectRow(1);
        take(QStringLiteral("validator"));
        app_.window().findChild<ValidatorSettings*>()->showAdvanced = true;
        take(QStringLiteral("thresholds"));
        app_.stereoValidator().showCleanExportDialog = true;
        take(QStringLiteral("clean-export"), view->cleanExportDialog());
        app_.stereoValidator().addMonoSuffix = false;
        app_.stereoValidator().allowOverwrite = true;
        take(QStringLiteral("destructive"), view->cleanExportDialog());
        app_.stereoValidator().showCleanExportDialog = false;
    }

    void dialogs() {
        AlertRequest request;
        request.title = QStringLiteral("Stereo Validator");
        request.text = aboutStereoValidatorText();
        AlertDialog alert(request);
        alert.show();
        take(QStringLiteral("about"), &alert);
        OpenPanelRequest panelRequest;
        panelRequest.canChooseFolders = true;
        panelRequest.canCreateFolders = true;
        panelRequest.allowsMultipleSelection = true;
        panelRequest.message = QStringLiteral("Select audio files or folders to process");
        panelRequest.prompt = QStringLiteral("Select");
        panelRequest.allowedExtensions = {QStringLiteral("wav")};
        OpenPanel panel(panelRequest, {samples_, samples_ + QStringLiteral("/pairs")});
        panel.show();
        waitUntil([deadline = QDeadlineTimer(400)] { return deadline.hasExpired(); });
        take(QStringLiteral("panel"), &panel);
        app_.window().isDragTargeted = true;
        take(QStringLiteral("drop"));
    }

    OstrelApp app_;
    QString samples_;
    QString output_;
    QString shade_;
    QStringList states_;
};

} // namespace
} // namespace ostrel

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Ostrel"));
    QApplication::setApplicationName(QStringLiteral("Ostrel"));
    ostrel::OstrelApp::prepare();
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 5) {
        std::fprintf(stderr, "usage: ostrel-screenshots SAMPLES OUTPUT WIDTH HEIGHT [STATE...]\n");
        return 2;
    }
    const QSize size(arguments[3].toInt(), arguments[4].toInt());
    ostrel::Photographer(arguments[1], arguments[2], size, arguments.mid(5)).run();
    return 0;
}
