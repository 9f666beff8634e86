#include "custody/generation_lists.h"

#include "custody/digests/digest.h"
#include "custody/digests/directory_hashes.h"
#include "custody/lists/hash_list_writer.h"
#include "custody/renamed_files.h"
#include "platform/paths.h"

namespace ostrel {
namespace {

class Planner {
public:
    Planner(const FolderSurvey& survey, const GenerationFacts& facts)
        : survey_(survey), facts_(facts), known_(survey.known()), renamed_(renamedFiles(survey, facts.options.format)),
          lists_(survey.scopes.size()) {
        for (const auto& [path, old] : renamed_) taken_.insert(old);
    }

    GenerationPlan plan() {
        for (std::size_t scope = 0; scope < lists_.size(); ++scope) begin(scope);
        if (facts_.options.only) return planReadFiles();
        const FolderHashes hashes = addFolder(survey_.tree);
        finish(survey_.tree, hashes);
        addMissing();
        std::sort(plan_.files.begin(), plan_.files.end(),
                  [](const SealedFile& a, const SealedFile& b) { return a.path < b.path; });
        return std::move(plan_);
    }

private:
    // A history gets a list of those of its files that were read, with no word on the rest.
    GenerationPlan planReadFiles() {
        for (std::size_t file = 0; file < survey_.files.size(); ++file) {
            if (!survey_.files[file].digests.empty()) addFile(file);
        }
        for (std::size_t scope = lists_.size(); scope-- > 0;) { // the folder's own last
            if (!lists_[scope].entries.empty()) publish(scope);
        }
        return std::move(plan_);
    }

    const SealScope& scopeOf(const FoundFolder& folder) const { return survey_.scopes[folder.scope]; }

    void begin(std::size_t scope) {
        HashList& list = lists_[scope];
        list.created = facts_.start;
        list.host = facts_.options.host;
        list.tool = facts_.options.tool;
        list.toolVersion = facts_.options.toolVersion;
        list.ignorePatterns = survey_.scopes[scope].patterns;
    }

    // Its entries in the order of their names, a folder behind what it holds.
    FolderHashes addFolder(const FoundFolder& folder) {
        DirectoryHash hash(facts_.options.format);
        std::size_t file = 0;
        std::size_t below = 0;
        while (file < folder.files.size() || below < folder.folders.size()) {
            if (below == folder.folders.size() || (file < folder.files.size() && isFileNext(folder, file, below))) {
                const std::size_t index = folder.files[file++];
                addFile(index);
                hash.addFile(paths::lastComponent(survey_.files[index].path), digestOf(survey_.files[index]));
            } else {
                const FoundFolder& inner = folder.folders[below++];
                hash.addFolder(inner.name, addInner(folder, inner));
            }
        }
        return hash.finish();
    }

    bool isFileNext(const FoundFolder& folder, std::size_t file, std::size_t below) const {
        const QString name = paths::lastComponent(survey_.files[folder.files[file]].path);
        return name.toUtf8() < folder.folders[below].name.toUtf8();
    }

    FolderHashes addInner(const FoundFolder& folder, const FoundFolder& inner) {
        const FolderHashes hashes = addFolder(inner);
        if (inner.scope != folder.scope) {
            const NewGeneration& generation = finish(inner, hashes);
            const QString list = inner.path + QStringLiteral("/ascmhl/") + generation.name;
            lists_[folder.scope].references.push_back(
                {scopeOf(folder).within(list), Digest::of(HashFormat::c4, generation.list)});
        }
        ListEntry entry;
        entry.kind = ListEntry::Kind::folder;
        entry.path = scopeOf(folder).within(inner.path);
        entry.content[facts_.options.format] = hashes.content;
        entry.structure[facts_.options.format] = hashes.structure;
        lists_[folder.scope].entries.push_back(std::move(entry));
        return hashes;
    }

    const QByteArray& digestOf(const FoundFile& file) const { return file.digests.at(facts_.options.format); }

    void addFile(std::size_t index) {
        const FoundFile& file = survey_.files[index];
        const SealScope& scope = survey_.scopes[file.scope];
        const SealedFile sealed = stateOf(file);
        ListEntry entry;
        entry.path = scope.within(file.path);
        entry.size = file.size;
        entry.modified = file.modified;
        if (!sealed.previousPath.isEmpty()) entry.previousPath = scope.within(sealed.previousPath);
        const HashAction action = sealed.state == SealedState::original ? HashAction::original
                                  : sealed.state == SealedState::failed ? HashAction::failed
                                                                        : HashAction::verified;
        for (const auto& [format, digest] : file.digests) {
            entry.hashes.push_back({format, digest, action, facts_.read[index]});
        }
        if (const auto metadata = facts_.options.metadata.find(file.path); metadata != facts_.options.metadata.end()) {
            entry.metadata = metadata->second;
        }
        lists_[file.scope].entries.push_back(std::move(entry));
        plan_.files.push_back(sealed);
    }

    // A folder that got a history of its own later on starts it with originals, unless the one above says otherwise.
    SealedFile stateOf(const FoundFile& file) const {
        SealedFile sealed{file.path, SealedState::original, digestOf(file), {}};
        if (const auto renamed = renamed_.find(file.path); renamed != renamed_.end()) {
            sealed.state = SealedState::renamed;
            sealed.previousPath = renamed->second;
            return sealed;
        }
        const auto known = known_.find(file.path);
        if (known == known_.end()) return sealed;
        const SealScope& scope = survey_.scopes[file.scope];
        if (verdictOf(file, &known->second).state != FileState::verified) {
            sealed.state = SealedState::failed;
        } else if (scope.history.files.contains(scope.within(file.path))) {
            sealed.state = SealedState::verified;
        }
        return sealed;
    }

    const NewGeneration& finish(const FoundFolder& folder, const FolderHashes& hashes) {
        HashList& list = lists_[folder.scope];
        list.rootContent[facts_.options.format] = hashes.content;
        list.rootStructure[facts_.options.format] = hashes.structure;
        return publish(folder.scope);
    }

    const NewGeneration& publish(std::size_t scope) {
        const HashList& list = lists_[scope];
        const SealHistory& history = survey_.scopes[scope].history;
        const int number = static_cast<int>(history.chain.size()) + 1;
        NewGeneration generation{history.folder,
                                 hashListName(number, paths::lastComponent(history.folder), facts_.start),
                                 hashListBytes(list),
                                 history.chainFile,
                                 {}};
        Chain chain = history.chain;
        chain.push_back({number, generation.name, Digest::of(HashFormat::c4, generation.list)});
        generation.newChain = chainBytes(chain);
        plan_.generations.push_back(std::move(generation));
        return plan_.generations.back();
    }

    void addMissing() {
        std::set<QString> found;
        for (const FoundFile& file : survey_.files) found.insert(file.path);
        for (const auto& [path, known] : known_) {
            if (!found.contains(path) && !taken_.contains(path)) {
                plan_.files.push_back({path, SealedState::missing, {}, {}});
            }
        }
    }

    const FolderSurvey& survey_;
    const GenerationFacts& facts_;
    const KnownFiles known_;
    const std::map<QString, QString> renamed_;
    std::set<QString> taken_; // old names of renamed files
    std::vector<HashList> lists_;
    GenerationPlan plan_;
};

} // namespace

GenerationPlan planGenerations(const FolderSurvey& survey, const GenerationFacts& facts) {
    return Planner(survey, facts).plan();
}

} // namespace ostrel
