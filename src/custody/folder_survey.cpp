#include "custody/folder_survey.h"

#include "custody/folder_entries.h"
#include "platform/files/new_file.h"
#include "platform/paths.h"

namespace ostrel {
namespace {

// What runs of jobs are at work on, or left behind, under private names: no recordings, and soon gone.
// In pieces, since "??-" has a meaning of its own to a compiler.
const QString kUnfinishedPattern = QStringLiteral(".ostrel-????????"
                                                  "-????"
                                                  "-????"
                                                  "-????"
                                                  "-????????????*");

bool isUnfinished(const QString& name) { return name.startsWith(QLatin1String(".ostrel-")) && isPrivateName(name); }

class Surveyor {
public:
    Surveyor(const QString& folder, const QStringList& patterns) {
        survey_.root = folder;
        survey_.scopes.push_back(scopeOf(QString(), readHistory(folder), patterns));
    }

    FolderSurvey take() {
        visit(survey_.tree);
        return std::move(survey_);
    }

private:
    static SealScope scopeOf(const QString& path, SealHistory history, const QStringList& added) {
        SealScope scope{path, std::move(history), {}, {}};
        scope.patterns = scope.history.ignorePatterns;
        for (const QString& pattern : added) {
            if (!scope.patterns.contains(pattern)) scope.patterns << pattern;
        }
        scope.ignore = IgnorePatterns(scope.patterns);
        return scope;
    }

    // What goes by a place in the folder above means nothing here.
    void enterScope(FoundFolder& folder) {
        QStringList handedDown = survey_.scopes[folder.scope].patterns;
        handedDown.removeIf(&IgnorePatterns::isAnchored);
        const QString path = paths::append(survey_.root, folder.path);
        SealHistory history = readHistory(path);
        if (!history.isSealed() && history.faults.isEmpty()) return;
        survey_.scopes.push_back(scopeOf(folder.path, std::move(history), handedDown));
        folder.scope = survey_.scopes.size() - 1;
    }

    void visit(FoundFolder& folder) {
        const QString path = folder.path.isEmpty() ? survey_.root : paths::append(survey_.root, folder.path);
        FolderEntries entries = entriesOf(path);
        survey_.problems += entries.problems;
        for (const FolderEntry& entry : entries.entries) {
            const QString below = folder.path.isEmpty() ? entry.name : folder.path + u'/' + entry.name;
            take(folder, entry, below);
        }
    }

    void take(FoundFolder& folder, const FolderEntry& entry, const QString& path) {
        const bool isFolder = entry.kind == FolderEntry::Kind::folder;
        SealScope& scope = survey_.scopes[folder.scope];
        if (scope.ignore.isIgnored(scope.within(path), isFolder)) return;
        if (entry.kind == FolderEntry::Kind::other) {
            survey_.remarks << QStringLiteral("Left out, since it is %1: %2").arg(entry.remark, path);
        } else if (isFolder) {
            FoundFolder below{entry.name, path, folder.scope, {}, {}};
            if (paths::isFolder(historyFolder(paths::append(survey_.root, path)))) enterScope(below);
            visit(below);
            folder.folders.push_back(std::move(below));
        } else if (isUnfinished(entry.name)) {
            // From now on for everybody who reads the list.
            if (!scope.patterns.contains(kUnfinishedPattern)) scope.patterns << kUnfinishedPattern;
            survey_.remarks << QStringLiteral("Left out, since it is an unfinished file of a run: %1").arg(path);
        } else {
            folder.files.push_back(survey_.files.size());
            survey_.files.push_back({path, folder.scope, entry.size, entry.modified, {}, {}});
        }
    }

    FolderSurvey survey_;
};

} // namespace

QString SealScope::within(const QString& inner) const { return path.isEmpty() ? inner : inner.sliced(path.size() + 1); }

QString SealScope::above(const QString& inner) const { return path.isEmpty() ? inner : path + u'/' + inner; }

KnownFiles FolderSurvey::known() const {
    KnownFiles result;
    for (const SealScope& scope : scopes) {
        for (const auto& [path, known] : scope.history.files) {
            if (!scope.ignore.isFileIgnored(path)) result[scope.above(path)].merge(known);
        }
    }
    return result;
}

QStringList FolderSurvey::faults() const {
    QStringList result;
    for (const SealScope& scope : scopes) result += scope.history.faults;
    return result;
}

FolderSurvey surveyFolder(const QString& folder, const QStringList& patterns) {
    return Surveyor(folder, patterns).take();
}

} // namespace ostrel
