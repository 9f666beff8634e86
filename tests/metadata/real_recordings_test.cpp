// The engines over real recordings and the delivered bwfmetaedit, against facts that were found without either.
#include "metadata/bext_identity.h"
#include "metadata/ixml_surgery.h"
#include "metadata/metadata_manifest_extractor.h"
#include "metadata/universal_metadata_engine.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"
#include "support/fake_bwfmetaedit.h"
#include "support/wave_file.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace ostrel {
namespace {

using testing::chunkOf;
using testing::chunksOf;
using testing::fingerprintOf;
using testing::PrivateFolders;
using testing::readAll;
using testing::TestFolder;
using testing::waveBytes;
using testing::WaveSpec;

class DeliveredToolTest : public ::testing::Test {
protected:
    void SetUp() override {
        tool_ = paths::append(resourceFolder(), u"bin/bwfmetaedit"_s);
        if (!paths::isExecutableFile(tool_)) GTEST_SKIP() << "this build has no bwfmetaedit";
    }

    // Long ago, so that a rewrite within the clock's grain is seen.
    QString aged(const QString& path) {
        QFile file(path);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        EXPECT_TRUE(file.open(QIODevice::ReadWrite));
        EXPECT_TRUE(file.setFileTime(QDateTime::fromSecsSinceEpoch(1'600'000'000), QFileDevice::FileModificationTime));
        return path;
    }

    TestFolder folder_;
    PrivateFolders folders_{folder_};
    QString tool_;
};

QByteArray textOf(const QByteArray& chunk) { return chunk.contains('\0') ? chunk.first(chunk.indexOf('\0')) : chunk; }

constexpr const char* kPolyXml =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML>\n\t<IXML_VERSION>1.5</IXML_VERSION>\n\t<SCENE>12A</SCENE>\n"
    "\t<TAKE>3</TAKE>\n\t<FILE_UID>OLD</FILE_UID>\n\t<FAMILY_UID>FAM</FAMILY_UID>\n\t<TRACK_LIST>\n\t\t<TRACK>\n"
    "\t\t\t<CHANNEL_INDEX>1</CHANNEL_INDEX>\n\t\t\t<INTERLEAVE_INDEX>1</INTERLEAVE_INDEX>\n"
    "\t\t\t<NAME>Tom &amp; Zo\xC3\xAB</NAME>\n\t\t</TRACK>\n\t</TRACK_LIST>\n</BWFXML>\n";

TEST_F(DeliveredToolTest, ARefusedFieldCostsNoOther) {
    testing::BextSpec bext;
    bext.description = "a & b";
    bext.originator = "Recorder";
    bext.originationDate = "0000-00-00";
    bext.timeReference = 172'800'000;
    WaveSpec spec;
    spec.frames = 10;
    spec.before = {{"bext", testing::bextPayload(bext)}};
    const QString source = aged(folder_.write(u"s.wav"_s, waveBytes(spec)));
    spec.before.clear();
    const QString target = folder_.write(u"t.wav"_s, waveBytes(spec));
    const MetadataEngine engine(tool_, u"refusal"_s);
    const MetadataResult result = engine.copyMetadataToMultiple(source, {target}).value(target);
    EXPECT_TRUE(result.success) << result.message.toStdString();
    EXPECT_EQ(result.refused, QStringList(u"OriginationDate"_s));
    EXPECT_EQ(refusedSentence(result, u"t.wav"_s), u"bwfmetaedit would not take OriginationDate of t.wav as it stands; "
                                                   "the other fields were sent without"_s);
    const auto written = readBextIdentity(target);
    ASSERT_TRUE(written);
    EXPECT_EQ(written->description, "a & b");
    EXPECT_EQ(written->originator, "Recorder");
    EXPECT_EQ(written->timeReference, 172'800'000U);
    EXPECT_TRUE(written->originationDate.isEmpty());
    engine.cleanup();
}

TEST_F(DeliveredToolTest, MovesEverythingFromAPolyToAnISO) {
    testing::BextSpec bext;
    bext.description = "sSCENE=12A\r\nsTAKE=3\r\n";
    bext.originator = "Recorder";
    bext.timeReference = 5'000'000'000;
    WaveSpec spec;
    spec.before = {{"bext", testing::bextPayload(bext)}, {"iXML", kPolyXml}, {"SMED", "three"}};
    const QString source = aged(folder_.write(u"poly.wav"_s, waveBytes(spec)));
    const QString before = fingerprintOf(source);
    const QString iso = folder_.write(u"iso.wav"_s, waveBytes({}));
    const QByteArray audio = chunkOf(readAll(iso), "data");

    const UniversalMetadataEngine engine(tool_);
    const auto captured = engine.extractMetadata(source, true);
    EXPECT_EQ(captured.riffChunks.size(), 2u);
    EXPECT_TRUE(captured.hasBWF && captured.hasiXML);
    const QStringList log = engine.applyMetadata({iso}, source, captured, true, true, false);
    EXPECT_EQ(log, (QStringList{u"✅ RIFF chunks injected: iso.wav"_s, u"✅ BWF metadata copied: iso.wav"_s}));
    const auto indices = engine.extractTrackIndicesFromiXML(source);
    ASSERT_TRUE(indices);
    engine.normalizeiXMLForSingleTrack(source, iso, {1, 8, indices->trackName});

    const QByteArray written = readAll(iso);
    EXPECT_EQ(chunkOf(written, "data"), audio);
    EXPECT_EQ(chunkOf(written, "SMED"), "three");
    const QByteArray bextWritten = chunkOf(written, "bext");
    EXPECT_EQ(QByteArray(textOf(bextWritten.first(256))).replace("\r\n", "\n"), "sSCENE=12A\nsTAKE=3\n");
    EXPECT_EQ(textOf(bextWritten.mid(256, 32)), "Recorder");
    EXPECT_EQ(bextWritten.mid(338, 8), chunkOf(readAll(source), "bext").mid(338, 8));
    const QString ixml = QString::fromUtf8(textOf(chunkOf(written, "iXML")));
    const QString uid = extractValue(ixml, u"FILE_UID");
    EXPECT_EQ(ixml, performUniversalXMLSurgery(QString::fromUtf8(kPolyXml), singleTrackList({1, 8, u"Tom &amp; Zoë"_s}),
                                               uid));
    EXPECT_EQ(extractValue(ixml, u"PARENT_UID"), u"OLD"_s);
    EXPECT_EQ(engine.extractTrackIndicesFromiXML(iso), (TrackIndices{1, 8, u"Tom &amp; Zoë"_s}));
    EXPECT_EQ(fingerprintOf(source), before);
    EXPECT_TRUE(folders_.leftInTemporary().isEmpty());
}

TEST_F(DeliveredToolTest, ReadingLeavesASourceWithLatin1TextAlone) {
    testing::BextSpec bext;
    bext.description = "sNOTE=caf\xE9\nx";
    WaveSpec spec;
    spec.before = {{"JUNK", QByteArray(100, '\1')}, {"bext", testing::bextPayload(bext)}, {"iXML", kPolyXml}};
    const QString source = aged(folder_.write(u"latin.wav"_s, waveBytes(spec)));
    const QString before = fingerprintOf(source);
    const UniversalMetadataEngine engine(tool_);
    engine.extractMetadata(source, true);
    EXPECT_TRUE(engine.extractTrackIndicesFromiXML(source));
    EXPECT_EQ(MetadataManifestExtractor(tool_).extractAndSaveManifest(source).bext->note, u"café"_s);
    EXPECT_EQ(fingerprintOf(source), before);
}

TEST_F(DeliveredToolTest, ASourceWithoutIxmlGivesAnOutputWithoutIxml) {
    const QString source = folder_.write(u"poly.wav"_s, waveBytes({}));
    const QString iso = folder_.write(u"iso.wav"_s, waveBytes({}));
    const UniversalMetadataEngine engine(tool_);
    EXPECT_TRUE(engine.extractiXMLString(source).isEmpty());
    engine.normalizeiXMLForSingleTrack(source, iso, {1, 1, u"Lav"_s});
    EXPECT_EQ(readAll(iso), waveBytes({}));
}

TEST_F(DeliveredToolTest, RebuildsAPolysTrackListFromItsISOs) {
    QStringList isos;
    for (int i = 0; i < 64; ++i) {
        WaveSpec spec;
        const QByteArray xml =
            QByteArray(kPolyXml).replace("CHANNEL_INDEX>1<", "CHANNEL_INDEX>" + QByteArray::number(100 + i) + "<");
        spec.after = {
            {"iXML", QByteArray(xml).replace("<NAME>Tom &amp; Zo\xC3\xAB", "<NAME>T" + QByteArray::number(i))}};
        isos << folder_.write(QStringLiteral("iso%1.wav").arg(i), waveBytes(spec));
    }
    WaveSpec polySpec;
    polySpec.channels = 64;
    polySpec.frames = 480;
    const QString poly = folder_.write(u"poly.wav"_s, waveBytes(polySpec));
    const QByteArray audio = chunkOf(readAll(poly), "data");
    EXPECT_TRUE(UniversalMetadataEngine(tool_).rebuildMultiTrackiXML(isos, poly).isEmpty());
    std::vector<TrackIndices> tracks;
    for (int i = 0; i < 64; ++i) tracks.push_back({1, 100 + i, QStringLiteral("T%1").arg(i)});
    EXPECT_TRUE(QString::fromUtf8(chunkOf(readAll(poly), "iXML")).contains(multiTrackList(tracks)));
    EXPECT_EQ(chunkOf(readAll(poly), "data"), audio);
}

class RealRecordingsTest : public DeliveredToolTest {
protected:
    void SetUp() override {
        DeliveredToolTest::SetUp();
        if (testing::samplesFolder().isEmpty()) GTEST_SKIP() << "no sample recordings here";
        files_ = QJsonDocument::fromJson(readAll(testing::samplesFolder() + u"/samples.json"_s))
                     .object()[u"files"_s]
                     .toArray();
    }

    QString copy(const QString& file) {
        const QString target = folder_.path(file);
        EXPECT_TRUE(QFile::copy(testing::samplesFolder() + u'/' + file, target));
        return aged(target);
    }

    QJsonArray files_;
};

QString unixText(QString text) { return text.replace(u"\r\n"_s, u"\n"_s).trimmed(); }

void expectBext(const BEXTMetadata& bext, const QJsonObject& facts) {
    EXPECT_EQ(bext.description, unixText(facts[u"description"_s].toString()));
    EXPECT_EQ(bext.originator, facts[u"originator"_s].toString().trimmed());
    EXPECT_EQ(bext.originatorReference, facts[u"originator_reference"_s].toString().trimmed());
    EXPECT_EQ(bext.originationDate, facts[u"origination_date"_s].toString());
    EXPECT_EQ(bext.originationTime, facts[u"origination_time"_s].toString());
    EXPECT_EQ(bext.timeReference, facts[u"time_reference"_s].toVariant().toULongLong());
    EXPECT_EQ(bext.version, facts[u"version"_s].toInt());
}

void expectIxml(const IXMLMetadata& ixml, const QJsonObject& facts) {
    EXPECT_EQ(ixml.project, facts[u"PROJECT"_s].toString());
    EXPECT_EQ(ixml.scene, facts[u"SCENE"_s].toString());
    EXPECT_EQ(ixml.take, facts[u"TAKE"_s].toString());
    const QJsonArray tracks = facts[u"TRACK_LIST"_s].toArray();
    ASSERT_EQ(static_cast<qsizetype>(ixml.trackList.size()), tracks.size());
    for (qsizetype i = 0; i < tracks.size(); ++i) {
        const IXMLTrack& track = ixml.trackList[static_cast<std::size_t>(i)];
        const QString channel = tracks[i][u"CHANNEL_INDEX"_s].toString(QString::number(i + 1));
        EXPECT_EQ(track.channelIndex, channel.toInt());
        EXPECT_EQ(track.interleaveIndex, tracks[i][u"INTERLEAVE_INDEX"_s].toString(QString::number(i + 1)).toInt() - 1);
        const QString name = tracks[i][u"NAME"_s].toString();
        EXPECT_EQ(track.name, name.isEmpty() ? u"Channel "_s + channel : name);
    }
}

TEST_F(RealRecordingsTest, ManifestsAgreeWithTheFacts) {
    int compared = 0;
    for (const QJsonValue file : files_) {
        const QString name = file[u"file"_s].toString();
        if (!file[u"ixml"_s].isObject() || file[u"container"_s] != u"RIFF"_s || !name.startsWith(u"recorders/"_s))
            continue;
        SCOPED_TRACE(name.toStdString());
        const QString source = copy(name);
        const QString before = fingerprintOf(source);
        const MetadataManifest manifest = MetadataManifestExtractor(tool_).extractAndSaveManifest(source);
        EXPECT_EQ(manifest.sourceFile.fileHash, u"sha256:"_s + file[u"sha256"_s].toString());
        EXPECT_EQ(manifest.sourceFile.fileSize, file[u"bytes"_s].toInteger());
        ASSERT_TRUE(manifest.bext);
        if (file[u"bext"_s].isObject()) expectBext(*manifest.bext, file[u"bext"_s].toObject());
        ASSERT_TRUE(manifest.ixml);
        expectIxml(*manifest.ixml, file[u"ixml"_s].toObject());
        EXPECT_EQ(fingerprintOf(source), before);
        ++compared;
    }
    EXPECT_GE(compared, 10);
}

TEST_F(RealRecordingsTest, ReadingNeverTouchesASource) {
    const UniversalMetadataEngine engine(tool_);
    for (const QJsonValue file : files_) {
        const QString name = file[u"file"_s].toString();
        if (!name.endsWith(u".wav"_s, Qt::CaseInsensitive)) continue;
        const QString source = copy(name);
        const QString before = fingerprintOf(source);
        engine.extractMetadata(source, true);
        engine.extractTrackIndicesFromiXML(source);
        try {
            MetadataManifestExtractor(tool_).extractAndSaveManifest(source);
        } catch (const ManifestError&) {
            // Many of these have no iXML, and some are no recordings at all.
        }
        EXPECT_EQ(fingerprintOf(source), before) << name.toStdString();
        QFile::remove(source);
    }
}

} // namespace
} // namespace ostrel
