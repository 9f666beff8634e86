#include "polytools/records/iso_ordering.h"

#include "platform/paths.h"
#include "polytools/records/iso_file_names.h"
#include "polytools/records/poly_names.h"

#include <algorithm>
#include <cmath>

namespace ostrel {
namespace {

// Durations that ffprobe tells apart by less are the same length.
constexpr double kSameDuration = 0.001;

// "61:05": minutes may pass an hour.
QString minutesAndSeconds(double seconds) {
    const auto whole = static_cast<qlonglong>(seconds);
    return QStringLiteral("%1:%2").arg(whole / 60).arg(whole % 60, 2, 10, QLatin1Char('0'));
}

// Whether a split writes the track under that stem: names with blanks and "_" of their own, and names that were cut.
bool isSplitName(const QString& stem, const QString& track) {
    if (!isUsableTrackName(track)) return false;
    for (qsizetype joint = stem.indexOf(u'_'); joint >= 0; joint = stem.indexOf(u'_', joint + 1)) {
        const QString name = isoOutputName(stem.first(joint), 0, SplitNamingPattern::trackName, track);
        if (paths::stem(name).compare(stem, Qt::CaseInsensitive) == 0) return true;
    }
    return false;
}

// The place of the track that a file was made from; nothing if its name tells none.
std::optional<int> placeInInterleave(const ISOFile& file, const IXMLMetadata& ixml) {
    const QString stem = paths::stem(file.url);
    for (const IXMLTrack& track : ixml.trackList) {
        if (trackNameOfFile(file).compare(track.name, Qt::CaseInsensitive) == 0) return track.interleaveIndex;
    }
    for (const IXMLTrack& track : ixml.trackList) {
        if (isSplitName(stem, track.name)) return track.interleaveIndex;
    }
    return std::nullopt;
}

QString commonPrefix(const QStringList& names) {
    QString prefix = names.first();
    for (const QString& name : names) {
        while (!name.startsWith(prefix)) prefix.chop(1);
    }
    if (!prefix.isEmpty() && prefix.back().isHighSurrogate()) prefix.chop(1);
    return prefix;
}

QString trimmedJoints(QString name) {
    const QString joints = QStringLiteral("_ -");
    while (!name.isEmpty() && joints.contains(name.front())) name.remove(0, 1);
    while (!name.isEmpty() && joints.contains(name.back())) name.chop(1);
    return name;
}

} // namespace

int trackNamePriority(const QString& name) {
    const QString upper = name.toUpper();
    if (upper.contains(QStringLiteral("MIX"))) {
        if (upper.contains(u'L')) return 1;
        return upper.contains(u'R') ? 2 : 3;
    }
    if (upper.contains(QStringLiteral("LAV"))) return 4;
    return upper.contains(QStringLiteral("BOOM")) ? 5 : 6;
}

std::vector<ISOFile> autoOrdered(const std::vector<ISOFile>& files, const QStringList& trackNames) {
    struct Key {
        int priority;
        QString name;
        std::size_t file;
    };
    std::vector<Key> keys;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const QString name = trackNames.value(static_cast<qsizetype>(i));
        keys.push_back({trackNamePriority(name), name, i});
    }
    std::ranges::stable_sort(keys, [](const Key& a, const Key& b) {
        return a.priority != b.priority ? a.priority < b.priority : a.name < b.name;
    });
    std::vector<ISOFile> result;
    for (const Key& key : keys) result.push_back(files[key.file]);
    return result;
}

QString trackNameOfFile(const ISOFile& file) { return paths::stem(file.url).section(u'_', -1); }

std::vector<ISOFile> orderedByChannelIndex(std::vector<ISOFile> files) {
    std::ranges::stable_sort(files, [](const ISOFile& a, const ISOFile& b) {
        return a.metadataChannelIndex && b.metadataChannelIndex && *a.metadataChannelIndex < *b.metadataChannelIndex;
    });
    return files;
}

std::vector<ISOFile> orderedByManifest(const std::vector<ISOFile>& files, const IXMLMetadata& ixml) {
    std::vector<std::pair<int, ISOFile>> matched;
    std::vector<ISOFile> others;
    for (const ISOFile& file : files) {
        if (const auto place = placeInInterleave(file, ixml)) {
            matched.emplace_back(*place, file);
        } else {
            others.push_back(file);
        }
    }
    std::ranges::stable_sort(matched, {}, &std::pair<int, ISOFile>::first);
    std::vector<ISOFile> result;
    for (auto& [place, file] : matched) result.push_back(std::move(file));
    result.insert(result.end(), others.begin(), others.end());
    return result;
}

QStringList manifestCandidates(const QString& isoURL) {
    const QStringList parts = paths::stem(isoURL).split(u'_');
    const QString folder = paths::parent(isoURL);
    QStringList result;
    for (qsizetype kept = parts.size() - 1; kept > 0; --kept) {
        const QString name = parts.first(kept).join(u'_') + QStringLiteral(".metadata.json");
        result << paths::append(folder, name) << paths::append(paths::parent(folder), name);
    }
    return result;
}

QString derivePolyName(const QStringList& urls, bool keepOriginalName) {
    if (urls.isEmpty()) return QStringLiteral("output_poly");
    QStringList names;
    for (const QString& url : urls) names << paths::stem(url);
    const QString common = trimmedJoints(commonPrefix(names));
    const QString name = common.isEmpty() ? QStringLiteral("joined") : common;
    return polyStem(name, keepOriginalName ? QString() : QStringLiteral("_poly"));
}

QStringList isoMarks(const ISOFile& file, const ISOFile& reference) {
    QStringList marks;
    if (file.channelCount > 1) marks << QStringLiteral("Not a mono file (%1 channels)").arg(file.channelCount);
    if (file.sampleRate != reference.sampleRate)
        marks << QStringLiteral("Sample rate mismatch: %1 Hz").arg(file.sampleRate);
    if (std::abs(file.duration - reference.duration) > kSameDuration)
        marks << QStringLiteral("Duration mismatch: ") + minutesAndSeconds(file.duration);
    return marks;
}

QStringList isoMismatches(const std::vector<ISOFile>& files) {
    QStringList result;
    if (files.size() < 2) return result;
    const ISOFile& reference = files.front();
    for (const ISOFile& file : files) {
        if (file.sampleRate != reference.sampleRate) {
            result << QStringLiteral("Sample rate mismatch: %1 (%2Hz) vs reference (%3Hz)")
                          .arg(file.fileName)
                          .arg(file.sampleRate)
                          .arg(reference.sampleRate);
        }
        if (file.bitDepth != reference.bitDepth) {
            result << QStringLiteral("Bit depth mismatch: %1 (%2-bit) vs reference (%3-bit)")
                          .arg(file.fileName)
                          .arg(file.bitDepth)
                          .arg(reference.bitDepth);
        }
        if (std::abs(file.duration - reference.duration) > kSameDuration) {
            result << QStringLiteral("Duration mismatch: %1 (%2) vs reference (%3)")
                          .arg(file.fileName, minutesAndSeconds(file.duration), minutesAndSeconds(reference.duration));
        }
        if (file.channelCount > 1) {
            result << QStringLiteral("%1 is not mono (%2 channels)").arg(file.fileName).arg(file.channelCount);
        }
    }
    return result;
}

} // namespace ostrel
