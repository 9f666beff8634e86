#include "custody/seal_folder.h"

#include "custody/generation_lists.h"
#include "custody/publish_generations.h"
#include "custody/renamed_files.h"
#include "platform/paths.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSysInfo>

namespace ostrel {
namespace {

SealOptions filledIn(SealOptions options) {
    if (options.host.isEmpty()) options.host = QSysInfo::machineHostName();
    if (options.tool.isEmpty()) options.tool = QStringLiteral("Ostrel");
    if (options.toolVersion.isEmpty()) options.toolVersion = QCoreApplication::applicationVersion();
    if (!options.now) options.now = [] { return QDateTime::currentDateTimeUtc(); };
    return options;
}

void refuse(const QStringList& reasons) {
    if (!reasons.isEmpty()) throw SealRefusedError(reasons);
}

// Of each file: what is asked for, and what it takes to compare it with earlier generations.
std::vector<HashFormats> formatsToRead(const FolderSurvey& survey, const SealOptions& options) {
    const HashFormat format = options.format;
    const KnownFiles known = survey.known();
    std::vector<HashFormats> formats(survey.files.size(), HashFormats{format});
    for (std::size_t i = 0; i < survey.files.size(); ++i) {
        const auto found = known.find(survey.files[i].path);
        if (found == known.end() || found->second.digests.contains(format)) continue;
        if (const auto preferred = found->second.preferredFormat()) formats[i].insert(*preferred);
    }
    addFormatsForRenames(survey, format, formats);
    for (std::size_t i = 0; options.only && i < survey.files.size(); ++i) {
        if (!options.only->contains(survey.files[i].path)) formats[i].clear();
    }
    return formats;
}

QStringList problemsOf(const FolderSurvey& survey) {
    QStringList problems;
    for (const FoundFile& file : survey.files) {
        if (!file.problem.isEmpty()) problems << file.problem;
    }
    return problems;
}

// A second at which no list has the name of this run's in any of the histories: a run that was killed may have left
// one.
QDateTime freeStart(const FolderSurvey& survey, QDateTime start) {
    const auto isTaken = [&] {
        return std::any_of(survey.scopes.begin(), survey.scopes.end(), [&](const SealScope& scope) {
            const int number = static_cast<int>(scope.history.chain.size()) + 1;
            const QString name = hashListName(number, paths::lastComponent(scope.history.folder), start);
            return QFileInfo::exists(paths::append(historyFolder(scope.history.folder), name));
        });
    };
    while (isTaken()) start = start.addSecs(1);
    return start;
}

QStringList remarksOf(const FolderSurvey& survey) {
    QStringList remarks;
    for (const SealScope& scope : survey.scopes) remarks += scope.history.remarks;
    return remarks + survey.remarks;
}

} // namespace

QString rawText(SealedState state) {
    switch (state) {
    case SealedState::original: return QStringLiteral("original");
    case SealedState::verified: return QStringLiteral("verified");
    case SealedState::failed: return QStringLiteral("failed");
    case SealedState::renamed: return QStringLiteral("renamed");
    case SealedState::missing: break;
    }
    return QStringLiteral("missing");
}

int SealResult::count(SealedState state) const {
    return static_cast<int>(
        std::count_if(files.begin(), files.end(), [&](const SealedFile& each) { return each.state == state; }));
}

bool SealResult::isWhole() const { return count(SealedState::failed) == 0 && count(SealedState::missing) == 0; }

SealResult sealFolder(const QString& folder, const SealOptions& wanted, const CustodyWatch& watch) {
    const SealOptions options = filledIn(wanted);
    FolderSurvey survey = surveyFolder(folder, options.ignore);
    // What lies in a folder that can't be listed matters to a generation that speaks for the whole.
    refuse(survey.faults() + (options.only ? QStringList() : survey.problems));
    const QDateTime start = freeStart(survey, options.now());
    digestFiles(survey, formatsToRead(survey, options), watch);
    refuse(problemsOf(survey));

    const std::vector<QDateTime> read(survey.files.size(), options.now());
    GenerationPlan plan = planGenerations(survey, {start, read, options});
    if (plan.generations.empty()) return {folder, options.format, 0, {}, {}, remarksOf(survey)};
    publishGenerations(plan.generations);

    const bool hasOwn = plan.generations.back().folder == folder;
    const int own = static_cast<int>(survey.scopes.front().history.chain.size()) + 1;
    SealResult result{folder, options.format, hasOwn ? own : 0, {}, std::move(plan.files), remarksOf(survey)};
    for (const NewGeneration& generation : plan.generations) {
        result.lists << paths::append(historyFolder(generation.folder), generation.name);
    }
    return result;
}

} // namespace ostrel
