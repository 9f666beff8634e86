// One poly to mono files: one ffmpeg run a channel, each ISO with the poly's metadata and an iXML that speaks of one
// track.
//
// Blocks its caller; for the thread pool. The poly is only read. One failed channel never stops the others, and failed
// metadata never fails an ISO: the log tells.
#pragma once

#include "foundation/item_outcome.h"
#include "polytools/engine_services.h"
#include "polytools/ixml_track_list.h"
#include "polytools/poly_file.h"

#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

namespace ostrel {

struct SplitOptions {
    SplitNamingPattern namingPattern = SplitNamingPattern::trackName;
    std::optional<QStringList> trackNames; // one a channel
    bool preserveMetadata = true;          // has no effect: metadata is handled wherever the tools allow it
    bool skipIfExists = true;
    bool overwriteExisting = false;
    bool keepOriginalName = false; // ISOs are called after the poly alone, with numbers where they clash
};

struct SplitResult {
    ItemOutcome outcome;               // of the poly
    std::vector<ItemOutcome> channels; // of each channel that was reached, in order
    int createdCount = 0;
    int skippedCount = 0;
    int errorCount = 0;
    std::vector<ProcessingLogEntry> logEntries;
};

struct BatchSplitOptions {
    QString sourceFolder;                     // read if there are no selected files; empty: none
    std::optional<QStringList> selectedFiles; // WAV files of more than one channel are taken
    QString outputFolder;
    bool recursive = true;
    SplitNamingPattern namingPattern = SplitNamingPattern::trackName;
    FolderOrganization folderOrganization = FolderOrganization::bySceneTake;
    bool preserveMetadata = true;
    bool skipIfExists = true;
    bool overwriteExisting = false;
    bool keepOriginalName = false;
};

struct BatchProgress {
    int currentIndex = 0; // 1-based
    int totalFiles = 0;
    QString currentFile;
    int totalISOsCreated = 0;
    int successCount = 0;
    int errorCount = 0;
    int skipCount = 0;

    bool operator==(const BatchProgress&) const = default;
};

struct PolyFileResult {
    QString fileName;
    int channelCount = 0;
    int isosCreated = 0;
    QString outputFolder; // its last component
    ItemOutcome outcome;
    QString sourceURL;
    PolyFile poly;
    QStringList trackNames;
    int resultChannels = 0; // of an edit
};

struct BatchSplitResult {
    int processedFiles = 0;
    int successCount = 0;
    int errorCount = 0;
    int skipCount = 0; // channels, not files
    int totalISOsCreated = 0;
    std::vector<ProcessingLogEntry> logMessages;
    std::vector<PolyFileResult> fileResults;
};

class PolySplitEngine {
public:
    using Progress = std::function<void(double fraction, const QString& name)>;
    using OnBatchProgress = std::function<void(const BatchProgress&)>;

    explicit PolySplitEngine(PolyEngineTools tools, PolyEngineHooks hooks = {});

    // The folder must exist. Throws nothing of its own.
    SplitResult split(const PolyFile& polyFile, const QString& outputFolder, const SplitOptions& options,
                      const Progress& progress = {}) const;

    // All polys of a folder or a selection, one after the other, each into the folder that its scene and take give.
    // Throws DomainError "BatchSplit" if there is nothing to split, "ScanError" if the folder can't be read.
    BatchSplitResult batchSplit(const BatchSplitOptions& options, const OnBatchProgress& progress = {}) const;

    static QStringList buildSplitCommand(const PolyFile& polyFile, int channel, const QString& output);

private:
    const PolyEngineTools tools_;
    const PolyEngineHooks hooks_;
};

} // namespace ostrel
