#include "stitch/stitch_file.h"

#include "metadata/chunks/md5_chunk.h"
#include "platform/files/file_name.h"
#include "platform/files/new_file.h"
#include "platform/paths.h"
#include "stitch/stitched_audio.h"
#include "wave/channel_copy.h"

#include <QFile>
#include <algorithm>
#include <cstdlib>

namespace ostrel {
namespace {

void refuse(StitchItem& item, const QString& why) {
    item.status = StitchStatus::refused;
    item.reason = why;
}

// What stands where two parts meet, and what the options make of it.
class Seams {
public:
    Seams(const Series& series, const StitchOptions& options, StitchItem& item)
        : series_(series), options_(options), item_(item) {}

    // Throws CopyError.
    std::vector<Stretch> stretches() {
        std::vector<Stretch> result{{0, 0, series_.parts.front().frames()}};
        for (std::size_t i = 0; i < series_.seams.size(); ++i) {
            const quint64 frames = series_.parts[i + 1].frames();
            const Seam seam = series_.seams[i];
            if (seam > 0) result.push_back({-1, 0, static_cast<quint64>(seam)});
            const quint64 skipped = seam < 0 ? static_cast<quint64>(-seam) : 0;
            result.push_back({static_cast<int>(i + 1), skipped, frames - skipped});
            if (seam != 0) tell(i, seam);
        }
        return result;
    }
    // A clause; empty: the options allow all of them.
    const QString& refusal() const { return refusal_; }

private:
    void tell(std::size_t i, Seam seam) {
        const auto count = static_cast<quint64>(std::abs(seam));
        const QString name = paths::lastComponent(series_.parts[i + 1].path);
        if (seam > 0) {
            const QString text = seamText(seam);
            item_.findings << QStringLiteral("%1 ahead of %2").arg(text, name);
            if (!options_.fillsGaps) object(text);
            return;
        }
        const bool isSame = isSameOverlap(series_.parts[i], series_.parts[i + 1], count);
        const QString text = QStringLiteral("%1, %2").arg(seamText(seam), isSame ? QStringLiteral("identical")
                                                                                 : QStringLiteral("not identical"));
        item_.findings << QStringLiteral("%1, at the beginning of %2").arg(text, name);
        if (!isSame || !options_.trimsOverlaps) object(text);
    }
    void object(const QString& text) {
        if (refusal_.isEmpty()) refusal_ = text;
    }

    const Series& series_;
    const StitchOptions& options_;
    StitchItem& item_;
    QString refusal_;
};

// The whole way from the parts to a private file that was compared. Throws CopyError, StitchStopped, FileError.
class Making {
public:
    Making(const Series& series, const std::vector<Stretch>& stretches, quint64 frames, const StitchProgress& progress)
        : series_(series), stretches_(stretches), frames_(frames), progress_(progress),
          total_(2 * frames * series.parts.front().layout.format->blockAlign) {}

    // False where what was read back is not what was written.
    bool make(const QString& to, const QString& fileName, const StitchedPlace& place, bool hashes) {
        const StitchedHead head = stitchedHead(series_, frames_, fileName, place);
        warnings = head.warnings;
        const StitchedBytes count = [this](quint64 bytes) {
            done_ += bytes; // written, and read back
            if (progress_ && !progress_(std::min(done_, total_), total_)) throw StitchStopped();
        };
        const QStringList wanted = writeStitched(series_, stretches_, head.bytes, to, hashes, count);
        if (head.hasMd5) renewMd5Chunk(to);
        files::flush(to);
        files::forgetCached(to);
        const StitchedReading found = readStitched(series_, stretches_, to, hashes, count);
        channels = found.channels;
        return found.isWhole && wanted == found.channels;
    }

    QStringList warnings;
    QStringList channels; // hashes of what was read back

private:
    const Series& series_;
    const std::vector<Stretch>& stretches_;
    const quint64 frames_;
    const StitchProgress& progress_;
    const quint64 total_;
    quint64 done_ = 0;
};

const QString kDiffers = QStringLiteral("the file, read back, is not what was written; nothing was left behind");

ProofRecord proofOf(const StitchItem& item, const QStringList& hashes) {
    ProofRecord record;
    for (int channel = 0; channel < static_cast<int>(hashes.size()); ++channel) {
        record.channels.push_back({.output = item.output,
                                   .outputChannel = channel,
                                   .source = item.sources.front(),
                                   .sourceChannel = channel,
                                   .finding = ProofFinding::identical,
                                   .hash = hashes[channel],
                                   .reason = {}});
    }
    return record;
}

// False where the item has its status.
bool mayWrite(StitchItem& item, RunLedger& ledger, bool isDryRun) {
    // An earlier run's, mostly, and then one of the recordings of this one.
    const bool isThere = paths::exists(item.output) && !ledger.written().contains(item.output);
    const WritePermission permission = ledger.mayWrite(item.output, ExistingOutput::skipped);
    if (!isThere && permission.isGranted()) {
        if (!isDryRun) item.warnings << ledger.prepareFolder(paths::parent(item.output));
        return true;
    }
    const bool isRefused = !isThere && permission.kind == WritePermission::Kind::refused;
    item.status = isRefused ? StitchStatus::refused : StitchStatus::skipped;
    item.reason = isThere ? QStringLiteral("%1 is there already").arg(item.output) : permission.reason;
    return false;
}

void take(StitchItem& item, const Series& series, const StitchedPlace& place, const StitchOptions& options,
          RunLedger& ledger, const StitchProgress& progress) {
    if (series.parts.size() == 1 && series.ambiguity.isEmpty()) {
        item.status = StitchStatus::single;
        item.reason = series.parts.front().fault;
        return;
    }
    item.output = stitchedPath(item.sources.front(), options.outputFolder);
    Seams seams(series, options, item);
    const std::vector<Stretch> stretches = seams.stretches();
    for (const Stretch& stretch : stretches) item.frames += stretch.frames;
    if (!series.ambiguity.isEmpty()) return refuse(item, series.ambiguity);
    if (!seams.refusal().isEmpty()) return refuse(item, seams.refusal());
    if (!mayWrite(item, ledger, options.dryRun)) return;
    item.status = StitchStatus::stitched;
    if (options.dryRun) return;
    NewFile file(item.output);
    Making making(series, stretches, item.frames, progress);
    if (!making.make(file.path(), paths::lastComponent(item.output), place, options.proves)) {
        return refuse(item, kDiffers);
    }
    item.warnings << making.warnings;
    if (options.proves) item.proof = proofOf(item, making.channels);
    file.publish(NewFile::Over::nothing, true);
    ledger.noteWritten(item.output);
}

} // namespace

QString stitchedPath(const QString& firstPart, const QString& outputFolder) {
    const QString folder = outputFolder.isEmpty() ? paths::parent(firstPart) : outputFolder;
    const QString extension = paths::extension(firstPart);
    const QString ending = QStringLiteral("_stitched.") + (extension.isEmpty() ? QStringLiteral("wav") : extension);
    return paths::append(folder, fittedFileName(paths::stem(firstPart), ending));
}

StitchItem stitchSeries(const Series& series, const StitchedPlace& place, const StitchOptions& options,
                        RunLedger& ledger, const StitchProgress& progress) {
    StitchItem item;
    for (const Part& part : series.parts) item.sources << part.path;
    item.isExact = series.isExact();
    if (series.parts.front().layout.format) item.format = *series.parts.front().layout.format;
    try {
        take(item, series, place, options, ledger, progress);
    } catch (const CopyError& error) {
        refuse(item,
               QStringLiteral("%1: %2; nothing was left behind")
                   .arg(paths::lastComponent(QFile::decodeName(error.path.c_str())), QString::fromUtf8(error.what())));
    } catch (const StitchStopped&) {
        refuse(item, QStringLiteral("stopped; nothing was left behind"));
    } catch (const NameTakenError& error) {
        item.status = StitchStatus::skipped;
        item.reason = error.description;
    } catch (const FileError& error) {
        refuse(item, error.description);
    }
    return item;
}

QStringList writeExactSeries(const Series& series, const QString& to, const QString& fileName,
                             const StitchProgress& progress) {
    std::vector<Stretch> stretches;
    for (const Part& part : series.parts) stretches.push_back({static_cast<int>(stretches.size()), 0, part.frames()});
    Making making(series, stretches, series.frames(), progress);
    if (!making.make(to, fileName, {}, false)) throw FileError(kDiffers);
    return making.warnings;
}

} // namespace ostrel
