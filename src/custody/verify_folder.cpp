#include "custody/verify_folder.h"

#include "custody/lists/hash_list_reader.h"
#include "custody/lists/hash_list_text.h"
#include "platform/paths.h"

#include <QDir>

namespace ostrel {
namespace {

const QStringList kListNames{QStringLiteral("*.mhl")};

class Verification {
public:
    Verification(const VerifyOptions& options, const CustodyWatch& watch) : options_(options), watch_(watch) {}

    VerifyResult ofFolder(const QString& folder) {
        survey_ = surveyFolder(folder);
        known_ = survey_.known();
        result_.generations = static_cast<int>(survey_.scopes.front().history.chain.size());
        for (const QString& name : QDir(folder).entryList(kListNames, QDir::Files | QDir::Hidden | QDir::NoSymLinks)) {
            readList(paths::append(folder, name));
        }
        result_.faults += survey_.faults();
        if (result_.generations == 0 && result_.lists == 0 && result_.faults.isEmpty()) {
            throw FileError(QStringLiteral("No hash list in %1: it was never sealed").arg(folder));
        }
        compare();
        addMissingFolders();
        return finish();
    }

    VerifyResult ofList(const QString& list) {
        const QString place = paths::parent(list);
        survey_ = surveyFolder(isInHistory(place) ? paths::parent(place) : place);
        takesNew_ = false;
        readList(list);
        if (isInHistory(place)) result_.faults += survey_.faults(); // its own C4 among them
        compare();
        return finish();
    }

private:
    static bool isInHistory(const QString& place) { return paths::lastComponent(place) == QLatin1String("ascmhl"); }

    void readList(const QString& path) {
        try {
            const HashList list = hashListFromBytes(bytesOfHashList(path));
            KnownFiles files;
            addToKnown(list, files);
            for (const auto& [file, known] : files) known_[file].merge(known);
            lists_.insert(paths::lastComponent(path));
            ++result_.lists;
        } catch (const HashListError& error) {
            result_.faults << QStringLiteral("The list can't be read: %1, %2").arg(path, error.description);
        } catch (const FileError& error) {
            result_.faults << error.description;
        }
    }

    HashFormats formatsOf(const KnownFile& known) const {
        HashFormats formats;
        if (options_.everyFormat) {
            for (const auto& [format, digests] : known.digests) formats.insert(format);
        } else if (const std::optional<HashFormat> format = known.preferredFormat()) {
            formats.insert(*format);
        }
        return formats;
    }

    void compare() {
        std::set<QString> found;
        for (const FoundFile& file : survey_.files) found.insert(file.path);
        for (const auto& [path, known] : known_) {
            if (!found.contains(path)) noteMissing(path, known);
        }
        std::vector<HashFormats> formats(survey_.files.size());
        for (std::size_t i = 0; i < survey_.files.size(); ++i) {
            const auto known = known_.find(survey_.files[i].path);
            if (known != known_.end())
                formats[i] = formatsOf(known->second);
            else if (takesNew_)
                formats[i] = formatsOfMovedLike(survey_.files[i]);
        }
        digestFiles(survey_, formats, watch_);
        for (const FoundFile& file : survey_.files) take(file);
        for (FileVerdict& verdict : missing_) result_.files.push_back(std::move(verdict));
    }

    void noteMissing(const QString& path, const KnownFile& known) {
        missing_.push_back(verdictOfMissing(path, known));
        const FileVerdict& missing = missing_.back();
        if (!missing.format || known.size == 0) return; // empty files are all alike
        (known.size ? formatsOfSize_[*known.size] : formatsOfAnySize_).insert(*missing.format);
        missingByDigest_.emplace(std::pair(*missing.format, missing.digest), missing_.size() - 1);
    }

    // A new file is read only where it may be a missing one under another name.
    HashFormats formatsOfMovedLike(const FoundFile& file) const {
        HashFormats formats = formatsOfAnySize_;
        if (const auto found = formatsOfSize_.find(file.size); found != formatsOfSize_.end()) {
            formats.insert(found->second.begin(), found->second.end());
        }
        return formats;
    }

    void take(const FoundFile& file) {
        const auto known = known_.find(file.path);
        const bool isKnown = known != known_.end();
        // In a folder without a history, old lists are what the others are compared with.
        const bool isYardstick = result_.generations == 0 && lists_.contains(file.path);
        if (!isKnown && (!takesNew_ || isYardstick)) return;
        FileVerdict verdict = verdictOf(file, isKnown ? &known->second : nullptr);
        if (verdict.state == FileState::isNew) tellMoves(file, verdict);
        result_.files.push_back(std::move(verdict));
    }

    void tellMoves(const FoundFile& file, FileVerdict& verdict) {
        for (const auto& [format, digest] : file.digests) {
            const auto found = missingByDigest_.find({format, digest});
            if (found == missingByDigest_.end()) continue;
            FileVerdict& missing = missing_[found->second];
            verdict.detail = QStringLiteral("it holds what %1 held").arg(missing.path);
            missing.detail = QStringLiteral("%1 holds the same").arg(file.path);
        }
    }

    // A folder whose files are missing is told by them; an empty one only here.
    void addMissingFolders() {
        std::set<QString> folders;
        collect(survey_.tree, folders);
        for (const SealScope& scope : survey_.scopes) {
            for (const QString& folder : scope.history.folders) {
                const QString path = scope.above(folder);
                if (folders.contains(path) || isNameOfOne(path) || isIgnored(scope, folder)) continue;
                result_.files.push_back({path + u'/', FileState::missing, {}, {}, {}});
            }
        }
    }

    static bool isIgnored(const SealScope& scope, const QString& folder) {
        return scope.ignore.isFileIgnored(folder + QStringLiteral("/x")) || scope.ignore.isIgnored(folder, true);
    }

    bool isNameOfOne(const QString& folder) const {
        const auto next = known_.lower_bound(folder + u'/');
        return next != known_.end() && next->first.startsWith(folder + u'/');
    }

    static void collect(const FoundFolder& folder, std::set<QString>& into) {
        for (const FoundFolder& below : folder.folders) {
            into.insert(below.path);
            collect(below, into);
        }
    }

    VerifyResult finish() {
        result_.folder = survey_.root;
        if (takesNew_)
            result_.faults += survey_.problems;
        else
            result_.remarks += survey_.problems;
        for (const SealScope& scope : survey_.scopes) {
            result_.remarks += scope.history.remarks;
            const auto ignored =
                std::count_if(scope.history.files.begin(), scope.history.files.end(),
                              [&](const auto& each) { return scope.ignore.isFileIgnored(each.first); });
            if (ignored == 0) continue;
            result_.remarks << QStringLiteral("Not checked, since later generations ignore them: %1 of the files in %2")
                                   .arg(ignored)
                                   .arg(scope.history.folder);
        }
        result_.remarks += survey_.remarks;
        std::sort(result_.files.begin(), result_.files.end(),
                  [](const FileVerdict& a, const FileVerdict& b) { return a.path < b.path; });
        return std::move(result_);
    }

    const VerifyOptions options_;
    const CustodyWatch& watch_;
    FolderSurvey survey_;
    KnownFiles known_;
    std::set<QString> lists_; // their names in the folder
    std::vector<FileVerdict> missing_;
    std::map<std::pair<HashFormat, QByteArray>, std::size_t> missingByDigest_; // the first of missing_
    std::map<quint64, HashFormats> formatsOfSize_;                             // of missing files
    HashFormats formatsOfAnySize_;                                             // of those whose size no list tells
    bool takesNew_ = true;
    VerifyResult result_;
};

} // namespace

int VerifyResult::count(FileState state) const {
    return static_cast<int>(
        std::count_if(files.begin(), files.end(), [&](const FileVerdict& each) { return each.state == state; }));
}

bool VerifyResult::isWhole() const {
    return faults.isEmpty() && count(FileState::verified) == static_cast<int>(files.size());
}

VerifyResult verifyFolder(const QString& path, const VerifyOptions& options, const CustodyWatch& watch) {
    Verification verification(options, watch);
    return paths::isFolder(path) ? verification.ofFolder(path) : verification.ofList(path);
}

} // namespace ostrel
