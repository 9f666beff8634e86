// What the engines of this room share: the tools they run, how they tell what happens, when they stop.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/item_outcome.h"
#include "foundation/tools/source_answers.h"
#include "metadata/bext_completion.h"

#include <QString>
#include <exception>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace ostrel {

class Journal;
class OutputFile;
class RunLedger;
class UniversalMetadataEngine;
struct MetadataPreservationResult;
struct ProcessResult;

// Absolute paths; empty where a tool was not found. Without a metadata engine outputs keep what ffmpeg carries over.
struct PolyEngineTools {
    QString ffmpegPath;
    QString ffprobePath;
    QString bwfmetaeditPath;
    std::shared_ptr<const UniversalMetadataEngine> universalEngine;
    std::shared_ptr<SourceAnswers> answers = std::make_shared<SourceAnswers>(); // the metadata engine's too

    EngineChoice engine() const { return answers->engine(); }
};

// Both are called on the engine's own thread and may be empty.
struct PolyEngineHooks {
    std::function<void(const ProcessingLogEntry&)> onLogEntry; // each entry, as it comes about
    std::function<bool()> isStopped;                           // asked ahead of every file and channel
    // Of the run: what it must not write over, and the record of what it replaces. An engine that is called by itself
    // goes without: it then protects its own sources alone.
    std::shared_ptr<RunLedger> ledger;
    std::shared_ptr<Journal> journal;

    bool stopped() const { return isStopped && isStopped(); }
};

// The log of one engine call: entries for the person, lines for the debug log.
class EngineLog {
public:
    // `tag` names the engine in the debug log, `baseName` the item in every entry.
    EngineLog(const PolyEngineHooks& hooks, const QString& tag, const QString& baseName)
        : hooks_(hooks), tag_(tag), baseName_(baseName) {}

    void info(LogCategory category, const QString& message) { add(LogLevel::info, category, message); }
    void success(LogCategory category, const QString& message) { add(LogLevel::success, category, message); }
    void warning(LogCategory category, const QString& message) { add(LogLevel::warning, category, message); }
    void error(LogCategory category, const QString& message) { add(LogLevel::error, category, message); }
    void add(LogLevel level, LogCategory category, const QString& message);
    void debug(const QString& message) const;

    std::vector<ProcessingLogEntry> take() { return std::exchange(entries_, {}); }

private:
    const PolyEngineHooks& hooks_;
    QString tag_;
    QString baseName_;
    std::vector<ProcessingLogEntry> entries_;
};

void append(std::vector<ProcessingLogEntry>& log, std::vector<ProcessingLogEntry> more);

// What any of the errors that the metadata subsystem and the platform throw says to a person.
QString describe(const std::exception& error);

// The capture as it is put on an output whose iXML is written afterwards: less the source's own iXML. To splice that in
// ahead of the audio and replace it a moment later would move the audio twice, and a source with two of them would make
// an output that bwfmetaedit refuses.
MetadataPreservationResult withoutIXML(MetadataPreservationResult capture);

// The last step of a new file's metadata, whatever a tool refused or rewrote ahead of it; and what the file then holds
// of the source's, compared. What could not be done is a warning.
MetadataRecord completeMetadata(const QString& source, const OutputFile& output, SourceUmid umid, EngineLog& log,
                                const DescriptionWish& wish = {});

// What is said of files that were to conform (HeadRecipe) and went by way of ffmpeg.
QString unconformedSentence(const QString& fileName);

// "All metadata preserved", or what is not as it was. Said of a file that stands, so behind its publishing.
void tellPreservation(const QString& done, const QString& file, const MetadataRecord& record, EngineLog& log);

// What was proved of an item, where that was asked for.
void tellProof(const QString& item, const ItemOutcome& outcome, EngineLog& log);

// A line of the metadata engine, at the level that its sign tells.
void tellMetadata(const QString& message, EngineLog& log);

// The line of a failed ffmpeg run that tells the fault; "Unknown error" where none does.
QString faultText(const ProcessResult& result);

} // namespace ostrel
