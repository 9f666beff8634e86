#include "polytools/grouping/iso_loader.h"

#include "foundation/tools/ffprobe_parser.h"
#include "metadata/universal_metadata_engine.h"
#include "platform/paths.h"
#include "polytools/records/iso_ordering.h"
#include "polytools/records/ixml_track_list.h"

#include <algorithm>

namespace ostrel {
namespace {

class Loader {
public:
    Loader(const PolyEngineTools& tools, const PolyEngineHooks& hooks)
        : tools_(tools), hooks_(hooks), log_(hooks, QStringLiteral("PolyToolsVM"), QString()) {}

    LoadedISOs load(const QStringList& urls, bool autoOrder) {
        LoadedISOs result;
        for (const QString& url : urls) {
            if (hooks_.stopped()) break;
            if (std::optional<ISOFile> file = read(url)) result.files.push_back(std::move(*file));
        }
        const std::vector<ISOFile> selected = result.files;
        order(result, autoOrder);
        result.moved = !std::ranges::equal(selected, result.files, {}, &ISOFile::id, &ISOFile::id);
        numberChannels(result.files);
        return result;
    }

private:
    std::optional<ISOFile> read(const QString& url) {
        ISOFile file;
        file.url = url;
        file.fileName = paths::lastComponent(url);
        try {
            const FileAnalysis analysis = FFProbeParser::analyzeFile(url, tools_.ffprobePath, tools_.answers);
            file.channelCount = analysis.channels;
            file.sampleRate = analysis.sampleRate;
            file.bitDepth = analysis.bitDepth;
            file.duration = analysis.duration;
            file.fileSize = analysis.fileSize;
        } catch (const FFProbeError& error) {
            log_.error(kScan, QStringLiteral("Failed to analyze %1: %2").arg(file.fileName, error.errorDescription()));
            return std::nullopt;
        }
        readIndices(file);
        return file;
    }

    void readIndices(ISOFile& file) const {
        if (!tools_.universalEngine) return;
        const auto indices = tools_.universalEngine->extractTrackIndicesFromiXML(file.url);
        if (!indices) return;
        file.metadataInterleaveIndex = indices->interleaveIndex;
        file.metadataChannelIndex = indices->channelIndex;
        file.metadataTrackName = decodeXMLText(indices->trackName);
    }

    void order(LoadedISOs& loaded, bool autoOrder) {
        std::vector<ISOFile>& files = loaded.files;
        const bool allHaveMetadata =
            std::ranges::all_of(files, [](const ISOFile& file) { return file.metadataInterleaveIndex.has_value(); });
        if (allHaveMetadata && !files.empty()) {
            files = orderedByChannelIndex(std::move(files));
            loaded.ordering = IsoOrdering::metadata;
        } else if (const auto manifest = findManifest(files)) {
            if (orderByManifest(files, *manifest)) loaded.ordering = IsoOrdering::manifest;
        } else if (autoOrder) {
            files = autoOrdered(files, trackNames(files));
            loaded.ordering = IsoOrdering::autoOrder;
        }
    }

    bool orderByManifest(std::vector<ISOFile>& files, const MetadataManifest& manifest) {
        if (!manifest.ixml || manifest.ixml->trackList.empty()) {
            log_.warning(kScan, QStringLiteral("Manifest has no track list - using selection order"));
            return false;
        }
        files = orderedByManifest(files, *manifest.ixml);
        QStringList names;
        for (const ISOFile& file : files) names << file.fileName;
        log_.info(kScan, QStringLiteral("Sorted order: ") + names.join(QStringLiteral(", ")));
        return true;
    }

    std::optional<MetadataManifest> findManifest(const std::vector<ISOFile>& files) {
        if (files.empty()) return std::nullopt;
        for (const QString& path : manifestCandidates(files.front().url)) {
            if (auto manifest = readManifestFile(path)) {
                log_.info(kScan, QStringLiteral("Found manifest: ") + paths::lastComponent(path));
                return manifest;
            }
        }
        return std::nullopt;
    }

    static QStringList trackNames(const std::vector<ISOFile>& files) {
        QStringList names;
        for (const ISOFile& file : files) {
            names << (file.metadataTrackName.isEmpty() ? trackNameOfFile(file) : file.metadataTrackName);
        }
        return names;
    }

    const PolyEngineTools& tools_;
    const PolyEngineHooks& hooks_;
    EngineLog log_;
};

} // namespace

LoadedISOs loadISOs(const QStringList& urls, bool autoOrder, const PolyEngineTools& tools,
                    const PolyEngineHooks& hooks) {
    return Loader(tools, hooks).load(urls, autoOrder);
}

void numberChannels(std::vector<ISOFile>& files) {
    int number = 0;
    for (ISOFile& file : files) file.channelIndex = ++number;
}

} // namespace ostrel
