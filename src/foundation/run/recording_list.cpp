#include "foundation/run/recording_list.h"

#include "foundation/run/journal.h"
#include "platform/files/new_file.h"
#include "platform/files/unique_files.h"
#include "platform/paths.h"

#include <QFileInfo>
#include <algorithm>

namespace ostrel {
namespace {

// Free for a recording that lost its name.
QString freeName(const QString& leftover) {
    const QString folder = paths::parent(leftover);
    const QString extension = paths::extension(leftover);
    for (int number = 1;; ++number) {
        const QString name = QStringLiteral("Recovered recording %1.%2").arg(number).arg(extension);
        if (!paths::exists(paths::append(folder, name))) return paths::append(folder, name);
    }
}

bool hasEqualBeside(const QString& leftover) {
    const qint64 size = QFileInfo(leftover).size();
    const auto listing = files::list(paths::parent(leftover), false, {});
    return listing && std::any_of(listing->files.begin(), listing->files.end(), [&](const QString& file) {
               return QFileInfo(file).size() == size && files::sameBytes(file, leftover);
           });
}

QString putBack(const QString& leftover, const QString& recording) {
    files::renameWithoutReplacing(leftover, recording);
    return QStringLiteral("A recording that an earlier run had not finished with was put back: %1 (it was %2)")
        .arg(recording, paths::lastComponent(leftover));
}

QString removed(const QString& leftover) {
    files::remove(leftover);
    return QStringLiteral("Removed an unfinished file of an earlier run: %1").arg(leftover);
}

// The private name stands in a step of the journal that has no end.
QString clearStep(const JournalStep& step, const QString& leftover) {
    if (step.operation == JournalOperation::remove) {
        const QString sentence = putBack(leftover, step.from);
        Journal(step.job, step.run, step.number).markUndone(step.number);
        return sentence;
    }
    // A replacement: the old contents are gone on purpose or still stand under their name. What is neither the old
    // recording nor beside it was written by somebody else.
    const auto isOld = [&](const QString& file) { return step.stamp && FileStamp::of(file) == step.stamp; };
    if (!isOld(leftover) && !isOld(step.from)) return putBack(leftover, freeName(leftover));
    return removed(leftover);
}

QString clearOne(const QString& leftover, const std::vector<JournalStep>& unfinished) {
    try {
        const auto step = std::find_if(unfinished.begin(), unfinished.end(),
                                       [&](const JournalStep& each) { return each.parked == leftover; });
        if (step != unfinished.end()) return clearStep(*step, leftover);
        if (isBackupName(paths::lastComponent(leftover)) && !hasEqualBeside(leftover)) {
            return putBack(leftover, freeName(leftover));
        }
        return removed(leftover);
    } catch (const FileError& error) {
        return paths::exists(leftover) ? QStringLiteral("An earlier run left %1: %2").arg(leftover, error.description)
                                       : QString();
    }
}

} // namespace

const QStringList& waveFileExtensions() {
    static const QStringList extensions{QStringLiteral("wav"), QStringLiteral("wave"), QStringLiteral("bwf"),
                                        QStringLiteral("rf64"), QStringLiteral("bw64")};
    return extensions;
}

std::optional<files::Listing> listRecordings(const QString& folder, bool recursive, const QStringList& extensions,
                                             files::HiddenEntries hidden, Leftovers leftovers) {
    std::optional<files::Listing> listing = files::list(folder, recursive, extensions, hidden);
    if (!listing || listing->unfinished.isEmpty() || leftovers == Leftovers::left) return listing;
    const QStringList told = clearLeftovers(listing->unfinished);
    if (told.isEmpty()) return listing;
    listing = files::list(folder, recursive, extensions, hidden); // what was put back is a recording again
    if (listing) listing->unreadable << told;
    return listing;
}

CollectedRecordings collectRecordings(const QStringList& selection, bool recursive, const QStringList& extensions,
                                      files::HiddenEntries hidden, Leftovers leftovers) {
    CollectedRecordings result;
    QStringList found;
    for (const QString& item : selection) {
        const bool isWanted = extensions.isEmpty() || extensions.contains(paths::lowerExtension(item));
        if (!paths::isFolder(item) && (isWanted || paths::exists(item))) {
            if (isWanted) found << item; // one that is gone by now, too: whoever opens it says so
            continue;
        }
        const std::optional<files::Listing> listing = listRecordings(item, recursive, extensions, hidden, leftovers);
        if (!listing) {
            result.unopened << item;
            continue;
        }
        found << listing->files;
        result.remarks << listing->unreadable;
    }
    UniqueFiles unique = uniqueFiles(found);
    result.files = std::move(unique.files);
    result.remarks << unique.repeats;
    result.remarks.removeDuplicates(); // of a folder that was walked twice
    return result;
}

QStringList clearLeftovers(const QStringList& unfinished) {
    QStringList sentences;
    std::vector<JournalStep> steps;
    try {
        if (!unfinished.isEmpty()) steps = Journal::unfinished();
    } catch (const FileError& error) {
        return {error.description}; // without the journal nothing can be told apart, so all stays
    }
    for (const QString& leftover : unfinished) {
        if (!paths::exists(leftover) || isHeld(paths::parent(leftover))) continue;
        const QString sentence = clearOne(leftover, steps);
        if (!sentence.isEmpty()) sentences << sentence;
    }
    return sentences;
}

QStringList clearLeftoversIn(const QString& folder) {
    const auto listing = files::list(folder, false, {QStringLiteral("no extension at all")});
    return listing ? clearLeftovers(listing->unfinished) : QStringList();
}

} // namespace ostrel
