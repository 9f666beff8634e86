#include "interleaver/lr_cleanup_engine.h"

#include "platform/paths.h"

namespace ostrel {
namespace {

QString backupOf(const QString& file, const QString& libraryRoot) {
    const QString root = libraryRoot.endsWith(u'/') ? libraryRoot : libraryRoot + QLatin1Char('/');
    const bool isInside = file.startsWith(root);
    const QString folder = isInside ? libraryRoot : paths::parent(file);
    const QString relative = isInside ? file.mid(root.size()) : paths::lastComponent(file);
    return paths::append(paths::append(folder, QStringLiteral("Originals")), relative);
}

} // namespace

SourceStepsResult LRCleanupEngine::moveToBackupFolder(const QString& leftURL, const QString& rightURL,
                                                      const QString& libraryRoot, const AudioProof& proof,
                                                      Journal& journal) {
    return takeSourcesAway({{leftURL, backupOf(leftURL, libraryRoot)}, {rightURL, backupOf(rightURL, libraryRoot)}},
                           proof, journal);
}

SourceStepsResult LRCleanupEngine::deleteFiles(const QString& leftURL, const QString& rightURL, const AudioProof& proof,
                                               Journal& journal) {
    return takeSourcesAway({{leftURL, QString()}, {rightURL, QString()}}, proof, journal);
}

} // namespace ostrel
