// Renaming tracks in the poly itself.
#include "foundation/domain_error.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/text.h"
#include "polytools/poly_channel_filter_engine.h"
#include "polytools/wave_data.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace ostrel {
namespace {

DomainError renameError(const QString& description) {
    return DomainError(QStringLiteral("ChannelFilter"), 5, description);
}

// The copy that is worked on, hidden beside the recording so that it can take its place in one step.
class WorkingCopy {
public:
    explicit WorkingCopy(const QString& original)
        : original_(original),
          path(paths::append(paths::parent(original), QStringLiteral(".%1.wav").arg(freshUuid()))) {
        QFile source(original);
        if (source.copy(path)) return;
        files::removeQuietly(path);
        throw FileError(QStringLiteral("Could not copy %1: %2").arg(original, source.errorString()));
    }
    ~WorkingCopy() { files::removeQuietly(path); }
    WorkingCopy(const WorkingCopy&) = delete;
    WorkingCopy& operator=(const WorkingCopy&) = delete;

    // On the disk first, so that a power loss leaves one whole file or the other.
    void replaceOriginal() const {
        flush(path, O_RDWR);
        if (std::rename(QFile::encodeName(path).constData(), QFile::encodeName(original_).constData()) != 0) {
            throw FileError(QStringLiteral("Could not replace %1: %2")
                                .arg(original_, QString::fromLocal8Bit(std::strerror(errno))));
        }
        flush(paths::parent(original_), O_RDONLY);
    }

private:
    static void flush(const QString& what, int mode) {
        const int descriptor = ::open(QFile::encodeName(what).constData(), mode | O_CLOEXEC);
        if (descriptor < 0) return; // a folder that can't be opened for reading has no other way to be flushed
        ::fsync(descriptor);
        ::close(descriptor);
    }

    const QString original_;

public:
    const QString path;
};

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

// The names as the tracks are found by their number, for comparing what was wanted with what is there.
std::map<int, QString> namesByNumber(const QString& ixml) {
    std::map<int, QString> names;
    for (const SourceTrack& track : parseTrackBlocks(ixml)) names.emplace(track.interleaveIndex, track.name);
    return names;
}

} // namespace

ChannelFilterResult PolyChannelFilterEngine::renameTracksInPlace(const PolyFile& polyFile,
                                                                 const RenameMap& renames) const {
    EngineLog log(hooks_, QStringLiteral("PolyChannelFilterEngine"), paths::stem(polyFile.url));
    log.info(LogCategory::process, QStringLiteral("━━━ RENAME TRACKS IN PLACE: %1 ━━━").arg(polyFile.fileName));
    if (tools_.bwfmetaeditPath.isEmpty()) {
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
    const std::optional<QString> old = exportIXML(tools_.bwfmetaeditPath, recording);
    if (recording.isEmpty() || !old) throw renameError(QStringLiteral("bwfmetaedit could not read the iXML"));
    const bool hasTracks = !parseTrackBlocks(*old).empty();
    const QString renamed =
        hasTracks ? replaceTrackNames(*old, names) : withNewTrackList(*old, polyFile.channelCount, names);

    const WorkingCopy copy(recording);
    if (!importIXML(tools_.bwfmetaeditPath, renamed, copy.path)) {
        throw renameError(QStringLiteral("bwfmetaedit could not write the iXML"));
    }
    const std::optional<QString> written = exportIXML(tools_.bwfmetaeditPath, copy.path);
    if (!written || namesByNumber(*written) != namesByNumber(renamed)) {
        throw renameError(QStringLiteral("The new track names could not be read back"));
    }
    if (!sameWaveData(recording, copy.path)) throw renameError(QStringLiteral("The audio of the edited copy differs"));
    copy.replaceOriginal();

    const std::map<int, QString> present = namesByNumber(*written);
    for (const auto& [number, name] : names) {
        if (present.contains(number)) continue;
        log.warning(LogCategory::metadata,
                    QStringLiteral("⚠️ The iXML lists no track %1, name not written").arg(number));
    }
    log.success(LogCategory::metadata,
                QStringLiteral("✏️ Batch rename applied: ") + applied.join(QStringLiteral(", ")));

    ChannelFilterResult result;
    result.success = true;
    result.filesProcessed = 1;
    result.outputFiles = {polyFile.url};
    result.channelCount = polyFile.channelCount;
    for (const auto& [number, name] : present) result.trackNames << name;
    result.logEntries = log.take();
    return result;
}

} // namespace ostrel
