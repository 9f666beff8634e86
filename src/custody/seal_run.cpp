#include "custody/seal_run.h"

#include "custody/lists/chain.h"
#include "custody/lists/hash_list_text.h"
#include "custody/seal_folder.h"
#include "custody/seal_renewal.h"
#include "platform/paths.h"

#include <algorithm>
#include <set>

namespace ostrel {
namespace {

const QString kRunNamespace = QStringLiteral("urn:ostrel:custody:1");

QString withSlash(const QString& folder) { return folder.endsWith(u'/') ? folder : folder + u'/'; }

bool liesWithin(const QString& path, const QString& folder) { return path.startsWith(withSlash(folder)); }

// A list can't hold every character that a file's name can; such a name must not cost the folder its seal.
void add(ForeignElement& element, const QString& key, const QString& value) {
    if (!value.isEmpty() && fitsXml(value)) element.attributes.emplace_back(key, value);
}

// Numbered attributes, since names of files may hold any character that could part them. Which channel of which source
// went where is only known of a proven run; otherwise the item's sources are told.
ForeignElement originOf(const QString& output, const ItemOutcome& outcome, const QString& job) {
    ForeignElement element{QStringLiteral("o"), kRunNamespace, QStringLiteral("made"), {}};
    add(element, QStringLiteral("job"), job);
    bool isProven = false;
    for (const ChannelProof& channel : outcome.proof ? outcome.proof->channels : std::vector<ChannelProof>{}) {
        if (channel.output != output) continue;
        isProven = true;
        const QString number = QString::number(channel.outputChannel + 1);
        add(element, QStringLiteral("source") + number, paths::lastComponent(channel.source));
        if (channel.sourceChannel >= 0) {
            add(element, QStringLiteral("channel") + number, QString::number(channel.sourceChannel + 1));
        }
        add(element, QStringLiteral("xxh128-") + number, channel.hash);
    }
    int number = 0;
    for (const SourceFate& source : isProven ? std::vector<SourceFate>{} : outcome.sources) {
        add(element, QStringLiteral("source%1").arg(++number), paths::lastComponent(source.source));
    }
    return element;
}

std::map<QString, ForeignElement> originsWithin(const QString& folder, const RunSealFacts& facts) {
    std::map<QString, ForeignElement> result;
    for (const ItemOutcome& outcome : facts.outcomes) {
        if (!outcome.succeeded()) continue;
        for (const QString& output : outcome.outputs) {
            if (!liesWithin(output, folder)) continue;
            result.insert_or_assign(output.sliced(withSlash(folder).size()), originOf(output, outcome, facts.job));
        }
    }
    return result;
}

RunSeal sealOne(const QString& folder, const RunSealFacts& facts, const CustodyWatch& watch) {
    RunSeal seal;
    seal.folder = folder;
    SealOptions options;
    options.metadata = originsWithin(folder, facts);
    const QStringList touched = touchedRecordings(facts.outcomes);
    try {
        const SealResult result = sealFolder(folder, options, watch);
        seal.generation = result.generation;
        seal.list = result.lists.last();
        std::set<QString> listed;
        for (const SealedFile& file : result.files) {
            listed.insert(file.path);
            if (file.state == SealedState::failed) {
                (touched.contains(withSlash(folder) + file.path) ? seal.rewritten : seal.changed) << file.path;
            }
            if (file.state == SealedState::missing) seal.missing << file.path;
        }
        for (const auto& [path, origin] : options.metadata) {
            if (!listed.contains(path)) seal.unlisted << path;
        }
    } catch (const SealRefusedError& refused) {
        seal.refused = refused.reasons;
    } catch (const StoppedError&) {
        throw;
    } catch (const FileError& error) {
        seal.refused << error.description;
    }
    return seal;
}

} // namespace

QStringList foldersToSeal(const QStringList& outputs, const QString& outputFolder) {
    QStringList folders;
    for (const QString& output : outputs) {
        const bool isBelow = !outputFolder.isEmpty() && liesWithin(output, outputFolder);
        const QString top = isBelow ? outputFolder : paths::parent(output);
        folders << sealedFolderOf(top).value_or(top);
    }
    folders.removeDuplicates();
    QStringList outermost;
    for (const QString& folder : folders) {
        const bool isInner = std::any_of(folders.begin(), folders.end(), [&](const QString& other) {
            return other != folder && liesWithin(folder, other);
        });
        if (!isInner) outermost << folder;
    }
    return outermost;
}

std::vector<RunSeal> sealRun(const RunSealFacts& facts, const CustodyWatch& watch) {
    QStringList outputs;
    for (const ItemOutcome& outcome : facts.outcomes) {
        if (outcome.succeeded()) outputs << outcome.outputs;
    }
    std::vector<RunSeal> seals;
    try {
        for (const QString& folder : foldersToSeal(outputs, facts.outputFolder)) {
            seals.push_back(sealOne(folder, facts, watch));
        }
    } catch (const StoppedError&) { // what was sealed before it stands
    }
    return seals;
}

} // namespace ostrel
