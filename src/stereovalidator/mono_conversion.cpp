#include "stereovalidator/mono_conversion.h"

#include "foundation/chunks/chunk_bytes.h"
#include "foundation/proof/audio_proof.h"
#include "foundation/proof/sample_reader.h"
#include "foundation/proof/unexplained_bytes.h"
#include "metadata/chunks/chunk_setting.h"
#include "metadata/ixml_fitting.h"
#include "metadata/metadata_comparison.h"
#include "metadata/metadata_completion.h"
#include "platform/audio/audio_file_writer.h"
#include "platform/files/files.h"
#include "platform/files/replacement.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "platform/processes/tool_limits.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cstring>

namespace ostrel {
namespace {

constexpr int kBlockFrames = 8192;
constexpr int kLastNumber = 99;

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

bool sameFloats(std::span<const float> a, std::span<const float> b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size_bytes()) == 0;
}

// Whether the file is what a conversion of either channel gives, to the last sample: then nothing is lost with it.
bool holdsAChannelOf(AudioFile& source, const QString& path) {
    try {
        AudioFile found(path);
        const qint64 length = source.lengthInFrames();
        if (found.channelCount() != 1 || found.lengthInFrames() != length) return false;
        AudioBuffer stereo(2, kBlockFrames);
        AudioBuffer mono(1, kBlockFrames);
        bool isLeft = true;
        bool isRight = true;
        source.seek(0);
        while ((isLeft || isRight) && source.position() < length) {
            source.read(stereo, kBlockFrames);
            found.read(mono, kBlockFrames);
            isLeft = isLeft && sameFloats(stereo.channel(0), mono.channel(0));
            isRight = isRight && sameFloats(stereo.channel(1), mono.channel(0));
        }
        source.seek(0);
        return isLeft || isRight;
    } catch (const AudioFileError&) {
        return false;
    }
}

// Samples of more bits than the 24 that the results' floats hold.
bool isWiderThanFloats(const QString& file) {
    using Kind = SampleReader::Encoding::Kind;
    try {
        const auto reader = SampleReader::open(file);
        const SampleReader::Encoding encoding = reader->encoding();
        if (encoding.kind == Kind::integers) return encoding.bytes == 4 && !reader->hasOddContainer();
        return encoding.bytes == 8; // doubles, or what a library decodes: it does not tell
    } catch (const SampleReaderError&) {
        return false;
    }
}

} // namespace

QString replacementObjection(const QString& recording, const std::optional<FileStamp>& analyzed) {
    const QString file = QFileInfo(recording).canonicalFilePath();
    if (FileStamp::of(file) != analyzed) {
        return QStringLiteral("Originals kept: %1 was changed since it was analyzed")
            .arg(paths::lastComponent(recording));
    }
    const QString why = unexplainedBytesOf(file);
    return why.isEmpty() ? QString() : QStringLiteral("Originals kept: ") + why;
}

MonoConversion::MonoConversion(const MonoRequest& request, const Tools& tools, RunLedger& ledger, Journal& journal)
    : request_(request), tools_(tools), ledger_(ledger), journal_(journal),
      road_(tools.engine, {request.file}, 2, QStringLiteral("wav")), proof_(request.proves),
      stamp_(request.analyzed ? request.analyzed : FileStamp::of(request.file)) {
    outcome_.sources = ItemOutcome::allKept({request_.file});
}

ItemOutcome MonoConversion::run() {
    try {
        convert();
    } catch (const AudioFileError& error) {
        fail(error.errorDescription());
    } catch (const ProcessingError& error) {
        fail(error.errorDescription());
    } catch (const FileError& error) {
        fail(error.description);
    } catch (const RoadError& error) {
        fail(error.description);
    }
    return std::move(outcome_);
}

void MonoConversion::convert() {
    AudioFile source(request_.file, tools_.ffmpeg);
    if (source.channelCount() != 2) throw ProcessingError::notStereo();
    if (!road_.detour().isEmpty()) outcome_.warnings << road_.detour();
    outcome_.warnings << unexplainedBytesWarnings({request_.file});
    const MonoTarget target = monoTargetOf(request_);
    target.kind == MonoTarget::Kind::source ? replaceSource(source) : makeFile(source, target);
}

void MonoConversion::makeFile(AudioFile& source, const MonoTarget& target) {
    if (request_.analyzed && FileStamp::of(request_.file) != request_.analyzed) {
        outcome_.warnings
            << QStringLiteral("%1 was changed since it was analyzed").arg(paths::lastComponent(request_.file));
    }
    outcome_.warnings << ledger_.prepareFolder(request_.outputFolder);
    const QString path = target.kind == MonoTarget::Kind::numbered ? freeNumber() : target.path;
    const auto isEarlierOutput = [&] { return holdsAChannelOf(source, path); };
    OutputFile output(ledger_, path, request_.allowOverwrite ? ExistingOutput::replaced : ExistingOutput::skipped,
                      isEarlierOutput);
    if (!output.permission().isGranted()) {
        const bool exists = output.permission().kind == WritePermission::Kind::exists;
        throw ProcessingError::processingFailed(exists ? fileExistsSentence(path) : output.permission().reason);
    }
    write(source, output.unfinished(), paths::lastComponent(path));
    proveOnRequest(output.unfinished(), path);
    publish(output);
    outcome_.outputs = QStringList(path);
    succeed();
}

QString MonoConversion::freeNumber() const {
    for (int number = 1; number <= kLastNumber; ++number) {
        const QString candidate = numberedTarget(request_, number);
        if (ledger_.mayWrite(candidate, ExistingOutput::refused).isGranted()) return candidate;
    }
    // The numbers end at 99; the sentence is meant as it stands.
    throw ProcessingError::processingFailed(QStringLiteral("Could not find available filename after 100 attempts"));
}

// Of a file that leaves its source alone, its length and some blocks are compared.
void MonoConversion::publish(OutputFile& output) {
    const OutputFile::End end = output.finish({{{request_.file, channel()}, {output.unfinished(), 0}}},
                                              isRounded() ? OutputFile::Check::strict : OutputFile::Check::exact);
    if (!end.failure.isEmpty()) {
        throw ProcessingError::processingFailed(end.nameWasTaken ? fileExistsSentence(output.path()) : end.failure);
    }
    if (end.isFaithful) return;
    outcome_.warnings << QStringLiteral("%1: the samples of %2 hold more bits than its floats and are rounded to 24")
                             .arg(paths::lastComponent(output.path()), paths::lastComponent(request_.file));
}

void MonoConversion::replaceSource(AudioFile& source) {
    const QString recording = QFileInfo(request_.file).canonicalFilePath(); // what a link leads to; the link stays
    requireReplaceable(recording);
    if (const QString why = replacementObjection(request_.file, stamp_); !why.isEmpty()) {
        throw ProcessingError::processingFailed(why);
    }
    outcome_.warnings << ledger_.prepareFolder(paths::parent(recording));
    NewFile file(recording);
    write(source, file.path(), paths::lastComponent(request_.file));
    files::flush(file.path()); // what the proof reads is what the disk was given
    proveOnRequest(file.path(), request_.file);
    takePlace(file);
}

// Of a file for which its source goes: every frame of the channel that stays. That the other one goes is what was
// asked.
void MonoConversion::prove(const NewFile& file) const {
    QString why = AudioProof::of({}, {{{request_.file, channel()}, {file.path(), 0}}}).objection();
    if (why.isEmpty()) return;
    why.replace(paths::lastComponent(file.path()), QStringLiteral("the new file"));
    if (isRounded()) {
        why += QStringLiteral(" (which hold more bits than the floats of a mono file)");
    }
    throw ProcessingError::processingFailed(QStringLiteral("Originals kept: ") + why);
}

void MonoConversion::proveOnRequest(const QString& unfinished, const QString& path) {
    outcome_.proof = proof_.of({{{request_.file, channel()}, {unfinished, 0}}}, {{unfinished, path}});
    if (outcome_.proof && outcome_.proof->differs()) {
        throw ProcessingError::processingFailed(outcome_.proof->failure());
    }
}

void MonoConversion::takePlace(NewFile& file) {
    prove(file);
    const std::optional<FileStamp> made = FileStamp::of(file.path());
    QString detail = request_.useLeftChannel ? QStringLiteral("the left channel stays, the right one goes")
                                             : QStringLiteral("the right channel stays, the left one goes");
    if (!outcome_.metadata.isWhole()) detail += QStringLiteral("; not carried: ") + outcome_.metadata.missing();
    const int step = journal_.begin(JournalOperation::replace, file.finalPath(), file.finalPath(), file.path(), detail);
    try {
        replaceRecording(file, *stamp_);
    } catch (const FileError& error) {
        journal_.fail(step, error.description);
        noteWhatStands(file, made);
        throw;
    }
    ledger_.noteWritten(request_.file);
    outcome_.outputs = QStringList(request_.file);
    outcome_.sources = {{request_.file, SourceFate::Kind::replaced, QString()}};
    if (!journal_.end(step)) {
        outcome_.warnings << QStringLiteral("The end of a step could not be written into the journal");
    }
    succeed();
}

// The step reports a failure from any of its parts: where the source is, only the disk can tell.
void MonoConversion::noteWhatStands(const NewFile& file, const std::optional<FileStamp>& made) {
    if (!made || identityOf(file.finalPath()) != made->identity) return; // the name holds what it held
    outcome_.outputs = QStringList(request_.file);
    const bool isParked = FileStamp::of(file.path()) == stamp_;
    outcome_.sources = {isParked ? SourceFate{request_.file, SourceFate::Kind::moved, file.path()}
                                 : SourceFate{request_.file, SourceFate::Kind::replaced, QString()}};
}

void MonoConversion::write(AudioFile& source, const QString& path, const QString& fileName) {
    const PlannedOutput planned{path, {{request_.file, channel()}}, head(fileName)};
    const auto byLibrary = [&] {
        copyChannel(source, channel(), path);
        copyBWFMetadata(path);
        fitDocument(path, planned.head);
    };
    outcome_.warnings << road_.make({planned}, byLibrary, {}, proof_.sources());
    outcome_.warnings << completeMetadata(request_.file, path, SourceUmid::kept, fileName).warnings;
    outcome_.metadata = compareMetadata(request_.file, path, SourceUmid::kept, fileName);
    const QString name = paths::lastComponent(request_.file);
    if (source.isLossy() && AudioFile(path).lengthInFrames() != source.lengthInFrames()) { // compared nowhere else
        throw ProcessingError::processingFailed(QStringLiteral("The new file has not got the length of %1").arg(name));
    }
    if (!outcome_.metadata.isWhole()) {
        outcome_.warnings << QStringLiteral("%1: its BWF metadata could not be carried over (%2)")
                                 .arg(name, outcome_.metadata.missing());
    }
}

// A mono file of floats holds 24 bits of each sample; the direct engine keeps them as they are.
bool MonoConversion::isRounded() const { return !road_.isDirect() && isWiderThanFloats(request_.file); }

// The iXML lists the one channel that stays.
HeadRecipe MonoConversion::head(const QString& fileName) const {
    HeadRecipe head{.source = request_.file, .place = {fileName, paths::lastComponent(request_.file)}};
    const auto chunk = WaveChunks(request_.file).bytes("iXML");
    const auto document = chunk ? decodedIxml(*chunk) : std::nullopt;
    if (!document) return head;
    TrackIndices track = tracksOf(*document, 2)[static_cast<std::size_t>(channel())];
    if (track.channelIndex == 0) track.channelIndex = channel() + 1;
    if (track.trackName.isEmpty()) track.trackName = QStringLiteral("CH%1").arg(track.channelIndex);
    head.tracks = {track};
    return head;
}

// A document that can't be fitted goes along as it is with the other chunks, and so does one that there is no room for.
void MonoConversion::fitDocument(const QString& target, const HeadRecipe& head) const {
    const auto chunk = WaveChunks(request_.file).bytes("iXML");
    if (!chunk || head.tracks.empty()) return;
    const QByteArray fitted = fittedIxml(*chunk, head.tracks, head.place);
    if (fitted != *chunk) setChunk(target, "iXML", fitted, ' ');
}

// Until one succeeds: releases of the original tool that do not know --copy refuse it without touching a file. Best
// effort: the audio stands without its metadata.
void MonoConversion::copyBWFMetadata(const QString& target) const {
    const QStringList arguments{QStringLiteral("--copy"), paths::absolute(request_.file), paths::absolute(target)};
    const ChildLimits limits = limitsByFileSize({request_.file, target});
    const auto tool = std::ranges::find_if(tools_.bwfmetaedit, paths::isExecutableFile);
    if (tool == tools_.bwfmetaedit.end()) return;
    try {
        ChildProcess::runSilently(*tool, arguments, limits);
    } catch (const ProcessLaunchError&) { // the audio stands, and the completion tells what is missing
    }
}

void MonoConversion::succeed() {
    outcome_.status = ProcessingStatus::completed();
    outcome_.message = QStringLiteral("Converted: ") + paths::lastComponent(request_.file);
}

void MonoConversion::fail(const QString& why) {
    if (outcome_.outputs.isEmpty()) { // told of files that stand
        outcome_.metadata = {};
        if (outcome_.proof && !outcome_.proof->differs()) outcome_.proof.reset();
    }
    outcome_.status = ProcessingStatus::failed(why);
    outcome_.message = why;
}

} // namespace ostrel
