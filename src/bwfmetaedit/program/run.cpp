#include "bwfmetaedit/program/run.h"

#include "bwfmetaedit/documents/core_document.h"
#include "bwfmetaedit/metadata/copy.h"
#include "bwfmetaedit/program/arguments.h"
#include "bwfmetaedit/program/help.h"
#include "bwfmetaedit/program/messages.h"
#include "bwfmetaedit/program/outputs.h"
#include "bwfmetaedit/program/targets.h"
#include "bwfmetaedit/wave/file_time.h"
#include "bwfmetaedit/wave/file_update.h"
#include "bwfmetaedit/wave/wave_writer.h"

#include <new>

namespace ostrel::bwfmetaedit {

namespace {

constexpr const char* kMissing = "File does not exist";

// Everything is read and checked before anything is written; every file is read again right before it is written, so
// that only one of them is in memory at a time.
class EditRun {
public:
    EditRun(const Arguments& arguments, std::ostream& out, Messages& messages)
        : arguments_(arguments), messages_(messages), outputs_(arguments, out, messages) {}

    void execute() {
        std::vector<CoreRow> rows;
        try {
            if (!arguments_.inCore.empty()) rows = readCoreDocument(arguments_.inCore);
        } catch (const DocumentError& error) {
            messages_.documentError("--in-core=: " + error.text + "\n");
            messages_.plainError("Correct errors before trying again");
            return;
        }
        const Targets targets = collectTargets(arguments_.paths, commonEdits(), rows);
        if (!outputs_.areAcceptable(targets)) return;
        bool mayWrite = outputs_.open() && !arguments_.simulates;
        const bool allOrNothing = !arguments_.inCore.empty();

        std::vector<const Targets::value_type*> toWrite;
        bool anyFailed = false;
        for (const Targets::value_type& target : targets) {
            const Finding finding = check(target.first, target.second);
            anyFailed = anyFailed || finding == Finding::Failed;
            if (finding == Finding::NeedsWriting && !anyFailed) toWrite.push_back(&target);
        }
        mayWrite = mayWrite && !(allOrNothing && anyFailed);
        for (const Targets::value_type* target : toWrite) {
            if (mayWrite) mayWrite = write(target->first, target->second);
        }
        outputs_.finish();
    }

private:
    enum class Finding { Nothing, NeedsWriting, Failed };

    Edits commonEdits() {
        Edits edits;
        edits.values = arguments_.values;
        edits.rejectsOverwriting = arguments_.rejectsOverwriting;
        if (arguments_.inIxml.empty()) return edits;
        WholeFile document = readWholeFile(arguments_.inIxml, kLargestMetadata);
        switch (document.state) {
        case WholeFile::State::Read: edits.ixml = std::move(document.bytes); break;
        case WholeFile::State::Unreadable: ixmlProblem_ = kMissing; break;
        case WholeFile::State::Folder: ixmlProblem_ = "File is a folder"; break;
        case WholeFile::State::TooBig: ixmlProblem_ = "File is too big"; break;
        }
        return edits;
    }

    Finding check(const std::string& path, const Target& target) {
        if (!target.isGiven && isSameFile(path, path)) {
            // Not this file's failure, nor that of the others: they go on.
            messages_.fileError(path,
                                "is named in the document, but was not given as an argument; it is left as it is");
            return Finding::Nothing;
        }
        const std::optional<WaveFile> wave = readWaveFile(path);
        if (!wave) return fail(path, {kMissing}, {});
        if (!wave->error.empty()) return fail(path, {wave->error}, wave->metadata);
        EditResult edited = applyEdits(wave->metadata, withTimestamps(target.edits, path));
        if (!ixmlProblem_.empty()) {
            edited.problems.push_back("Malformed input (ixml=file://" + arguments_.inIxml + ", " + ixmlProblem_ + ")");
        }
        if (!edited.problems.empty()) return fail(path, edited.problems, wave->metadata);
        const ChunkEdits edits = chunkEdits(*wave, edited);
        const std::string problem = edits.anyChange() ? obstacle(path, *wave, edits) : std::string();
        if (!problem.empty()) return fail(path, {problem}, wave->metadata);
        outputs_.add(path, edited.metadata, false);
        return edits.anyChange() ? Finding::NeedsWriting : Finding::Nothing;
    }

    Finding fail(const std::string& path, const std::vector<std::string>& problems, const Metadata& metadata) {
        for (const std::string& problem : problems) messages_.fileError(path, problem);
        outputs_.add(path, metadata, true);
        return Finding::Failed;
    }

    bool write(const std::string& path, const Target& target) {
        try {
            const std::optional<WaveFile> wave = readWaveFile(path);
            if (!wave) throw WriteError{kMissing};
            if (!wave->error.empty()) throw WriteError{wave->error};
            const EditResult edited = applyEdits(wave->metadata, withTimestamps(target.edits, path));
            if (!edited.problems.empty()) throw WriteError{edited.problems.front()};
            updateFile(path, *wave, edited);
            return true;
        } catch (const WriteError& error) {
            messages_.fileError(path, error.text);
            outputs_.markFailed(path);
            return false;
        }
    }

    const Arguments& arguments_;
    Messages& messages_;
    Outputs outputs_;
    std::string ixmlProblem_;
};

std::optional<WaveFile> readForCopy(const std::string& path, Messages& messages) {
    std::optional<WaveFile> wave = readWaveFile(path);
    if (!wave || !wave->error.empty()) {
        messages.fileError(path, wave ? wave->error : kMissing);
        return {};
    }
    return wave;
}

void copy(const Arguments& arguments, Messages& messages) {
    const bool alone = arguments.values.empty() && arguments.inCore.empty() && arguments.inIxml.empty() &&
                       arguments.outCoreCsv.empty() && arguments.outCoreXml.empty() && arguments.outIxml.empty();
    if (!alone) return messages.plainError("--copy can not be combined with other changes or outputs");
    if (arguments.paths.size() != 2) return messages.plainError("--copy needs two files, the source and the target");
    const std::string& target = arguments.paths[1];
    const std::optional<WaveFile> from = readForCopy(arguments.paths[0], messages);
    const std::optional<WaveFile> to = readForCopy(target, messages);
    if (!from || !to) return;
    const EditResult edited = copyCore(from->metadata, to->metadata, arguments.rejectsOverwriting);
    for (const std::string& problem : edited.problems) messages.fileError(target, problem);
    if (!edited.problems.empty()) return;
    try {
        if (!arguments.simulates) updateFile(target, *to, edited);
    } catch (const WriteError& error) {
        messages.fileError(target, error.text);
    }
}

} // namespace

int run(const std::vector<std::string>& given, std::ostream& out, std::ostream& err) {
    const Arguments arguments = parseArguments(given);
    Messages messages(err);
    if (!arguments.unknownOption.empty()) {
        messages.plainError(arguments.unknownOption + " is unknown");
    } else if (arguments.asksForVersion) {
        out << kVersion;
    } else if (arguments.asksForHelp) {
        out << kHelp;
    } else if (arguments.paths.empty() && arguments.inCore.empty()) {
        out << kUsage;
    } else {
        try {
            if (arguments.copies) {
                copy(arguments, messages);
            } else {
                EditRun(arguments, out, messages).execute();
            }
        } catch (const std::bad_alloc&) {
            messages.plainError("out of memory");
        }
    }
    return messages.exitStatus();
}

} // namespace ostrel::bwfmetaedit
