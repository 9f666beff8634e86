#include "foundation/run/source_steps.h"

#include "platform/files/files.h"
#include "platform/files/new_file.h"
#include "platform/paths.h"

#include <algorithm>

namespace ostrel {
namespace {

using Kind = SourceFate::Kind;

// A step under way, or done and still to be taken back.
struct Step {
    SourceOrder order;
    QString now;                // where the source stands: its own name, a private one, its destination
    QString target = QString(); // where the step puts it
    int number = 0;             // in the journal; 0: not written down
    bool wasTakenBack = false;
    std::optional<FileStamp> stamp;
};

class Steps {
public:
    Steps(const std::vector<SourceOrder>& orders, Journal& journal) : journal_(journal) {
        for (const SourceOrder& order : orders) {
            steps_.push_back({.order = order, .now = order.source, .stamp = FileStamp::of(order.source)});
        }
    }

    SourceStepsResult run() {
        std::size_t done = 0;
        try {
            // All of them ahead of the first, and their ends behind the last: a program that is killed in between
            // leaves every one to be told of, the source that it did not reach as well as the one that is away.
            for (Step& step : steps_) writeDown(step);
            for (; done < steps_.size(); ++done) take(steps_[done]);
        } catch (const FileError& error) {
            result_.failure = error.description;
            while (done > 0) takeBack(steps_[--done]);
            for (const Step& step : steps_) giveUp(step, error.description);
            return finished();
        }
        removeAll();
        for (const Step& step : steps_) {
            if (step.now != step.order.source) note(journal_.end(step.number));
        }
        return finished();
    }

private:
    static bool isDeletion(const Step& step) { return step.order.destination.isEmpty(); }

    void writeDown(Step& step) {
        const QString& source = step.order.source;
        if (isDeletion(step)) {
            holds_.push_back(std::make_unique<FolderHold>(paths::parent(source)));
            step.target = privatePath(paths::parent(source), paths::extension(source));
            step.number = journal_.begin(JournalOperation::remove, source, QString(), step.target);
        } else {
            step.target = step.order.destination;
            step.number = journal_.begin(JournalOperation::move, source, step.target);
        }
    }

    // A deletion gets no further here than to a private name.
    void take(Step& step) {
        const QString& source = step.order.source;
        if (!step.stamp || FileStamp::of(source) != step.stamp) {
            throw FileError(QStringLiteral("%1 was changed meanwhile").arg(source));
        }
        if (isDeletion(step)) {
            files::renameWithoutReplacing(source, step.target);
        } else {
            files::createFolder(paths::parent(step.target));
            files::move(source, step.target);
        }
        step.now = step.target;
    }

    // The end of a step that was written down and not taken.
    void giveUp(const Step& step, const QString& why) {
        if (step.number != 0 && !step.wasTakenBack && step.now == step.order.source) journal_.fail(step.number, why);
    }

    void takeBack(Step& step) {
        try {
            files::move(step.now, step.order.source);
            step.now = step.order.source;
            step.wasTakenBack = true;
            note(journal_.markUndone(step.number));
        } catch (const FileError& error) {
            result_.failure += QStringLiteral("; %1 is at %2 (%3)")
                                   .arg(paths::lastComponent(step.order.source), step.now, error.description);
        }
    }

    // The first that can't go comes back, and so do those behind it.
    void removeAll() {
        std::size_t gone = 0;
        while (gone < steps_.size() && canRemove(steps_[gone])) ++gone;
        for (std::size_t kept = steps_.size(); kept > gone; --kept) {
            if (isDeletion(steps_[kept - 1])) takeBack(steps_[kept - 1]);
        }
    }

    bool canRemove(Step& step) {
        if (!isDeletion(step)) return true;
        try {
            files::remove(step.now);
            step.now.clear();
            return true;
        } catch (const FileError& error) {
            QStringList gone;
            for (const Step& each : steps_) {
                if (each.now.isEmpty()) gone << paths::lastComponent(each.order.source);
            }
            result_.failure = QStringLiteral("%1 can't be removed (%2)")
                                  .arg(paths::lastComponent(step.order.source), error.description);
            if (!gone.isEmpty())
                result_.failure += QStringLiteral("; deleted by then: ") + gone.join(QStringLiteral(", "));
            return false;
        }
    }

    // The step itself stands: that its end could not be written down is only to be told.
    void note(bool isWritten) {
        const QString sentence = QStringLiteral("The end of a step could not be written into the journal");
        if (!isWritten && !result_.warnings.contains(sentence)) result_.warnings << sentence;
    }

    SourceStepsResult finished() {
        for (const Step& step : steps_) {
            if (step.now == step.order.source) {
                result_.fates.push_back({step.order.source, Kind::kept, QString()});
            } else if (step.now.isEmpty()) {
                result_.fates.push_back({step.order.source, Kind::deleted, QString()});
            } else {
                result_.fates.push_back({step.order.source, Kind::moved, step.now});
            }
        }
        return std::move(result_);
    }

    Journal& journal_;
    std::vector<Step> steps_;
    std::vector<std::unique_ptr<FolderHold>> holds_; // private names are not to be cleared away meanwhile
    SourceStepsResult result_;
};

} // namespace

bool SourceStepsResult::allKept() const {
    return std::all_of(fates.begin(), fates.end(), [](const SourceFate& fate) { return fate.kind == Kind::kept; });
}

SourceStepsResult takeSourcesAway(const std::vector<SourceOrder>& orders, const AudioProof& proof, Journal& journal) {
    QString objection = proof.objection();
    for (const SourceOrder& order : orders) {
        if (!objection.isEmpty() || proof.covers(order.source)) continue;
        objection = QStringLiteral("%1 took no part in the comparison").arg(paths::lastComponent(order.source));
    }
    if (objection.isEmpty()) return Steps(orders, journal).run();
    SourceStepsResult result;
    for (const SourceOrder& order : orders) result.fates.push_back({order.source, Kind::kept, QString()});
    result.failure = objection;
    return result;
}

UndoResult undoMoves(const QString& run) {
    UndoResult result;
    std::vector<JournalStep> steps = Journal::read();
    std::erase_if(steps, [&](const JournalStep& step) { return step.run != run; });
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
        if (step->state == JournalStep::State::failed || step->state == JournalStep::State::undone) continue;
        if (step->operation != JournalOperation::move) {
            result.failures << QStringLiteral("%1 was %2 and can't be taken back")
                                   .arg(step->from, step->operation == JournalOperation::remove
                                                        ? QStringLiteral("deleted")
                                                        : QStringLiteral("replaced"));
            continue;
        }
        const std::optional<FileStamp> there = FileStamp::of(step->to);
        // A program was killed ahead of this step.
        if (step->state == JournalStep::State::begun && !there && paths::exists(step->from)) continue;
        if (!there || (step->stamp && (there->size != step->stamp->size || there->modified != step->stamp->modified))) {
            result.failures << QStringLiteral("%1: %2").arg(
                step->to, there ? QStringLiteral("changed since it was moved") : QStringLiteral("not there"));
            continue;
        }
        try {
            files::createFolder(paths::parent(step->from));
            files::move(step->to, step->from);
            result.undone.push_back({step->from, Kind::moved, step->to});
            Journal(step->job, step->run, step->number).markUndone(step->number);
        } catch (const FileError& error) {
            result.failures << error.description;
        }
    }
    return result;
}

} // namespace ostrel
