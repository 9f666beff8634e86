#include "rescue/rescue_file.h"

#include "platform/audio/audio_file.h"
#include "platform/files/file_name.h"
#include "platform/files/new_file.h"
#include "platform/paths.h"
#include "preview/waveform_generator.h"
#include "rescue/rescued_copy.h"
#include "wave/channel_copy.h"

#include <algorithm>

namespace ostrel {
namespace {

void refuse(RescueItem& item, const QString& why) {
    item.status = RescueStatus::refused;
    item.reason = why;
}

// The picture is no part of the copy: one that can't be drawn fails nothing.
std::vector<float> peaksOf(const QString& file) {
    try {
        return WaveformGenerator().generateWaveform(file, kRescuePeaks);
    } catch (const AudioFileError&) {
    } catch (const WaveformError&) {
    }
    return {};
}

void makeCopy(RescueItem& item, RunLedger& ledger, const RescueProgress& progress) {
    NewFile copy(item.output);
    const std::string from = item.source.toStdString();
    const std::string to = copy.path().toStdString();
    const quint64 total = 2 * item.diagnosis.audioBytes; // written, and read back
    quint64 done = 0;
    const auto count = [&](quint64 bytes) {
        done += bytes;
        if (progress && !progress(std::min(done, total), total)) throw RescueStopped();
    };
    writeRescuedCopy(from, to, item.diagnosis, count);
    files::flush(copy.path());
    files::forgetCached(copy.path());
    if (!isWholeCopy(from, to, item.diagnosis, count)) {
        refuse(item, QStringLiteral("the copy, read back, is not what was written; nothing was left behind"));
        return;
    }
    item.peaks = peaksOf(copy.path());
    copy.publish(NewFile::Over::nothing, true);
    ledger.noteWritten(item.output);
    item.status = RescueStatus::rescued;
}

// False where the item has its status.
bool mayWrite(RescueItem& item, RunLedger& ledger, bool isDryRun) {
    // An earlier run's, mostly, and then one of the recordings of this one.
    if (paths::exists(item.output) && !ledger.written().contains(item.output)) {
        item.status = RescueStatus::skipped;
        item.reason = QStringLiteral("%1 is there already").arg(item.output);
        return false;
    }
    const WritePermission permission = ledger.mayWrite(item.output, ExistingOutput::skipped);
    if (permission.isGranted()) {
        if (!isDryRun) item.remarks = ledger.prepareFolder(paths::parent(item.output));
        return true;
    }
    item.status = permission.kind == WritePermission::Kind::refused ? RescueStatus::refused : RescueStatus::skipped;
    item.reason = permission.reason;
    return false;
}

void take(RescueItem& item, const RescueOptions& options, RunLedger& ledger, const RescueProgress& progress) {
    if (paths::lowerExtension(item.source) == QLatin1String("sda")) {
        refuse(item, QStringLiteral("put it back into the recorder, which finishes an .SDA file"));
        return;
    }
    item.diagnosis = diagnose(item.source.toStdString(), options.like ? &*options.like : nullptr);
    for (const std::string& finding : item.diagnosis.findings) item.findings << QString::fromStdString(finding);
    item.badge = QString::fromStdString(badgeOf(item.diagnosis));
    if (item.diagnosis.kind == Diagnosis::Kind::refused) {
        refuse(item, QString::fromStdString(item.diagnosis.reason));
    } else if (item.diagnosis.kind == Diagnosis::Kind::healthy) {
        item.status = RescueStatus::healthy;
    } else {
        item.output = rescuedPath(item.source, options.outputFolder);
        if (!mayWrite(item, ledger, options.dryRun)) return;
        item.status = RescueStatus::rescued;
        if (!options.dryRun) makeCopy(item, ledger, progress);
    }
}

} // namespace

QString rescuedPath(const QString& source, const QString& outputFolder) {
    const QString folder = outputFolder.isEmpty() ? paths::parent(source) : outputFolder;
    const QString extension = paths::extension(source);
    const QString ending = QStringLiteral("_rescued.") + (extension.isEmpty() ? QStringLiteral("wav") : extension);
    return paths::append(folder, fittedFileName(paths::stem(source), ending));
}

RescueItem rescueFile(const QString& source, const RescueOptions& options, RunLedger& ledger,
                      const RescueProgress& progress) {
    RescueItem item;
    item.source = source;
    try {
        take(item, options, ledger, progress);
    } catch (const CopyError& error) {
        refuse(item, QStringLiteral("%1; nothing was left behind").arg(QString::fromStdString(error.what())));
    } catch (const RescueStopped&) {
        refuse(item, QStringLiteral("stopped; nothing was left behind"));
    } catch (const NameTakenError& error) {
        item.status = RescueStatus::skipped;
        item.reason = error.description;
    } catch (const FileError& error) {
        refuse(item, error.description);
    }
    return item;
}

} // namespace ostrel
