#include "custody/renamed_files.h"

namespace ostrel {
namespace {

struct MissingFile {
    QString path;
    std::size_t scope;
    HashFormat format;
    const KnownFile* known;
};

std::optional<HashFormat> formatToCompare(const KnownFile& known, HashFormat wanted) {
    return known.digests.contains(wanted) ? wanted : known.preferredFormat();
}

// By scope and size.
std::map<std::pair<std::size_t, quint64>, std::vector<MissingFile>> missingFiles(const FolderSurvey& survey,
                                                                                 HashFormat wanted) {
    std::set<QString> found;
    for (const FoundFile& file : survey.files) found.insert(file.path);
    std::map<std::pair<std::size_t, quint64>, std::vector<MissingFile>> result;
    for (std::size_t scope = 0; scope < survey.scopes.size(); ++scope) {
        for (const auto& [path, known] : survey.scopes[scope].history.files) {
            const QString whole = survey.scopes[scope].above(path);
            const std::optional<HashFormat> format = formatToCompare(known, wanted);
            if (!format || !known.size || *known.size == 0 || found.contains(whole)) continue;
            if (survey.scopes[scope].ignore.isFileIgnored(path)) continue;
            result[{scope, *known.size}].push_back({whole, scope, *format, &known});
        }
    }
    return result;
}

bool isNewFile(const FolderSurvey& survey, const KnownFiles& known, const FoundFile& file) {
    return !known.contains(file.path) && file.size > 0 && file.scope < survey.scopes.size();
}

} // namespace

void addFormatsForRenames(const FolderSurvey& survey, HashFormat format, std::vector<HashFormats>& formats) {
    const auto missing = missingFiles(survey, format);
    if (missing.empty()) return;
    const KnownFiles known = survey.known();
    for (std::size_t i = 0; i < survey.files.size(); ++i) {
        const FoundFile& file = survey.files[i];
        const auto ofItsSize = missing.find({file.scope, file.size});
        if (ofItsSize == missing.end() || !isNewFile(survey, known, file)) continue;
        for (const MissingFile& each : ofItsSize->second) formats[i].insert(each.format);
    }
}

std::map<QString, QString> renamedFiles(const FolderSurvey& survey, HashFormat format) {
    const auto missing = missingFiles(survey, format);
    std::map<QString, QString> result;
    if (missing.empty()) return result;
    const KnownFiles known = survey.known();
    std::map<QString, QStringList> newOfOld;
    std::map<QString, QStringList> oldOfNew;
    for (const FoundFile& file : survey.files) {
        const auto ofItsSize = missing.find({file.scope, file.size});
        if (ofItsSize == missing.end() || !isNewFile(survey, known, file)) continue;
        for (const MissingFile& each : ofItsSize->second) {
            const std::set<QByteArray>& digests = each.known->digests.at(each.format);
            const auto digest = file.digests.find(each.format);
            if (digest == file.digests.end() || digests.size() != 1 || *digests.begin() != digest->second) continue;
            newOfOld[each.path] << file.path;
            oldOfNew[file.path] << each.path;
        }
    }
    for (const auto& [path, olds] : oldOfNew) {
        if (olds.size() == 1 && newOfOld[olds.front()].size() == 1) result[path] = olds.front();
    }
    return result;
}

} // namespace ostrel
