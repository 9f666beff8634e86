// What a split is asked for and what it gives, for one poly and for a batch. An edit of a batch has the same rows.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/item_outcome.h"
#include "polytools/records/poly_file.h"

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace ostrel {

struct SplitOptions {
    SplitNamingPattern namingPattern = SplitNamingPattern::trackName;
    std::optional<QStringList> trackNames; // one a channel
    bool skipIfExists = true;
    bool overwriteExisting = false;
    bool keepOriginalName = false; // ISOs are called after the poly alone, with numbers where they clash
    bool proves = false;           // every output is read back and compared, channel by channel
    bool conforms = false;         // heads as editing systems read them, on the direct road
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
    bool skipIfExists = true;
    bool overwriteExisting = false;
    bool keepOriginalName = false;
    bool proves = false;
    bool conforms = false;
};

// What became of the files that an item was to have.
struct OutputCounts {
    int created = 0;
    int skipped = 0; // were there already
    int failed = 0;

    bool operator==(const OutputCounts&) const = default;
};

struct BatchProgress {
    int currentIndex = 0; // 1-based
    int totalFiles = 0;
    QString currentFile;
    int totalISOsCreated = 0;
    int successCount = 0;
    int errorCount = 0;
    int skipCount = 0;
    QString currentURL; // of the file under way; empty: none
    // The file that ended last, and how; empty ahead of the first end.
    QString endedURL;
    ItemOutcome ended;
    OutputCounts endedCounts;

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
    OutputCounts counts;
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

} // namespace ostrel
