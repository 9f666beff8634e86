#include "polytools/split/iso_output_folder.h"

#include "metadata/metadata_manifest.h"
#include "platform/files/file_name.h"
#include "platform/paths.h"
#include "platform/text/regular_expression.h"
#include "polytools/records/poly_names.h"

#include <optional>

namespace ostrel {
namespace {

using Debug = std::function<void(const QString&)>;

struct SceneAndTake {
    QString scene;
    QString take;
};

void tell(const Debug& debug, const char* source, const SceneAndTake& found) {
    debug(QStringLiteral("%1: %2-T%3").arg(QString::fromUtf8(source), found.scene, found.take));
}

std::optional<SceneAndTake> fromManifest(const MetadataManifest* manifest, const Debug& debug) {
    if (manifest && manifest->ixml && !manifest->ixml->scene.isEmpty() && !manifest->ixml->take.isEmpty()) {
        const SceneAndTake found{manifest->ixml->scene, manifest->ixml->take};
        tell(debug, "✅ [determineOutputFolder] Using Scene/Take from iXML", found);
        return found;
    }
    // Unlike those of the iXML, fields of the BEXT pass that are there and empty; absent ones are null.
    if (manifest && manifest->bext && !manifest->bext->scene.isNull() && !manifest->bext->take.isNull()) {
        const SceneAndTake found{manifest->bext->scene, manifest->bext->take};
        tell(debug, "✅ [determineOutputFolder] Using Scene/Take from BEXT", found);
        return found;
    }
    return std::nullopt;
}

std::optional<SceneAndTake> fromFileName(const QString& stem, const Debug& debug) {
    static const RegularExpression pattern(QStringLiteral("^(\\d+[A-Z])T(\\d+)"));
    const auto match = pattern.firstMatch(stem);
    if (!match) return std::nullopt;
    const SceneAndTake found{match->text(1), match->text(2)};
    tell(debug, "⚠️ [determineOutputFolder] No metadata, using filename", found);
    return found;
}

// Ready for a folder: what the rules leave of a name may be nothing, and may be too long.
QString folderName(const QString& name, const QString& ending = QString()) {
    return fittedFileName(sanitizeFolderName(fittedFileName(name, ending)), QString());
}

QString ownName(const QString& stem, const Debug& debug) {
    static const RegularExpression take(QStringLiteral("-T\\d+$"));
    if (const auto match = take.firstMatch(stem)) {
        const QString name = folderName(stem.left(match->start()));
        debug(QStringLiteral("✅ [determineOutputFolder] Using filename base (stripped take): ") + name);
        return name;
    }
    const QString name = folderName(stem);
    debug(QStringLiteral("✅ [determineOutputFolder] Using filename base as-is: ") + name);
    return name;
}

} // namespace

QString sanitizeFolderName(const QString& name) {
    QString result = name;
    for (const QChar character : QStringLiteral("/\\:*?\"<>|")) result.replace(character, u'-');
    result = result.trimmed();
    const bool leadsElsewhere = result == QStringLiteral(".") || result == QStringLiteral("..");
    return leadsElsewhere ? result.replace(u'.', u'-') : result;
}

QString isoOutputFolder(const PolyFile& polyFile, const MetadataManifest* manifest, const QString& baseFolder,
                        FolderOrganization organization, const Debug& debug) {
    if (organization == FolderOrganization::flat) return baseFolder;
    const QString stem = paths::stem(polyFile.url);
    std::optional<SceneAndTake> found = fromManifest(manifest, debug);
    if (!found) found = fromFileName(stem, debug);
    if (!found) return paths::append(baseFolder, ownName(stem, debug));
    const bool isByScene = organization == FolderOrganization::byScene;
    return paths::append(baseFolder, folderName(found->scene, isByScene ? QString() : takeEnding(found->take)));
}

} // namespace ostrel
