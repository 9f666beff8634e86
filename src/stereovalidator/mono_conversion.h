// One recording from its source to its outcome: a channel copied, its metadata completed, compared, and published under
// its name or put in the place of the source.
//
// Blocks; for any thread.
#pragma once

#include "foundation/proof/output_proof.h"
#include "foundation/records/engine_choice.h"
#include "foundation/records/item_outcome.h"
#include "foundation/run/journal.h"
#include "foundation/run/output_file.h"
#include "foundation/run/run_ledger.h"
#include "platform/audio/audio_file.h"
#include "roads/road.h"
#include "stereovalidator/mono_target.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace ostrel {

// Why a recording could not be replaced by one of its channels, as far as that can be told from its head and stamp;
// empty: nothing is known against it. `analyzed` is the file as it was judged.
QString replacementObjection(const QString& recording, const std::optional<FileStamp>& analyzed);

class MonoConversion {
public:
    struct Tools {
        QString ffmpeg;
        QStringList bwfmetaedit; // tried in order
        EngineChoice engine = EngineChoice::ffmpeg;
    };
    MonoConversion(const MonoRequest& request, const Tools& tools, RunLedger& ledger, Journal& journal);

    ItemOutcome run();

private:
    void convert();
    void makeFile(AudioFile& source, const MonoTarget& target);
    QString freeNumber() const;
    void publish(OutputFile& output);
    void replaceSource(AudioFile& source);
    void prove(const NewFile& file) const;
    void proveOnRequest(const QString& unfinished, const QString& path);
    void takePlace(NewFile& file);
    void noteWhatStands(const NewFile& file, const std::optional<FileStamp>& made);
    void write(AudioFile& source, const QString& path, const QString& fileName);
    HeadRecipe head(const QString& fileName) const;
    void fitDocument(const QString& target, const HeadRecipe& head) const;
    void copyBWFMetadata(const QString& target) const;
    bool isRounded() const;
    void succeed();
    void fail(const QString& why);

    int channel() const { return request_.useLeftChannel ? 0 : 1; }

    const MonoRequest request_;
    const Tools tools_;
    RunLedger& ledger_;
    Journal& journal_;
    const Road road_;
    OutputProof proof_;
    std::optional<FileStamp> stamp_; // of the source when it was judged, or else when this began
    ItemOutcome outcome_;
};

} // namespace ostrel
