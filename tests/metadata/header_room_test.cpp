#include "metadata/header_room.h"

#include "metadata/universal_metadata_engine.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "platform/processes/child_process.h"
#include "support/fake_bwfmetaedit.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <QFile>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using namespace Qt::StringLiterals;
using testing::chunkBytes;
using testing::chunksOf;
using testing::readAll;
using testing::waveBytes;
using testing::WaveSpec;

BWFMetadata bextFields() { return {{u"Description"_s, u"sSCENE=12A"_s}, {u"TimeReference"_s, u"48000"_s}}; }

QByteArray infoList(const QByteArray& fields) { return "INFO" + fields; }

class HeaderRoom : public ::testing::Test {
protected:
    QString file(const std::vector<std::pair<QByteArray, QByteArray>>& before) {
        WaveSpec spec;
        spec.before = before;
        return folder_.write(u"a.wav"_s, waveBytes(spec));
    }
    std::optional<qsizetype> fillerSize(const std::vector<std::pair<QByteArray, QByteArray>>& before,
                                        const BWFMetadata& fields) {
        const auto filler = fillerFor(file(before), fields);
        return filler ? std::optional(filler->data.size()) : std::nullopt;
    }

    testing::TestFolder folder_;
    testing::PrivateFolders folders_{folder_};
};

TEST_F(HeaderRoom, IsMadeForABextThatIsNotThere) { EXPECT_EQ(fillerSize({}, bextFields()), 866 + 16384); }

TEST_F(HeaderRoom, CountsTheFillersThatAreThere) {
    EXPECT_EQ(fillerSize({{"JUNK", QByteArray(28, '\0')}}, bextFields()), 866 + 16384 - 36);
    EXPECT_EQ(fillerSize({{"FLLR", QByteArray(858, '\0')}}, bextFields()), std::nullopt) << "fits exactly";
    EXPECT_EQ(fillerSize({{"JUNK", QByteArray(862, '\0')}}, bextFields()), 16384 - 4) << "4 bytes can't be filled";
    EXPECT_EQ(fillerSize({{"JUNK", QByteArray(866, '\0')}}, bextFields()), std::nullopt);
}

TEST_F(HeaderRoom, IsNotMadeForWhatTakesNone) {
    EXPECT_EQ(fillerSize({}, {}), std::nullopt);
    EXPECT_EQ(fillerSize({}, {{u"TimeReference"_s, u"0"_s}, {u"CodingHistory"_s, u"A=PCM"_s}}), std::nullopt);
    EXPECT_EQ(fillerSize({{"bext", QByteArray(602, '\0')}}, bextFields()), std::nullopt);
    const QByteArray same = infoList(chunkBytes("ISFT", "Lavf") + chunkBytes("ICMT", QByteArray("calm\0", 5)));
    EXPECT_EQ(fillerSize({{"LIST", same}}, {{u"ICMT"_s, u"calm"_s}}), std::nullopt);
}

TEST_F(HeaderRoom, IsMadeForInfoFieldsThatAreLongerOrShorterThanThoseThere) {
    const BWFMetadata fields{{u"ICMT"_s, u"calm"_s}};
    EXPECT_EQ(fillerSize({}, fields), 12 + 14 + 16384);
    EXPECT_EQ(fillerSize({{"LIST", infoList(chunkBytes("ISFT", "Lavf"))}}, fields), 14 + 16384);
    EXPECT_EQ(fillerSize({{"LIST", infoList(chunkBytes("ICMT", QByteArray("a\0", 2)))}}, fields), 4 + 16384);
    EXPECT_EQ(fillerSize({{"LIST", infoList(chunkBytes("ICMT", QByteArray("calmer\0", 7)))}}, fields), 16384 - 2);
    EXPECT_EQ(fillerSize({{"LIST", infoList(chunkBytes("ICMT", QByteArray(40, 'x')))}}, fields), std::nullopt);
}

TEST_F(HeaderRoom, LeavesWhatIsNoWaveAsItIs) {
    for (const QByteArray& bytes : {QByteArray(), QByteArray("RIFF"), "RIFF\4\1\1\1WAVE" + chunkBytes("fmt ", "x"),
                                    "RF64\xff\xff\xff\xffWAVE" + chunkBytes("data", "x")}) {
        const QString path = folder_.write(u"b.wav"_s, bytes);
        makeRoomFor(path, bextFields());
        EXPECT_EQ(readAll(path), bytes);
    }
    makeRoomFor(folder_.path(u"none.wav"_s), bextFields());
    EXPECT_FALSE(paths::exists(folder_.path(u"none.wav"_s)));
}

// With the delivered tool.
class HeaderRoomForTool : public HeaderRoom {
protected:
    void SetUp() override {
        tool_ = paths::append(resourceFolder(), u"bin/bwfmetaedit"_s);
        if (!paths::isExecutableFile(tool_)) GTEST_SKIP() << "this build has no bwfmetaedit";
    }
    static ino_t inodeOf(const QString& path) {
        struct stat found {};
        EXPECT_EQ(::stat(QFile::encodeName(path).constData(), &found), 0);
        return found.st_ino;
    }
    QString copyOf(const QString& path, const QString& name) { return folder_.write(name, readAll(path)); }
    void writeDirectly(const QString& path) {
        EXPECT_TRUE(ChildProcess::runForResult(
                        tool_, {u"--Description=sSCENE=12A"_s, u"--TimeReference=48000"_s, u"--ICMT=calm"_s, path})
                        .succeeded());
    }
    BWFMetadata fields() const {
        BWFMetadata result = bextFields();
        result.insert(u"ICMT"_s, u"calm"_s);
        return result;
    }

    QString tool_;
};

TEST_F(HeaderRoomForTool, SparesTheAudioAndEndsInTheSameBytes) {
    const std::vector<std::pair<QByteArray, QByteArray>> heads[] = {
        {},
        {{"LIST", infoList(chunkBytes("ISFT", "Lavf"))}},
        {{"bext", QByteArray(602, '\0')}, {"LIST", infoList(chunkBytes("ICMT", QByteArray("ca\0", 3)))}}};
    for (const auto& head : heads) {
        const QString path = file(head);
        const QString direct = copyOf(path, u"direct.wav"_s);
        writeDirectly(direct);
        const ino_t before = inodeOf(path);
        EXPECT_TRUE(MetadataEngine(tool_, u"room"_s).writeFields(fields(), path).success);
        EXPECT_EQ(inodeOf(path), before) << "the file was replaced";
        if (head.size() < 2) {
            EXPECT_EQ(readAll(path), readAll(direct));
        } else { // here the tool alone leaves no room for the next change
            EXPECT_EQ(testing::chunkOf(readAll(path), "data"), testing::chunkOf(readAll(direct), "data"));
        }
    }
}

TEST_F(HeaderRoomForTool, ComesWithTheChunksAndEndsInTheSameBytes) {
    testing::BextSpec bext;
    bext.description = "sSCENE=12A";
    bext.originationDate.clear();
    bext.originationTime.clear();
    bext.timeReference = 48000;
    WaveSpec spec;
    spec.before = {{"bext", testing::bextPayload(bext)},
                   {"SMED", "three"},
                   {"LIST", infoList(chunkBytes("ICMT", QByteArray("calm\0", 5)))}};
    const QString source = folder_.write(u"source.wav"_s, waveBytes(spec));
    const QString path = file({});
    const QString direct = copyOf(path, u"direct.wav"_s);
    RIFFChunkWriter::injectPreservedChunks(direct, {{"SMED", "three", 0}});
    writeDirectly(direct);

    const UniversalMetadataEngine engine(tool_);
    const ino_t before = inodeOf(path);
    const QStringList log =
        engine.applyMetadata({path}, source, engine.extractMetadata(source, true), true, true, false);
    EXPECT_EQ(log, (QStringList{u"✅ RIFF chunks injected: a.wav"_s, u"✅ BWF metadata copied: a.wav"_s}));
    EXPECT_EQ(inodeOf(path), before);
    EXPECT_EQ(readAll(path), readAll(direct));
}

} // namespace
} // namespace ostrel
