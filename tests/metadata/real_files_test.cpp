// Real recordings of many recorders and programs, against facts that were found without this program.
#include "foundation/tools/ffprobe_parser.h"
#include "metadata/asset_descriptor.h"
#include "metadata/chunks/riff_chunks.h"
#include "platform/parallel.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "support/test_folder.h"

#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>

namespace ostrel {
namespace {

using Json = nlohmann::json;

class RealFiles : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = testing::samplesFolder();
        if (folder_.isEmpty()) GTEST_SKIP() << "the folder of real recordings is not there";
        std::ifstream stream((folder_ + QStringLiteral("/samples.json")).toStdString());
        files_ = Json::parse(stream)["files"];
        ASSERT_FALSE(files_.empty());
    }

    QString pathOf(const Json& file) const { return paths::append(folder_, nameOf(file)); }
    static QString nameOf(const Json& file) { return QString::fromStdString(file["file"].get<std::string>()); }
    static std::string containerOf(const Json& file) {
        return file.contains("container") && file["container"].is_string() ? file["container"].get<std::string>() : "";
    }
    static bool isWave(const Json& file) {
        const std::string container = containerOf(file);
        return (container == "RIFF" || container == "RF64" || container == "BW64") && file.value("form", "") == "WAVE";
    }

    QString folder_;
    Json files_;
};

// Where and how long the chunks worth keeping are, one line each.
QStringList expectedChunks(const Json& file) {
    static const std::set<std::string> kept{"SMED", "iXML", "aXML", "XMP ", "MD5 ", "UMID", "acid", "Tdat", "cart"};
    QStringList result;
    for (const Json& chunk : file.value("chunks", Json::array())) {
        const auto id = chunk["id"].get<std::string>();
        if (chunk.value("cut", false)) break;
        if (kept.contains(id))
            result << QStringLiteral("%1 %2 @%3")
                          .arg(QString::fromStdString(id))
                          .arg(chunk["size"].get<qint64>())
                          .arg(chunk["offset"].get<qint64>());
    }
    return result;
}

TEST_F(RealFiles, TheReaderFindsTheirChunksByteForByte) {
    int chunkCount = 0;
    for (const Json& file : files_) {
        if (!isWave(file)) continue;
        const QByteArray bytes = testing::readAll(pathOf(file));
        QStringList found;
        for (const RIFFChunk& chunk : RIFFChunkReader::extractPreservableChunks(pathOf(file))) {
            found << QStringLiteral("%1 %2 @%3")
                         .arg(QString::fromLatin1(chunk.id))
                         .arg(chunk.data.size())
                         .arg(chunk.position);
            EXPECT_EQ(chunk.data, bytes.mid(chunk.position + 8, chunk.data.size())) << nameOf(file).toStdString();
        }
        EXPECT_EQ(found, expectedChunks(file)) << nameOf(file).toStdString();
        chunkCount += static_cast<int>(found.size());
    }
    EXPECT_GT(chunkCount, 20);
}

TEST_F(RealFiles, TheReaderRefusesWhatIsNoWave) {
    int refused = 0;
    for (const Json& file : files_) {
        if (isWave(file)) continue;
        try {
            RIFFChunkReader::extractPreservableChunks(pathOf(file));
            ADD_FAILURE() << nameOf(file).toStdString();
        } catch (const RIFFError& error) {
            EXPECT_EQ(error.errorDescription(), QStringLiteral("Invalid RIFF file: Not a RIFF file"))
                << nameOf(file).toStdString();
            ++refused;
        }
    }
    EXPECT_GT(refused, 10);
}

TEST_F(RealFiles, TheirContainersAreToldByTheirHeaders) {
    static const std::map<std::string, ContainerKind> kinds{
        {"RIFF", ContainerKind::riffWave}, {"RF64", ContainerKind::rf64Wave}, {"FORM", ContainerKind::aiff},
        {"caff", ContainerKind::caf},      {"fLaC", ContainerKind::flac},     {"MP3", ContainerKind::mp3},
        {"MP4", ContainerKind::mp4},       {"Ogg", ContainerKind::ogg}};
    for (const Json& file : files_) {
        const auto known = kinds.find(containerOf(file));
        // Big-endian RIFX and what has no known header go by their extension.
        const ContainerKind expected =
            known != kinds.end() ? known->second : AssetDescriptorBuilder::containerFromExtension(nameOf(file));
        if (nameOf(file).endsWith(QStringLiteral("_noriff.wav"))) continue; // the list has it wrong: it begins "RF65"
        const AssetClass found = AssetDescriptorBuilder::quickClassify(pathOf(file));
        EXPECT_EQ(found.containerKind, expected) << nameOf(file).toStdString();
        const bool isWave = expected == ContainerKind::riffWave || expected == ContainerKind::rf64Wave;
        EXPECT_EQ(found.metadataTier, isWave ? MetadataTier::bwfGuaranteed : MetadataTier::bestEffort);
    }
}

// What is wrong with the probe of a file; empty if nothing is.
QString probeComplaint(const Json& facts, const QString& path) {
    const Json& stream = facts.value("stream", Json::object());
    const bool hasDuration =
        (facts.contains("duration") && facts["duration"].is_string()) || stream.contains("duration");
    try {
        const AudioFileInfo info = FFProbeParser(QStringLiteral("/usr/bin/ffprobe")).probe(path);
        if (facts.contains("error")) return QStringLiteral("was to fail");
        if (!hasDuration) return QStringLiteral("has no duration");
        const double duration =
            std::stod((facts["duration"].is_string() ? facts : stream)["duration"].get<std::string>());
        if (info.duration != duration) return QStringLiteral("duration");
        if (QString::number(info.sampleRate).toStdString() != stream["sample_rate"].get<std::string>())
            return QStringLiteral("rate");
        if (info.channels != stream["channels"].get<int>()) return QStringLiteral("channels");
        if (info.bitDepth != stream.value("bits_per_sample", 0)) return QStringLiteral("bits");
        if (info.codec.toStdString() != stream.value("codec_name", "")) return QStringLiteral("codec");
        if (info.sampleFmt.toStdString() != stream.value("sample_fmt", "")) return QStringLiteral("sample format");
    } catch (const FFProbeError& error) {
        if (error.kind == FFProbeError::Kind::missingDuration && !facts.contains("error") && !hasDuration)
            return QString();
        if (error.kind == FFProbeError::Kind::probeFailure && facts.contains("error")) return QString();
        return error.errorDescription();
    }
    return QString();
}

TEST_F(RealFiles, TheProberTellsWhatFfprobeTells) {
    const QString version =
        ChildProcess::runForResult(QStringLiteral("/usr/bin/ffprobe"), {QStringLiteral("-version")}).outputText();
    if (!version.startsWith(QStringLiteral("ffprobe version 5."))) GTEST_SKIP() << "the facts are those of ffprobe 5";
    QStringList complaints;
    std::mutex mutex;
    const auto work = [&](std::size_t i) {
        const Json& file = files_[i];
        if (!file.contains("ffprobe") || !file["ffprobe"].is_object()) return;
        const QString complaint = probeComplaint(file["ffprobe"], pathOf(file));
        const std::lock_guard lock(mutex);
        if (!complaint.isEmpty()) complaints << nameOf(file) + QStringLiteral(": ") + complaint;
    };
    forEachInParallel(files_.size(), work);
    EXPECT_TRUE(complaints.isEmpty()) << complaints.join(u'\n').toStdString();
}

} // namespace
} // namespace ostrel
