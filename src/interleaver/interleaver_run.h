// One run over the list of the Interleaver: what it needs was taken when it began, and what became of the items stays
// with it, whatever the list shows by then.
//
// Made and driven on the main thread; the items' work is done behind it, one after the other.
#pragma once

#include "foundation/records/app_mode.h"
#include "foundation/records/interleave_group.h"
#include "foundation/records/multi_channel_source.h"
#include "interleaver/interleaver_report.h"
#include "interleaver/item_job.h"
#include "platform/background.h"

#include <QCoro/QCoroTask>
#include <QUuid>
#include <functional>
#include <memory>
#include <vector>

namespace ostrel {

class InterleaverRun {
public:
    // All are called on the main thread, with an item's row in the list as it was, and its id.
    struct Hooks {
        std::function<void(std::size_t row, const QUuid& id, const QString& name)> onBegin;
        std::function<void(std::size_t row, const QUuid& id, const ProcessingStatus& status)> onStatus;
        std::function<void(std::size_t row, const QUuid& id, const ItemReport& report)> onEnd;
        std::function<void(double share)> onProgress; // 0 to 1
    };

    explicit InterleaverRun(AppMode runMode);

    TaskHandle handle; // stops the run ahead of its next item
    const AppMode mode;
    RunContext context;
    QString sourceFolder;
    bool writesReport = false;
    std::vector<InterleaveGroup> groups; // the lists; what became of the items is added
    std::vector<MultiChannelSource> sources;

    // The path of the group's output in this run.
    QString outputOf(const InterleaveGroup& group) const;
    // The files of every item in the list, selected or not: no output may replace one.
    QStringList sourceFiles() const;

    // Ahead of the run: why it will refuse each row, empty where it won't: two items with one output, an output that is
    // a source.
    std::vector<QString> foreseenOfGroups() const;
    std::vector<QString> foreseenOfSources() const;

    // Ends when the last item has ended, or after a stop. `owner` is the controller: nothing is called once it is gone.
    static QCoro::Task<> carryOut(std::shared_ptr<InterleaverRun> run, QObject* owner, Hooks hooks);

    // The counts of the run, with what a report tells around its table.
    InterleaverReport report() const;
    ReportTable table() const;
};

} // namespace ostrel
