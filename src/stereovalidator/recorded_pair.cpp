#include "stereovalidator/recorded_pair.h"

#include "foundation/chunks/chunk_bytes.h"
#include "metadata/bext/description_lines.h"
#include "metadata/ixml/ixml_text.h"
#include "metadata/ixml_fitting.h"
#include "platform/paths.h"

#include <algorithm>

namespace ostrel {
namespace {

using Kind = RecordedPair::Kind;

constexpr qsizetype kDescriptionBytes = 256;

QString plain(const QString& name) {
    QString result;
    for (const QChar letter : name.toUpper()) {
        if (letter.isLetterOrNumber()) result += letter;
    }
    return result;
}

bool isOneOf(const QString& word, std::initializer_list<const char*> words) {
    return std::any_of(words.begin(), words.end(), [&](const char* each) { return word == QLatin1String(each); });
}

// Whether the two are that pair, in this order, perhaps behind words that both have: "Amb M", "Amb S".
bool endsAsPair(const QString& a, const QString& b, const char* first, const char* second) {
    const QLatin1String left(first);
    const QLatin1String right(second);
    return a.endsWith(left) && b.endsWith(right) && a.chopped(left.size()) == b.chopped(right.size());
}

bool isMidSide(const QString& a, const QString& b) {
    if (endsAsPair(a, b, "MID", "SIDE") || endsAsPair(b, a, "MID", "SIDE")) return true;
    return (endsAsPair(a, b, "M", "S") || endsAsPair(b, a, "M", "S")) &&
           (a.size() == 1 || a.endsWith(QLatin1String("MSM")) || a.endsWith(QLatin1String("MSS")));
}

bool isLeftRight(const QString& a, const QString& b) {
    return endsAsPair(a, b, "LEFT", "RIGHT") || endsAsPair(a, b, "L", "R");
}

bool isAmbisonic(const QString& name) {
    return isOneOf(name, {"W", "X", "Y", "Z", "AMBW", "AMBX", "AMBY", "AMBZ", "AMBIW", "AMBIX", "AMBIY", "AMBIZ"});
}

bool isBackupOf(const QString& name, const QString& other) {
    return isOneOf(name, {"BU", "BU1", "BU2", "BACKUP", "BACKUP1", "BACKUP2"}) ||
           (name.startsWith(other) && isOneOf(name.mid(other.size()), {"BU", "BACKUP", "BU1", "BU2"}));
}

bool isDualOf(const QString& name, const QString& other) {
    const QString upper = name.toUpper();
    return (upper.endsWith(QLatin1String("_D")) || upper.endsWith(QLatin1String("-D")) ||
            upper.endsWith(QLatin1String(" SAFETY")) || upper.endsWith(QLatin1String("_SAFETY"))) ||
           isOneOf(plain(name), {"SAFETY", "DUAL"}) ||
           (!other.isEmpty() && plain(name) == plain(other) + QLatin1Char('D'));
}

// What a recorder calls a track that nobody named: "Tr1", "Track 2", "CH1", "3".
bool isNumber(const QString& name) {
    QString rest = name;
    for (const char* prefix : {"TRACK", "TRK", "TR", "CHANNEL", "CHAN", "CH", "ISO", "INPUT", "IN", "A"}) {
        if (!rest.startsWith(QLatin1String(prefix))) continue;
        rest = rest.mid(qsizetype(qstrlen(prefix)));
        break;
    }
    return std::all_of(rest.begin(), rest.end(), [](QChar letter) { return letter.isDigit(); });
}

Kind kindOfFunctions(const QString& a, const QString& b) {
    const auto both = [&](const char* word) {
        return a.contains(QLatin1String(word)) && b.contains(QLatin1String(word));
    };
    if (both("MID_SIDE") || both("MIDSIDE")) return Kind::midSide;
    if (both("B_FORMAT") || both("BFORMAT") || both("AMBISONIC")) return Kind::ambisonic;
    if (both("MIX")) return Kind::mix;
    if (isOneOf(a, {"LEFT", "L"}) && isOneOf(b, {"RIGHT", "R"})) return Kind::stereo;
    return Kind::unknown;
}

Kind kindOfNames(const QString& left, const QString& right, const QString& fileName) {
    const QString a = plain(left);
    const QString b = plain(right);
    if (isDualOf(right, left) != isDualOf(left, right)) return Kind::dualLevel;
    if (paths::stem(fileName).toUpper().endsWith(QLatin1String("_D"))) return Kind::dualLevel;
    if (a.isEmpty() || b.isEmpty()) return Kind::unknown;
    if (isMidSide(a, b)) return Kind::midSide;
    if (isAmbisonic(a) && isAmbisonic(b)) return Kind::ambisonic;
    if (endsAsPair(a, b, "MIXL", "MIXR") || endsAsPair(a, b, "MIXLEFT", "MIXRIGHT") ||
        (a == b && a == QLatin1String("MIX"))) {
        return Kind::mix;
    }
    if (isLeftRight(a, b)) return Kind::stereo;
    if (isBackupOf(b, a) || isBackupOf(a, b)) return Kind::backup;
    if (isNumber(a) || isNumber(b) || a == b) return Kind::unknown;
    // "Rain 1", "Rain 2" and "Amb-a", "Amb-b" are one pair; "Boom" and "Lav" are not.
    return a.chopped(1) == b.chopped(1) ? Kind::unknown : Kind::separate;
}

} // namespace

RecordedPair recordedPairOf(const std::array<TrackLabel, 2>& tracks, const QString& fileName) {
    const auto& [left, right] = tracks;
    RecordedPair pair{.kind = kindOfFunctions(left.function.toUpper(), right.function.toUpper())};
    if (pair.kind == Kind::unknown) pair.kind = kindOfNames(left.name, right.name, fileName);
    if (pair.kind == Kind::unknown) return pair;
    const auto word = [](const TrackLabel& track) { return track.name.isEmpty() ? track.function : track.name; };
    QStringList words{word(left), word(right)};
    words.removeAll(QString());
    pair.words = words.isEmpty() ? fileName : words.join(QStringLiteral(", "));
    return pair;
}

RecordedPair readRecordedPair(const QString& path, int channels, int first, int second) {
    const WaveChunks chunks(path);
    std::array<TrackLabel, 2> labels;
    const std::array places{static_cast<std::size_t>(first), static_cast<std::size_t>(second)};
    if (const auto ixml = chunks.bytes("iXML")) {
        if (const auto document = decodedIxml(*ixml)) {
            const std::vector<TrackIndices> tracks = tracksOf(*document, channels);
            for (std::size_t i = 0; i < 2; ++i) {
                labels[i] = {decodeXMLText(tracks[places[i]].trackName).trimmed(),
                             decodeXMLText(tracks[places[i]].function).trimmed()};
            }
        }
    }
    if (const auto bext = chunks.bytes("bext"); bext && labels[0].name.isEmpty() && labels[1].name.isEmpty()) {
        const QMap<QString, QString> keys = descriptionKeys(bext->left(kDescriptionBytes));
        for (std::size_t i = 0; i < 2; ++i) {
            const QString number = QString::number(places[i] + 1);
            labels[i].name = keys.value(QStringLiteral("TRK") + number, keys.value(QStringLiteral("TR") + number));
        }
    }
    return recordedPairOf(labels, paths::lastComponent(path));
}

} // namespace ostrel
