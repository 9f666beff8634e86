// Any text as what people and recorders hand to Poly Tools: track lists, track names, channel lists.
#include "polytools/records/channel_filter_options.h"
#include "polytools/records/iso_file_names.h"
#include "polytools/records/ixml_track_list.h"
#include "polytools/split/iso_output_folder.h"

#include <QSet>
#include <cstdlib>

using namespace ostrel;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

void checkRename(const QString& text) {
    const std::vector<SourceTrack> tracks = parseTrackBlocks(text);
    require(replaceTrackNames(text, {}) == text);
    std::map<int, QString> names;
    for (const SourceTrack& track : tracks) names[track.interleaveIndex] = QStringLiteral("A & <B>");
    const std::vector<SourceTrack> renamed = parseTrackBlocks(replaceTrackNames(text, names));
    require(renamed.size() == tracks.size());
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        require(renamed[i].interleaveIndex == tracks[i].interleaveIndex &&
                renamed[i].name == QStringLiteral("A & <B>"));
    }
}

void checkNames(const QString& text) {
    require(decodeXMLText(encodeXMLText(text)) == text);
    std::vector<IsoNameRequest> channels;
    for (const QString& name : text.split(u'\n')) channels.push_back({static_cast<int>(channels.size()), name});
    const QStringList names =
        isoOutputNames(QStringLiteral("P"), channels, SplitNamingPattern::trackName, false, {QStringLiteral("P.wav")});
    QSet<QString> seen;
    for (const QString& name : names) {
        require(!name.contains(u'/') && name.toUtf8().size() <= 300 && !seen.contains(name.toCaseFolded()));
        seen.insert(name.toCaseFolded());
    }
    const QString folder = sanitizeFolderName(text);
    require(!folder.contains(u'/') && folder != QStringLiteral(".."));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    checkRename(text);
    checkNames(text);
    for (const int number : parseChannelNumbers(text)) require(number >= 1 && number <= 65535);
    for (const QString& term : nameFilterTerms(text)) require(!term.isEmpty());
    return 0;
}
