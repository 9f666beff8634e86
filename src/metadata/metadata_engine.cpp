#include "metadata/metadata_engine.h"

#include "foundation/chunks/shown_recording.h"
#include "metadata/core_document.h"
#include "metadata/csv_table.h"
#include "metadata/header_room.h"
#include "platform/files/files.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"
#include "platform/text/regular_expression.h"
#include "platform/text/text.h"

#include <QDir>
#include <QXmlStreamReader>

namespace ostrel {
namespace {

struct Field {
    QString name;
    RegularExpression pattern; // over the CORE XML; group 1 is the value, its entities still in it
    bool isWrittenBack;
};

const std::vector<Field>& fields() {
    static const std::vector<Field> table = [] {
        std::vector<Field> result;
        for (const char* text : {"Description", "Originator", "OriginatorReference", "OriginationDate",
                                 "OriginationTime", "TimeReference", "CodingHistory", "ICMT", "ITCH"}) {
            const QString name = QString::fromLatin1(text);
            // The coding history is read and never written on this road: meant.
            result.push_back(
                {name,
                 RegularExpression(QStringLiteral("<%1>(.+?)</%1>").arg(name), RegularExpression::dotMatchesLineBreaks),
                 name != QStringLiteral("CodingHistory")});
        }
        return result;
    }();
    return table;
}

// An INFO field of several lines, which ffmpeg makes of a description, no tool takes: to send it would cost the others.
bool isRefusedAnyway(const QString& name, const QString& value) {
    const bool isInfo = name.size() == 4;
    return isInfo && (value.contains(u'\n') || value.contains(u'\r'));
}

QStringList argumentsFor(const BWFMetadata& metadata) {
    QStringList arguments;
    for (const Field& field : fields()) {
        const auto value = metadata.find(field.name);
        if (value != metadata.end()) arguments << QStringLiteral("--%1=%2").arg(field.name, *value);
    }
    return arguments;
}

// The tool says "malformed input, FIELD …" or "malformed input (FIELD=…".
QStringList refusedFields(const QString& message, const QStringList& sent) {
    QStringList refused;
    for (const QString& field : sent) {
        if (message.contains(QStringLiteral("malformed input, %1 ").arg(field)) ||
            message.contains(QStringLiteral("malformed input (%1=").arg(field))) {
            refused << field;
        }
    }
    return refused;
}

// A field's text out of an XML document: "&amp;" is one character of it.
QString withoutEntities(const QString& text) {
    if (!text.contains(u'&')) return text;
    QString kept = text; // from the reader's own way with line ends
    kept.replace(u'\r', QStringLiteral("&#13;"));
    QXmlStreamReader reader(QStringLiteral("<x>%1</x>").arg(kept));
    reader.readNextStartElement();
    const QString plain = reader.readElementText();
    return reader.hasError() ? text : plain;
}

QString errorText(const ProcessResult& result) { return result.errorText(QStringLiteral("Unknown error")); }

// Whether a row of bwfmetaedit's CORE table holds metadata. Cells are cut at every comma, quotes are not looked at.
bool rowHoldsMetadata(const QStringList& cells) {
    const auto cell = [&](qsizetype index) { return cells.value(index).trimmed(); };
    constexpr qsizetype timeReference = 7;
    constexpr qsizetype originatorReference = 3;
    if (!cell(timeReference).isEmpty() && cell(timeReference) != QStringLiteral("0")) return true;
    if (!cell(originatorReference).isEmpty()) return true;
    return std::count_if(cells.begin(), cells.end(), [](const QString& text) { return !text.trimmed().isEmpty(); }) >=
           2;
}

} // namespace

QString MetadataError::errorDescription() const {
    switch (kind) {
    case Kind::processLaunchFailure: return QStringLiteral("Failed to launch bwfmetaedit: ") + text;
    case Kind::fileNotFound: return QStringLiteral("File not found: ") + text;
    case Kind::coreExportFailed: return QStringLiteral("Failed to export CORE document");
    case Kind::coreImportFailed: break;
    }
    return QStringLiteral("Failed to import CORE document");
}

QString refusedSentence(const MetadataResult& result, const QString& fileName) {
    if (result.refused.isEmpty()) return {};
    return QStringLiteral("bwfmetaedit would not take %1 of %2 as it stands; the other fields were sent without")
        .arg(result.refused.join(QStringLiteral(", ")), fileName);
}

MetadataEngine::MetadataEngine(const QString& bwfmetaeditPath, const QString& sessionID,
                               std::shared_ptr<SourceAnswers> answers)
    : bwfmetaeditPath_(bwfmetaeditPath), sessionTempFolder_(paths::append(cacheFolder(), sessionID)),
      answers_(std::move(answers)) {
    QDir().mkpath(sessionTempFolder_);
}

MetadataResult MetadataEngine::copyMetadata(const QString& source, const QString& target) const {
    QDir().mkpath(sessionTempFolder_); // an earlier job of the session may have cleaned it up meanwhile
    const QString document = paths::append(sessionTempFolder_, freshUuid() + QStringLiteral(".xml"));
    const MetadataResult exported = exportCORE(source, document);
    if (!exported.success) return preservedOr(target, QStringLiteral("Failed to export CORE: ") + exported.message);
    try {
        reaimCoreDocumentFile(document, target);
    } catch (const FileError& error) {
        return preservedOr(target, QStringLiteral("Failed to modify CORE: ") + error.description);
    } catch (const CoreDocumentError& error) {
        return preservedOr(target, QStringLiteral("Failed to modify CORE: ") + error.description);
    }
    const MetadataResult imported = importCORE(document, target);
    files::removeQuietly(document);
    return imported.success ? imported : preservedOr(target, imported.message);
}

QMap<QString, MetadataResult> MetadataEngine::copyMetadataToMultiple(const QString& source,
                                                                     const QStringList& targets) const {
    QMap<QString, MetadataResult> results;
    const std::optional<BWFMetadata> fields = readFields(source);
    for (const QString& target : targets) results.insert(target, writeFields(fields, target));
    return results;
}

std::optional<BWFMetadata> MetadataEngine::readFields(const QString& source) const {
    try {
        return extractBWFFields(source);
    } catch (const MetadataError&) {
        return std::nullopt;
    }
}

MetadataResult MetadataEngine::writeFields(const std::optional<BWFMetadata>& fields, const QString& target) const {
    if (!fields) return {false, QStringLiteral("Failed to extract metadata")};
    try {
        makeRoomFor(target, *fields);
        return applyBWFFields(*fields, target);
    } catch (const MetadataError& error) {
        return {false, QStringLiteral("Error: ") + error.errorDescription()};
    }
}

void MetadataEngine::cleanup() const { files::removeFolderQuietly(sessionTempFolder_); }

void MetadataEngine::cleanupOldSessions(const QDateTime& now) {
    constexpr qint64 aDay = 86'400;
    const QStringList kept{QStringLiteral("manifests"), QStringLiteral("manifests_v2")};
    const QDir folder(cacheFolder());
    for (const QFileInfo& entry : folder.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)) {
        const QDateTime created = entry.birthTime();
        if (kept.contains(entry.fileName()) || !created.isValid() || created.secsTo(now) <= aDay) continue;
        if (entry.isDir() && !entry.isSymLink()) {
            files::removeFolderQuietly(entry.filePath());
        } else {
            files::removeQuietly(entry.filePath());
        }
    }
}

MetadataResult MetadataEngine::exportCORE(const QString& from, const QString& to) const {
    const ShownRecording shown(from);
    return runTool({QStringLiteral("--out-core=") + to, shown.path()}, QStringLiteral("CORE exported successfully"));
}

MetadataResult MetadataEngine::importCORE(const QString& from, const QString& to) const {
    return runTool({QStringLiteral("--in-core=") + from, to}, QStringLiteral("Metadata imported successfully"),
                   paths::parent(to));
}

MetadataResult MetadataEngine::applyBWFFields(const BWFMetadata& metadata, const QString& target) const {
    BWFMetadata sent;
    for (const Field& field : fields()) {
        const QString value = metadata.value(field.name);
        if (field.isWrittenBack && !value.isEmpty() && !isRefusedAnyway(field.name, value)) {
            sent.insert(field.name, value);
        }
    }
    QStringList refused;
    while (true) {
        MetadataResult result = runTool(argumentsFor(sent) << target, QStringLiteral("Metadata applied successfully"));
        const QStringList named = result.success ? QStringList() : refusedFields(result.message, sent.keys());
        if (named.isEmpty()) {
            result.refused = refused;
            return result;
        }
        refused << named;
        for (const QString& field : named) sent.remove(field);
    }
}

BWFMetadata MetadataEngine::extractBWFFields(const QString& path) const {
    std::optional<QString> document;
    try {
        const ProcessResult result = answers_->printed(bwfmetaeditPath_, {QStringLiteral("--out-core-xml=-")}, path);
        if (result.succeeded()) document = decodeUtf8(result.standardOutput);
    } catch (const ProcessLaunchError& error) {
        throw MetadataError(MetadataError::Kind::processLaunchFailure, error.description);
    }
    if (!document) throw MetadataError(MetadataError::Kind::coreExportFailed);
    BWFMetadata metadata;
    for (const Field& field : fields()) {
        if (const auto match = field.pattern.firstMatch(*document))
            metadata.insert(field.name, withoutEntities(match->text(1)));
    }
    return metadata;
}

bool MetadataEngine::verifyMetadataExists(const QString& path) const {
    try {
        const ProcessResult result = ChildProcess::runForResult(
            bwfmetaeditPath_, {QStringLiteral("--out-core=-"), path}, limitsByFileSize({path}));
        const std::vector<QStringList> rows = parseCSV(result.outputText());
        return rows.size() >= 2 && rowHoldsMetadata(rows[1]);
    } catch (const ProcessLaunchError&) {
        return false;
    }
}

MetadataResult MetadataEngine::preservedOr(const QString& target, const QString& failure) const {
    if (verifyMetadataExists(target)) return {true, QStringLiteral("Metadata preserved (via ffmpeg)")};
    return {false, failure};
}

MetadataResult MetadataEngine::runTool(const QStringList& arguments, const QString& successMessage,
                                       const QString& workingFolder) const {
    try {
        const ProcessResult result =
            ChildProcess::runSilently(bwfmetaeditPath_, arguments, limitsByFileSize({arguments.last()}),
                                      ChildProcess::StandardError::captured, workingFolder);
        return result.succeeded() ? MetadataResult{true, successMessage} : MetadataResult{false, errorText(result)};
    } catch (const ProcessLaunchError& error) {
        throw MetadataError(MetadataError::Kind::processLaunchFailure, error.description);
    }
}

} // namespace ostrel
