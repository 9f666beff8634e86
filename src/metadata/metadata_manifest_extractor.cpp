#include "metadata/metadata_manifest_extractor.h"

#include "foundation/chunks/shown_recording.h"
#include "foundation/logs/debug_log.h"
#include "metadata/bext_csv.h"
#include "metadata/file_hash.h"
#include "metadata/ixml_parser.h"
#include "platform/diagnostics.h"
#include "platform/files/files.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "platform/text/text.h"

#include <QDateTime>
#include <QFileInfo>
#include <utility>

namespace ostrel {
namespace {

constexpr int kNoExitCode = -1;

QString cachedManifestPath(const QString& url) { return paths::append(manifestCacheFolder(), manifestFilename(url)); }

// Moves the sidecar's bytes into the cache. The manifest is good whether or not that succeeds.
void migrate(const QString& sidecar, const QString& url) {
    try {
        files::createFolder(manifestCacheFolder());
        files::writeAtomically(cachedManifestPath(url), files::read(sidecar));
        files::remove(sidecar);
    } catch (const FileError& error) {
        printDiagnostic(QStringLiteral("⚠️ Manifest stays beside its source: ") + error.description);
    }
}

QString orNone(const QString& text) { return text.isEmpty() ? QStringLiteral("none") : text; }
} // namespace

ManifestError::ManifestError(int exitCode, const QString& text)
    : std::runtime_error(
          QStringLiteral("bwfmetaedit failed with code %1: %2").arg(QString::number(exitCode), text).toStdString()),
      code(exitCode), standardError(text) {}

MetadataManifestExtractor::MetadataManifestExtractor(const QString& bwfmetaeditPath, Logger logger,
                                                     std::shared_ptr<SourceAnswers> answers)
    : bwfmetaeditPath_(bwfmetaeditPath), logger_(std::move(logger)), answers_(std::move(answers)) {}

MetadataManifest MetadataManifestExtractor::extractAndSaveManifest(const QString& url) const {
    log(QStringLiteral("Extracting %1: source exists=%2, bwfmetaedit exists=%3")
            .arg(paths::lastComponent(url), trueOrFalse(paths::exists(url)),
                 trueOrFalse(paths::exists(bwfmetaeditPath_))));
    const QString coreText = exportText(QStringLiteral("--out-core="), files::temporaryPath(QStringLiteral("core.csv")),
                                        url, QStringLiteral("core"), QStringLiteral("Core CSV"));
    const QString ixmlText = exportText(QStringLiteral("--out-iXML="), files::temporaryPath(QStringLiteral("ixml.xml")),
                                        url, QStringLiteral("iXML"), QStringLiteral("iXML XML"));
    const MetadataManifest manifest = buildManifest(url, coreText, ixmlText);
    writeManifest(manifest, url);
    return manifest;
}

QString MetadataManifestExtractor::exportText(const QString& option, const QString& document, const QString& url,
                                              const QString& subject, const QString& fileSubject) const {
    std::optional<QByteArray> bytes;
    try {
        bytes = exported(option, document, url);
    } catch (const ManifestError& error) {
        throw ManifestError(kNoExitCode,
                            QStringLiteral("Failed to export %1 metadata: %2").arg(subject, error.errorDescription()));
    }
    if (!bytes) {
        throw ManifestError(kNoExitCode, QStringLiteral("%1 file was not created at %2").arg(fileSubject, document));
    }
    const std::optional<QString> text = decodeUtf8(*bytes);
    if (!text) {
        throw ManifestError(kNoExitCode, QStringLiteral("%1 file at %2 is not UTF-8").arg(fileSubject, document));
    }
    return *text;
}

std::optional<QByteArray> MetadataManifestExtractor::exported(const QString& option, const QString& document,
                                                              const QString& url) const {
    const QString command = QStringList{bwfmetaeditPath_, option + document, url}.join(u' ');
    try {
        const auto [result, bytes] = answers_->exported(bwfmetaeditPath_, option, document, url);
        if (result.succeeded()) return bytes;
        throw ManifestError(result.exitStatus,
                            QStringLiteral("bwfmetaedit exited with code %1. Command: %2. Stderr: %3")
                                .arg(QString::number(result.exitStatus), command, result.errorText()));
    } catch (const ProcessLaunchError& error) {
        throw ManifestError(kNoExitCode, QStringLiteral("Failed to launch bwfmetaedit: %1. Command: %2. Stderr: %3")
                                             .arg(error.description, command, QString()));
    }
}

MetadataManifest MetadataManifestExtractor::buildManifest(const QString& url, const QString& coreText,
                                                          const QString& ixmlText) const {
    const auto forward = [this](const QString& message) { log(message); };
    const QFileInfo info(url);
    if (!info.exists()) throw FileError(QStringLiteral("Could not read %1: no such file").arg(url));
    MetadataManifest manifest;
    manifest.sourceFile.path = url;
    manifest.sourceFile.fileName = paths::lastComponent(url);
    manifest.sourceFile.fileSize = info.size();
    manifest.sourceFile.fileHash = QStringLiteral("sha256:") + sha256OfFile(url);
    manifest.sourceFile.extractionDate = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
    manifest.bext = parseBextCsv(coreText, forward);
    log(QStringLiteral("Parsing iXML XML data (%1 characters)...").arg(ixmlText.size()));
    manifest.ixml = parseIxmlXml(ixmlText);
    if (manifest.ixml) {
        log(QStringLiteral("✅ iXML metadata built: %1 tracks").arg(manifest.ixml->trackList.size()));
        log(QStringLiteral("✅ iXML parsing complete: project=%1, scene=%2, take=%3, tracks=%4")
                .arg(orNone(manifest.ixml->project), orNone(manifest.ixml->scene), orNone(manifest.ixml->take),
                     QString::number(manifest.ixml->trackList.size())));
    } else {
        log(QStringLiteral("⚠️ iXML parsing returned nil"));
    }
    manifest.rawXml = RawXml{coreText, ixmlText};
    return manifest;
}

std::optional<MetadataManifest> MetadataManifestExtractor::loadManifest(const QString& url) {
    if (auto cached = readManifestFile(cachedManifestPath(url))) return cached;
    const QString sidecar = paths::append(paths::parent(url), manifestFilename(url));
    auto manifest = readManifestFile(sidecar);
    if (manifest) migrate(sidecar, url);
    return manifest;
}

void MetadataManifestExtractor::writeManifest(const MetadataManifest& manifest, const QString& url) {
    files::createFolder(manifestCacheFolder());
    files::writeAtomically(cachedManifestPath(url), manifest.toJson());
}

void MetadataManifestExtractor::log(const QString& message) const {
    const QString tag = QStringLiteral("MetadataManifestExtractor");
    printDiagnostic(debugLogLine(tag, message));
    appendToDebugLog(tag, message, paths::append(paths::parent(cacheFolder()), QStringLiteral("ostrel_debug.log")));
    if (logger_) logger_(message);
}

} // namespace ostrel
