// hash: checksums of the audio of recordings, and the MD5 chunk that keeps one in the file.
#include "cli/command.h"
#include "cli/commands.h"
#include "cli/job_format.h"
#include "custody/seal_renewal.h"
#include "foundation/proof/audio_hashes.h"
#include "foundation/run/recording_list.h"
#include "foundation/run/run_ledger.h"
#include "metadata/chunks/md5_chunk.h"
#include "platform/files/unique_files.h"
#include "platform/parallel.h"
#include "platform/processes/stop_signals.h"

#include <QFile>
#include <mutex>

namespace ostrel::cli {
namespace {

struct HashOptions {
    TerminalOptions terminal;
    std::vector<std::string> paths;
    bool fast = false;
    bool check = false;
    bool embed = false;
    bool overwrite = false;
    bool noSubfolders = false;
};

struct HashedFile {
    enum class Embedded { notAsked, none, agrees, differs };

    QString path;
    AudioHashes hashes;
    Embedded embedded = Embedded::notAsked;
    bool isWritten = false; // the chunk is new
    QStringList remarks;    // of the folder that it lies in
    QString error;          // empty: none
    bool isDone = false;    // false: stopped ahead of it
};

nlohmann::json embeddedWord(HashedFile::Embedded embedded) {
    switch (embedded) {
    case HashedFile::Embedded::none: return "none";
    case HashedFile::Embedded::agrees: return "agree";
    case HashedFile::Embedded::differs: return "differ";
    case HashedFile::Embedded::notAsked: break;
    }
    return nullptr;
}

QString embeddedSentence(const HashedFile& file) {
    switch (file.embedded) {
    case HashedFile::Embedded::none: return QStringLiteral("no MD5 chunk");
    case HashedFile::Embedded::agrees:
        return file.isWritten ? QStringLiteral("MD5 chunk written") : QStringLiteral("MD5 chunk agrees");
    case HashedFile::Embedded::differs: return QStringLiteral("MD5 chunk differs");
    case HashedFile::Embedded::notAsked: break;
    }
    return {};
}

// What a FLAC file says of its audio, for a person who wonders: it is not looked at here.
QString flacRemark(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QByteArray head = file.read(42); // "fLaC", the header of a block of 34 bytes, STREAMINFO
    constexpr qsizetype kDigest = 26;
    if (head.size() < 42 || !head.startsWith("fLaC") || (head[4] & 0x7F) != 0) return {};
    return QStringLiteral(" (FLAC, which says that the MD5 of its samples is %1)")
        .arg(QString::fromLatin1(head.mid(kDigest, 16).toHex()));
}

class HashRun {
public:
    explicit HashRun(const HashOptions& options) : options_(options), terminal_(options.terminal) {}

    int run() {
        if (options_.fast && (options_.check || options_.embed)) {
            terminal_.error(QStringLiteral("--fast leaves the MD5 out, which --check and --embed are about"));
            return badUsage;
        }
        const std::optional<QStringList> paths = existingPaths(options_.paths, terminal_);
        if (!paths) return badUsage;
        collect(*paths);
        if (options_.embed) tellSealNotices(terminal_, *paths, SealTouch::changes);
        // By MD5 a processor is the bottleneck, so several files go side by side; without it the disk is.
        forEachInParallel(
            files_.size(), [this](std::size_t i) { take(files_[i]); }, options_.fast ? 1 : parallelWidth());
        if (options_.embed) renewSealsOfWritten();
        if (terminal_.isJson()) terminal_.document(document());
        if (signals_.happened()) return signals_.exitStatus();
        return hasFailed_ ? someItemFailed : allDone;
    }

private:
    void collect(const QStringList& paths) {
        QStringList selection;
        for (const QString& path : paths) {
            if (!paths::isFolder(path)) {
                selection << path;
                continue;
            }
            const CollectedRecordings found = collectRecordings({path}, !options_.noSubfolders, waveFileExtensions());
            for (const QString& sentence : found.remarks + found.unopened) terminal_.error(sentence);
            if (!found.unopened.isEmpty()) hasFailed_ = true;
            selection << found.files;
        }
        const UniqueFiles once = uniqueFiles(selection); // a file is written to by one of its names alone
        for (const QString& sentence : once.repeats) terminal_.error(sentence);
        selection = once.files;
        if (selection.isEmpty()) {
            hasFailed_ = true;
            terminal_.error(QStringLiteral("no recordings found"));
        }
        for (const QString& path : selection) files_.push_back({.path = path});
        ledger_ = std::make_unique<RunLedger>(selection);
    }

    void renewSealsOfWritten() {
        QStringList written;
        for (const HashedFile& file : files_) {
            if (file.isWritten) written << file.path;
        }
        seals_ = renewSeals(QStringLiteral("hash --embed"), written);
        for (const RunSeal& seal : seals_) {
            tellSealFaults(terminal_, seal);
            if (!seal.isWhole()) hasFailed_ = true;
        }
        tellSeals(terminal_, seals_);
    }

    // On any thread.
    void take(HashedFile& file) {
        if (signals_.happened()) return;
        try {
            hash(file);
        } catch (const std::exception& error) {
            const auto* known = dynamic_cast<const FileError*>(&error);
            file.error = known ? known->description : QString::fromUtf8(error.what());
            if (file.hashes.md5.isEmpty() && file.hashes.channels.isEmpty()) file.error += flacRemark(file.path);
        }
        const std::lock_guard lock(mutex_);
        file.isDone = true;
        if (!file.error.isEmpty() || (options_.check && file.embedded == HashedFile::Embedded::differs)) {
            hasFailed_ = true;
        }
        while (told_ < files_.size() && files_[told_].isDone) tell(files_[told_++]);
    }

    void hash(HashedFile& file) {
        // What an earlier run left there goes, also where the digest is there by now.
        if (options_.embed) file.remarks = ledger_->prepareFolder(paths::parent(file.path));
        const std::optional<FileStamp> seen = FileStamp::of(file.path);
        file.hashes = hashAudio(file.path, {.md5 = !options_.fast});
        if (options_.fast) return;
        const std::optional<QString> chunk = embeddedMd5(file.path);
        using Embedded = HashedFile::Embedded;
        file.embedded = !chunk ? Embedded::none : *chunk == file.hashes.md5 ? Embedded::agrees : Embedded::differs;
        if (!options_.embed || !seen || file.embedded == Embedded::agrees) return;
        file.isWritten = embedMd5(file.path, file.hashes.md5, *seen, options_.overwrite, journal_);
        file.embedded = Embedded::agrees;
    }

    void tell(const HashedFile& file) {
        if (!file.hashes.channels.isEmpty() || !file.hashes.md5.isEmpty()) {
            QStringList head{file.path};
            if (!file.hashes.md5.isEmpty()) head << QStringLiteral("md5 ") + file.hashes.md5;
            if (const QString said = embeddedSentence(file); !said.isEmpty()) head << said;
            terminal_.line(head.join(QStringLiteral("  ")));
            int number = 0;
            for (const QString& channel : file.hashes.channels) {
                terminal_.line(QStringLiteral("  %1  xxh128 %2").arg(++number, 3).arg(channel));
            }
        }
        for (const QString& sentence : file.remarks) terminal_.error(sentence);
        if (!file.error.isEmpty()) terminal_.error(file.error);
    }

    nlohmann::json document() const {
        nlohmann::json files = nlohmann::json::array();
        for (const HashedFile& file : files_) {
            if (!file.isDone) continue;
            nlohmann::json entry{{"path", jsonText(file.path)},
                                 {"md5", jsonTextOrNull(file.hashes.md5)},
                                 {"channels", jsonList(file.hashes.channels)},
                                 {"embedded", embeddedWord(file.embedded)}};
            if (file.isWritten) entry["written"] = true;
            if (!file.error.isEmpty()) entry["error"] = jsonText(file.error);
            files.push_back(std::move(entry));
        }
        nlohmann::json result{{"files", std::move(files)}};
        if (!seals_.empty()) result["seals"] = sealsDocument(seals_);
        if (signals_.happened()) result["stopped"] = true;
        return result;
    }

    // Asked ahead of every file; nothing here has an event loop.
    const StopSignals signals_{[] {}};
    const HashOptions& options_;
    Terminal terminal_;
    std::vector<HashedFile> files_;
    std::unique_ptr<RunLedger> ledger_;
    Journal journal_{QStringLiteral("hash")};
    std::vector<RunSeal> seals_;
    std::mutex mutex_; // guards what follows, and the terminal
    std::size_t told_ = 0;
    bool hasFailed_ = false;
};

} // namespace

void addHashCommand(CLI::App& parser, ChosenCommand& chosen) {
    CLI::App* command =
        addSubcommand(parser, "hash", "Print checksums of recordings' audio: MD5 of the whole, XXH128 of each channel",
                      "  ostrel-cli hash Take.wav\n"
                      "  ostrel-cli hash --check --json ~/Day1\n"
                      "  ostrel-cli hash --embed ~/Day1          (writes an MD5 chunk into each file)");
    const auto options = std::make_shared<HashOptions>();
    addPaths(*command, options->paths, "WAV files, and folders of them");
    command->add_flag("--fast", options->fast, "Leave out the MD5, which takes ten times as long as all the rest");
    command->add_flag("--check", options->check,
                      "Exit status 1 if a file's own MD5 chunk tells another digest than that of its audio");
    command->add_flag("--embed", options->embed,
                      "Write the digest into each file as its MD5 chunk; a chunk that tells another one stays, and "
                      "fails the file");
    command->add_flag("--overwrite", options->overwrite, "With --embed: replace a digest that differs");
    addSubfoldersOption(*command, options->noSubfolders);
    addTerminalOptions(*command, options->terminal);
    command->callback([options, &chosen] { chosen.run = [options] { return HashRun(*options).run(); }; });
}

} // namespace ostrel::cli
