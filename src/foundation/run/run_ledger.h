// What a run must not write over: its own sources, under whatever name, and what it has written itself.
//
// Made when a run begins, from everything in the selection; asked ahead of every output of every job. One run, one
// ledger; callable from any thread.
#pragma once

#include "platform/files/file_stamp.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <mutex>
#include <set>
#include <vector>

namespace ostrel {

// What an output that is there already means to a job.
enum class ExistingOutput { skipped, refused, replaced };
ExistingOutput existingOutputRule(bool skipIfExists, bool overwriteExisting);

struct WritePermission {
    enum class Kind { granted, exists, overwriteOff, refused };

    Kind kind = Kind::granted;
    QString reason;        // why not; empty where it is granted
    bool replaces = false; // granted over a file that stands there

    bool isGranted() const { return kind == Kind::granted; }
};

class RunLedger {
public:
    RunLedger() = default;
    // `sources` are what items are made of, `bystanders` what else the selection holds: recordings, too, and perhaps
    // outputs of an earlier run.
    explicit RunLedger(const QStringList& sources, const QStringList& bystanders = {});

    // `exists`: something stands there, and the rule passes over it. `overwriteOff`: the rule forbids to replace it.
    // `refused`: nothing may be written there, with a sentence: a source of the run (by name, or by a link of either
    // kind), or an output of another item. A bystander is replaced only where the caller can tell that it is this very
    // item's earlier output.
    WritePermission mayWrite(const QString& path, ExistingOutput rule,
                             const std::function<bool()>& isEarlierOutput = {}) const;

    // Makes an output folder with its parents and, the first time in this run, clears away what earlier runs left
    // there: one sentence for each such file. Throws FileError.
    QStringList prepareFolder(const QString& folder);

    // The output stands under this name from now on.
    void noteWritten(const QString& path);

    // Ahead of a run: why each item, given by its outputs in order of the run, will be refused; empty where it won't.
    std::vector<QString> foresee(const std::vector<QStringList>& outputsOfItems) const;

    QStringList written() const;

private:
    QString refusal(const QString& path, const QString& place) const; // empty: none
    bool isBystander(const QString& path) const;

    mutable std::mutex mutex_;
    QSet<QString> sourceNames_;
    std::set<FileIdentity> sourceIdentities_;
    std::set<FileIdentity> bystanders_;
    QSet<QString> writtenNames_; // as places on disk, like the sources
    QStringList written_;
    QSet<QString> prepared_; // folders
    std::set<FileIdentity> writtenIdentities_;
};

} // namespace ostrel
