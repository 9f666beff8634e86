// One output of a job from the question whether it may be written to its final name: the frame around every road that
// makes a file.
//
//     OutputFile output(ledger, path, rule);
//     if (!output.permission().isGranted()) ...           // skipped or refused, with a sentence
//     runFFmpeg(..., output.unfinished());                // audio, then metadata, into the private file
//     const OutputFile::End end = output.finish(pairs);   // checked against its sources, then published
//
// Blocks on the disk; for any thread but the main one.
#pragma once

#include "foundation/proof/channel_pair.h"
#include "foundation/run/run_ledger.h"
#include "platform/files/new_file.h"

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace ostrel {

class OutputFile {
public:
    // The folder must exist (RunLedger::prepareFolder). Without permission nothing will be written.
    OutputFile(RunLedger& ledger, const QString& path, ExistingOutput rule,
               const std::function<bool()>& isEarlierOutput = {});

    const WritePermission& permission() const { return permission_; }
    const QString& path() const { return path_; }
    // The private name to write to; only with permission.
    const QString& unfinished() const { return file_->path(); }
    // What a tool says of the private name, said of the final one; only with permission.
    QString namingFinal(const QString& message) const { return file_->namingFinal(message); }

    // What a comparison may find without failing the item: conversions that the job is known for. `strict`: every
    // channel has to be its source's, but for what a change of encoding does to single samples. `exact`: it has to be
    // its source's, sample for sample.
    enum class Check { exact, strict, tolerant };

    struct End {
        QString failure;           // why it does not stand under its name; empty: it does
        QStringList warnings;      // what was found although it stands
        bool nameWasTaken = false; // another program made it meanwhile
        bool isFaithful = false;   // the blocks that were looked at are those of the sources
    };
    // `pairs` name the private file as the output. On the disk first where `isDurable`.
    End finish(const std::vector<ChannelPair>& pairs, Check check, bool isDurable = false);

private:
    End compared(const std::vector<ChannelPair>& pairs, Check check) const;

    RunLedger& ledger_;
    QString path_;
    WritePermission permission_;
    std::optional<NewFile> file_;
};

} // namespace ostrel
