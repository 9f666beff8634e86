#include "polytools/grouping/iso_series.h"

#include "platform/paths.h"
#include "polytools/grouping/iso_grouping_strategies.h"
#include "stitch/series.h"

#include <algorithm>
#include <set>

namespace ostrel {
namespace {

// Takes may touch by chance: what tells a file's take here says which files are none of each other's.
void tellTake(Part& part, const FileWithMetadata& file) {
    if (!file.scene.isEmpty()) part.scene = file.scene;
    if (!file.take.isEmpty()) part.take = file.take;
    if (!part.take.isEmpty()) return;
    if (const auto named = extractSceneTakeFromFilename(paths::stem(file.file.fileName))) {
        part.scene = named->first;
        part.take = named->second;
    }
}

bool areApart(const IsoSpan& a, const IsoSpan& b) { return a.end <= b.start || b.end <= a.start; }

bool standsTwice(const ISOGroupCandidate& group, const QHash<QString, IsoSpan>& spans) {
    QHash<int, std::vector<IsoSpan>> byChannel;
    for (const ISOFile& iso : group.isoFiles) {
        const auto span = spans.constFind(iso.url);
        if (!iso.metadataChannelIndex || span == spans.constEnd()) continue;
        std::vector<IsoSpan>& others = byChannel[*iso.metadataChannelIndex];
        if (std::ranges::any_of(others, [&](const IsoSpan& other) { return areApart(other, *span); })) return true;
        others.push_back(*span);
    }
    return false;
}

// By time, what overlaps together; what tells no time is left in the first.
std::vector<std::vector<ISOFile>> byTime(std::vector<ISOFile> isos, const QHash<QString, IsoSpan>& spans) {
    const auto startOf = [&](const ISOFile& iso) { return spans.value(iso.url).start; };
    std::ranges::stable_sort(isos, {}, startOf);
    std::vector<std::vector<ISOFile>> result(1);
    quint64 end = 0;
    for (const ISOFile& iso : isos) {
        const IsoSpan span = spans.value(iso.url);
        if (!result.back().empty() && end > 0 && span.start >= end) result.emplace_back();
        result.back().push_back(iso);
        end = std::max(end, span.end);
    }
    return result;
}

} // namespace

QHash<QString, IsoSpan> putInSeries(std::vector<FileWithMetadata>& files, std::vector<Part> parts) {
    QHash<QString, FileWithMetadata*> byPath;
    for (std::size_t i = 0; i < files.size(); ++i) {
        tellTake(parts[i], files[i]);
        byPath.insert(files[i].file.url, &files[i]);
    }
    QHash<QString, IsoSpan> spans;
    std::set<QString> moved;
    for (const Series& series : seriesOf(parts)) {
        // Not to the sample: a person's to decide, by way of stitch.
        const std::size_t whole = series.isExact() ? series.parts.size() : 1;
        for (std::size_t i = 0; i < series.parts.size(); ++i) {
            const Part& part = series.parts[i];
            if (i >= whole || i == 0) {
                if (!part.fault.isEmpty()) continue;
                const quint64 frames = whole > 1 ? series.frames() : part.frames();
                spans.insert(part.path, {*part.start, *part.start + frames});
                continue;
            }
            ISOFile& first = byPath.value(series.parts.front().path)->file;
            const ISOFile& later = byPath.value(part.path)->file;
            first.laterParts << later.url;
            first.duration += later.duration;
            first.fileSize += later.fileSize;
            moved.insert(later.url);
        }
    }
    std::erase_if(files, [&](const FileWithMetadata& file) { return moved.contains(file.file.url); });
    return spans;
}

QStringList partBySpans(std::vector<ISOGroupCandidate>& groups, const QHash<QString, IsoSpan>& spans) {
    QStringList sentences;
    std::vector<ISOGroupCandidate> result;
    for (ISOGroupCandidate& group : groups) {
        if (!standsTwice(group, spans)) {
            result.push_back(std::move(group));
            continue;
        }
        const auto times = byTime(group.isoFiles, spans);
        sentences << QStringLiteral("%1: files of one input follow each other and can't sound together, so they are in "
                                    "%2 groups")
                         .arg(group.suggestedOutputName())
                         .arg(times.size());
        for (const std::vector<ISOFile>& isos : times) {
            ISOGroupCandidate each = group;
            each.id = QUuid::createUuid();
            each.isoFiles = isos;
            each.duration = isos.front().duration;
            result.push_back(std::move(each));
        }
    }
    groups = std::move(result);
    return sentences;
}

} // namespace ostrel
