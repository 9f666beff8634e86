#include "custody/seal_glance.h"

#include "custody/folder_survey.h"
#include "custody/lists/chain.h"
#include "platform/text/text.h"

namespace ostrel {

QString SealGlance::text() const {
    if (isDamaged) return QStringLiteral("Sealed, but its history is damaged");
    return QStringLiteral("Sealed, %1 %2, %3 %4")
        .arg(files)
        .arg(plural("file", files))
        .arg(generations)
        .arg(plural("generation", generations));
}

std::optional<SealGlance> glanceAtSeal(const QString& path) {
    const std::optional<QString> folder = sealedFolderOf(path);
    if (!folder) return std::nullopt;
    const FolderSurvey survey = surveyFolder(*folder);
    SealGlance glance{.folder = *folder};
    glance.files = static_cast<int>(survey.known().size());
    glance.generations = static_cast<int>(survey.scopes.front().history.chain.size());
    glance.isDamaged = !survey.faults().isEmpty();
    return glance;
}

} // namespace ostrel
