#include "foundation/run/run_ledger.h"

#include "foundation/run/recording_list.h"
#include "platform/paths.h"

#include <QFileInfo>
#include <QHash>

namespace ostrel {
namespace {

// The folder as it is on disk, so that two ways to one folder are one; the name as it stands, since a link there is
// what would be replaced.
QString placeOf(const QString& path) {
    const QString folder = QFileInfo(paths::parent(paths::absolute(path))).canonicalFilePath();
    return folder.isEmpty() ? paths::absolute(path) : paths::append(folder, paths::lastComponent(path));
}

QString sourceSentence(const QString& path) {
    return QStringLiteral("%1 would replace a source of this run").arg(paths::lastComponent(path));
}

QString writtenSentence(const QString& path) {
    return QStringLiteral("Another item of this run already wrote %1").arg(paths::lastComponent(path));
}

// What stands under a name, a link that leads nowhere included: to write there would still go somewhere.
bool isTaken(const QString& path) { return paths::exists(path) || QFileInfo(path).isSymLink(); }

} // namespace

ExistingOutput existingOutputRule(bool skipIfExists, bool overwriteExisting) {
    if (skipIfExists) return ExistingOutput::skipped;
    return overwriteExisting ? ExistingOutput::replaced : ExistingOutput::refused;
}

RunLedger::RunLedger(const QStringList& sources, const QStringList& bystanders) {
    for (const QString& source : sources) {
        sourceNames_.insert(placeOf(source));
        if (const auto identity = identityOf(source)) sourceIdentities_.insert(*identity);
    }
    for (const QString& file : bystanders) {
        if (const auto identity = identityOf(file)) bystanders_.insert(*identity);
    }
}

bool RunLedger::isBystander(const QString& path) const {
    const auto identity = identityOf(path);
    return identity && bystanders_.contains(*identity);
}

QString RunLedger::refusal(const QString& path, const QString& place) const {
    if (writtenNames_.contains(place)) return writtenSentence(path);
    if (sourceNames_.contains(place)) return sourceSentence(path);
    const auto identity = identityOf(path);
    if (!identity) return QString();
    if (writtenIdentities_.contains(*identity)) return writtenSentence(path);
    return sourceIdentities_.contains(*identity) ? sourceSentence(path) : QString();
}

WritePermission RunLedger::mayWrite(const QString& path, ExistingOutput rule,
                                    const std::function<bool()>& isEarlierOutput) const {
    using Kind = WritePermission::Kind;
    std::unique_lock lock(mutex_);
    if (const QString why = refusal(path, placeOf(path)); !why.isEmpty()) return {Kind::refused, why};
    const bool bystander = isBystander(path);
    lock.unlock(); // what follows asks the disk alone
    if (!isTaken(path)) return {};
    const QString name = paths::lastComponent(path);
    if (!paths::isRegularFile(path)) return {Kind::refused, QStringLiteral("%1 is there and is no file").arg(name)};
    if (rule == ExistingOutput::replaced && (!bystander || (isEarlierOutput && isEarlierOutput()))) {
        return {Kind::granted, QString(), true};
    }
    if (rule == ExistingOutput::replaced) {
        return {Kind::refused, QStringLiteral("%1 is in the selection and no earlier output of this item").arg(name)};
    }
    // A file without a byte is no finished output, whoever left it: to pass over it would call it done.
    if (QFileInfo(path).size() == 0) return {Kind::refused, QStringLiteral("%1 is there and empty").arg(name)};
    if (rule == ExistingOutput::skipped) return {Kind::exists, QStringLiteral("%1 is there already").arg(name)};
    return {Kind::overwriteOff, QStringLiteral("Output exists, overwrite disabled: ") + name};
}

QStringList RunLedger::prepareFolder(const QString& folder) {
    files::createFolder(folder);
    {
        const std::lock_guard lock(mutex_);
        if (prepared_.contains(folder)) return {};
        prepared_.insert(folder);
    }
    return clearLeftoversIn(folder);
}

void RunLedger::noteWritten(const QString& path) {
    const std::lock_guard lock(mutex_);
    writtenNames_.insert(placeOf(path));
    written_ << path;
    if (const auto identity = identityOf(path)) writtenIdentities_.insert(*identity);
}

std::vector<QString> RunLedger::foresee(const std::vector<QStringList>& outputsOfItems) const {
    const std::lock_guard lock(mutex_);
    std::vector<QString> reasons;
    QSet<QString> planned;
    QHash<QString, QString> folders; // as they are on disk: a few folders, and perhaps a hundred thousand outputs
    const auto placeIn = [&](const QString& output) {
        const QString folder = paths::parent(output);
        if (!folders.contains(folder)) folders.insert(folder, paths::parent(placeOf(output)));
        return paths::append(folders.value(folder), paths::lastComponent(output));
    };
    for (const QStringList& outputs : outputsOfItems) {
        QString reason;
        QStringList places;
        for (const QString& output : outputs) {
            places << placeIn(output);
            if (!reason.isEmpty()) continue;
            reason = planned.contains(places.last()) ? writtenSentence(output) : refusal(output, places.last());
        }
        if (reason.isEmpty()) planned.unite(QSet<QString>(places.begin(), places.end()));
        reasons.push_back(reason);
    }
    return reasons;
}

QStringList RunLedger::written() const {
    const std::lock_guard lock(mutex_);
    return written_;
}

} // namespace ostrel
