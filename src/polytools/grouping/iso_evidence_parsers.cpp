#include "metadata/ixml/ixml_text.h"
#include "platform/paths.h"
#include "platform/text/regular_expression.h"
#include "polytools/grouping/iso_evidence.h"

#include <QStringList>
#include <algorithm>
#include <cmath>
#include <vector>

namespace ostrel {
namespace {

// One TRACK of an iXML document.
struct IxmlTrack {
    QString nameRaw;
    QString nameNorm;
    int interleave = 0;
    int channel = 0;
};

QString tagText(const QString& ixml, QStringView tag) {
    const auto element = plainElement(ixml, tag, false);
    return element ? element->innerText(ixml).trimmed() : QString();
}

std::optional<quint64> unsignedNumber(const QString& text) {
    bool isNumber = false;
    const quint64 number = text.toULongLong(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

// "hh:mm:ss:ff" at 30 frames a second whatever the recording's frame rate: a key to compare, not a timecode to show.
QString timecodeText(double seconds) {
    constexpr double mostSeconds = 1e15; // beyond it there are no fractions left
    if (!(seconds >= 0 && seconds < mostSeconds)) return {};
    const auto whole = static_cast<qint64>(seconds);
    const auto frames = static_cast<int>((seconds - static_cast<double>(whole)) * 30.0);
    const auto two = [](qint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    return QStringList{two(whole / 3600), two(whole % 3600 / 60), two(whole % 60), two(frames)}.join(u':');
}

QString timecodeOf(const QString& ixml) {
    const auto low = unsignedNumber(tagText(ixml, u"TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO"));
    bool isNumber = false;
    const double rate = tagText(ixml, u"TIMESTAMP_SAMPLE_RATE").toDouble(&isNumber);
    if (!low || !isNumber || !(rate > 0)) return {};
    const quint64 high = unsignedNumber(tagText(ixml, u"TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI")).value_or(0);
    return timecodeText(static_cast<double>((high << 32) | *low) / rate);
}

// What follows the equals sign in the first match of `value`, on the first line that holds `key`. Keys have a letter of
// the recorder's make in front: sSCENE, gSCENE, zSCENE.
QString recorderValue(const QStringList& lines, const RegularExpression& key, const RegularExpression& value) {
    for (const QString& line : lines) {
        if (!key.matches(line)) continue;
        const auto match = value.firstMatch(line);
        return match ? match->text(1).trimmed() : QString();
    }
    return {};
}

QString timecodeIn(const QStringList& lines) {
    static const RegularExpression timecode(QStringLiteral("(\\d{2}:\\d{2}:\\d{2}:\\d{2})"));
    for (const QString& line : lines) {
        if (!line.contains(u"TimeReference") && !line.contains(u"Timecode")) continue;
        if (const auto match = timecode.firstMatch(line)) return match->text(1);
    }
    return {};
}

// A track without both indices can't be ordered; it is told of in `messages`.
std::vector<IxmlTrack> tracksOf(const QString& ixml, const QString& fileName, QStringList& messages) {
    std::vector<IxmlTrack> tracks;
    for (const IxmlElement& element : allElementsAcrossLines(ixml, u"TRACK")) {
        const QString block = element.innerText(ixml);
        const auto name = plainElement(block, u"NAME", true);
        const QString raw = name ? name->innerText(block) : QString();
        const auto interleave = numberInElement(block, u"INTERLEAVE_INDEX");
        const auto channel = numberInElement(block, u"CHANNEL_INDEX");
        if (interleave && channel) {
            tracks.push_back({raw, normalizedTrackName(raw), *interleave, *channel});
        } else {
            messages << QStringLiteral(
                            "⚠️ [iXML] Track '%1' of %2 lacks INTERLEAVE_INDEX or CHANNEL_INDEX, left out")
                            .arg(raw, fileName);
        }
    }
    return tracks;
}

QString listed(const std::vector<IxmlTrack>& tracks) {
    QStringList items;
    for (const IxmlTrack& track : tracks)
        items << QStringLiteral("%1(Ch%2)").arg(track.nameRaw, QString::number(track.channel));
    return items.join(QStringLiteral(", "));
}

bool oneHoldsTheOther(const QString& a, const QString& b) {
    return !a.isEmpty() && !b.isEmpty() && (a.contains(b) || b.contains(a));
}

struct TrackMatch {
    const IxmlTrack* track = nullptr;
    QString message;
};

TrackMatch bestMatch(const std::vector<IxmlTrack>& tracks, const QString& candidate, const QString& normalized) {
    const auto exact = std::ranges::find(tracks, normalized, &IxmlTrack::nameNorm);
    if (exact != tracks.end()) {
        return {&*exact,
                QStringLiteral("✅ [iXML] Exact match: '%1' for candidate '%2'").arg(exact->nameRaw, candidate)};
    }
    const auto contains = std::ranges::find_if(
        tracks, [&](const IxmlTrack& track) { return oneHoldsTheOther(track.nameNorm, normalized); });
    if (contains != tracks.end()) {
        return {&*contains,
                QStringLiteral("✅ [iXML] Contains match: '%1' for candidate '%2'").arg(contains->nameRaw, candidate)};
    }
    if (tracks.size() == 1) {
        return {&tracks.front(), QStringLiteral("✅ [iXML] Single track in iXML: '%1'").arg(tracks.front().nameRaw)};
    }
    return {nullptr, QStringLiteral("⚠️ [iXML] No match found for '%1' among %2 tracks")
                         .arg(candidate, QString::number(tracks.size()))};
}

} // namespace

SceneTakeTimecode sceneTakeFromIxml(const QString& ixml) {
    return {tagText(ixml, u"SCENE"), tagText(ixml, u"TAKE"), timecodeOf(ixml)};
}

SceneTakeTimecode sceneTakeFromCoreCsv(const QString& csv) {
    static const RegularExpression sceneKey(QStringLiteral("[a-zA-Z]SCENE="));
    static const RegularExpression sceneValue(QStringLiteral("[a-zA-Z]SCENE=([^\\s,\"]+)"));
    static const RegularExpression takeKey(QStringLiteral("[a-zA-Z]TAKE="));
    static const RegularExpression takeValue(QStringLiteral("[a-zA-Z]TAKE=(\\d+)"));
    QString text = csv;
    const QStringList lines = text.replace(u'\r', u'\n').split(u'\n');
    return {recorderValue(lines, sceneKey, sceneValue), recorderValue(lines, takeKey, takeValue), timecodeIn(lines)};
}

QString normalizedTrackName(const QString& name) {
    // Composed, so that an accent counts the same in a file name that some file systems take apart.
    const QString upper = name.normalized(QString::NormalizationForm_C).toUpper();
    QString result;
    for (const char32_t c : upper.toUcs4()) {
        if (QChar::isLetterOrNumber(c) || QChar::isMark(c)) result += QString::fromUcs4(&c, 1);
    }
    return result;
}

TrackSearch findTrack(const QString& ixml, const QString& fileName) {
    const QString stem = paths::stem(fileName);
    const QStringList parts = stem.split(u'_', Qt::SkipEmptyParts);
    const QString candidate = parts.isEmpty() ? stem : parts.last();
    const QString normalized = normalizedTrackName(candidate);
    TrackSearch search;
    search.messages << QStringLiteral("🔍 [iXML] Looking for track matching '%1' (normalized: '%2') in %3")
                           .arg(candidate, normalized, fileName);
    const std::vector<IxmlTrack> tracks = tracksOf(ixml, fileName, search.messages);
    search.messages
        << QStringLiteral("🔍 [iXML] Found %1 tracks: %2").arg(QString::number(tracks.size()), listed(tracks));
    const TrackMatch match = bestMatch(tracks, candidate, normalized);
    search.messages << match.message;
    if (match.track) search.track = ISOTrack{match.track->interleave, match.track->channel, match.track->nameRaw};
    return search;
}

} // namespace ostrel
