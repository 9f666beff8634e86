#include "custody/seal_renewal.h"

#include "custody/lists/chain.h"
#include "custody/seal_folder.h"
#include "platform/paths.h"

#include <algorithm>
#include <map>

namespace ostrel {
namespace {

ForeignElement touchedBy(const QString& job) {
    return {QStringLiteral("o"),
            QStringLiteral("urn:ostrel:custody:1"),
            QStringLiteral("touched"),
            {{QStringLiteral("job"), job}}};
}

RunSeal renew(const QString& folder, const std::set<QString>& files, const QString& job, const CustodyWatch& watch) {
    RunSeal seal;
    seal.folder = folder;
    SealOptions options;
    options.only = files;
    for (const QString& file : files) options.metadata.emplace(file, touchedBy(job));
    try {
        const SealResult result = sealFolder(folder, options, watch);
        seal.generation = result.generation;
        if (!result.lists.isEmpty()) seal.list = result.lists.last();
        for (const SealedFile& file : result.files) {
            seal.renewed << file.path;
            if (file.state == SealedState::failed) seal.rewritten << file.path;
        }
    } catch (const SealRefusedError& refused) {
        seal.refused = refused.reasons;
    } catch (const FileError& error) {
        seal.refused << error.description;
    } catch (const std::exception& error) {
        seal.refused << QString::fromUtf8(error.what());
    }
    return seal;
}

} // namespace

QStringList touchedRecordings(const std::vector<ItemOutcome>& outcomes) {
    QStringList touched;
    for (const ItemOutcome& outcome : outcomes) {
        for (const SourceFate& fate : outcome.sources) {
            if (fate.kind == SourceFate::Kind::replaced) touched << fate.source << outcome.outputs;
            if (fate.kind == SourceFate::Kind::moved) touched << fate.movedTo;
        }
    }
    touched.removeDuplicates();
    touched.removeAll(QString());
    return touched;
}

std::vector<RunSeal> renewSeals(const QString& job, const QStringList& files, const CustodyWatch& watch) {
    std::map<QString, std::set<QString>> byFolder;
    for (const QString& file : files) {
        const QString path = paths::absolute(file);
        const std::optional<QString> sealed = sealedFolderOf(path);
        if (sealed) byFolder[*sealed].insert(path.sliced(sealed->endsWith(u'/') ? sealed->size() : sealed->size() + 1));
    }
    std::vector<RunSeal> seals;
    for (const auto& [folder, touched] : byFolder) {
        RunSeal seal = renew(folder, touched, job, watch);
        if (seal.generation > 0 || !seal.refused.isEmpty()) seals.push_back(std::move(seal));
    }
    return seals;
}

} // namespace ostrel
