// The Join mode: loading ISOs, grouping a pile of them into takes, and the runs.
#pragma once

#include "polytools/join/iso_loading.h"
#include "polytools/join/join_grouping.h"
#include "polytools/services/poly_tools_reports.h"
#include "polytools/services/poly_tools_services.h"
#include "polytools/state/join_state.h"
#include "polytools/state/poly_tools_state.h"

#include <QStringList>

namespace ostrel {

class PolyPreview;

class PolyJoinFlow {
public:
    PolyJoinFlow(PolyToolsState& state, JoinState& join, PolyToolsServices& services, PolyPreview& preview)
        : state_(state), join_(join), services_(services), preview_(preview),
          loading_(state, join, services, [this] { takeLoaded(); }),
          grouping_(state, join, services, [this](const ISOGroupCandidate& take) { takeShortcut(take); }) {}

    // Folders win over files. One file is loaded, anything more is grouped.
    void applyJoinModeDetection(const QStringList& folders, const QStringList& files);
    void selectISOFiles(); // in addition to those that are loaded
    void analyzeISOFiles(const QStringList& urls) { loading_.start(urls); }
    void scanAndGroupISOs() { grouping_.scan(); }
    void selectOutputFolder();
    void clearOutputFolder(); // back to that of the loaded ISOs
    void setKeepOriginalName(bool keep);
    void setReviewsGroups(bool isOn); // of the one group that the shortcut took

    void moveISOUp(int row);
    void moveISODown(int row);
    void moveISO(int row, int to);
    void updateChannelIndices();
    void setAllSelected(bool isSelected);
    void setSelected(int row, bool isSelected);

    bool canRun() const;
    bool canRunBatch() const;
    bool hasContent() const;
    void run();
    void runBatch();
    void clear();

private:
    // What a run needs from its start to its report.
    struct Run {
        JoinOptions options;
        QString folder;
        ReportSource source;
        PolyRun run;
        TaskHandle handle;
    };

    void takeLoaded();
    QString suggestedName() const;
    void takeShortcut(const ISOGroupCandidate& group);
    Run makeRun(const PolyRun& run, const TaskHandle& handle) const;
    QCoro::Task<> join(std::vector<ISOFile> isos, QString outputURL, Run run);
    void showJoin(ItemOutcome outcome, const std::vector<ISOFile>& isos, const QString& outputURL, const Run& run);
    QCoro::Task<> batchJoin(std::vector<ISOGroupCandidate> groups, Run run);
    void countBatchJoin(const BatchJoinResult& result, const std::vector<ISOGroupCandidate>& groups, const Run& run);
    void showBatchJoin(const BatchJoinResult& result, const std::vector<ISOGroupCandidate>& groups, const Run& run);
    PolyEngineHooks hooksOfRun(const TaskHandle& handle) const;
    bool mayMix(const std::vector<ISOFile>& isos);
    JoinOptions joinOptions() const;

    PolyToolsState& state_;
    JoinState& join_;
    PolyToolsServices& services_;
    PolyPreview& preview_;
    IsoLoading loading_;
    JoinGrouping grouping_;
};

} // namespace ostrel
