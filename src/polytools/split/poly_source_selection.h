// Choosing what to split or edit: the automatic change between one file and a batch, and the reading of what was
// chosen.
#pragma once

#include "metadata/metadata_manifest.h"
#include "polytools/services/poly_tools_services.h"
#include "polytools/state/poly_tools_state.h"
#include "polytools/state/source_state.h"
#include "polytools/state/split_state.h"

#include <QStringList>
#include <future>

namespace ostrel {

class PolyPreview;

class PolySourceSelection {
public:
    PolySourceSelection(PolyToolsState& state, SourceState& source, SplitState& split, PolyToolsServices& services,
                        PolyPreview& preview)
        : state_(state), source_(source), split_(split), services_(services), preview_(preview) {}

    // Folders win over files. Decides `batchMode`.
    void applySplitModeDetection(const QStringList& folders, const QStringList& files);
    void selectPolyFile();
    void analyzePolyFile(const QString& url);
    void populateBatchPolyMetadata(const QStringList& urls);
    void selectOutputFolder(); // of splits and of edits

    // The name in the list of channels, by the chosen pattern; `index` is zero-based.
    QString generateOutputName(const QString& baseName, int index, const QString& trackName) const;
    // For when the pattern or the keep flag changed.
    void updateOutputNames();

    bool hasContent() const;
    QString batchProcessHelperText() const;
    void clear();

    // Ready once the manifest of the last analysed file is written, or was given up. For a thread of its own to wait
    // on.
    std::shared_future<void> manifestSaved() const { return manifestSaved_; }

private:
    void selectSeveralFiles(const QStringList& files);
    void selectOneFile(const QString& file);
    void selectFolders(const QStringList& folders);
    void defaultOutputFolder(const QString& folder, const QString& logStart);
    QCoro::Task<> listFolders(QStringList folders, TaskHandle handle);
    QCoro::Task<> showFolder(QString folder, TaskHandle handle);
    QCoro::Task<> analyze(QString url, TaskHandle handle);
    void showPoly(const PolyFile& poly, const std::vector<TrackInfo>& tracks);
    QCoro::Task<> saveManifest(PolyFile poly, std::shared_ptr<std::promise<void>> saved);
    QCoro::Task<> populate(QStringList urls, TaskHandle handle);
    bool isEditing() const { return state_.mode.value() == PolyMode::editPoly; }

    PolyToolsState& state_;
    SourceState& source_;
    SplitState& split_;
    PolyToolsServices& services_;
    PolyPreview& preview_;
    std::shared_future<void> manifestSaved_;
};

} // namespace ostrel
