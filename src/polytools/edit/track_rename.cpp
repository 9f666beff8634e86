#include "polytools/edit/track_rename.h"

#include "foundation/chunks/chunk_bytes.h"
#include "foundation/domain_error.h"
#include "foundation/proof/output_proof.h"
#include "foundation/proof/unexplained_bytes.h"
#include "foundation/run/in_place.h"
#include "foundation/run/journal.h"
#include "foundation/run/run_ledger.h"
#include "metadata/bext_completion.h"
#include "metadata/chunks/chunk_setting.h"
#include "metadata/ixml_fitting.h"
#include "metadata/metadata_comparison.h"
#include "platform/files/files.h"
#include "platform/files/replacement.h"
#include "platform/paths.h"
#include "platform/text/text.h"
#include "wave/same_audio.h"

#include <QFile>
#include <QFileInfo>

namespace ostrel {
namespace {

DomainError renameError(const QString& description) {
    return DomainError(QStringLiteral("ChannelFilter"), 5, description);
}

std::string nameOf(const QString& path) { return QFile::encodeName(path).toStdString(); }

QString trackElement(const SourceTrack& track) {
    return QStringLiteral("<TRACK><CHANNEL_INDEX>%1</CHANNEL_INDEX><INTERLEAVE_INDEX>%2</INTERLEAVE_INDEX>"
                          "<NAME>%3</NAME></TRACK>")
        .arg(track.channelIndex)
        .arg(track.interleaveIndex)
        .arg(encodeXMLText(track.name));
}

// For a recording without a track list. The document of a recorder keeps everything else that it holds.
QString withNewTrackList(const QString& ixml, int channelCount, const std::map<int, QString>& names) {
    QString list = QStringLiteral("<TRACK_LIST><TRACK_COUNT>%1</TRACK_COUNT>").arg(channelCount);
    for (SourceTrack track : sequentialTracks(channelCount)) {
        if (const auto name = names.find(track.interleaveIndex); name != names.end()) track.name = name->second;
        list += trackElement(track);
    }
    list += QStringLiteral("</TRACK_LIST>");
    const qsizetype end = ixml.lastIndexOf(QStringLiteral("</BWFXML>"));
    if (end >= 0) return ixml.left(end) + list + ixml.mid(end);
    if (!ixml.trimmed().isEmpty())
        throw renameError(QStringLiteral("The recording's iXML has no track list and can't be extended"));
    return QStringLiteral(
               "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML><IXML_VERSION>1.5</IXML_VERSION>%1</BWFXML>\n")
        .arg(list);
}

// The direct engine reads and writes the chunk itself, and so keeps its line ends.
std::optional<QString> readIxml(const PolyEngineTools& tools, SourceAnswers& answers, const QString& file) {
    if (tools.engine() == EngineChoice::ffmpeg) return exportIXML(answers, tools.bwfmetaeditPath, file);
    const auto chunk = WaveChunks(file).bytes("iXML");
    return chunk ? decodedIxml(*chunk) : QString();
}

bool writeIxml(const PolyEngineTools& tools, const QString& ixml, const QString& file) {
    if (tools.engine() == EngineChoice::ffmpeg) return importIXML(tools.bwfmetaeditPath, ixml, file);
    return setChunk(file, "iXML", ixml.toUtf8(), ' ').isEmpty();
}

QString readerOf(const PolyEngineTools& tools) {
    return tools.engine() == EngineChoice::ffmpeg ? QStringLiteral("bwfmetaedit") : QStringLiteral("The direct engine");
}

// The recording is named as the person named it; a link leads to it.
std::optional<ProofRecord> proofOfCopy(const PolyFile& poly, const QString& recording, const NewFile& copy,
                                       bool proves) {
    std::vector<ChannelPair> pairs;
    for (int channel = 0; channel < poly.channelCount; ++channel) {
        pairs.push_back({{recording, channel}, {copy.path(), channel}});
    }
    std::optional<ProofRecord> proof = OutputProof(proves).of(pairs, {{copy.path(), poly.url}});
    if (proof && proof->differs()) throw ProofError(*proof);
    return proof;
}

// The names as the tracks are found by their number, for comparing what was wanted with what is there.
std::map<int, QString> namesByNumber(const QString& ixml) {
    std::map<int, QString> names;
    for (const SourceTrack& track : parseTrackBlocks(ixml)) names.emplace(track.interleaveIndex, track.name);
    return names;
}

} // namespace

ChannelFilterResult renameTracksInPlace(const PolyFile& polyFile, const RenameMap& renames,
                                        const PolyEngineTools& tools, const PolyEngineHooks& hooks, bool proves) {
    EngineLog log(hooks, QStringLiteral("PolyChannelFilterEngine"), paths::stem(polyFile.url));
    log.info(LogCategory::process, QStringLiteral("━━━ RENAME TRACKS IN PLACE: %1 ━━━").arg(polyFile.fileName));
    if (tools.engine() == EngineChoice::ffmpeg && tools.bwfmetaeditPath.isEmpty()) {
        throw renameError(QStringLiteral("bwfmetaedit not found - track names can't be changed in place"));
    }
    std::map<int, QString> names;
    QStringList applied;
    for (const auto& [number, name] : renames) {
        if (name.isEmpty()) continue;
        if (number < 1 || number > polyFile.channelCount) {
            log.warning(LogCategory::metadata, QStringLiteral("⚠️ No channel %1 to rename").arg(number));
            continue;
        }
        names.emplace(number, name);
        applied << QStringLiteral("Ch%1→%2").arg(number).arg(name);
    }

    const QString recording = QFileInfo(polyFile.url).canonicalFilePath(); // a link stays a link to the new file
    const std::optional<FileStamp> before = FileStamp::of(recording);      // ahead of the first look at its contents
    if (!before) throw renameError(QStringLiteral("The recording is not there"));
    RunLedger ownLedger(QStringList{recording});
    const QStringList cleared = (hooks.ledger ? *hooks.ledger : ownLedger).prepareFolder(paths::parent(recording));
    for (const QString& sentence : cleared) log.warning(LogCategory::process, sentence);
    requireReplaceable(recording);
    if (const QString why = unexplainedBytesOf(recording); !why.isEmpty()) {
        throw renameError(QStringLiteral("The recording is not replaced: ") + why);
    }
    const std::optional<QString> old = readIxml(tools, *tools.answers, recording);
    if (!old) throw renameError(QStringLiteral("%1 could not read the iXML").arg(readerOf(tools)));
    const bool hasTracks = !parseTrackBlocks(*old).empty();
    const QString renamed =
        hasTracks ? replaceTrackNames(*old, names) : withNewTrackList(*old, polyFile.channelCount, names);

    NewFile copy(recording);
    copyForChanges(copy);
    if (!writeIxml(tools, renamed, copy.path())) {
        throw renameError(QStringLiteral("%1 could not write the iXML").arg(readerOf(tools)));
    }
    SourceAnswers ofTheCopy; // nothing that was said of any file before counts here
    const std::optional<QString> written = readIxml(tools, ofTheCopy, copy.path());
    if (!written || namesByNumber(*written) != namesByNumber(renamed)) {
        throw renameError(QStringLiteral("The new track names could not be read back"));
    }
    if (!refitDescription(copy.path())) {
        throw renameError(QStringLiteral("The Description could not be brought in line with the new track names"));
    }
    if (!sameAudio(nameOf(recording), nameOf(copy.path()))) {
        throw renameError(QStringLiteral("The audio of the edited copy differs"));
    }
    const std::optional<ProofRecord> proven = proofOfCopy(polyFile, recording, copy, proves);
    MetadataRecord metadata; // told of where somebody asked for a proof
    if (proven) metadata = compareMetadata(recording, copy.path(), SourceUmid::kept);
    const auto journal = hooks.journal ? hooks.journal : std::make_shared<Journal>(QStringLiteral("edit"));
    takePlace(copy, *before, *journal);

    const std::map<int, QString> present = namesByNumber(*written);
    for (const auto& [number, name] : names) {
        if (present.contains(number)) continue;
        log.warning(LogCategory::metadata,
                    QStringLiteral("⚠️ The iXML lists no track %1, name not written").arg(number));
    }
    log.success(LogCategory::metadata,
                QStringLiteral("✏️ Batch rename applied: ") + applied.join(QStringLiteral(", ")));

    ChannelFilterResult result;
    result.outcome.status = ProcessingStatus::completed();
    result.outcome.outputs = {polyFile.url};
    result.outcome.warnings = cleared;
    result.outcome.proof = proven;
    result.outcome.metadata = metadata;
    result.outcome.sources = {{polyFile.url, SourceFate::Kind::replaced, QString()}};
    result.channelCount = polyFile.channelCount;
    for (const auto& [number, name] : present) result.trackNames << name;
    result.logEntries = log.take();
    return result;
}

} // namespace ostrel
