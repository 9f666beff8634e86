#include "polytools/split/batch_split.h"

#include "foundation/domain_error.h"
#include "foundation/run/run_ledger.h"
#include "metadata/metadata_manifest.h"
#include "metadata/metadata_manifest_extractor.h"
#include "platform/files/files.h"
#include "platform/files/unique_files.h"
#include "platform/paths.h"
#include "platform/text/text.h"
#include "polytools/split/iso_output_folder.h"
#include "polytools/split/poly_file_reader.h"
#include "polytools/split/poly_split_engine.h"

#include <QFile>

namespace ostrel {
namespace {

DomainError batchError(int code, const char* description) {
    return DomainError(QStringLiteral("BatchSplit"), code, QString::fromLatin1(description));
}

class BatchSplit {
public:
    BatchSplit(const PolyEngineTools& tools, const PolyEngineHooks& hooks, const BatchSplitOptions& options)
        : tools_(tools), hooks_(hooks), options_(options), log_(hooks, QStringLiteral("PolySplitEngine"), QString()) {}

    BatchSplitResult run(const std::function<void(const BatchProgress&)>& progress) {
        const std::vector<PolyFile> polys = findPolys();
        openLedger(polys);
        log_.info(LogCategory::scan, QStringLiteral("Found %1 poly files to process").arg(polys.size()));
        takeLog();
        if (polys.empty()) throw batchError(2, "No valid poly files found");
        log_.debug(QStringLiteral("✅ [BatchSplit] Found %1 poly files").arg(polys.size()));

        const auto report = [&](int index, const QString& file, const QString& url) {
            if (!progress) return;
            const PolyFileResult ended = result_.fileResults.empty() ? PolyFileResult() : result_.fileResults.back();
            progress({index, static_cast<int>(polys.size()), file, result_.totalISOsCreated, result_.successCount,
                      result_.errorCount, result_.skipCount, url, ended.sourceURL, ended.outcome, ended.counts});
        };
        for (std::size_t i = 0; i < polys.size() && !hooks_.stopped(); ++i) {
            report(static_cast<int>(i) + 1, paths::stem(polys[i].url), polys[i].url);
            log_.debug(QStringLiteral("🔵 [BatchSplit] Processing %1/%2: %3")
                           .arg(i + 1)
                           .arg(polys.size())
                           .arg(polys[i].fileName));
            splitOne(polys[i]);
            ++result_.processedFiles;
        }
        report(static_cast<int>(polys.size()), QStringLiteral("Complete"), QString());
        log_.debug(QStringLiteral("✅ [BatchSplit] Batch complete: %1 files, %2 ISOs created, %3 errors")
                       .arg(polys.size())
                       .arg(result_.totalISOsCreated)
                       .arg(result_.errorCount));
        return std::move(result_);
    }

private:
    // Every poly of the batch is a source: none becomes an output of another.
    void openLedger(const std::vector<PolyFile>& polys) {
        QStringList sources;
        for (const PolyFile& poly : polys) sources << poly.url;
        if (!hooks_.ledger) hooks_.ledger = std::make_shared<RunLedger>(sources);
        splitter_.emplace(tools_, hooks_);
    }

    std::vector<PolyFile> findPolys() {
        const PolyFileReader reader(
            tools_.ffprobePath, [this](const QString& line) { log_.debug(line); }, tools_.answers->engine());
        if (options_.selectedFiles) return readSelection(reader, *options_.selectedFiles);
        if (options_.sourceFolder.isEmpty()) throw batchError(1, "No source folder or files selected");
        log_.debug(QStringLiteral("🔍 Starting batch scan of: %1 (recursive: %2)")
                       .arg(options_.sourceFolder, trueOrFalse(options_.recursive)));
        PolyFileReader::Scan scan = reader.scan(options_.sourceFolder, options_.recursive);
        for (const QString& sentence : scan.remarks) log_.warning(LogCategory::scan, sentence);
        return std::move(scan.files);
    }

    std::vector<PolyFile> readSelection(const PolyFileReader& reader, const QStringList& selection) {
        const auto [urls, repeats] = uniqueFiles(selection);
        for (const QString& sentence : repeats) log_.warning(LogCategory::scan, sentence);
        log_.debug(QStringLiteral("📁 Processing %1 selected file(s)").arg(urls.size()));
        std::vector<PolyFile> polys;
        for (const QString& url : urls) {
            if (std::optional<PolyFile> poly = reader.readSelected(url)) {
                polys.push_back(std::move(*poly));
            } else {
                log_.warning(LogCategory::scan, QStringLiteral("Left out, no poly file: ") + paths::lastComponent(url));
            }
        }
        return polys;
    }

    // Whatever goes wrong ends this file alone.
    void splitOne(const PolyFile& poly) {
        PolyFileResult row{poly.fileName, poly.channelCount};
        row.sourceURL = poly.url;
        row.poly = poly;
        try {
            splitInto(row, poly);
        } catch (const std::exception& error) {
            fail(row, describe(error));
        }
        result_.fileResults.push_back(std::move(row));
    }

    void splitInto(PolyFileResult& row, const PolyFile& poly) {
        const std::optional<MetadataManifest> manifest = loadOrCreateManifest(poly);
        const QString folder =
            isoOutputFolder(poly, manifest ? &*manifest : nullptr, options_.outputFolder, options_.folderOrganization,
                            [this](const QString& line) { log_.debug(line); });
        files::createFolder(folder);
        log_.debug(QStringLiteral("✅ [BatchSplit] Output folder: ") + paths::lastComponent(folder));

        SplitOptions options;
        options.namingPattern = options_.namingPattern;
        options.trackNames = extractTrackNames(poly, manifest);
        options.skipIfExists = options_.skipIfExists;
        options.overwriteExisting = options_.overwriteExisting;
        options.keepOriginalName = options_.keepOriginalName;
        options.proves = options_.proves;
        options.conforms = options_.conforms;
        SplitResult split = splitter_->split(poly, folder, options);
        if (manifest) copyManifest(poly, folder);

        row.trackNames = options.trackNames.value_or(QStringList());
        row.outputFolder = paths::lastComponent(folder);
        row.isosCreated = split.createdCount;
        row.outcome = split.outcome;
        count(row, split);
        append(result_.logMessages, std::move(split.logEntries));
        log_.debug(
            QStringLiteral("✅ [BatchSplit] Completed %1: %2 ISOs created").arg(poly.fileName).arg(split.createdCount));
    }

    // Skips are counted by channel, successes and errors by file; a file whose channels were all skipped is a success,
    // one that a stop left unfinished is not.
    void count(PolyFileResult& row, const SplitResult& split) {
        result_.totalISOsCreated += split.createdCount;
        result_.skipCount += split.skippedCount;
        row.counts = {split.createdCount, split.skippedCount, split.errorCount};
        if (!split.outcome.failed()) {
            ++result_.successCount;
            row.outcome.status = ProcessingStatus::completed();
            return;
        }
        ++result_.errorCount;
    }

    void fail(PolyFileResult& row, const QString& reason) {
        log_.debug(QStringLiteral("❌ [BatchSplit] Failed to process %1: %2").arg(row.fileName, reason));
        log_.error(LogCategory::process, QStringLiteral("Failed to process %1: %2").arg(row.fileName, reason));
        takeLog();
        ++result_.errorCount;
        row.isosCreated = 0;
        row.outputFolder.clear();
        row.outcome = ItemOutcome::failure(reason, {row.sourceURL});
        row.counts = {0, 0, row.channelCount};
    }

    std::optional<MetadataManifest> loadOrCreateManifest(const PolyFile& poly) const {
        if (paths::exists(sidecarManifestPath(poly.url))) {
            if (auto manifest = MetadataManifestExtractor::loadManifest(poly.url)) {
                log_.debug(QStringLiteral("✅ [loadOrCreateManifest] Found existing manifest for ") + poly.fileName);
                return manifest;
            }
        }
        if (tools_.bwfmetaeditPath.isEmpty()) {
            log_.debug(
                QStringLiteral("⚠️ [loadOrCreateManifest] bwfmetaedit not available, cannot create manifest"));
            return std::nullopt;
        }
        log_.debug(QStringLiteral("📝 [loadOrCreateManifest] Creating manifest for ") + poly.fileName);
        try {
            MetadataManifest manifest = extractor().extractAndSaveManifest(poly.url);
            log_.debug(QStringLiteral("✅ [loadOrCreateManifest] Created manifest for ") + poly.fileName);
            return manifest;
        } catch (const std::exception& error) {
            log_.debug(QStringLiteral("⚠️ [loadOrCreateManifest] Manifest creation failed: ") + describe(error));
            log_.debug(QStringLiteral("⚠️ [loadOrCreateManifest] Falling back to filename parsing for ") +
                       poly.fileName);
            return std::nullopt;
        }
    }

    std::optional<QStringList> extractTrackNames(const PolyFile& poly,
                                                 const std::optional<MetadataManifest>& manifest) const {
        if (manifest && manifest->ixml && !manifest->ixml->trackList.empty()) {
            log_.debug(QStringLiteral("✅ [extractTrackNames] Using track names from manifest"));
            return namesOf(*manifest->ixml);
        }
        const std::optional<MetadataManifest> loaded = MetadataManifestExtractor::loadManifest(poly.url);
        if (loaded && loaded->ixml && !loaded->ixml->trackList.empty()) {
            log_.debug(QStringLiteral("✅ [extractTrackNames] Loaded manifest and extracted track names"));
            return namesOf(*loaded->ixml);
        }
        log_.debug(QStringLiteral("⚠️ [extractTrackNames] No track names available, will use channel numbers"));
        return std::nullopt;
    }

    static QStringList namesOf(const IXMLMetadata& ixml) {
        QStringList names;
        for (const IXMLTrack& track : ixml.trackList) names << track.name;
        return names;
    }

    // The sidecar of the poly goes beside its ISOs, under the poly's name. One that is there already stays.
    void copyManifest(const PolyFile& poly, const QString& folder) const {
        const QString source = sidecarManifestPath(poly.url);
        if (!paths::exists(source)) {
            log_.debug(QStringLiteral("⚠️ [copyManifestToOutputFolder] Source manifest not found: ") + source);
            return;
        }
        const QString name = paths::lastComponent(source);
        QFile file(source);
        if (file.copy(paths::append(folder, name))) {
            log_.debug(QStringLiteral("✅ [copyManifestToOutputFolder] Copied manifest to: ") + name);
        } else {
            log_.debug(QStringLiteral("⚠️ [copyManifestToOutputFolder] Failed to copy manifest: ") +
                       file.errorString());
        }
    }

    MetadataManifestExtractor extractor() const {
        return MetadataManifestExtractor(
            tools_.bwfmetaeditPath, [this](const QString& line) { log_.debug(line); }, tools_.answers);
    }

    // The entries so far go ahead of those of the next split.
    void takeLog() { append(result_.logMessages, log_.take()); }

    const PolyEngineTools& tools_;
    PolyEngineHooks hooks_; // with the batch's ledger
    std::optional<PolySplitEngine> splitter_;
    const BatchSplitOptions& options_;
    EngineLog log_;
    BatchSplitResult result_;
};

} // namespace

BatchSplitResult batchSplit(const BatchSplitOptions& options, const PolyEngineTools& tools,
                            const PolyEngineHooks& hooks, const std::function<void(const BatchProgress&)>& progress) {
    return BatchSplit(tools, hooks, options).run(progress);
}

} // namespace ostrel
