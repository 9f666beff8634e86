#include "stereovalidator/stereo_processing_engine.h"

#include "platform/audio_file.h"
#include "platform/audio_file_writer.h"
#include "platform/child_process.h"
#include "platform/file_name.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/standard_folders.h"
#include "platform/tool_limits.h"
#include "stereovalidator/in_place_swap.h"

#include <algorithm>

namespace ostrel {
namespace {

constexpr int kBlockFrames = 8192;
constexpr int kLastNumber = 99;

// The path that the source's name gives; `number` ("_2") tells further ones apart.
QString outputPath(const MonoRequest& request, const QString& number = QString()) {
    const QString suffix = request.addSuffix ? QStringLiteral("_mono") : QString();
    const QString ending = suffix + number + QLatin1Char('.') + request.outputFormat;
    return paths::append(request.outputFolder, fittedFileName(paths::stem(request.file), ending));
}

// The same entry of the same folder, by whatever path. Where the file system ignores letter case (a recorder's card),
// "A.WAV" and "A.wav" are one entry too: to remove the one would remove the other.
bool isSameEntry(const QString& target, const QString& source) {
    if (paths::absolute(target) == paths::absolute(source)) return true;
    if (!paths::isSameFile(paths::parent(target), paths::parent(source))) return false;
    const QString a = paths::lastComponent(target);
    const QString b = paths::lastComponent(source);
    return a == b || (a.compare(b, Qt::CaseInsensitive) == 0 && paths::isSameFile(target, source));
}

QString numberedTarget(const MonoRequest& request) {
    for (int number = 1; number <= kLastNumber; ++number) {
        const QString candidate = outputPath(request, QStringLiteral("_%1").arg(number));
        if (!paths::exists(candidate)) return candidate;
    }
    // The numbers end at 99; the sentence is meant as it stands.
    throw ProcessingError::processingFailed(QStringLiteral("Could not find available filename after 100 attempts"));
}

// The path that the result gets in the end.
QString settleTarget(const MonoRequest& request, const QString& target, bool inPlace) {
    if (!paths::exists(target)) return target;
    if (request.allowOverwrite) {
        if (!inPlace) files::remove(target);
        return target;
    }
    if (request.addSuffix) {
        throw ProcessingError::processingFailed(QStringLiteral("File already exists: ") + paths::lastComponent(target));
    }
    return numberedTarget(request);
}

void copyChannel(AudioFile& source, int channel, const QString& path) {
    AudioFileWriter writer(path, source.sampleRate(), 1);
    AudioBuffer stereo(2, kBlockFrames);
    AudioBuffer mono(1, kBlockFrames);
    while (source.position() < source.lengthInFrames()) {
        const int frames = source.read(stereo, kBlockFrames);
        mono.resize(1, frames);
        std::ranges::copy(stereo.channel(channel), mono.channel(0).begin());
        writer.write(mono);
    }
    writer.close();
}

} // namespace

ProcessingError::ProcessingError(Kind kind, const QString& text)
    : std::runtime_error(text.toStdString()), kind_(kind), text_(text) {}

ProcessingError ProcessingError::processingFailed(const QString& text) { return {Kind::processingFailed, text}; }

ProcessingError ProcessingError::notStereo() {
    return {Kind::notStereo, QStringLiteral("The file does not have two channels")};
}

QString ProcessingError::errorDescription() const {
    return QStringLiteral("The operation couldn’t be completed. (%1)").arg(text_);
}

StereoProcessingEngine::StereoProcessingEngine(const QString& ffmpegPath, const QStringList& bwfmetaeditPaths)
    : ffmpegPath_(ffmpegPath), bwfmetaeditPaths_(bwfmetaeditPaths) {}

QStringList StereoProcessingEngine::defaultBwfmetaeditPaths() {
    return {QStringLiteral("/opt/homebrew/bin/bwfmetaedit"), QStringLiteral("/usr/local/bin/bwfmetaedit"),
            QStringLiteral("/usr/bin/bwfmetaedit"), paths::append(resourceFolder(), QStringLiteral("bin/bwfmetaedit"))};
}

QString StereoProcessingEngine::targetOf(const MonoRequest& request) { return outputPath(request); }

MonoConversion StereoProcessingEngine::convertToMono(const MonoRequest& request) const {
    AudioFile source(request.file, ffmpegPath_);
    if (source.channelCount() != 2) throw ProcessingError::notStereo();
    const QString wanted = targetOf(request);
    const bool inPlace = isSameEntry(wanted, request.file);
    const QString target = settleTarget(request, wanted, inPlace);
    // A numbered name chosen because the source itself stands in the way counts as in place too: it replaces the
    // source.
    const QString written =
        inPlace ? hiddenSibling(paths::parent(target), QStringLiteral("_temp"), request.outputFormat) : target;
    copyChannel(source, request.useLeftChannel ? 0 : 1, written);
    copyBWFMetadata(request.file, written);
    if (!inPlace) return {target, QString()};
    return {target, swapInPlace(request.file, written, target)};
}

// Until one succeeds: releases of the original tool that do not know --copy refuse it without touching a file.
void StereoProcessingEngine::copyBWFMetadata(const QString& source, const QString& target) const {
    for (const QString& tool : bwfmetaeditPaths_) {
        if (!paths::isExecutableFile(tool)) continue;
        try {
            const QStringList arguments{QStringLiteral("--copy"), paths::absolute(source), paths::absolute(target)};
            if (ChildProcess::runSilently(tool, arguments, limitsByFileSize({source, target})).succeeded()) return;
        } catch (const ProcessLaunchError&) {
            continue; // best effort: the audio stands without its metadata
        }
    }
}

} // namespace ostrel
