#include "polytools/grouping/iso_grouping_engine.h"

#include "foundation/domain_error.h"
#include "foundation/run/recording_list.h"
#include "platform/files/unique_files.h"
#include "platform/parallel.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/text/text.h"
#include "polytools/grouping/grouping_log.h"
#include "polytools/grouping/iso_grouping_strategies.h"
#include "polytools/grouping/iso_series.h"
#include "polytools/records/iso_file_reader.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

namespace ostrel {
namespace {

constexpr qsizetype kNamesInLog = 3;

// Nothing for what is not a mono file. A file that ffprobe can't read is left out without a word.
std::optional<ISOFile> readIfMono(const ISOFileReader& reader, const QString& url, const QString& logTag) {
    try {
        const int channels = reader.channelCount(url);
        if (channels == 1) return reader.readMono(url);
        logGrouping(QStringLiteral("⏭️ [%1] Skipping poly file: %2 (%3 channels)")
                        .arg(logTag, paths::lastComponent(url), QString::number(channels)));
    } catch (const DomainError&) {
    } catch (const ProcessLaunchError&) {
    }
    return std::nullopt;
}

QStringList wavFilesOf(const QStringList& urls) {
    QStringList files;
    for (const QString& url : urls) {
        const QString name = paths::lastComponent(url);
        if (name.startsWith(u'.')) continue;
        if (paths::lowerExtension(url) == u"wav") {
            files << url;
        } else {
            logGrouping(QStringLiteral("⏭️ [Grouping] Skipping non-WAV file: ") + name);
        }
    }
    return files;
}

// The one order in which the files are looked at, so that the caller's has no say. Takes of a recorder come together.
bool isAhead(const ISOFile& a, const ISOFile& b) {
    return a.fileName != b.fileName ? naturalLess(a.fileName, b.fileName) : naturalLess(a.url, b.url);
}

void logMissingSceneTake(const std::vector<FileWithMetadata>& files) {
    QStringList names;
    for (const FileWithMetadata& file : files) {
        if (file.scene.isEmpty() || file.take.isEmpty()) names << file.file.fileName;
    }
    logGrouping(
        QStringLiteral("⚠️ [Grouping] Strategy 1 found 0 groups - %1 files have Scene/Take, %2 files missing "
                       "Scene/Take")
            .arg(static_cast<qsizetype>(files.size()) - names.size())
            .arg(names.size()));
    if (!names.isEmpty()) {
        logGrouping(QStringLiteral("⚠️ [Grouping] Files missing metadata: ") +
                    names.first(std::min(kNamesInLog, names.size())).join(QStringLiteral(", ")));
    }
}

struct Strategy {
    const char16_t* words;
    std::vector<ISOGroupCandidate> (*group)(std::vector<FileWithMetadata>&);
};

constexpr Strategy kStrategies[] = {
    {u"metadata Scene/Take", groupByMetadataSceneTake},
    {u"filename patterns", groupByFilenamePattern},
    {u"timecode + duration", groupByTimecodeAndDuration},
    {u"timestamp + duration", groupByTimestampAndDuration},
};

int countOf(const std::vector<ISOGroupCandidate>& groups, GroupConfidence confidence) {
    return static_cast<int>(std::ranges::count(groups, confidence, &ISOGroupCandidate::confidence));
}

// Runs the strategies; `files` keeps what none of them placed.
std::vector<ISOGroupCandidate> runStrategies(std::vector<FileWithMetadata>& files) {
    std::vector<ISOGroupCandidate> groups;
    int number = 0;
    for (const Strategy& strategy : kStrategies) {
        std::vector<ISOGroupCandidate> found = strategy.group(files);
        logGrouping(QStringLiteral("✅ [Grouping] Strategy %1: %2 groups from %3")
                        .arg(QString::number(++number), QString::number(found.size()), QStringView(strategy.words)));
        if (number == 1 && found.empty()) logMissingSceneTake(files);
        std::ranges::move(found, std::back_inserter(groups));
    }
    return groups;
}

} // namespace

ISOGroupingEngine::ISOGroupingEngine(const QString& ffprobePath, const QString& bwfmetaeditPath, GroupingHooks hooks,
                                     std::shared_ptr<SourceAnswers> answers)
    : ffprobePath_(ffprobePath), bwfmetaeditPath_(bwfmetaeditPath), hooks_(std::move(hooks)),
      answers_(std::move(answers)) {}

GroupingResult ISOGroupingEngine::groupISOFilesInFolder(const QString& folderURL, bool recursive) const {
    logGrouping(
        QStringLiteral("🔍 [Grouping] Starting scan of: %1 (recursive: %2)").arg(folderURL, trueOrFalse(recursive)));
    Found found = scanForISOFiles({folderURL}, recursive);
    logGrouping(QStringLiteral("✅ [Grouping] Found %1 mono ISO files").arg(found.files.size()));
    GroupingResult result = processISOFiles(std::move(found.files));
    result.remarks = found.remarks + result.remarks;
    return result;
}

GroupingResult ISOGroupingEngine::groupISOFilesInFolders(const QStringList& folderURLs, bool recursive) const {
    Found found = scanForISOFiles(folderURLs, recursive);
    GroupingResult result = groupISOFilesFromList(found.files);
    result.remarks = found.remarks + result.remarks;
    return result;
}

ISOGroupingEngine::Found ISOGroupingEngine::scanForISOFiles(const QStringList& folderURLs, bool recursive) const {
    const CollectedRecordings listed = collectRecordings(folderURLs, recursive, {QStringLiteral("wav")});
    if (!listed.unopened.isEmpty()) {
        throw DomainError(QStringLiteral("ScanError"), 1, QStringLiteral("Failed to enumerate folder"));
    }
    for (const QString& sentence : listed.remarks) logGrouping(QStringLiteral("⚠️ [Scan] ") + sentence);
    Found found{readMonoFiles(listed.files, QStringLiteral("Scan")), listed.remarks};
    std::ranges::stable_sort(found.files, {}, &ISOFile::fileName);
    return found;
}

GroupingResult ISOGroupingEngine::groupISOFiles(const QStringList& urls) const {
    logGrouping(QStringLiteral("🔍 [Grouping] Processing %1 selected file(s)").arg(urls.size()));
    const UniqueFiles unique = uniqueFiles(wavFilesOf(urls));
    std::vector<ISOFile> files = readMonoFiles(unique.files, QStringLiteral("Grouping"));
    logGrouping(QStringLiteral("✅ [Grouping] Found %1 mono ISO files from selection").arg(files.size()));
    GroupingResult result = processISOFiles(std::move(files));
    result.remarks = unique.repeats + result.remarks;
    return result;
}

GroupingResult ISOGroupingEngine::groupISOFilesFromList(const std::vector<ISOFile>& files) const {
    logGrouping(QStringLiteral("🔍 [Grouping] Processing %1 ISO files from multiple sources").arg(files.size()));
    return processISOFiles(files);
}

// One result per item that gave one, in the order of the items.
template <class Record, class Item, class Read>
std::vector<Record> ISOGroupingEngine::readAll(const std::vector<Item>& items, Read read) const {
    std::vector<std::optional<Record>> slots(items.size());
    std::atomic<int> done{0};
    forEachInParallel(items.size(), [&](std::size_t i) {
        if (hooks_.isStopped && hooks_.isStopped()) return;
        slots[i] = read(items[i]);
        if (hooks_.onFile) hooks_.onFile(++done, static_cast<int>(items.size()));
    });
    std::vector<Record> records;
    for (std::optional<Record>& slot : slots) {
        if (slot) records.push_back(std::move(*slot));
    }
    return records;
}

std::vector<ISOFile> ISOGroupingEngine::readMonoFiles(const QStringList& urls, const QString& logTag) const {
    const ISOFileReader reader(ffprobePath_, answers_->engine());
    return readAll<ISOFile>(std::vector<QString>(urls.begin(), urls.end()),
                            [&](const QString& url) { return readIfMono(reader, url, logTag); });
}

GroupingResult ISOGroupingEngine::processISOFiles(std::vector<ISOFile> isoFiles) const {
    if (isoFiles.empty()) return {};
    std::ranges::stable_sort(isoFiles, isAhead);
    const ISOEvidenceReader reader(bwfmetaeditPath_, answers_);
    std::vector<FileWithMetadata> files =
        readAll<FileWithMetadata>(isoFiles, [&](const ISOFile& file) { return std::optional(reader.read(file)); });

    const std::vector<Part> parts =
        readAll<Part>(files, [](const FileWithMetadata& file) { return std::optional(readPart(file.file.url)); });
    if (parts.size() != files.size()) return {}; // stopped

    GroupingResult result;
    result.totalFiles = static_cast<int>(files.size());
    const QHash<QString, IsoSpan> spans = putInSeries(files, parts);
    result.groups = runStrategies(files);
    result.remarks = partBySpans(result.groups, spans);
    for (const ISOGroupCandidate& group : result.groups) {
        if (!group.partsText().isEmpty()) {
            logGrouping(QStringLiteral("✅ [Grouping] %1: %2").arg(group.suggestedOutputName(), group.partsText()));
        }
    }
    for (const FileWithMetadata& file : files) result.ungroupedFiles.push_back(file.file);
    if (!files.empty()) {
        logGrouping(QStringLiteral("⚠️ [Grouping] %1 files could not be grouped").arg(files.size()));
    }
    result.highConfidenceCount = countOf(result.groups, GroupConfidence::high);
    result.mediumConfidenceCount = countOf(result.groups, GroupConfidence::medium);
    result.lowConfidenceCount = countOf(result.groups, GroupConfidence::low);
    logGrouping(QStringLiteral("✅ [Grouping] Complete: %1 groups (High: %2, Medium: %3, Low: %4)")
                    .arg(result.groups.size())
                    .arg(result.highConfidenceCount)
                    .arg(result.mediumConfidenceCount)
                    .arg(result.lowConfidenceCount));
    return result;
}

} // namespace ostrel
