#include "interleaver/library_scanner.h"

#include "foundation/run/recording_list.h"
#include "interleaver/library_safety.h"
#include "metadata/asset_descriptor.h"
#include "platform/files/file_name.h"
#include "platform/files/unique_files.h"
#include "platform/parallel.h"
#include "platform/paths.h"

#include <atomic>

namespace ostrel {
namespace {

// Two thresholds that differ on purpose: a pair of a sound library may be ragged by some samples, a set of one take
// not.
constexpr double kPairDurationTolerance = 0.01;   // seconds
constexpr double kGroupDurationTolerance = 0.001; // seconds

void say(const std::function<void(const QString&)>& handler, const QString& text) {
    if (handler) handler(text);
}

bool isCancelled(const ScanRequest& request) { return request.isCancelled && request.isCancelled(); }

QStringList collectFolder(const QString& folder, const ScanRequest& request, bool wavOnly) {
    const auto listing = listRecordings(folder, request.includeSubfolders, LibraryScanner::extensions(wavOnly));
    if (!listing) throw ScanError(ScanError::Kind::cannotEnumerate, folder);
    for (const QString& sentence : listing->unreadable) say(request.warn, sentence);
    // Sources of earlier jobs are kept there: to take them again would make everything twice.
    QStringList files;
    for (const QString& file : listing->files) {
        if (!file.mid(folder.size()).contains(QStringLiteral("/Originals/"))) files << file;
    }
    return files;
}

// Every file once, although folders and files of a selection may lie in each other.
QStringList collectAudioFiles(const ScanRequest& request, bool wavOnly) {
    QStringList found;
    for (const QString& item : request.items) {
        if (paths::isFolder(item)) {
            found << collectFolder(item, request, wavOnly);
        } else if (LibraryScanner::extensions(wavOnly).contains(paths::lowerExtension(item))) {
            found << item;
        } else if (!paths::exists(item)) {
            throw ScanError(ScanError::Kind::cannotEnumerate, item);
        }
    }
    const UniqueFiles unique = uniqueFiles(found);
    for (const QString& sentence : unique.repeats) say(request.warn, sentence);
    return unique.files;
}

QString relativeFolder(const QString& file, const QString& root) {
    const QString folder = paths::parent(file);
    if (!folder.startsWith(root)) return folder;
    return folder.mid(root.size());
}

template <class Record, class Key>
void sortBy(std::vector<Record>& records, Key key) {
    std::stable_sort(records.begin(), records.end(), [&](const Record& a, const Record& b) { return key(a) < key(b); });
}

InterleaveGroup groupOf(const SiblingAnalysis& analysis, const QStringList& files, const QString& root) {
    InterleaveGroup group;
    group.relativePath = relativeFolder(files.first(), root);
    if (analysis.kind == SiblingAnalysis::Kind::eligibleLRPair) {
        group.baseName = analysis.baseName;
        group.channelFiles = {{QStringLiteral("L"), analysis.leftURL}, {QStringLiteral("R"), analysis.rightURL}};
        return group;
    }
    group.baseName = paths::stem(files.first());
    group.include = false;
    if (analysis.kind == SiblingAnalysis::Kind::protectedSurround) {
        group.status = ProcessingStatus::protectedSurround(analysis.reason, analysis.fileCount);
    } else if (analysis.kind == SiblingAnalysis::Kind::protectedAmbisonics) {
        group.status = ProcessingStatus::protectedAmbisonics(analysis.reason, analysis.fileCount);
    } else {
        group.status = ProcessingStatus::incompletePair(analysis.reason, analysis.fileCount);
    }
    return group;
}

ProcessingStatus probeFailed(const FFProbeError& error) {
    return ProcessingStatus::failed(QStringLiteral("Probe failed: ") + error.errorDescription());
}

// Why two probed files are no pristine pair; `readyLRMerge` if nothing stands against it.
ProcessingStatus pairStatus(const AudioFileInfo& left, const AudioFileInfo& right) {
    if (left.channels != 1) {
        return ProcessingStatus::failed(QStringLiteral("Left file is not mono (%1ch)").arg(left.channels));
    }
    if (right.channels != 1) {
        return ProcessingStatus::failed(QStringLiteral("Right file is not mono (%1ch)").arg(right.channels));
    }
    if (left.sampleRate != right.sampleRate) return ProcessingStatus::mismatchSampleRate();
    if (left.effectiveBitDepth() != right.effectiveBitDepth()) return ProcessingStatus::mismatchBitDepth();
    if (durationsDiffer(left.duration, right.duration, kPairDurationTolerance)) {
        return ProcessingStatus::mismatchDuration(left.duration, right.duration);
    }
    return ProcessingStatus::readyLRMerge();
}

void takeFacts(InterleaveGroup& group, const AudioFileInfo& info) {
    group.sampleRate = info.sampleRate;
    group.bitDepth = info.effectiveBitDepth().value_or(0);
    group.duration = info.duration;
}

template <class Facts>
MultiChannelSource readySource(const QString& file, const ChannelLayout& layout, const Facts& facts) {
    MultiChannelSource source = MultiChannelSource::make(file, layout);
    source.channels = facts.channels;
    source.sampleRate = facts.sampleRate;
    source.bitDepth = facts.effectiveBitDepth().value_or(0);
    source.duration = facts.duration;
    source.status = ProcessingStatus::ready();
    return source;
}

} // namespace

QString ScanError::errorDescription() const {
    return kind == Kind::cannotEnumerate ? QStringLiteral("Cannot enumerate directory: ") + path
                                         : QStringLiteral("Directory not readable: ") + path;
}

QStringList LibraryScanner::extensions(bool wavOnly) {
    static const QStringList wav{QStringLiteral("wav"), QStringLiteral("wave")};
    static const QStringList all = wav + QStringLiteral("aif aiff aifc caf flac mp3 m4a aac mp4 ogg").split(u' ');
    return wavOnly ? wav : all;
}

LibraryScanner::LibraryScanner(const QString& ffprobePath, const QString& bwfmetaeditPath, EngineChoice engine)
    : engine_(engine), parser_(ffprobePath, engine), bwfmetaeditPath_(bwfmetaeditPath) {}

template <class Record>
void LibraryScanner::classify(Record& record, const QString& file) const {
    const AssetClass found = bwfmetaeditPath_.isEmpty() ? AssetClass{} : AssetDescriptorBuilder::quickClassify(file);
    record.containerKind = found.containerKind;
    record.metadataTier = found.metadataTier;
}

std::vector<InterleaveGroup> LibraryScanner::scanForLibrarySafeLRMerge(const ScanRequest& request) const {
    say(request.progress, QStringLiteral("Scanning for audio files..."));
    const QStringList audioFiles = collectAudioFiles(request, false);
    say(request.progress, QStringLiteral("Found %1 audio files, analyzing siblings...").arg(audioFiles.size()));

    // Files without an L/R suffix stay out: a centre or LFE file of the same take never reaches a bag.
    std::map<QString, QStringList> bags;
    for (const QString& file : audioFiles) {
        const auto name = LibrarySafetyConstants::extractBaseName(paths::lastComponent(file));
        if (name) bags[relativeFolder(file, request.root) + u'/' + composedName(name->baseName)] << file;
    }
    say(request.progress, QStringLiteral("Analyzing %1 sibling sets...").arg(bags.size()));
    std::vector<InterleaveGroup> groups;
    for (const auto& [key, files] : bags) {
        const SiblingAnalysis analysis = analyzeSiblings(files);
        if (analysis.kind != SiblingAnalysis::Kind::notLR) groups.push_back(groupOf(analysis, files, request.root));
    }
    const auto eligible = std::count_if(groups.begin(), groups.end(),
                                        [](const InterleaveGroup& group) { return group.status.isProcessable(); });
    say(request.progress, QStringLiteral("Validating %1 eligible L/R pairs...").arg(eligible));
    validateAll(groups, request, [this](InterleaveGroup group) { return validatedLRPair(std::move(group)); });
    sortBy(groups, [](const InterleaveGroup& group) -> const QString& { return group.baseName; });
    return groups;
}

std::vector<InterleaveGroup> LibraryScanner::scanForInterleave(const ScanRequest& request,
                                                               const ChannelLayout& layout) const {
    say(request.progress, QStringLiteral("Scanning for WAV files..."));
    const QStringList wavFiles = collectAudioFiles(request, true);
    say(request.progress, QStringLiteral("Found %1 WAV files, grouping...").arg(wavFiles.size()));
    std::map<QString, InterleaveGroup> byKey;
    for (const QString& file : wavFiles) {
        const QString name = paths::lastComponent(file);
        const QString tag = ChannelLayout::firstTag(name, layout.channelTags);
        const std::optional<QString> base = tag.isEmpty() ? std::nullopt : ChannelLayout::extractBaseName(name);
        if (!base) continue;
        const QString folder = relativeFolder(file, request.root);
        InterleaveGroup& group = byKey[folder + u'/' + composedName(*base)];
        if (group.baseName.isEmpty()) group.baseName = *base;
        group.relativePath = folder;
        group.channelFiles.insert(tag, file);
    }
    std::vector<InterleaveGroup> groups;
    for (auto& entry : byKey) groups.push_back(std::move(entry.second));
    say(request.progress, QStringLiteral("Validating %1 groups...").arg(groups.size()));
    validateAll(groups, request, [&](InterleaveGroup group) { return validatedGroup(std::move(group), layout); });
    sortBy(groups, [](const InterleaveGroup& group) -> const QString& { return group.baseName; });
    return groups;
}

std::vector<MultiChannelSource> LibraryScanner::scanForDeinterleave(const ScanRequest& request,
                                                                    const ChannelLayout& layout) const {
    say(request.progress, QStringLiteral("Scanning for multichannel audio files..."));
    const QStringList audioFiles = collectAudioFiles(request, false);
    say(request.progress, QStringLiteral("Found %1 audio files, checking channel counts...").arg(audioFiles.size()));
    std::vector<std::optional<MultiChannelSource>> found(static_cast<std::size_t>(audioFiles.size()));
    forEachFile(request, found.size(),
                [&](std::size_t i) { found[i] = sourceOf(audioFiles[static_cast<int>(i)], request, layout); });
    std::vector<MultiChannelSource> sources;
    for (std::optional<MultiChannelSource>& source : found) {
        if (source) sources.push_back(std::move(*source));
    }
    sortBy(sources, [](const MultiChannelSource& source) { return paths::lastComponent(source.sourceURL); });
    return sources;
}

std::optional<MultiChannelSource> LibraryScanner::sourceOf(const QString& file, const ScanRequest& request,
                                                           const ChannelLayout& layout) const {
    if (isCancelled(request)) return std::nullopt;
    say(request.progress, QStringLiteral("Probing: ") + paths::lastComponent(file));
    try {
        const AudioFileInfo info = parser_.probe(file);
        if (info.channels != layout.channelTags.size()) return std::nullopt;
        MultiChannelSource source = readySource(file, layout, info);
        source.relativePath = relativeFolder(file, request.root);
        classify(source, file);
        return source;
    } catch (const FFProbeError& error) {
        if (!request.warn) return std::nullopt;
        request.warn(QStringLiteral("Cannot use %1: %2").arg(paths::lastComponent(file), error.errorDescription()));
    }
    return std::nullopt;
}

InterleaveGroup LibraryScanner::probed(InterleaveGroup group) const {
    takeFacts(group, parser_.probe(group.firstFile()));
    // Without bwfmetaedit a hand-picked group stays unclassified, unlike a scanned one: meant.
    if (!bwfmetaeditPath_.isEmpty()) classify(group, group.firstFile());
    return group;
}

std::optional<MultiChannelSource> LibraryScanner::analyzed(const QString& file, const ChannelLayout& layout) const {
    const FileAnalysis analysis = parser_.analyze(file);
    if (analysis.channels != layout.channelTags.size()) return std::nullopt;
    MultiChannelSource source = readySource(file, layout, analysis);
    classify(source, file);
    return source;
}

void LibraryScanner::validateAll(std::vector<InterleaveGroup>& groups, const ScanRequest& request,
                                 const std::function<InterleaveGroup(InterleaveGroup)>& validated) const {
    const auto validate = [&](InterleaveGroup& group) {
        if (isCancelled(request) || !group.status.isProcessable()) return;
        group = validated(std::move(group));
        say(request.progress, QStringLiteral("Validated: ") + group.baseName);
    };
    forEachFile(request, groups.size(), [&](std::size_t i) { validate(groups[i]); });
}

// Tells of whole percents, so that a long list costs no more than a short one.
void LibraryScanner::forEachFile(const ScanRequest& request, std::size_t count,
                                 const std::function<void(std::size_t)>& work) const {
    std::atomic<std::size_t> done{0};
    const auto counted = [&](std::size_t i) {
        work(i);
        const std::size_t now = ++done;
        if (request.share && now * 100 / count != (now - 1) * 100 / count)
            request.share(static_cast<double>(now) / static_cast<double>(count));
    };
    forEachInParallel(count, counted, engine_ == EngineChoice::direct ? parallelWidth() : 1);
}

InterleaveGroup LibraryScanner::validatedLRPair(InterleaveGroup group) const {
    const QString left = group.channelFiles.value(QStringLiteral("L"));
    const QString right = group.channelFiles.value(QStringLiteral("R"));
    if (left.isEmpty() || right.isEmpty()) {
        group.status = ProcessingStatus::failed(QStringLiteral("Missing L or R file"));
        return group;
    }
    try {
        const AudioFileInfo leftInfo = parser_.probe(left);
        const AudioFileInfo rightInfo = parser_.probe(right);
        group.status = pairStatus(leftInfo, rightInfo);
        if (group.status != ProcessingStatus::readyLRMerge()) return group;
        takeFacts(group, leftInfo);
        classify(group, left);
    } catch (const FFProbeError& error) {
        group.status = probeFailed(error);
    }
    return group;
}

InterleaveGroup LibraryScanner::validatedGroup(InterleaveGroup group, const ChannelLayout& layout) const {
    const QStringList missing = group.missingChannels(layout);
    if (!missing.isEmpty()) {
        group.status = ProcessingStatus::missingChannels(missing);
        return group;
    }
    try {
        const QMap<QString, AudioFileInfo> infos = parser_.probe(group.channelFiles.values());
        group.status = FFProbeParser::validateGroup(infos, kGroupDurationTolerance);
        takeFacts(group, infos.value(group.firstFile()));
        classify(group, group.firstFile());
    } catch (const FFProbeError& error) {
        group.status = probeFailed(error);
    }
    return group;
}

} // namespace ostrel
