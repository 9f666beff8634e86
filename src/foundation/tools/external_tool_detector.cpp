#include "foundation/tools/external_tool_detector.h"

#include "platform/diagnostics.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"

namespace ostrel {

QStringList ExternalToolDetector::systemPaths(const QString& tool) {
    QStringList result{QStringLiteral("/opt/homebrew/bin/") + tool, QStringLiteral("/usr/local/bin/") + tool};
    if (tool == QStringLiteral("bwfmetaedit")) {
        result << QStringLiteral("/Applications/BWF MetaEdit.app/Contents/MacOS/bwfmetaedit");
    }
    return result << QStringLiteral("/usr/bin/") + tool;
}

ExternalToolDetector::ExternalToolDetector(const QString& folder, SystemPaths places)
    : resourceFolder_(folder.isEmpty() ? resourceFolder() : folder),
      dataFolders_(folder.isEmpty() ? dataFolders() : QStringList()), places_(std::move(places)) {
    detectTools();
}

void ExternalToolDetector::detectTools() {
    const auto find = [this](const QString& name) { return findTool(name, places_(name)); };
    ffmpegPath = find(QStringLiteral("ffmpeg"));
    ffprobePath = find(QStringLiteral("ffprobe"));
    bwfmetaeditPath = find(QStringLiteral("bwfmetaedit"));
    ffmpegAvailable = !ffmpegPath.value().isEmpty() && !ffprobePath.value().isEmpty();
    bwfmetaeditAvailable = !bwfmetaeditPath.value().isEmpty();
    lastCheckTime = QDateTime::currentDateTime();
}

QString ExternalToolDetector::findTool(const QString& name, const QStringList& searchPaths) const {
    if (const QString bundled = findBundled(name); !bundled.isEmpty()) {
        printDiagnostic(QStringLiteral("✅ Found bundled %1: %2").arg(name, bundled));
        return bundled;
    }
    if (const QString found = lookUpResource(name); !found.isEmpty()) {
        printDiagnostic(QStringLiteral("✅ Found bundled %1 via forResource: %2").arg(name, found));
        return found;
    }
    if (const QString found = runWhich(name); !found.isEmpty()) {
        printDiagnostic(QStringLiteral("✅ Found %1 via which: %2").arg(name, found));
        return found;
    }
    for (const QString& path : searchPaths) {
        if (!paths::isExecutableFile(path)) continue;
        printDiagnostic(QStringLiteral("✅ Found %1 at system path: %2").arg(name, path));
        return path;
    }
    printDiagnostic(QStringLiteral("❌ %1 not found (checked bundled, PATH, and system paths)").arg(name));
    return QString();
}

QString ExternalToolDetector::findBundled(const QString& name) const {
    for (const char* folder : {"Resources/bin/", "bin/"}) {
        const QString path = paths::append(resourceFolder_, QString::fromLatin1(folder) + name);
        if (paths::isExecutableFile(path)) return path;
    }
    return QString();
}

QString ExternalToolDetector::lookUpResource(const QString& name) const {
    for (const QString& data : dataFolders_) {
        for (const char* folder : {"Resources/bin/", "bin/"}) {
            const QString path = paths::append(data, QString::fromLatin1(folder) + name);
            if (paths::isExecutableFile(path)) return path;
        }
    }
    return QString();
}

QString ExternalToolDetector::runWhich(const QString& name) {
    try {
        const ChildLimits limits{.total = std::chrono::seconds(30), .standStill = std::nullopt};
        const ProcessResult result = ChildProcess::runForResult(QStringLiteral("/usr/bin/which"), {name}, limits);
        const QString path = result.succeeded() ? result.outputText().trimmed() : QString();
        return path.startsWith(u'/') ? path : QString(); // the working folder is no place to take tools from
    } catch (const ProcessLaunchError&) {
        return QString(); // no `which` here: the list of usual places is still to come
    }
}

} // namespace ostrel
